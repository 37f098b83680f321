#include "analysis/Dynamics.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <span>
#include <tuple>

#include "analysis/Steps.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr std::size_t kMostPoints = 10'000;
constexpr std::size_t kFewestPoints = 4;
constexpr double kFits = 0.01;
constexpr double kRefused = 0.05;
constexpr double kUnitTolerance = 0.02;
constexpr double kLargestMismatch = 0.02;

constexpr Unit kVelocityUnits[] = {
    {1000.0, "velocities in m/s, positions in km"},
    {1.0 / 1000.0, "velocities in km/s, positions in m"},
    {3280.84, "velocities in ft/s, positions in km"},
    {0.3048, "velocities in m/s, positions in ft"},
    {60.0, "velocities per minute"},
    {1.0 / 60.0, "velocities per second, times in minutes"},
    {3600.0, "velocities per hour"},
    {kSecondsPerDay, "velocities per day"},
    {1.0 / kSecondsPerDay, "velocities per second, times in days"},
    {-1.0, "velocities with the opposite sign"},
};

constexpr Unit kPositionUnits[] = {
    {1000.0, "metres"},
    {3280.84, "feet"},
    {0.621371, "statute miles"},
    {0.539957, "nautical miles"},
    {1.0 / kEarthRadius_km, "earth radii"},
};

template <std::size_t N>
const Unit* unitNear(const Unit (&units)[N], double factor) {
    const auto unit = std::find_if(std::begin(units), std::end(units), [factor](const Unit& known) {
        return std::abs(factor / known.factor - 1.0) <= kUnitTolerance;
    });
    return unit == std::end(units) ? nullptr : unit;
}

// Weights of the values at five times or fewer for the derivatives of their polynomial at one of them.
struct DerivativeWeights {
    std::array<double, 5> first;
    std::array<double, 5> second;
};

DerivativeWeights derivativeWeights(std::span<const double> times_s, std::size_t centre) {
    DerivativeWeights weights{};
    for (std::size_t k = 0; k < times_s.size(); ++k) {
        if (k == centre) continue;
        const double own_s = times_s[k] - times_s[centre];
        double first = 1.0 / own_s;
        double sum = 0.0;
        for (std::size_t j = 0; j < times_s.size(); ++j) {
            if (j == k || j == centre) continue;
            const double other_s = times_s[j] - times_s[centre];
            first *= -other_s / (own_s - other_s);
            sum -= 1.0 / other_s;
        }
        weights.first[k] = first;
        weights.second[k] = 2.0 * first * sum;
        weights.first[centre] -= weights.first[k];
        weights.second[centre] -= weights.second[k];
    }
    return weights;
}

struct Sample {
    Vector position;
    Vector velocity;
    Vector acceleration;
    Vector change;        // derivative of the positions
    Vector coarseChange;  // the same from the two neighbours alone
    Vector curvature;     // second derivative of the positions
};

// Of the points around i, five or, in an ephemeris of four, all.
Sample sampleAt(const Ephemeris& ephemeris, std::size_t i) {
    const std::size_t nodes = std::min<std::size_t>(ephemeris.size(), 5);
    const std::size_t first = nodes == 5 ? i - 2 : 0;
    const double* const times_s = &ephemeris.elapsed_s[first];
    const DerivativeWeights weights = derivativeWeights({times_s, nodes}, i - first);
    Sample sample{positionOf(ephemeris.states[i]),
                  velocityOf(ephemeris.states[i]),
                  Vector::Zero(),
                  Vector::Zero(),
                  Vector::Zero(),
                  Vector::Zero()};
    for (std::size_t k = 0; k < nodes; ++k) {
        const State& state = ephemeris.states[first + k];
        sample.acceleration += weights.first[k] * velocityOf(state);
        sample.change += weights.first[k] * positionOf(state);
        sample.curvature += weights.second[k] * positionOf(state);
    }
    const double before_s = ephemeris.elapsed_s[i] - ephemeris.elapsed_s[i - 1];
    const double after_s = ephemeris.elapsed_s[i + 1] - ephemeris.elapsed_s[i];
    const Vector before = sample.position - positionOf(ephemeris.states[i - 1]);
    const Vector after = positionOf(ephemeris.states[i + 1]) - sample.position;
    sample.coarseChange = (before * (after_s / before_s) + after * (before_s / after_s)) / (before_s + after_s);
    return sample;
}

std::vector<Sample> samplesOf(const Ephemeris& ephemeris) {
    std::vector<Sample> samples;
    const std::size_t points = ephemeris.size();
    if (points < kFewestPoints) return samples;
    // A gap counts for the two points on each side of it.
    std::vector<bool> nearGap(points, false);
    for (const std::size_t gap : gapsIn(stepsOf(ephemeris)))
        for (std::size_t i = gap - std::min<std::size_t>(gap, 1); i < std::min(gap + 3, points); ++i)
            nearGap[i] = true;
    const std::size_t stride = (points - 4 + kMostPoints - 1) / kMostPoints;
    const std::size_t margin = points == kFewestPoints ? 1 : 2;
    for (std::size_t i = margin; i + margin < points; i += std::max<std::size_t>(stride, 1))
        if (!nearGap[i]) samples.push_back(sampleAt(ephemeris, i));
    return samples;
}

template <typename Value>
double medianOver(const std::vector<Sample>& samples, Value value) {
    std::vector<double> values;
    values.reserve(samples.size());
    for (const Sample& sample : samples)
        values.push_back(value(sample));
    return medianOf(std::move(values));
}

Vector rotation(const Vector& vector) {
    return {-kEarthRotation_rad_s * vector.y(), kEarthRotation_rad_s * vector.x(), 0.0};
}

// The acceleration on inertial axes.
Vector inertialAcceleration(const Sample& sample, Motion motion) {
    if (motion != Motion::Rotating) return sample.acceleration;
    return sample.acceleration + 2.0 * rotation(sample.velocity) + rotation(rotation(sample.position));
}

// How far the acceleration is from gravity, as a share of it, if a kilometre has this many units of the positions.
double residual(const std::vector<Sample>& samples, Motion motion, double unitsInKm) {
    return medianOver(samples, [=](const Sample& sample) {
        const Vector position = sample.position / unitsInKm;
        const double radius = position.norm();
        const Vector gravity = position * (kMu_km3_s2 / (radius * radius * radius));
        return (inertialAcceleration(sample, motion) / unitsInKm + gravity).norm() / gravity.norm();
    });
}

// |difference| / |change of the positions|. A geostationary satellite hardly moves in rotating axes: digits then look
// like a mismatch unless differences are also compared with the speed of an orbit.
double relativeTo(const Sample& sample, const Vector& difference) {
    constexpr double kShareOfOrbitalSpeed = 0.003;
    const double orbital_km_s = std::sqrt(kMu_km3_s2 / sample.position.norm());
    return difference.norm() / std::max(sample.change.norm(), kShareOfOrbitalSpeed * orbital_km_s);
}

double mismatch(const std::vector<Sample>& samples, double shareOfRotation) {
    return medianOver(samples, [=](const Sample& sample) {
        return relativeTo(sample, sample.velocity - sample.change - shareOfRotation * rotation(sample.position));
    });
}

// The largest mismatch that the spacing alone can cause: the error of the derivatives goes with the square of the error
// from three points; with four points, with its power 3/2.
double mismatchOfSpacing(const std::vector<Sample>& samples, std::size_t points) {
    const double coarse = medianOver(
        samples, [](const Sample& sample) { return relativeTo(sample, sample.change - sample.coarseChange); });
    return 3.0 * std::pow(coarse, points == kFewestPoints ? 1.5 : 2.0);
}

double ratio(const std::vector<Sample>& samples, auto numerator, auto denominator) {
    double over = 0.0;
    double under = 0.0;
    for (const Sample& sample : samples) {
        over += numerator(sample);
        under += denominator(sample);
    }
    return over / under;
}

bool hasVelocities(const Ephemeris& ephemeris) {
    return std::any_of(ephemeris.states.begin(), ephemeris.states.end(),
                       [](const State& state) { return state.velocity_km_s != std::array<double, 3>{}; });
}

VelocityFault velocityFaultIn(const std::vector<Sample>& samples, double ofSpacing, Dynamics& dynamics) {
    constexpr double kRotationTolerance = 0.05;
    dynamics.velocityMismatch = mismatch(samples, 0.0);
    const double allowed = std::max(kLargestMismatch, ofSpacing);
    if (!(dynamics.velocityMismatch > allowed)) return VelocityFault::None;
    const double rotations = ratio(
        samples, [](const Sample& sample) { return (sample.velocity - sample.change).dot(rotation(sample.position)); },
        [](const Sample& sample) { return rotation(sample.position).squaredNorm(); });
    for (const double sign : {1.0, -1.0})
        if (std::abs(rotations - sign) <= kRotationTolerance && mismatch(samples, rotations) <= allowed)
            return sign > 0.0 ? VelocityFault::InertialOfRotating : VelocityFault::RotatingOfInertial;
    dynamics.velocityFactor = ratio(
        samples, [](const Sample& sample) { return sample.velocity.dot(sample.change); },
        [](const Sample& sample) { return sample.change.squaredNorm(); });
    // The factor alone can match a known one by chance.
    const double remaining = medianOver(samples, [&](const Sample& sample) {
        return relativeTo(sample, sample.velocity / dynamics.velocityFactor - sample.change);
    });
    if (remaining <= allowed) dynamics.velocityUnit = unitNear(kVelocityUnits, dynamics.velocityFactor);
    return dynamics.velocityUnit ? VelocityFault::OtherUnit : VelocityFault::Mismatch;
}

void findPositionUnit(const std::vector<Sample>& samples, Dynamics& dynamics) {
    for (const Motion motion : {Motion::Inertial, Motion::Rotating}) {
        const double cube = medianOver(samples, [motion](const Sample& sample) {
            return -inertialAcceleration(sample, motion).dot(sample.position) * sample.position.norm() / kMu_km3_s2;
        });
        const double factor = std::cbrt(cube);
        const Unit* const unit = unitNear(kPositionUnits, factor);
        if (!unit || !(residual(samples, motion, factor) < kFits)) continue;
        dynamics.positionUnit = unit;
        dynamics.positionFactor = factor;
    }
}

// ---- Points too far apart for derivatives ----

// Two neighbouring points, and what may be wrong with them.
struct Pair {
    State before;
    State after;
    double step_s;
};

std::vector<Pair> pairsOf(const Ephemeris& ephemeris) {
    std::vector<Pair> pairs;
    const std::size_t stride = ephemeris.intervals() / kMostPoints + 1;
    const std::vector<double> steps_s = stepsOf(ephemeris);
    const double median_s = medianOf(steps_s);
    for (std::size_t i = 0; i < steps_s.size(); i += stride)
        if (steps_s[i] <= kGapFactor * median_s)
            pairs.push_back({ephemeris.states[i], ephemeris.states[i + 1], steps_s[i]});
    return pairs;
}

struct Correction {
    double positionUnits = 1.0;  // in a kilometre
    double velocityUnits = 1.0;
    double rotation = 0.0;  // excess rotation of the axes in the velocities, as a share of the earth's
};

State corrected(const State& state, const Correction& correction) {
    const Vector position = positionOf(state) / correction.positionUnits;
    const Vector velocity = velocityOf(state) / correction.velocityUnits - correction.rotation * rotation(position);
    return {arrayOf(position), arrayOf(velocity)};
}

// How far the second point of a pair is from the orbit through the first, as a share of the way between them, or of the
// radius where that is less: no orbit takes a point further away.
double distanceFromOrbit(const std::vector<Pair>& pairs, Motion motion, const Correction& correction = {}) {
    std::vector<double> distances;
    for (const Pair& pair : pairs) {
        const State before = corrected(pair.before, correction);
        const double radius_km = positionOf(before).norm();
        const State expected = TwoBodyOrbit(before, motion).at(pair.step_s);
        const double off_km = (positionOf(expected) - positionOf(corrected(pair.after, correction))).norm();
        const double share = off_km / std::min(std::sqrt(kMu_km3_s2 / radius_km) * pair.step_s, radius_km);
        distances.push_back(std::isfinite(share) ? share : std::numeric_limits<double>::max());
    }
    return medianOf(std::move(distances));
}

bool areFewerPerRevolution(const std::vector<Pair>& pairs, double revolutions) {
    std::vector<double> shares;
    for (const Pair& pair : pairs) {
        const double radius_km = positionOf(pair.before).norm();
        shares.push_back(pair.step_s * std::sqrt(kMu_km3_s2 / (radius_km * radius_km * radius_km)));
    }
    return medianOf(std::move(shares)) > revolutions * 2.0 * std::numbers::pi;
}

void setResiduals(Dynamics& dynamics, const std::vector<Pair>& pairs, const Correction& correction) {
    dynamics.inertialResidual = distanceFromOrbit(pairs, Motion::Inertial, correction);
    dynamics.rotatingResidual = distanceFromOrbit(pairs, Motion::Rotating, correction);
}

bool noneIsBelow(const Dynamics& dynamics, double limit) {
    return !(std::min(dynamics.inertialResidual, dynamics.rotatingResidual) < limit);
}

// The fault without which the points follow orbits, if there is one.
void findFaultOfPairs(const std::vector<Pair>& pairs, Dynamics& dynamics) {
    const auto fits = [&](Motion motion, const Correction& correction) {
        return distanceFromOrbit(pairs, motion, correction) < kLargestMismatch;
    };
    const auto accept = [&](const Correction& correction) { setResiduals(dynamics, pairs, correction); };
    for (const auto& [fault, motion, share] : {std::tuple{VelocityFault::InertialOfRotating, Motion::Rotating, 1.0},
                                               {VelocityFault::RotatingOfInertial, Motion::Inertial, -1.0}}) {
        if (!fits(motion, {1.0, 1.0, share})) continue;
        dynamics.velocityFault = fault;
        return accept({1.0, 1.0, share});
    }
    for (const Motion motion : {Motion::Inertial, Motion::Rotating}) {
        for (const Unit& unit : kVelocityUnits) {
            if (!fits(motion, {1.0, unit.factor, 0.0})) continue;
            dynamics.velocityFault = VelocityFault::OtherUnit;
            dynamics.velocityUnit = &unit;
            dynamics.velocityFactor = unit.factor;
            return accept({1.0, unit.factor, 0.0});
        }
        for (const Unit& unit : kPositionUnits) {
            if (!fits(motion, {unit.factor, unit.factor, 0.0})) continue;
            dynamics.positionUnit = &unit;
            dynamics.positionFactor = unit.factor;
            return accept({unit.factor, unit.factor, 0.0});
        }
    }
}

// The motion that the points follow, if one fits.
void chooseMotion(const Ephemeris& ephemeris, double refused, Dynamics& dynamics) {
    dynamics.motion = dynamics.inertialResidual < dynamics.rotatingResidual ? Motion::Inertial : Motion::Rotating;
    const Motion promised = motionOf(ephemeris.frame);
    const double promisedResidual =
        promised == Motion::Rotating ? dynamics.rotatingResidual : dynamics.inertialResidual;
    dynamics.frameMismatch = promised != Motion::Unknown && promised != dynamics.motion && promisedResidual > refused;
}

void examinePairs(const Ephemeris& ephemeris, Dynamics& dynamics) {
    constexpr double kMostOfRevolution = 1.0;
    const std::vector<Pair> pairs = pairsOf(ephemeris);
    dynamics.points = std::max(dynamics.points, pairs.size());
    if (pairs.empty()) return;
    setResiduals(dynamics, pairs, {});
    if (noneIsBelow(dynamics, kLargestMismatch)) findFaultOfPairs(pairs, dynamics);
    if (noneIsBelow(dynamics, kLargestMismatch) || areFewerPerRevolution(pairs, kMostOfRevolution)) {
        dynamics.isUndecided = true;
        return;
    }
    chooseMotion(ephemeris, kRefused, dynamics);
}

}  // namespace

Dynamics examineDynamics(const Ephemeris& ephemeris) {
    Dynamics dynamics;
    std::vector<Sample> samples = samplesOf(ephemeris);
    dynamics.points = samples.size();
    if (!ephemeris.states.empty() && !hasVelocities(ephemeris)) dynamics.velocityFault = VelocityFault::Missing;
    const bool hasVelocity = dynamics.velocityFault == VelocityFault::None;
    const double ofSpacing = samples.empty() ? 0.0 : mismatchOfSpacing(samples, ephemeris.size());
    if (hasVelocity && (samples.empty() || ofSpacing > kLargestMismatch)) {
        examinePairs(ephemeris, dynamics);
        return dynamics;
    }
    if (samples.empty()) return dynamics;
    if (hasVelocity) dynamics.velocityFault = velocityFaultIn(samples, ofSpacing, dynamics);
    if (dynamics.velocityFault != VelocityFault::None)
        for (Sample& sample : samples) {
            sample.velocity = sample.change;
            sample.acceleration = sample.curvature;
        }

    const auto residuals = [&](double unitsInKm) {
        dynamics.inertialResidual = residual(samples, Motion::Inertial, unitsInKm);
        dynamics.rotatingResidual = residual(samples, Motion::Rotating, unitsInKm);
    };
    residuals(1.0);
    if (noneIsBelow(dynamics, kFits)) findPositionUnit(samples, dynamics);
    if (dynamics.positionUnit) residuals(dynamics.positionFactor);
    if (!noneIsBelow(dynamics, kFits)) chooseMotion(ephemeris, kRefused, dynamics);
    return dynamics;
}

}  // namespace vorlandi::analysis
