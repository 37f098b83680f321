#include "analysis/Check.hpp"

#include <algorithm>
#include <cmath>

#include "analysis/CovarianceFindings.hpp"
#include "analysis/Covariances.hpp"
#include "analysis/Dynamics.hpp"
#include "analysis/InterpolationErrors.hpp"
#include "analysis/Jumps.hpp"
#include "analysis/Texts.hpp"
#include "analysis/Thinning.hpp"
#include "analysis/TimeTags.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kEvenSteps = 1.001;
constexpr double kFarthest_km = 1e7;  // from the earth; no orbit about the earth is that large
constexpr double kCoarseScatter_m = 0.1;
constexpr double kUnevenGain = 20.0;

std::string joined(const std::array<double, 3>& components, std::string (*text)(double)) {
    return "radial " + text(components[0]) + ", in-track " + text(components[1]) + ", cross-track " +
           text(components[2]);
}

// One check: each member adds what it finds.
class Check {
public:
    Check(const Ephemeris& ephemeris, const CheckOptions& options, const CovariancesBetween& between)
        : ephemeris_(ephemeris),
          options_(options),
          between_(between),
          steps_s_(stepsOf(ephemeris)),
          gaps_(gapsIn(steps_s_, options.gapFactor)) {}

    SatelliteCheck result() {
        check_.spacing = stepRange(steps_s_);
        if (ephemeris_.size() == 0) {
            add({Severity::Error, Kind::FewPoints, "no points"});
            return std::move(check_);
        }
        checkNumberOfPoints();
        checkSteps();
        checkTimes();
        const Dynamics dynamics = examineMotion();
        reportVelocities(dynamics);
        reportFrame(dynamics);
        if (!dynamics.positionUnit) checkDistances();
        if (!dynamics.positionUnit && (dynamics.motion != Motion::Unknown || isKnownFrame())) checkHeights();
        isUndecided_ = dynamics.isUndecided;
        if (isUndecided_)
            addNotExamined(
                "velocities are not compared with positions: the points are too far apart, and follow no orbit");
        if (dynamics.hasFault())
            addNotExamined("interpolation and jumps are not examined, because of the fault in the states");
        else
            examineInterpolation(dynamics.points > 0 ? dynamics.motion : motionOf(ephemeris_.frame));
        findInCovariances(ephemeris_, between_, check_);
        return std::move(check_);
    }

private:
    void add(Finding finding) { check_.findings.push_back(std::move(finding)); }

    // Between two points, by their indices.
    void addBetween(std::size_t first, std::size_t last, Finding finding) {
        finding.from = ephemeris_.times[first];
        finding.to = ephemeris_.times[last];
        add(std::move(finding));
    }
    void addOverall(Finding finding) { addBetween(0, ephemeris_.size() - 1, std::move(finding)); }

    void addNotExamined(std::string text) { addOverall({Severity::Note, Kind::NotExamined, std::move(text)}); }

    // A single bad point among few is left out, or its fault would look like one of all points.
    Dynamics examineMotion() {
        if (ephemeris_.size() >= kFewestForJumps || !gaps_.empty()) return examineDynamics(ephemeris_);
        const std::vector<Motion> motions =
            isKnownFrame() ? std::vector{motionOf(ephemeris_.frame)} : std::vector{Motion::Inertial, Motion::Rotating};
        for (const Motion motion : motions) {
            const std::optional<analysis::Outlier> outlier = outlierOfFew(ephemeris_, motion);
            if (!outlier) continue;
            reportOutlier(*outlier);
            return examineDynamics(withoutPoint(ephemeris_, outlier->point, ephemeris_.size()));
        }
        return examineDynamics(ephemeris_);
    }

    bool isKnownFrame() const { return motionOf(ephemeris_.frame) != Motion::Unknown; }

    void checkNumberOfPoints() {
        if (ephemeris_.size() < kWindow)
            addOverall({Severity::Error, Kind::FewPoints,
                        countText(ephemeris_.size(), "point") + ": states are answered at the points only",
                        static_cast<double>(ephemeris_.size())});
        for (const auto [first, last] : unansweredStretches(ephemeris_)) {
            const double seconds = ephemeris_.elapsed_s[last + 1] - ephemeris_.elapsed_s[first];
            addBetween(first, last + 1,
                       {Severity::Error, Kind::Unanswered,
                        "states are not answered for " + roundedText(seconds / 3600.0) +
                            " hours: the points around are more than 61 minutes apart on average",
                        seconds, "s"});
        }
    }

    void checkSteps() {
        if (!check_.spacing || !(check_.spacing->largest_s > kEvenSteps * check_.spacing->least_s)) return;
        const auto [least_s, median_s, largest_s] = *check_.spacing;
        addOverall({Severity::Note, Kind::Steps,
                    "steps are uneven: least " + roundedText(least_s) + " s, median " + roundedText(median_s) +
                        " s, largest " + roundedText(largest_s) + " s",
                    largest_s, "s"});
    }

    void checkTimes() {
        if (isOutsideSpaceAge(ephemeris_))
            addOverall({Severity::Warning, Kind::TimeSpan, "times are not all within 1957-10-04 to 2056-12-31"});
        if (const char* const scale = likelyTimeScale(ephemeris_))
            addOverall({Severity::Note, Kind::TimeScale,
                        std::string("all times are whole multiples of the step on the ") + scale +
                            " scale, not on UTC: tagged in " + scale + " time?"});
        if (const double off_s = offWholeMilliseconds(ephemeris_); off_s > 0.0)
            addOverall({Severity::Note, Kind::CoarseDigits,
                        "times are not whole milliseconds: if digits are missing, states may be off along the track",
                        off_s, "s"});
    }

    void reportVelocities(const Dynamics& dynamics) {
        switch (dynamics.velocityFault) {
            case VelocityFault::None:
                return;
            case VelocityFault::Missing:
                return addOverall(
                    {Severity::Error, Kind::NoVelocity, "all velocities are zero, but interpolation needs them"});
            case VelocityFault::InertialOfRotating:
                return addOverall({Severity::Error, Kind::VelocityFrame,
                                   "the positions turn with the earth, the velocities are inertial", 1.0});
            case VelocityFault::RotatingOfInertial:
                return addOverall({Severity::Error, Kind::VelocityFrame,
                                   "the positions are inertial, the velocities are relative to axes that turn with the "
                                   "earth",
                                   -1.0});
            case VelocityFault::OtherUnit:
                return addOverall({Severity::Error, Kind::VelocityUnit,
                                   "velocities are " + roundedText(dynamics.velocityFactor) +
                                       " times the change of the positions: " + dynamics.velocityUnit->meaning + "?",
                                   dynamics.velocityFactor});
            case VelocityFault::Mismatch:
                return addOverall({Severity::Error, Kind::VelocityMismatch,
                                   "velocities differ from the change of the positions by " +
                                       roundedText(100.0 * dynamics.velocityMismatch) + " %",
                                   dynamics.velocityMismatch});
        }
    }

    void reportFrame(const Dynamics& dynamics) {
        const bool rotates = dynamics.motion == Motion::Rotating;
        if (dynamics.positionUnit)
            addOverall({Severity::Error, Kind::PositionUnit,
                        std::string("positions seem to be in ") + dynamics.positionUnit->meaning,
                        dynamics.positionFactor});
        if (dynamics.frameMismatch)
            addOverall({Severity::Error, Kind::FrameMismatch,
                        "the frame is " + name(ephemeris_.frame) + ", but the points move as in " +
                            (rotates ? "axes that turn with the earth" : "inertial axes")});
        if (!isKnownFrame())
            addOverall({Severity::Note, Kind::FrameUnknown,
                        "the axes of frame " + name(ephemeris_.frame) + " are not known" +
                            (dynamics.motion == Motion::Unknown ? ""
                             : rotates ? "; the points move as in axes that turn with the earth"
                                       : "; the points move as in inertial axes")});
    }

    // Infinite only beyond the largest of all numbers: squares are not.
    double radius_km(std::size_t point) const {
        const auto& [x, y, z] = ephemeris_.states[point].position_km;
        return std::hypot(x, y, z);
    }

    bool isTooFar(std::size_t point) const { return !(radius_km(point) < kFarthest_km); }

    // Calls `report` for each run of wanted points, with the first and the last.
    void forEachRow(const auto& isWanted, const auto& report) const {
        for (std::size_t i = 0; i < ephemeris_.size(); ++i) {
            const std::size_t first = i;
            while (i < ephemeris_.size() && isWanted(i))
                ++i;
            if (i > first) report(first, i - 1);
        }
    }

    void checkDistances() {
        forEachRow([this](std::size_t i) { return isTooFar(i); },
                   [this](std::size_t first, std::size_t last) {
                       double largest_km = 0.0;
                       for (std::size_t i = first; i <= last; ++i)
                           largest_km = std::max(largest_km, radius_km(i));
                       addBetween(first, last,
                                  {Severity::Warning, Kind::Outlier,
                                   countText(last - first + 1, "point") + " too far away: " + roundedText(largest_km) +
                                       " km from the centre of the earth",
                                   largest_km, "km"});
                   });
    }

    void checkHeights() {
        forEachRow([this](std::size_t i) { return radius_km(i) < kGround_km; },
                   [this](std::size_t first, std::size_t last) {
                       double least_km = kGround_km;
                       for (std::size_t i = first; i <= last; ++i)
                           least_km = std::min(least_km, radius_km(i));
                       addBetween(first, last,
                                  {Severity::Warning, Kind::BelowGround,
                                   countText(last - first + 1, "point") + " below the ground: " +
                                       roundedText(least_km) + " km from the centre of the earth",
                                   least_km, "km"});
                   });
    }

    void examineInterpolation(Motion motion) {
        const InterpolationErrors errors = estimatedErrors(ephemeris_, motion);
        if (errors.gain.empty()) return;
        check_.interpolation.wouldDo_s = spacingThatWouldDo_s(ephemeris_, options_.tolerance_m);
        const bool showsScatter = ephemeris_.size() >= kFewestForScatter && !isUndecided_ &&
                                  std::isfinite(errors.scatter_m) && !isOfSpacing(errors);
        if (showsScatter) check_.interpolation.scatter_m = errors.scatter_m;
        if (showsScatter && errors.scatter_m > kCoarseScatter_m)
            addOverall({Severity::Note, Kind::CoarseDigits, "the points scatter by " + lengthText(errors.scatter_m),
                        errors.scatter_m, "m"});
        reportGaps(errors);
        summarise(errors);
        reportInterpolation(errors);
        examineJumps(errors);
    }

    void examineJumps(const InterpolationErrors& errors) {
        const Irregularities found = findIrregularities(ephemeris_, errors, gaps_);
        for (const analysis::Jump& jump : found.jumps)
            reportJump(jump);
        for (const analysis::Outlier& outlier : found.outliers)
            reportOutlier(outlier);
        for (const analysis::Disagreement& disagreement : found.disagreements)
            reportDisagreement(disagreement);
        if (ephemeris_.size() < kWindow) return;
        if (errors.motion == Motion::Unknown)
            addNotExamined("jumps are not examined: the points follow no orbit");
        else if (ephemeris_.size() < kFewestForJumps)
            addNotExamined(notShownByFew() + " are not examined: there are fewer than " +
                           std::to_string(kFewestForJumps) + " points");
        else if (check_.spacing->least_s < kShortestStepForJumps_s)
            addNotExamined("jumps are not examined next to steps of less than a millisecond");
    }

    // Fewer points show less.
    std::string notShownByFew() const {
        std::string list = "jumps";
        const bool hasGaps = !gaps_.empty();
        const bool hasSingle = hasGaps || ephemeris_.size() < kFewestForOutliers;
        if (ephemeris_.size() < kFewestForScatter) list += (hasSingle ? ", " : " and ") + std::string("the scatter");
        if (hasGaps) return list + " and single points that are off";
        if (hasSingle)
            list += " and single points that are off by less than " + lengthText(leastOutlierOfFew_m(ephemeris_));
        return list;
    }

    // Where points are far apart, the six neighbours of a point don't show its scatter either: what they miss is then
    // far below what four neighbours do.
    static bool isOfSpacing(const InterpolationErrors& errors) {
        constexpr double kOfSpacing = 3.0;
        if (!(errors.scatter_m > kCoarseScatter_m)) return false;
        std::vector<double> missed_km;
        for (const Residual& residual : errors.residuals)
            if (residual.gain > 0.0) missed_km.push_back(residual.residual_km / residual.gain);
        return medianOf(std::move(missed_km)) * kMetresPerKm > kOfSpacing * errors.scatter_m;
    }

    // States next to a gap suffer as well, since their windows reach across it.
    void reportGaps(const InterpolationErrors& errors) {
        const auto isBad = [&](std::size_t i) { return errors.error_m(i) > options_.tolerance_m; };
        for (const std::size_t gap : gaps_) {
            if (!isAnswered(ephemeris_, gap) || !std::isfinite(errors.error_m(gap))) continue;
            const std::size_t first = gap > 0 && isBad(gap - 1) ? gap - 1 : gap;
            const std::size_t last = gap + 1 < ephemeris_.intervals() && isBad(gap + 1) ? gap + 1 : gap;
            const double error_m = errors.error_m(gap);
            addBetween(
                first, last + 1,
                {isBad(gap) ? Severity::Warning : Severity::Note, Kind::Gap,
                 "gap of " + roundedText(steps_s_[gap]) + " s: states between are off by about " + lengthText(error_m),
                 error_m, "m"});
        }
    }

    bool reachesAcrossGap(std::size_t interval) const {
        const std::size_t first = windowOf(interval, ephemeris_.size());
        const auto gap = std::lower_bound(gaps_.begin(), gaps_.end(), first);
        return gap != gaps_.end() && *gap < first + kWindow - 1;
    }

    bool counts(const InterpolationErrors& errors, std::size_t interval) const {
        return std::isfinite(errors.error_m(interval)) && !reachesAcrossGap(interval);
    }

    void summarise(const InterpolationErrors& errors) {
        InterpolationSummary& summary = check_.interpolation;
        const std::size_t last = ephemeris_.intervals() - 1;
        double worst_m = -1.0;
        double gain = -1.0;
        for (std::size_t i = 0; i <= last; ++i) {
            if (!counts(errors, i)) continue;
            const double error_m = errors.error_m(i);
            std::optional<double>& part = i == 0 ? summary.first_m : i == last ? summary.last_m : summary.inside_m;
            part = std::max(part.value_or(error_m), error_m);
            gain = std::max(gain, errors.gain[i]);
            if (!(error_m > worst_m)) continue;
            worst_m = error_m;
            summary.spacing_m = errors.spacing_m[i];
            summary.digits_m = errors.digits_m[i];
            summary.worst = ephemeris_.times[i];
        }
        if (gain >= 0.0) summary.largestGain = gain;
    }

    void reportInterpolation(const InterpolationErrors& errors) {
        const std::size_t last = ephemeris_.intervals() - 1;
        const auto isAbove = [&](std::size_t i) {
            return counts(errors, i) && errors.error_m(i) > options_.tolerance_m;
        };
        std::size_t above = 0;
        std::size_t worst = 0;
        for (std::size_t i = 1; i < last; ++i) {
            if (!isAbove(i)) continue;
            if (above++ == 0 || errors.error_m(i) > errors.error_m(worst)) worst = i;
        }
        reportUnknownErrors(errors);
        if (above > 0)
            reportInterval(errors, worst, "states in " + countText(above, "interval") + " are off by up to about ");
        if (isAbove(0)) reportInterval(errors, 0, "states in the first interval are off by up to about ");
        if (last > 0 && isAbove(last))
            reportInterval(errors, last, "states in the last interval are off by up to about ");
    }

    void reportUnknownErrors(const InterpolationErrors& errors) {
        std::size_t unknown = 0;
        for (std::size_t i = 0; i < ephemeris_.intervals(); ++i)
            unknown += isAnswered(ephemeris_, i) && !std::isfinite(errors.error_m(i));
        if (unknown > 0)
            addNotExamined("the error of interpolation can't be estimated in " + countText(unknown, "interval"));
    }

    void reportInterval(const InterpolationErrors& errors, std::size_t i, std::string text) {
        text += lengthText(errors.error_m(i));
        text += errors.spacing_m[i] > errors.digits_m[i] ? ", from the spacing of the points"
                                                         : ", from the scatter of the points";
        if (errors.gain[i] > kUnevenGain)
            text += "; uneven steps magnify the scatter " + roundedText(errors.gain[i]) + " times";
        addBetween(i, i + 1, {Severity::Warning, Kind::Interpolation, text, errors.error_m(i), "m"});
    }

    void reportJump(const analysis::Jump& jump) {
        const Ds50 when = after(ephemeris_.times.front(), jump.elapsed_s);
        const std::string at = " at about " + try_iso(when).value_or("?").substr(0, 19);
        Finding finding{Severity::Warning, Kind::Jump, {}};
        if (jump.isManoeuvre) {
            finding.text = "manoeuvre of " + speedText(jump.speed_m_s()) + at + ": " + joined(jump.dv_m_s, speedText);
            finding.value = jump.speed_m_s();
            finding.unit = "m/s";
        } else {
            finding.text = "step of " + lengthText(jump.distance_m()) + at + ": " + joined(*jump.dx_m, lengthText) +
                           "; " + joined(jump.dv_m_s, speedText);
            finding.value = jump.distance_m();
            finding.unit = "m";
        }
        finding.jump = JumpSize{jump.dv_m_s, jump.dx_m};
        addBetween(jump.interval, jump.interval + 1, std::move(finding));
    }

    void reportDisagreement(const analysis::Disagreement& disagreement) {
        addBetween(disagreement.first, disagreement.last,
                   {Severity::Warning, Kind::Outlier,
                    "points disagree by up to " + lengthText(disagreement.size_m) +
                        ": several are off; neither a manoeuvre nor a step explains them",
                    disagreement.size_m, "m"});
    }

    // Only the part that matters: the position, the velocity, or both.
    void reportOutlier(const analysis::Outlier& outlier) {
        constexpr double kOfStep_s = 10.0;  // a velocity counts as the distance covered in this time
        constexpr double kNothing = 0.01;
        if (isTooFar(outlier.point)) return;  // already reported
        const double distance_m = outlier.distance_m();
        const double drift_m = kOfStep_s * outlier.speed_m_s();
        const bool isPosition = !(distance_m < kNothing * drift_m);
        const bool isVelocity = !(drift_m < kNothing * distance_m);
        Finding finding{Severity::Warning,
                        Kind::Outlier,
                        {},
                        isPosition ? distance_m : outlier.speed_m_s(),
                        isPosition ? "m" : "m/s"};
        if (outlier.isInLeapSecond) {
            finding.text =
                "the point is in the leap second, whose times can't be told from the times of the next second: "
                "states around are off by up to " +
                lengthText(distance_m);
        } else {
            finding.text =
                "the point is off by " + (isPosition ? lengthText(distance_m) : speedText(outlier.speed_m_s())) +
                ", and those around agree without it: " + (isPosition ? joined(outlier.dx_m, lengthText) : "") +
                (isPosition && isVelocity ? "; " : "") + (isVelocity ? joined(outlier.dv_m_s, speedText) : "");
            finding.jump = JumpSize{outlier.dv_m_s, outlier.dx_m};
        }
        addBetween(outlier.point, outlier.point, std::move(finding));
    }

    const Ephemeris& ephemeris_;
    const CheckOptions& options_;
    const CovariancesBetween& between_;
    std::vector<double> steps_s_;
    std::vector<std::size_t> gaps_;
    bool isUndecided_ = false;  // whether the points follow an orbit
    SatelliteCheck check_;
};

}  // namespace

SatelliteCheck checkEphemeris(const Ephemeris& ephemeris, const CheckOptions& options,
                              const CovariancesBetween& between) {
    return Check(ephemeris, options, between).result();
}

SatelliteCheck checkSatellite(const Satellite& satellite, const CheckOptions& options, const Span& range) {
    const Ephemeris ephemeris = ephemerisOf(satellite, range);
    return checkEphemeris(ephemeris, options, [&] { return covariancesBetween(satellite, ephemeris); });
}

}  // namespace vorlandi::analysis
