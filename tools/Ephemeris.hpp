// One satellite's generated ephemeris: evenly spaced states, and a covariance that goes with them.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <vector>

#include "EphemerisTimes.hpp"
#include "OrbitIntegration.hpp"

namespace vorlandi::tools {

struct EphemerisPoint {
    UtcTime time;
    State state;
};

struct Ephemeris {
    std::int32_t satelliteNumber = 0;
    std::vector<EphemerisPoint> points;

    UtcTime epoch() const { return points.front().time; }
};

inline double hoursSinceEpoch(const Ephemeris& ephemeris, const EphemerisPoint& point) {
    return secondsBetween(ephemeris.epoch(), point.time) / 3600.0;
}

struct EphemerisPlan {
    std::int32_t satelliteNumber;
    UtcTime epoch;  // time of the initial state and of the first point
    State initial;
    std::int64_t pointCount;  // at least 1
    std::chrono::milliseconds spacing;
};

Ephemeris integrateEphemeris(const EphemerisPlan& plan, double integrationStep_s);

// Lower triangle, row by row, of a 6x6 covariance of position (km) and velocity (km/s).
using Covariance21 = std::array<double, 21>;

// A covariance that grows smoothly with the hours h since the epoch: C(h) = L(h) L(h)^T, where L is lower
// triangular with
//   diagonal      (0.010, 0.012, 0.014) (1 + 0.1 h) km   and   (1.0, 1.2, 1.4) 1e-5 (1 + 0.05 h) km/s,
//   L[1][0] = L[2][1] = -0.003 km,   L[3][0] = L[4][1] = L[5][2] = 4e-6 (1 + 0.1 h) km/s,
// and zeros elsewhere. It is positive definite for h >= 0, since the diagonal of L is, and each of its
// elements is a polynomial of at most second degree in h.
Covariance21 covarianceAt(double hours);

// The same covariance in the axes of the state: radial, in-track, cross-track.
Covariance21 inAxesOfState(const Covariance21& covariance, const State& state);

}  // namespace vorlandi::tools
