#include "analysis/InterpolationErrors.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "analysis/Dynamics.hpp"
#include "analysis/HermiteNodes.hpp"
#include "analysis/Steps.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr std::ptrdiff_t kReach = 3;  // neighbours on each side that a calculation takes at most
constexpr std::array<double, 3> kInstants{0.25, 0.5, 0.75};

// The states of the points around one of them that an orbit through it has, and what the points differ from them.
// Without an orbit both are taken as zero and the points themselves.
class Neighbourhood {
public:
    Neighbourhood(const Ephemeris& ephemeris, std::size_t centre, Motion motion)
        : ephemeris_(ephemeris),
          centre_(centre),
          hasOrbit_(motion != Motion::Unknown),
          orbit_(ephemeris.states[centre], motion) {
        const auto points = static_cast<std::ptrdiff_t>(ephemeris.size());
        const auto at = static_cast<std::ptrdiff_t>(centre);
        for (std::ptrdiff_t k = std::max(-kReach, -at); k <= std::min(kReach, points - 1 - at); ++k) {
            if (hasOrbit_ && k != 0) orbitAt(k) = orbit_.at(seconds(index(k)));
            if (hasOrbit_ && k == 0) orbitAt(k) = ephemeris.states[centre];
        }
    }

    bool hasOrbit() const { return hasOrbit_; }
    std::size_t index(std::ptrdiff_t k) const {
        return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(centre_) + k);
    }
    double seconds(std::size_t point) const { return ephemeris_.elapsed_s[point] - ephemeris_.elapsed_s[centre_]; }
    State& orbitAt(std::ptrdiff_t k) { return states_[static_cast<std::size_t>(k + kReach)]; }
    const State& orbitAt(std::ptrdiff_t k) const { return states_[static_cast<std::size_t>(k + kReach)]; }
    const State& pointAt(std::ptrdiff_t k) const { return ephemeris_.states[index(k)]; }
    Vector orbitPosition(double t_s) const { return positionOf(orbit_.at(t_s)); }

private:
    const Ephemeris& ephemeris_;
    std::size_t centre_;
    bool hasOrbit_;
    TwoBodyOrbit orbit_;
    std::array<State, 2 * kReach + 1> states_{};
};

template <std::size_t N>
struct LeftOut {
    Vector residual = Vector::Zero();   // q: of the points less the orbit
    Vector curvature = Vector::Zero();  // of the orbit itself
    double gain = 0.0;
    double distances = 0.0;  // product of the distances to the neighbours
};

// Interpolates the centre from N neighbours, N / 2 on each side.
template <std::size_t N>
LeftOut<N> leaveOut(const Neighbourhood& near, double step_s) {
    std::array<std::ptrdiff_t, N> offsets;
    std::array<double, N> times_s;
    for (std::size_t k = 0; k < N; ++k) {
        const auto side = static_cast<std::ptrdiff_t>(k) - static_cast<std::ptrdiff_t>(N / 2);
        offsets[k] = side + (side >= 0 ? 1 : 0);
        times_s[k] = near.seconds(near.index(offsets[k]));
    }
    const HermiteNodes<N> nodes(times_s);
    const HermiteWeights<N> weights = nodes.at(0.0);
    LeftOut<N> result;
    for (std::size_t k = 0; k < N; ++k) {
        const State& point = near.pointAt(offsets[k]);
        const State& orbit = near.orbitAt(offsets[k]);
        result.residual += weights.position[k] * (positionOf(point) - positionOf(orbit)) +
                           weights.velocity[k] * (velocityOf(point) - velocityOf(orbit));
        result.curvature += weights.position[k] * positionOf(orbit) + weights.velocity[k] * velocityOf(orbit);
    }
    const Vector own = positionOf(near.pointAt(0));
    (near.hasOrbit() ? result.curvature : result.residual) -= own;
    result.gain = std::sqrt(1.0 + weights.squaredGain(step_s));
    result.distances = nodes.distances(0.0);
    return result;
}

HermiteNodes<kWindow> windowNodes(const Ephemeris& ephemeris, std::size_t interval, double origin_s) {
    const std::size_t first = windowOf(interval, ephemeris.size());
    std::array<double, kWindow> times_s;
    for (std::size_t k = 0; k < kWindow; ++k)
        times_s[k] = ephemeris.elapsed_s[first + k] - origin_s;
    return HermiteNodes<kWindow>(times_s);
}

class Estimate {
public:
    Estimate(const Ephemeris& ephemeris, Motion motion)
        : ephemeris_(ephemeris), points_(ephemeris.size()), step_s_(medianOf(stepsOf(ephemeris))) {
        errors_.motion = motion;
        errors_.spacing_m.assign(ephemeris.intervals(), kNone);
        errors_.digits_m.assign(ephemeris.intervals(), kNone);
        errors_.gain.assign(ephemeris.intervals(), kNone);
        errors_.residuals.assign(points_, {kNone, kNone, kNone});
        leftOut_.assign(motion == Motion::Unknown ? points_ : 0, kNone);
    }

    InterpolationErrors result() {
        for (std::size_t i = 0; i < points_; ++i)
            examine(i);
        errors_.scatter_m = scatter_.empty() ? 0.0 : medianOf(std::move(scatter_)) * kMetresPerKm;
        for (std::size_t i = 0; i < ephemeris_.intervals(); ++i) {
            if (errors_.motion == Motion::Unknown && isAnswered(ephemeris_, i)) estimateWithoutOrbit(i);
            errors_.digits_m[i] = 3.0 * errors_.scatter_m * errors_.gain[i];
        }
        return std::move(errors_);
    }

private:
    void examine(std::size_t i) {
        const Neighbourhood near(ephemeris_, i, errors_.motion);
        if (i >= 2 && i + 2 < points_) {
            const auto left = leaveOut<4>(near, step_s_);
            errors_.residuals[i] = {left.residual.norm(), left.curvature.norm(), left.gain};
            if (!near.hasOrbit()) leftOut_[i] = left.residual.norm() / (left.distances * left.distances);
        }
        if (i >= 3 && i + 3 < points_) {
            const auto left = leaveOut<6>(near, step_s_);
            scatter_.push_back(left.residual.norm() / left.gain);
        }
        // The orbit of the last interval is that of its second point.
        if (i + 2 < points_ && isAnswered(ephemeris_, i)) estimate(near, i, i);
        if (i + 1 == points_ && isAnswered(ephemeris_, i - 1)) estimate(near, i, i - 1);
    }

    void estimate(const Neighbourhood& near, std::size_t centre, std::size_t interval) {
        const double origin_s = ephemeris_.elapsed_s[centre];
        const HermiteNodes<kWindow> nodes = windowNodes(ephemeris_, interval, origin_s);
        const auto first =
            static_cast<std::ptrdiff_t>(windowOf(interval, points_)) - static_cast<std::ptrdiff_t>(centre);
        double squaredGain = 0.0;
        double largest_km = 0.0;
        for (const double instant : kInstants) {
            const double t_s = ephemeris_.elapsed_s[interval] - origin_s +
                               instant * (ephemeris_.elapsed_s[interval + 1] - ephemeris_.elapsed_s[interval]);
            const HermiteWeights<kWindow> weights = nodes.at(t_s);
            squaredGain = std::max(squaredGain, weights.squaredGain(step_s_));
            if (!near.hasOrbit()) continue;
            Vector difference = -near.orbitPosition(t_s);
            for (std::size_t k = 0; k < kWindow; ++k) {
                const State& orbit = near.orbitAt(first + static_cast<std::ptrdiff_t>(k));
                difference += weights.position[k] * positionOf(orbit) + weights.velocity[k] * velocityOf(orbit);
            }
            largest_km = std::max(largest_km, difference.norm());
        }
        errors_.gain[interval] = std::sqrt(squaredGain);
        if (near.hasOrbit()) errors_.spacing_m[interval] = 2.0 * largest_km * kMetresPerKm;
    }

    // The error of a polynomial goes with the square of the product of the distances to its nodes: that of the window
    // follows from what leaving out the nearer inner points has shown.
    void estimateWithoutOrbit(std::size_t interval) {
        constexpr int kParts = 8;
        if (points_ < 5) return;
        const HermiteNodes<kWindow> nodes = windowNodes(ephemeris_, interval, 0.0);
        double largest = 0.0;
        for (int part = 1; part < kParts; ++part) {
            const double step_s = ephemeris_.elapsed_s[interval + 1] - ephemeris_.elapsed_s[interval];
            largest = std::max(largest, std::abs(nodes.distances(ephemeris_.elapsed_s[interval] +
                                                                 step_s * static_cast<double>(part) / kParts)));
        }
        const auto inner = [&](std::size_t point) { return leftOut_[std::clamp(point, std::size_t{2}, points_ - 3)]; };
        const double perSquare_km = std::max(inner(interval), inner(interval + 1));
        errors_.spacing_m[interval] = 2.0 * perSquare_km * largest * largest * kMetresPerKm;
    }

    const Ephemeris& ephemeris_;
    std::size_t points_;
    double step_s_;
    InterpolationErrors errors_;
    std::vector<double> leftOut_;  // residuals over the squared product of distances, where there is no orbit
    std::vector<double> scatter_;
};

}  // namespace

InterpolationErrors estimatedErrors(const Ephemeris& ephemeris, Motion motion) {
    if (ephemeris.size() < kWindow) return {};
    return Estimate(ephemeris, motion).result();
}

InterpolationErrors estimatedErrors(const Ephemeris& ephemeris) {
    const Dynamics dynamics = examineDynamics(ephemeris);
    return estimatedErrors(ephemeris, dynamics.points > 0 ? dynamics.motion : motionOf(ephemeris.frame));
}

}  // namespace vorlandi::analysis
