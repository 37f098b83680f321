#include "analysis/Dynamics.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "analysis/Steps.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr std::size_t kMostPoints = 10'000;
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
    {86400.0, "velocities per day"},
    {1.0 / 86400.0, "velocities per second, times in days"},
    {-1.0, "velocities with the opposite sign"},
};

constexpr Unit kPositionUnits[] = {
    {1000.0, "metres"},
    {3280.84, "feet"},
    {0.621371, "statute miles"},
    {0.539957, "nautical miles"},
    {1.0 / 6378.137, "earth radii"},
};

template <std::size_t N>
const Unit* unitNear(const Unit (&units)[N], double factor) {
    const auto unit = std::find_if(std::begin(units), std::end(units), [factor](const Unit& known) {
        return std::abs(factor / known.factor - 1.0) <= kUnitTolerance;
    });
    return unit == std::end(units) ? nullptr : unit;
}

// Weights of the values at five times for the derivatives of their polynomial at the third.
struct DerivativeWeights {
    std::array<double, 5> first;
    std::array<double, 5> second;
};

DerivativeWeights derivativeWeights(const double* times_s) {
    constexpr std::size_t kCentre = 2;
    DerivativeWeights weights{};
    for (std::size_t k = 0; k < 5; ++k) {
        if (k == kCentre) continue;
        const double own_s = times_s[k] - times_s[kCentre];
        double first = 1.0 / own_s;
        double sum = 0.0;
        for (std::size_t j = 0; j < 5; ++j) {
            if (j == k || j == kCentre) continue;
            const double other_s = times_s[j] - times_s[kCentre];
            first *= -other_s / (own_s - other_s);
            sum -= 1.0 / other_s;
        }
        weights.first[k] = first;
        weights.second[k] = 2.0 * first * sum;
        weights.first[kCentre] -= weights.first[k];
        weights.second[kCentre] -= weights.second[k];
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

Sample sampleAt(const Ephemeris& ephemeris, std::size_t i) {
    const double* const times_s = &ephemeris.elapsed_s[i - 2];
    const DerivativeWeights weights = derivativeWeights(times_s);
    Sample sample{positionOf(ephemeris.states[i]),
                  velocityOf(ephemeris.states[i]),
                  Vector::Zero(),
                  Vector::Zero(),
                  Vector::Zero(),
                  Vector::Zero()};
    for (std::size_t k = 0; k < 5; ++k) {
        const State& state = ephemeris.states[i - 2 + k];
        sample.acceleration += weights.first[k] * velocityOf(state);
        sample.change += weights.first[k] * positionOf(state);
        sample.curvature += weights.second[k] * positionOf(state);
    }
    const double before_s = times_s[2] - times_s[1];
    const double after_s = times_s[3] - times_s[2];
    const Vector before = sample.position - positionOf(ephemeris.states[i - 1]);
    const Vector after = positionOf(ephemeris.states[i + 1]) - sample.position;
    sample.coarseChange = (before * (after_s / before_s) + after * (before_s / after_s)) / (before_s + after_s);
    return sample;
}

std::vector<Sample> samplesOf(const Ephemeris& ephemeris) {
    std::vector<Sample> samples;
    const std::size_t points = ephemeris.size();
    if (points < 5) return samples;
    // A gap counts for the two points on each side of it.
    std::vector<bool> nearGap(points, false);
    for (const std::size_t gap : gapsIn(stepsOf(ephemeris)))
        for (std::size_t i = gap - std::min<std::size_t>(gap, 1); i < std::min(gap + 3, points); ++i)
            nearGap[i] = true;
    const std::size_t stride = (points - 4 + kMostPoints - 1) / kMostPoints;
    for (std::size_t i = 2; i + 2 < points; i += stride)
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

// The acceleration in inertial axes.
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
// like a mismatch unless differences are compared with the speed of an orbit, too.
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

// What derivatives of widely spaced points can't tell from a fault: their error goes with the square of that which
// three points have.
double mismatchOfSpacing(const std::vector<Sample>& samples) {
    const double coarse = medianOver(
        samples, [](const Sample& sample) { return relativeTo(sample, sample.change - sample.coarseChange); });
    return 3.0 * coarse * coarse;
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

VelocityFault velocityFaultIn(const std::vector<Sample>& samples, Dynamics& dynamics) {
    constexpr double kRotationTolerance = 0.05;
    dynamics.velocityMismatch = mismatch(samples, 0.0);
    const double allowed = std::max(kLargestMismatch, mismatchOfSpacing(samples));
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
    dynamics.velocityUnit = unitNear(kVelocityUnits, dynamics.velocityFactor);
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

}  // namespace

Dynamics examineDynamics(const Ephemeris& ephemeris) {
    Dynamics dynamics;
    std::vector<Sample> samples = samplesOf(ephemeris);
    dynamics.points = samples.size();
    if (!ephemeris.states.empty() && !hasVelocities(ephemeris)) dynamics.velocityFault = VelocityFault::Missing;
    if (samples.empty()) return dynamics;
    if (dynamics.velocityFault == VelocityFault::None) dynamics.velocityFault = velocityFaultIn(samples, dynamics);
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
    const auto noneFits = [&] { return !(std::min(dynamics.inertialResidual, dynamics.rotatingResidual) < kFits); };
    if (noneFits()) findPositionUnit(samples, dynamics);
    if (dynamics.positionUnit) residuals(dynamics.positionFactor);
    if (noneFits()) return dynamics;
    dynamics.motion = dynamics.inertialResidual < dynamics.rotatingResidual ? Motion::Inertial : Motion::Rotating;
    const Motion promised = motionOf(ephemeris.frame);
    const double promisedResidual =
        promised == Motion::Rotating ? dynamics.rotatingResidual : dynamics.inertialResidual;
    dynamics.frameMismatch = promised != Motion::Unknown && promised != dynamics.motion && promisedResidual > kRefused;
    return dynamics;
}

}  // namespace vorlandi::analysis
