#include "analysis/Jumps.hpp"

#include <algorithm>
#include <cmath>

#include "analysis/LeftOut.hpp"
#include "analysis/Steps.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kSuspicious = 8.0;     // times the usual residual around
constexpr std::size_t kAround = 30;     // points on each side that are usual
constexpr std::size_t kLeftOfThem = 3;  // the nearest of them, which a jump also disturbs
constexpr std::size_t kLeastUsual = 10;
constexpr double kDigitsOfDoubles = 1e-12;  // of a position; a residual below that is rounding
constexpr std::size_t kBeside = 3;          // points on each side of an event that its fit takes
constexpr std::size_t kLongestEvent = 9;    // points; of a longer one only those around the largest are fitted
constexpr int kInstantsInInterval = 13;
constexpr double kManoeuvreFits = 4.0;
constexpr double kAccuracyOfFit = 0.05;  // a jump drifts away linearly, which holds for a few steps only
constexpr double kUnexplained = 0.1;     // a jump has to leave less of the squares than this,
constexpr double kStillUnusual = 4.0;    // or residuals that are at most this many times the usual

// The intervals across which nothing is examined. Next to a short step the times of the points matter as well.
std::vector<std::size_t> barriers(const Ephemeris& ephemeris, const std::vector<std::size_t>& gaps) {
    std::vector<std::size_t> intervals = gaps;
    for (std::size_t i = 0; i < ephemeris.intervals(); ++i)
        if (ephemeris.elapsed_s[i + 1] - ephemeris.elapsed_s[i] < kShortestStepForJumps_s)
            for (std::size_t k = i - std::min<std::size_t>(i, 1); k < std::min(i + 2, ephemeris.intervals()); ++k)
                intervals.push_back(k);
    return intervals;
}

// Residuals over their gain; NaN for points that are not examined.
std::vector<double> scaledResiduals(const std::vector<Residual>& residuals, const std::vector<std::size_t>& gaps) {
    std::vector<double> scaled;
    scaled.reserve(residuals.size());
    for (const Residual& residual : residuals)
        scaled.push_back(residual.residual_km / residual.gain);
    for (const std::size_t gap : gaps)
        for (std::size_t i = gap - std::min<std::size_t>(gap, 1); i <= std::min(gap + 2, scaled.size() - 1); ++i)
            scaled[i] = std::numeric_limits<double>::quiet_NaN();
    return scaled;
}

class Suspicion {
public:
    Suspicion(const Ephemeris& ephemeris, const std::vector<Residual>& residuals, const std::vector<std::size_t>& gaps)
        : ephemeris_(ephemeris), residuals_(residuals), scaled_(scaledResiduals(residuals, gaps)) {}

    const std::vector<double>& scaled() const { return scaled_; }

    bool of(std::size_t i) const {
        const Residual& residual = residuals_[i];
        if (!(scaled_[i] > 0.0) || !residual.isOfPoints()) return false;
        if (residual.residual_km < kDigitsOfDoubles * positionOf(ephemeris_.states[i]).norm()) return false;
        // Counting is quicker than the median, and nearly always enough: too few values are that small.
        const std::size_t first = i - std::min(i, kAround);
        const std::size_t last = std::min(i + kAround, scaled_.size() - 1);
        const double limit = scaled_[i] / kSuspicious;
        std::size_t usual = 0;
        std::size_t smaller = 0;
        for (std::size_t k = first; k <= last; ++k) {
            usual += scaled_[k] >= 0.0;
            smaller += scaled_[k] < limit;
        }
        if (2 * smaller + 2 * kLeftOfThem + 1 < usual) return false;
        return scaled_[i] > kSuspicious * usualAround(i, i);
    }

    // The median of the values around some points; infinite where too few are known.
    double usualAround(std::size_t first, std::size_t last) const {
        std::vector<double> around;
        for (std::size_t k = first - std::min(first, kAround); k <= std::min(last + kAround, scaled_.size() - 1); ++k)
            if (scaled_[k] >= 0.0 && (k + kLeftOfThem < first || k > last + kLeftOfThem)) around.push_back(scaled_[k]);
        if (around.size() < kLeastUsual) return std::numeric_limits<double>::infinity();
        return medianOf(std::move(around));
    }

private:
    const Ephemeris& ephemeris_;
    const std::vector<Residual>& residuals_;
    std::vector<double> scaled_;
};

struct Event {
    std::size_t first;  // suspicious points
    std::size_t last;
};

// Positions hardly show a change of velocity in the middle of an interval; velocities do.
std::vector<Event> eventsIn(const Suspicion& positions, const Suspicion& velocities) {
    std::vector<Event> events;
    const std::vector<double>& scaled = positions.scaled();
    for (std::size_t i = 0; i < scaled.size(); ++i) {
        if (!positions.of(i) && !velocities.of(i)) continue;
        if (events.empty() || i > events.back().last + 2) events.push_back({i, i});
        events.back().last = i;
    }
    for (Event& event : events) {
        if (event.last - event.first < kLongestEvent) continue;
        const auto begin = scaled.begin() + static_cast<std::ptrdiff_t>(event.first);
        const auto end = scaled.begin() + static_cast<std::ptrdiff_t>(event.last) + 1;
        const auto peak =
            std::max_element(begin, end, [](double a, double b) { return std::fmax(a, 0.0) < std::fmax(b, 0.0); });
        const auto at = static_cast<std::size_t>(peak - scaled.begin());
        event = {std::max(event.first, at - kLongestEvent / 2), std::min(event.last, at + kLongestEvent / 2)};
    }
    return events;
}

// The residual of one point, position and velocity, and its response to a jump at any instant.
class Witness {
public:
    Witness(const Ephemeris& ephemeris, std::size_t point, Motion motion, double step_s)
        : time_s_(ephemeris.elapsed_s[point]), step_s_(step_s) {
        const Neighbourhood near(ephemeris, ephemeris.elapsed_s, point, motion, 2);
        const Neighbours<4> neighbours = neighboursOf<4>(near);
        position_ = neighbours.nodes.at(0.0);
        velocity_ = neighbours.nodes.rateAt(0.0);
        for (std::size_t k = 0; k < 4; ++k)
            times_s_[k] = ephemeris.elapsed_s[near.index(neighbours.offsets[k])];
        residuals_ = {ofDifferences(near, neighbours, position_), step_s * ofDifferences(near, neighbours, velocity_)};
    }

    struct Row {
        double ofStep;      // residual for a step of one unit
        double ofVelocity;  // for a change of velocity of one unit of length in a median step
        const Vector& residual;
    };

    // The neighbours on the other side of the jump show it against the orbit through this point.
    std::array<Row, 2> rowsAt(double instant_s) const {
        const double own = time_s_ > instant_s ? 1.0 : 0.0;
        std::array<double, 2> ofStep{};
        std::array<double, 2> ofVelocity{};
        for (std::size_t k = 0; k < 4; ++k) {
            const double across = (times_s_[k] > instant_s ? 1.0 : 0.0) - own;
            const double drift = across * (times_s_[k] - instant_s) / step_s_;
            const double speed = across / step_s_;
            ofStep[0] += position_.position[k] * across;
            ofVelocity[0] += position_.position[k] * drift + position_.velocity[k] * speed;
            ofStep[1] += step_s_ * velocity_.position[k] * across;
            ofVelocity[1] += step_s_ * (velocity_.position[k] * drift + velocity_.velocity[k] * speed);
        }
        return {Row{ofStep[0], ofVelocity[0], residuals_[0]}, Row{ofStep[1], ofVelocity[1], residuals_[1]}};
    }

private:
    double time_s_;
    double step_s_;
    std::array<double, 4> times_s_{};
    HermiteWeights<4> position_{};
    HermiteWeights<4> velocity_{};
    std::array<Vector, 2> residuals_;
};

// A fit at one instant. Changes of velocity are in km in a median step.
struct Fit {
    double squares = std::numeric_limits<double>::infinity();  // that remain
    double instant_s = 0.0;
    std::size_t interval = 0;
    Vector velocity = Vector::Zero();
    Vector step = Vector::Zero();
};

struct Fits {
    double all = 0.0;  // squares before the fit
    Fit velocityAlone;
    Fit both;

    bool isManoeuvre() const {
        return !(velocityAlone.squares > kManoeuvreFits * kManoeuvreFits * std::max(both.squares, 0.0)) ||
               velocityAlone.squares < kAccuracyOfFit * kAccuracyOfFit * all;
    }
};

void fitAt(const std::vector<Witness>& witnesses, double instant_s, std::size_t interval, Fits& best) {
    double all = 0.0;
    double vv = 0.0;
    double sv = 0.0;
    double ss = 0.0;
    Vector v = Vector::Zero();
    Vector s = Vector::Zero();
    for (const Witness& witness : witnesses)
        for (const auto& [ofStep, ofVelocity, residual] : witness.rowsAt(instant_s)) {
            all += residual.squaredNorm();
            vv += ofVelocity * ofVelocity;
            sv += ofStep * ofVelocity;
            ss += ofStep * ofStep;
            v += ofVelocity * residual;
            s += ofStep * residual;
        }
    if (const double squares = all - v.squaredNorm() / vv; squares < best.velocityAlone.squares)
        best.velocityAlone = {squares, instant_s, interval, v / vv, Vector::Zero()};
    best.all = all;
    const double determinant = vv * ss - sv * sv;
    if (!(determinant > 1e-12 * vv * ss)) return;
    const Vector velocity = (ss * v - sv * s) / determinant;
    const Vector step = (vv * s - sv * v) / determinant;
    if (const double squares = all - velocity.dot(v) - step.dot(s); squares < best.both.squares)
        best.both = {squares, instant_s, interval, velocity, step};
}

// Between the instants next to the best one that was tried.
void refineInstant(const Ephemeris& ephemeris, const std::vector<Witness>& witnesses, Fits& best) {
    constexpr int kHalvings = 12;
    const std::size_t interval = best.velocityAlone.interval;
    if (!std::isfinite(best.velocityAlone.squares)) return;
    const double begin_s = ephemeris.elapsed_s[interval];
    const double end_s = ephemeris.elapsed_s[interval + 1];
    double reach_s = (end_s - begin_s) / kInstantsInInterval;
    for (int k = 0; k < kHalvings; ++k) {
        reach_s *= 0.5;
        const double centre_s = best.velocityAlone.instant_s;
        for (const double instant_s : {centre_s - reach_s, centre_s + reach_s})
            if (instant_s > begin_s && instant_s < end_s) fitAt(witnesses, instant_s, interval, best);
    }
}

Disturbance disturbanceBy(const Event& event, const Suspicion& positions, const Suspicion& velocities) {
    Disturbance disturbance{0.0, 0.0};
    for (const Suspicion* const suspicion : {&positions, &velocities}) {
        for (std::size_t i = event.first; i <= event.last; ++i)
            disturbance.peak = std::fmax(disturbance.peak, suspicion->scaled()[i]);
        disturbance.usual = std::max(disturbance.usual, suspicion->usualAround(event.first, event.last));
    }
    return disturbance;
}

// One bad point disturbs the residuals of itself and of two points on each side.
std::optional<Outlier> outlierOf(const Ephemeris& ephemeris, Motion motion, const Event& event,
                                 const Disturbance& disturbance) {
    constexpr std::size_t kMostDisturbed = 5;
    if (event.last - event.first >= kMostDisturbed) return std::nullopt;
    return outlierAmong(ephemeris, motion, event.first - std::min<std::size_t>(event.first, 2),
                        std::min(event.last + 2, ephemeris.size() - 1), disturbance);
}

double length(const std::array<double, 3>& vector) { return vectorOf(vector).norm(); }

std::vector<Witness> witnessesOf(const Event& event, const Ephemeris& ephemeris, Motion motion,
                                 const std::vector<double>& scaled, double step_s) {
    std::vector<Witness> witnesses;
    for (std::size_t i = event.first - std::min(event.first, kBeside);
         i <= std::min(event.last + kBeside, ephemeris.size() - 1); ++i)
        if (scaled[i] >= 0.0) witnesses.emplace_back(ephemeris, i, motion, step_s);
    return witnesses;
}

Fits bestFits(const Ephemeris& ephemeris, const std::vector<Witness>& witnesses, const Event& event) {
    Fits best;
    const std::size_t last = std::min(event.last + 1, ephemeris.intervals() - 1);
    for (std::size_t interval = event.first - std::min<std::size_t>(event.first, 2); interval <= last; ++interval)
        for (int k = 0; k < kInstantsInInterval; ++k) {
            const double share = (k + 0.5) / kInstantsInInterval;
            const double from_s = ephemeris.elapsed_s[interval];
            fitAt(witnesses, from_s + share * (ephemeris.elapsed_s[interval + 1] - from_s), interval, best);
        }
    refineInstant(ephemeris, witnesses, best);
    return best;
}

// Whether the remaining residuals are still far above the usual.
bool isUnusual(const Fit& fit, std::size_t witnesses, double usual) {
    return !(std::sqrt(fit.squares / (2.0 * static_cast<double>(witnesses))) <= kStillUnusual * usual);
}

Jump jumpOf(const Fit& fit, bool isManoeuvre, const Ephemeris& ephemeris, Motion motion, double step_s) {
    const std::optional<Axes> axes = orbitAxes(ephemeris.states[fit.interval], motion);
    const auto components = [&](const Vector& vector) {
        return axes ? onAxes(*axes, arrayOf(vector)) : arrayOf(vector);
    };
    Jump jump{fit.interval, fit.instant_s, isManoeuvre, components(fit.velocity * (kMetresPerKm / step_s)), {}};
    if (!isManoeuvre) jump.dx_m = components(fit.step * kMetresPerKm);
    return jump;
}

}  // namespace

double Jump::speed_m_s() const noexcept { return length(dv_m_s); }
double Jump::distance_m() const noexcept { return dx_m ? length(*dx_m) : 0.0; }

Irregularities findIrregularities(const Ephemeris& ephemeris, const InterpolationErrors& errors,
                                  const std::vector<std::size_t>& gaps) {
    Irregularities found;
    if (errors.motion == Motion::Unknown || errors.residuals.empty()) return found;
    const std::vector<std::size_t> examinedApart = barriers(ephemeris, gaps);
    const Suspicion positions(ephemeris, errors.residuals, examinedApart);
    const Suspicion velocities(ephemeris, errors.velocityResiduals, examinedApart);
    const double step_s = medianOf(stepsOf(ephemeris));
    for (const Event& event : eventsIn(positions, velocities)) {
        const Disturbance disturbance = disturbanceBy(event, positions, velocities);
        // A weak jump without one of its points also leaves residuals of the usual size: the better explanation counts.
        if (const auto outlier = outlierOf(ephemeris, errors.motion, event, {disturbance.peak, 0.0})) {
            found.outliers.push_back(*outlier);
            continue;
        }
        const auto witnesses = witnessesOf(event, ephemeris, errors.motion, positions.scaled(), step_s);
        const Fits best = bestFits(ephemeris, witnesses, event);
        const Fit& fit = best.isManoeuvre() ? best.velocityAlone : best.both;
        const bool isJump = std::isfinite(fit.squares) && fit.squares <= kUnexplained * best.all;
        const auto outlier = isJump ? std::nullopt : outlierOf(ephemeris, errors.motion, event, disturbance);
        if (outlier)
            found.outliers.push_back(*outlier);
        else if (isJump || !isUnusual(fit, witnesses.size(), disturbance.usual))
            found.jumps.push_back(jumpOf(fit, best.isManoeuvre(), ephemeris, errors.motion, step_s));
        else if (std::isfinite(fit.squares))
            found.disagreements.push_back({event.first, event.last, disturbance.peak * kMetresPerKm});
    }
    return found;
}

}  // namespace vorlandi::analysis
