// Interpolates a point that is left out from its neighbours.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "analysis/Ephemeris.hpp"
#include "analysis/HermiteNodes.hpp"
#include "analysis/TwoBodyOrbit.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {

inline constexpr std::ptrdiff_t kReach = 3;  // neighbours on each side that a calculation takes at most

// The states on an orbit through one point at the times of the points around it, and the points' differences from them.
// Without an orbit they are zero and the points themselves.
class Neighbourhood {
public:
    // times_s: the elapsed ones of the ephemeris, or the stored ones.
    Neighbourhood(const Ephemeris& ephemeris, const std::vector<double>& times_s, std::size_t centre, Motion motion,
                  std::ptrdiff_t reach = kReach)
        : ephemeris_(ephemeris),
          times_s_(times_s),
          centre_(centre),
          hasOrbit_(motion != Motion::Unknown),
          orbit_(ephemeris.states[centre], motion) {
        const auto points = static_cast<std::ptrdiff_t>(ephemeris.size());
        const auto at = static_cast<std::ptrdiff_t>(centre);
        for (std::ptrdiff_t k = std::max(-reach, -at); k <= std::min(reach, points - 1 - at); ++k) {
            if (hasOrbit_ && k != 0) orbitAt(k) = orbit_.at(seconds(index(k)));
            if (hasOrbit_ && k == 0) orbitAt(k) = ephemeris.states[centre];
        }
    }

    bool hasOrbit() const { return hasOrbit_; }
    std::size_t index(std::ptrdiff_t k) const {
        return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(centre_) + k);
    }
    double seconds(std::size_t point) const { return times_s_[point] - times_s_[centre_]; }
    State& orbitAt(std::ptrdiff_t k) { return states_[static_cast<std::size_t>(k + kReach)]; }
    const State& orbitAt(std::ptrdiff_t k) const { return states_[static_cast<std::size_t>(k + kReach)]; }
    const State& pointAt(std::ptrdiff_t k) const { return ephemeris_.states[index(k)]; }
    Vector orbitPosition(double t_s) const { return positionOf(orbit_.at(t_s)); }

private:
    const Ephemeris& ephemeris_;
    const std::vector<double>& times_s_;
    std::size_t centre_;
    bool hasOrbit_;
    TwoBodyOrbit orbit_;
    std::array<State, 2 * kReach + 1> states_{};
};

// N neighbours of the centre, N / 2 on each side, with times since the centre's.
template <std::size_t N>
struct Neighbours {
    std::array<std::ptrdiff_t, N> offsets;
    HermiteNodes<N> nodes;
    double meanStep_s;
};

template <std::size_t N>
Neighbours<N> neighboursOf(const Neighbourhood& near) {
    std::array<std::ptrdiff_t, N> offsets;
    std::array<double, N> times_s;
    for (std::size_t k = 0; k < N; ++k) {
        const auto side = static_cast<std::ptrdiff_t>(k) - static_cast<std::ptrdiff_t>(N / 2);
        offsets[k] = side + (side >= 0 ? 1 : 0);
        times_s[k] = near.seconds(near.index(offsets[k]));
    }
    return {offsets, HermiteNodes<N>(times_s), (times_s.back() - times_s.front()) / static_cast<double>(N)};
}

// The weighted sum of the differences between points and orbit.
template <std::size_t N>
Vector ofDifferences(const Neighbourhood& near, const Neighbours<N>& neighbours, const HermiteWeights<N>& weights) {
    Vector sum = Vector::Zero();
    for (std::size_t k = 0; k < N; ++k) {
        const State& point = near.pointAt(neighbours.offsets[k]);
        const State& orbit = near.orbitAt(neighbours.offsets[k]);
        sum += weights.position[k] * (positionOf(point) - positionOf(orbit)) +
               weights.velocity[k] * (velocityOf(point) - velocityOf(orbit));
    }
    return sum;
}

struct LeftOut {
    Vector residual = Vector::Zero();   // of the points minus the orbit
    Vector curvature = Vector::Zero();  // of the orbit itself
    double squaredGain = 0.0;           // of the neighbours
};

// The weighted sum of the neighbours minus `own`, the position or velocity of the centre.
template <std::size_t N>
LeftOut leaveOut(const Neighbourhood& near, const Neighbours<N>& neighbours, const HermiteWeights<N>& weights,
                 const Vector& own) {
    LeftOut result;
    result.residual = ofDifferences(near, neighbours, weights);
    for (std::size_t k = 0; k < N; ++k) {
        const State& orbit = near.orbitAt(neighbours.offsets[k]);
        result.curvature += weights.position[k] * positionOf(orbit) + weights.velocity[k] * velocityOf(orbit);
    }
    (near.hasOrbit() ? result.curvature : result.residual) -= own;
    result.squaredGain = weights.squaredGain(neighbours.meanStep_s);
    return result;
}

}  // namespace vorlandi::analysis
