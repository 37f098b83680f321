#include "analysis/Outliers.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "analysis/HermiteNodes.hpp"
#include "analysis/InterpolationErrors.hpp"
#include "analysis/Steps.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kShareOfPeak = 0.05;      // that may be left without the point; the wider steps count there
constexpr double kUsualAgain = 8.0;        // times the usual, as long as
constexpr double kShareOfSmallPeak = 0.3;  // it is that much less than with the point
constexpr double kAgreement = 0.1;         // of few points, to the differences of the one
constexpr double kGross = 0.02;            // of the way in a step: more is never due to other forces

// The largest residual, over its gain.
double peakOf(const InterpolationErrors& errors) {
    double peak = 0.0;
    for (const auto* residuals : {&errors.residuals, &errors.velocityResiduals})
        for (const Residual& residual : *residuals)
            peak = std::fmax(peak, residual.residual_km / residual.gain);
    return peak;
}

// The state that the four nearest points predict at a time, by the orbit through the nearest of them.
State expectedAt(const Ephemeris& others, Motion motion, double time_s) {
    const auto after = std::upper_bound(others.elapsed_s.begin(), others.elapsed_s.end(), time_s);
    const auto following = static_cast<std::size_t>(after - others.elapsed_s.begin());
    const std::size_t begin = std::min(std::max<std::size_t>(following, 2) - 2, others.size() - kWindow);
    const std::size_t centre = std::clamp(following, begin + 1, begin + kWindow) - 1;
    const double origin_s = others.elapsed_s[centre];
    const TwoBodyOrbit orbit(others.states[centre], motion);
    std::array<double, kWindow> times_s;
    for (std::size_t k = 0; k < kWindow; ++k)
        times_s[k] = others.elapsed_s[begin + k] - origin_s;
    const HermiteNodes<kWindow> nodes(times_s);
    const HermiteWeights<kWindow> position = nodes.at(time_s - origin_s);
    const HermiteWeights<kWindow> velocity = nodes.rateAt(time_s - origin_s);
    const State expected = orbit.at(time_s - origin_s);
    Vector r = positionOf(expected);
    Vector v = velocityOf(expected);
    for (std::size_t k = 0; k < kWindow; ++k) {
        const State onOrbit = orbit.at(times_s[k]);
        const Vector dx = positionOf(others.states[begin + k]) - positionOf(onOrbit);
        const Vector dv = velocityOf(others.states[begin + k]) - velocityOf(onOrbit);
        r += position.position[k] * dx + position.velocity[k] * dv;
        v += velocity.position[k] * dx + velocity.velocity[k] * dv;
    }
    return {arrayOf(r), arrayOf(v)};
}

bool followsLeapSecond(Ds50 time) {
    constexpr double kSecond_days = 1.0 / kSecondsPerDay;
    const double midnight = std::floor(time.days);
    return time.days - midnight < kSecond_days && tai_minus_utc_s(time) > tai_minus_utc_s({midnight - kSecond_days});
}

Outlier outlierAt(const Ephemeris& ephemeris, const Ephemeris& others, Motion motion, std::size_t point) {
    constexpr double kIsThere = 0.01;
    const State& state = ephemeris.states[point];
    const double time_s = ephemeris.elapsed_s[point];
    const State expected = expectedAt(others, motion, time_s);
    const Vector dx_km = positionOf(state) - positionOf(expected);
    const Vector dv_km_s = velocityOf(state) - velocityOf(expected);
    const std::optional<Axes> axes = orbitAxes(expected, motion);
    const auto components = [&](const Vector& vector) {
        return axes ? onAxes(*axes, arrayOf(vector)) : arrayOf(vector);
    };
    const bool isInLeapSecond =
        followsLeapSecond(ephemeris.times[point]) &&
        (positionOf(state) - positionOf(expectedAt(others, motion, time_s - 1.0))).norm() < kIsThere * dx_km.norm();
    return {point, isInLeapSecond, components(dx_km * kMetresPerKm), components(dv_km_s * kMetresPerKm)};
}

// The distance of a point from the orbit through another one, including the effect of the velocity difference over the
// time between them.
double disagreement_km(const Ephemeris& ephemeris, Motion motion, std::size_t from, std::size_t to) {
    const double step_s = ephemeris.elapsed_s[to] - ephemeris.elapsed_s[from];
    const State expected = TwoBodyOrbit(ephemeris.states[from], motion).at(step_s);
    const State& state = ephemeris.states[to];
    const double distance_km =
        (positionOf(state) - positionOf(expected)).norm() + step_s * (velocityOf(state) - velocityOf(expected)).norm();
    return std::isfinite(distance_km) ? distance_km : std::numeric_limits<double>::max();
}

// The largest such distance that other forces can cause: the flattening of the earth and, for high orbits, sun and
// moon.
double ofOtherForces_km(const Ephemeris& ephemeris) {
    constexpr double kFlattening = 3.3e-3;  // three times J2
    constexpr double kTides_km_s2 = 1e-8;
    constexpr double kWithVelocity = 1.5;  // half the square of the time, and once more for the velocity
    double largest_km = 0.0;
    for (std::size_t i = 0; i < ephemeris.intervals(); ++i) {
        const double step_s = ephemeris.elapsed_s[i + 1] - ephemeris.elapsed_s[i];
        const double radius_km =
            std::min(positionOf(ephemeris.states[i]).norm(), positionOf(ephemeris.states[i + 1]).norm());
        const double flattening_km_s2 =
            kFlattening * kMu_km3_s2 * std::pow(kEarthRadius_km / (radius_km * radius_km), 2);
        largest_km = std::max(largest_km, kWithVelocity * (flattening_km_s2 + kTides_km_s2) * step_s * step_s);
    }
    return largest_km;
}

// Of a satellite at the median height, in a median step.
double wayOf(const Ephemeris& ephemeris) {
    std::vector<double> radii_km;
    for (const State& state : ephemeris.states)
        radii_km.push_back(positionOf(state).norm());
    return std::sqrt(kMu_km3_s2 / medianOf(std::move(radii_km))) * medianOf(stepsOf(ephemeris));
}

}  // namespace

double Outlier::distance_m() const noexcept { return vectorOf(dx_m).norm(); }
double Outlier::speed_m_s() const noexcept { return vectorOf(dv_m_s).norm(); }

Ephemeris withoutPoint(const Ephemeris& ephemeris, std::size_t point, std::size_t reach) {
    Ephemeris others;
    others.number = ephemeris.number;
    others.frame = ephemeris.frame;
    const std::size_t end = std::min(point + std::min(reach, ephemeris.size()) + 1, ephemeris.size());
    for (std::size_t i = point - std::min(point, reach); i < end; ++i) {
        if (i == point) continue;
        others.times.push_back(ephemeris.times[i]);
        others.elapsed_s.push_back(ephemeris.elapsed_s[i]);
        others.stored_s.push_back(ephemeris.stored_s[i]);
        others.states.push_back(ephemeris.states[i]);
    }
    return others;
}

std::optional<Outlier> outlierAmong(const Ephemeris& ephemeris, Motion motion, std::size_t first, std::size_t last,
                                    const Disturbance& disturbance, std::size_t reach) {
    const double enough = std::min(kUsualAgain * disturbance.usual, kShareOfSmallPeak * disturbance.peak);
    double least = std::max(kShareOfPeak * disturbance.peak, enough);
    std::optional<std::size_t> found;
    for (std::size_t point = first; point <= last; ++point) {
        const Ephemeris others = withoutPoint(ephemeris, point, reach);
        if (others.size() < kWindow + 1) continue;
        const double peak = peakOf(estimatedErrors(others, motion));
        if (!(peak < least)) continue;
        least = peak;
        found = point;
    }
    if (!found) return std::nullopt;
    const Outlier outlier = outlierAt(ephemeris, withoutPoint(ephemeris, *found, reach), motion, *found);
    if (!std::isfinite(outlier.distance_m() + outlier.speed_m_s())) return std::nullopt;
    return outlier;
}

double leastOutlierOfFew_m(const Ephemeris& ephemeris) {
    constexpr double kMargin = 2.0;
    return std::min(kMargin * ofOtherForces_km(ephemeris), kGross * wayOf(ephemeris)) * kMetresPerKm;
}

namespace {

// The point that is far from the two-body orbits through its neighbours, while those agree.
std::optional<Outlier> outlierOfPairs(const Ephemeris& ephemeris, Motion motion) {
    const std::size_t points = ephemeris.size();
    std::vector<double> pairs_km;
    for (std::size_t i = 0; i + 1 < points; ++i)
        pairs_km.push_back(disagreement_km(ephemeris, motion, i, i + 1));
    const double least_km = leastOutlierOfFew_m(ephemeris) / kMetresPerKm;
    for (std::size_t point = 0; point < points; ++point) {
        double own_km = std::numeric_limits<double>::infinity();
        double others_km = 0.0;
        for (std::size_t i = 0; i < pairs_km.size(); ++i)
            if (i + 1 == point || i == point)
                own_km = std::min(own_km, pairs_km[i]);
            else
                others_km = std::max(others_km, pairs_km[i]);
        if (point > 0 && point + 1 < points)
            others_km = std::max(others_km, disagreement_km(ephemeris, motion, point - 1, point + 1));
        if (!(others_km < kAgreement * own_km && own_km > least_km)) continue;
        const Ephemeris others = withoutPoint(ephemeris, point, points);
        if (others.size() >= kWindow) return outlierAt(ephemeris, others, motion, point);
        const State expected =
            TwoBodyOrbit(others.states.front(), motion).at(ephemeris.elapsed_s[point] - others.elapsed_s.front());
        const Vector off_m = (positionOf(ephemeris.states[point]) - positionOf(expected)) * kMetresPerKm;
        const Vector speed_m_s = (velocityOf(ephemeris.states[point]) - velocityOf(expected)) * kMetresPerKm;
        return Outlier{point, false, arrayOf(off_m), arrayOf(speed_m_s)};
    }
    return std::nullopt;
}

// The point without which all residuals are far smaller. They have to exceed the effect of the spacing, or residuals at
// perigee would look like an outlier.
std::optional<Outlier> outlierOfResiduals(const Ephemeris& ephemeris, Motion motion) {
    if (ephemeris.size() < kFewestForOutliers) return std::nullopt;
    const InterpolationErrors errors = estimatedErrors(ephemeris, motion);
    if (std::none_of(errors.residuals.begin(), errors.residuals.end(), std::mem_fn(&Residual::isOfPoints)))
        return std::nullopt;
    return outlierAmong(ephemeris, motion, 0, ephemeris.size() - 1, {peakOf(errors), 0.0}, ephemeris.size());
}

}  // namespace

std::optional<Outlier> outlierOfFew(const Ephemeris& ephemeris, Motion motion) {
    if (ephemeris.size() < kWindow || motion == Motion::Unknown) return std::nullopt;
    const std::optional<Outlier> outlier = outlierOfPairs(ephemeris, motion);
    return outlier ? outlier : outlierOfResiduals(ephemeris, motion);
}

}  // namespace vorlandi::analysis
