// What interpolation from its neighbours makes of a point that is left out.
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

// The states of the points around one of them that an orbit through it has, and what the points differ from them.
// Without an orbit both are taken as zero and the points themselves.
class Neighbourhood {
public:
    Neighbourhood(const Ephemeris& ephemeris, std::size_t centre, Motion motion, std::ptrdiff_t reach = kReach)
        : ephemeris_(ephemeris),
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

// N neighbours of the centre, N / 2 on each side, with times since the centre's.
template <std::size_t N>
struct Neighbours {
    std::array<std::ptrdiff_t, N> offsets;
    HermiteNodes<N> nodes;
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
    return {offsets, HermiteNodes<N>(times_s)};
}

// What the weights make of the differences between points and orbit.
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
    Vector residual = Vector::Zero();   // of the points less the orbit
    Vector curvature = Vector::Zero();  // of the orbit itself
    double gain = 0.0;
    double distances = 0.0;  // product of the distances to the neighbours
};

template <std::size_t N>
LeftOut leaveOut(const Neighbourhood& near, double step_s) {
    const Neighbours<N> neighbours = neighboursOf<N>(near);
    const HermiteWeights<N> weights = neighbours.nodes.at(0.0);
    LeftOut result;
    result.residual = ofDifferences(near, neighbours, weights);
    for (std::size_t k = 0; k < N; ++k) {
        const State& orbit = near.orbitAt(neighbours.offsets[k]);
        result.curvature += weights.position[k] * positionOf(orbit) + weights.velocity[k] * velocityOf(orbit);
    }
    (near.hasOrbit() ? result.curvature : result.residual) -= positionOf(near.pointAt(0));
    result.gain = std::sqrt(1.0 + weights.squaredGain(step_s));
    result.distances = neighbours.nodes.distances(0.0);
    return result;
}

}  // namespace vorlandi::analysis
