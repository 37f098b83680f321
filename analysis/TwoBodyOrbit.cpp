#include "analysis/TwoBodyOrbit.hpp"

#include <cmath>
#include <limits>

#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

// The Stumpff functions c2 and c3, and the rest of the universal Kepler equation. Source: D. A. Vallado, Fundamentals
// of Astrodynamics and Applications, 4th ed. 2013, section 2.3.
struct Stumpff {
    double c2;
    double c3;
};

// The series of c2 and c3, with enough terms for the last digit of a double for |psi| up to 1.
constexpr int kTerms = 9;
constexpr int kTermsOfSmall = 5;

// 1 / ((2k + from) (2k + from + 1)), by which each term is multiplied.
constexpr std::array<double, kTerms + 1> seriesFactors(int from) {
    std::array<double, kTerms + 1> factors{};
    for (int k = 1; k <= kTerms; ++k)
        factors[static_cast<std::size_t>(k)] = 1.0 / static_cast<double>((2 * k + from) * (2 * k + from + 1));
    return factors;
}

template <std::size_t Terms>
Stumpff stumpffSeries(double psi) noexcept {
    constexpr auto kFactorsOfC2 = seriesFactors(1);
    constexpr auto kFactorsOfC3 = seriesFactors(2);
    double c2 = 1.0;
    double c3 = 1.0;
    for (std::size_t k = Terms; k > 0; --k) {
        c2 = 1.0 - psi * kFactorsOfC2[k] * c2;
        c3 = 1.0 - psi * kFactorsOfC3[k] * c3;
    }
    return {c2 / 2.0, c3 / 6.0};
}

Stumpff stumpff(double psi) noexcept {
    if (std::abs(psi) < 0.05) return stumpffSeries<kTermsOfSmall>(psi);
    if (std::abs(psi) < 1.0) return stumpffSeries<kTerms>(psi);
    const double root = std::sqrt(std::abs(psi));
    if (psi > 0.0) return {(1.0 - std::cos(root)) / psi, (root - std::sin(root)) / (psi * root)};
    return {(1.0 - std::cosh(root)) / psi, (root - std::sinh(root)) / (psi * root)};
}

const double kRootMu = std::sqrt(kMu_km3_s2);

Vector withRotation(const State& state, double sign) {
    const double rate = sign * kEarthRotation_rad_s;
    return velocityOf(state) + Vector(-rate * state.position_km[1], rate * state.position_km[0], 0.0);
}

void turnAxes(State& state, double angle) noexcept {
    const double cosine = std::cos(angle);
    const double sine = std::sin(angle);
    for (auto* vector : {&state.position_km, &state.velocity_km_s}) {
        const double x = (*vector)[0];
        const double y = (*vector)[1];
        (*vector)[0] = cosine * x + sine * y;
        (*vector)[1] = cosine * y - sine * x;
    }
}

}  // namespace

Motion motionOf(Frame frame) noexcept {
    switch (frame) {
        case Frame::ECI:
        case Frame::J2K:
            return Motion::Inertial;
        case Frame::EFG:
        case Frame::ECR:
            return Motion::Rotating;
    }
    return Motion::Unknown;
}

State onInertialAxes(State state, Motion motion, double seconds) noexcept {
    if (motion == Motion::Rotating) {
        state.velocity_km_s = arrayOf(withRotation(state, 1.0));
        turnAxes(state, -kEarthRotation_rad_s * seconds);
    }
    return state;
}

TwoBodyOrbit::TwoBodyOrbit(const State& state, Motion motion) noexcept
    : position_(state.position_km), rotates_(motion == Motion::Rotating) {
    const Vector r = positionOf(state);
    const Vector v = rotates_ ? withRotation(state, 1.0) : velocityOf(state);
    velocity_ = arrayOf(v);
    radius_ = r.norm();
    sigma_ = r.dot(v) / kRootMu;
    inverseAxis_ = 2.0 / radius_ - v.squaredNorm() / kMu_km3_s2;
}

// Solves the universal Kepler equation for the anomaly chi by Newton's method. Its left side rises with chi, so that
// every value tried is a bound.
double TwoBodyOrbit::anomalyAt(double scaledTime) const noexcept {
    constexpr int kMostSteps = 60;
    constexpr double kLastStep = 3e-7;  // the error after this step is of the order of its square
    const double linear = 1.0 - inverseAxis_ * radius_;
    double chi = firstAnomaly(scaledTime, linear);
    double below = -std::numeric_limits<double>::infinity();
    double above = std::numeric_limits<double>::infinity();
    for (int step = 0; step < kMostSteps; ++step) {
        const double chi2 = chi * chi;
        const double psi = inverseAxis_ * chi2;
        const auto [c2, c3] = stumpff(psi);
        const double excess = sigma_ * chi2 * c2 + linear * chi2 * chi * c3 + radius_ * chi - scaledTime;
        const double slope = chi2 * c2 + sigma_ * chi * (1.0 - psi * c3) + radius_ * (1.0 - psi * c2);
        const double change = -excess / slope;
        if (std::abs(change) <= kLastStep * std::abs(chi)) return chi + change;
        (excess > 0.0 ? above : below) = chi;
        const bool leavesBounds = !(chi + change > below && chi + change < above);
        chi = leavesBounds && std::isfinite(below) && std::isfinite(above) ? 0.5 * (below + above) : chi + change;
    }
    return chi;
}

// The series of the solution for short times. Otherwise a start that is exact for a circle, and rough for a long time
// on a hyperbola (Vallado, algorithm 8).
double TwoBodyOrbit::firstAnomaly(double scaledTime, double linear) const noexcept {
    const double u = scaledTime / radius_;
    const double s = sigma_ / radius_;
    if (std::abs(inverseAxis_) * u * u < 0.5 && std::abs(s * u) < 0.5)
        return u * (1.0 + u * (-0.5 * s + u * (0.5 * s * s - linear / (6.0 * radius_))));
    if (inverseAxis_ > 0.0) return scaledTime * inverseAxis_;
    const double sign = std::copysign(1.0, scaledTime);
    const double root = std::sqrt(-1.0 / inverseAxis_);
    const double ratio = -2.0 * inverseAxis_ * scaledTime / (sigma_ + sign * root * linear);
    return ratio > 1.0 ? sign * root * std::log(ratio) : u;
}

State TwoBodyOrbit::at(double seconds) const noexcept {
    if (seconds == 0.0 && !rotates_) return {position_, velocity_};
    const double chi = anomalyAt(kRootMu * seconds);
    const double chi2 = chi * chi;
    const double psi = inverseAxis_ * chi2;
    const auto [c2, c3] = stumpff(psi);
    const double radius = chi2 * c2 + sigma_ * chi * (1.0 - psi * c3) + radius_ * (1.0 - psi * c2);
    const double f = 1.0 - chi2 / radius_ * c2;
    const double g = seconds - chi2 * chi * c3 / kRootMu;
    const double fRate = kRootMu / (radius * radius_) * chi * (psi * c3 - 1.0);
    const double gRate = 1.0 - chi2 / radius * c2;
    State result;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        result.position_km[axis] = f * position_[axis] + g * velocity_[axis];
        result.velocity_km_s[axis] = fRate * position_[axis] + gRate * velocity_[axis];
    }
    if (rotates_) {
        turnAxes(result, kEarthRotation_rad_s * seconds);
        result.velocity_km_s = arrayOf(withRotation(result, -1.0));
    }
    return result;
}

std::optional<Axes> orbitAxes(const State& state, Motion motion) noexcept {
    constexpr double kLeastSine = 1e-9;
    const Vector r = positionOf(state);
    const Vector v = motion == Motion::Rotating ? withRotation(state, 1.0) : velocityOf(state);
    const Vector normal = r.cross(v);
    if (!(normal.norm() >= kLeastSine * r.norm() * v.norm()) || normal.isZero(0.0)) return std::nullopt;
    const Vector radial = r.normalized();
    const Vector crossTrack = normal.normalized();
    return Axes{arrayOf(radial), arrayOf(crossTrack.cross(radial)), arrayOf(crossTrack)};
}

std::array<double, 3> onAxes(const Axes& axes, const std::array<double, 3>& vector) noexcept {
    std::array<double, 3> result;
    for (std::size_t i = 0; i < 3; ++i)
        result[i] = vectorOf(axes[i]).dot(vectorOf(vector));
    return result;
}

}  // namespace vorlandi::analysis
