#include "PlotPanels.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "Spacing.hpp"
#include "analysis/Jumps.hpp"
#include "analysis/Steps.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::cli {
namespace {

using analysis::Curve;

constexpr const char* kDashes[] = {"", "6 3", "2 2"};  // radial, in-track, cross-track
constexpr const char* kAxisNames[] = {"radial", "in-track", "cross-track"};

Span spanOf(const std::vector<PlottedSatellite>& satellites) {
    Span span = satellites.front().span();
    for (const PlottedSatellite& satellite : satellites) {
        span.first = std::min(span.first, satellite.span().first);
        span.last = std::max(span.last, satellite.span().last);
    }
    // One point still has a width.
    if (span.first == span.last) span.last.days += 1.0 / analysis::kSecondsPerDay;
    return span;
}

class Panels {
public:
    Panels(const std::vector<PlottedSatellite>& satellites, const std::set<Shown>& shown, int width_px,
           Console& console)
        : satellites_(satellites), shown_(shown), samples_(2 * static_cast<std::size_t>(width_px)), console_(console) {
        plot_.span = spanOf(satellites);
        for (const PlottedSatellite& satellite : satellites)
            plot_.satellites.push_back(satellite.name);
    }

    Plot plot(const std::vector<PlottedPair>& pairs) {
        if (shown_.contains(Shown::Height)) addValues("height above 6378.137 km (km)", analysis::height_km);
        if (shown_.contains(Shown::Speed)) addValues("speed (km/s)", analysis::speed_km_s);
        if (shown_.contains(Shown::Sigma)) addSigmas();
        addErrors();
        if (!pairs.empty()) addDifferences(pairs);
        return std::move(plot_);
    }

private:
    void addValues(const char* title, double (*value)(const State&)) {
        PlotPanel panel{title, false, {}};
        for (std::size_t i = 0; i < satellites_.size(); ++i)
            panel.curves.push_back(
                {curveOf(satellites_[i].satellite, satellites_[i].ephemeris, satellites_[i].range, samples_, value), i,
                 ""});
        plot_.panels.push_back(std::move(panel));
    }

    void addSigmas() {
        PlotPanel panel{"sigma (m): radial, in-track (dashed), cross-track (dotted)", true, {}};
        for (std::size_t i = 0; i < satellites_.size(); ++i) {
            std::array<Curve, 3> curves = sigmaCurves(satellites_[i].ephemeris, satellites_[i].range);
            for (std::size_t axis = 0; axis < curves.size(); ++axis)
                if (!curves[axis].times.empty()) panel.curves.push_back({std::move(curves[axis]), i, kDashes[axis]});
        }
        if (!panel.curves.empty()) plot_.panels.push_back(std::move(panel));
    }

    // Gaps and jumps are marked for the satellites that have a colour.
    void addErrors() {
        PlotPanel panel{"estimated interpolation error (m)", true, {}};
        for (std::size_t i = 0; i < satellites_.size(); ++i) {
            const bool isMarked = i < kPlotColours && shown_.contains(Shown::Gaps);
            if (!isMarked && !shown_.contains(Shown::Error)) continue;
            const analysis::Ephemeris& ephemeris = satellites_[i].ephemeris;
            const analysis::InterpolationErrors errors = analysis::estimatedErrors(ephemeris);
            if (isMarked) markGapsAndJumps(i, errors);
            panel.curves.push_back({errorCurve(ephemeris, satellites_[i].range, errors), i, ""});
        }
        if (shown_.contains(Shown::Error)) plot_.panels.push_back(std::move(panel));
    }

    void markGapsAndJumps(std::size_t i, const analysis::InterpolationErrors& errors) {
        const analysis::Ephemeris& ephemeris = satellites_[i].ephemeris;
        const std::vector<std::size_t> gaps = analysis::gapsIn(analysis::stepsOf(ephemeris));
        for (const analysis::Stretch& stretch : unansweredStretches(ephemeris))
            markGap(i, stretch, false);
        for (const std::size_t gap : gaps)
            if (isAnswered(ephemeris, gap)) markGap(i, {gap, gap}, true);
        if (errors.motion == analysis::Motion::Unknown || errors.spacing_m.empty()) return;
        const Span span = satellites_[i].span();
        for (const analysis::Jump& jump : findIrregularities(ephemeris, errors, gaps).jumps) {
            const Ds50 time = analysis::after(ephemeris.times.front(), jump.elapsed_s);
            if (time < span.first || span.last < time) continue;
            plot_.marks.push_back({time, i,
                                   fmt::format("{} of {}, {:.3g} m/s", jump.isManoeuvre ? "manoeuvre" : "step",
                                               satellites_[i].name, jump.speed_m_s())});
        }
    }

    // The part of a gap that is in the range.
    void markGap(std::size_t i, const analysis::Stretch& intervals, bool isAnswered) {
        const auto& [satellite, name, ephemeris, range] = satellites_[i];
        const std::size_t first = std::max(intervals.first, range.first);
        const std::size_t last = std::min(intervals.last + 1, range.last - 1);
        if (first < last) plot_.gaps.push_back({{ephemeris.times[first], ephemeris.times[last]}, i, isAnswered});
    }

    void addDifferences(const std::vector<PlottedPair>& pairs) {
        std::array<PlotPanel, 3> panels;
        for (std::size_t axis = 0; axis < panels.size(); ++axis)
            panels[axis].title = fmt::format("{} difference (m)", kAxisNames[axis]);
        for (const PlottedPair& pair : pairs) {
            const PlottedSatellite& first = satellites_[pair.first];
            const std::optional<Span> common = analysis::commonSpan(first.satellite, pair.second, plot_.span);
            if (!common) continue;
            const analysis::Comparison comparison =
                analysis::compare(first.satellite, pair.second, analysis::timesWithin(first.satellite, *common));
            std::array<Curve, 3> curves = differenceCurves(pair, *common, comparison.differences);
            for (std::size_t axis = 0; axis < panels.size(); ++axis)
                panels[axis].curves.push_back({std::move(curves[axis]), pair.first, ""});
        }
        for (PlotPanel& panel : panels)
            plot_.panels.push_back(std::move(panel));
    }

    // Broken at gaps of both satellites, across which the second one is interpolated.
    std::array<Curve, 3> differenceCurves(const PlottedPair& pair, const Span& common,
                                          const std::vector<analysis::Difference>& differences) {
        constexpr analysis::Quantity kQuantities[] = {analysis::Quantity::Radial, analysis::Quantity::InTrack,
                                                      analysis::Quantity::CrossTrack};
        const Gaps gapsOfFirst(satellites_[pair.first].satellite), gapsOfSecond(pair.second);
        std::array<Curve, 3> curves;
        std::size_t leftOut = 0;
        for (std::size_t i = 0; i < differences.size(); ++i) {
            const Ds50 time = differences[i].time, before = differences[i > 0 ? i - 1 : 0].time;
            const double middle_days = std::midpoint(before.days, time.days);
            const bool isInGap = gapsOfSecond.contains(time.days);
            const bool isBroken = isInGap || gapsOfFirst.contains(middle_days) || gapsOfSecond.contains(middle_days);
            for (std::size_t axis = 0; axis < curves.size(); ++axis) {
                if (isBroken) curves[axis].add(before, analysis::kNone);
                if (!isInGap) curves[axis].add(time, differences[i][kQuantities[axis]]);
            }
            if (isInGap) ++leftOut;
        }
        if (leftOut > 0)
            console_.warning(
                pair.nameOfSecond,
                fmt::format("{} of {} {} interpolated across {}: the difference is not drawn there", leftOut,
                            analysis::countText(differences.size(), "state"), analysis::isOrAre(leftOut),
                            analysis::countText(gapsOfSecond.countWithin(common), "gap")));
        return curves;
    }

    const std::vector<PlottedSatellite>& satellites_;
    const std::set<Shown>& shown_;
    std::size_t samples_;
    Console& console_;
    Plot plot_;
};

}  // namespace

Plot makePlot(const std::vector<PlottedSatellite>& satellites, const std::vector<PlottedPair>& pairs,
              const std::set<Shown>& shown, int width_px, Console& console) {
    return Panels(satellites, shown, width_px, console).plot(pairs);
}

}  // namespace vorlandi::cli
