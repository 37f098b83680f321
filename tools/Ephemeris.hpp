// One satellite's generated ephemeris: evenly spaced states, and a covariance that goes with them.
#pragma once

#include <chrono>
#include <cstdint>

#include "OrbitIntegration.hpp"
#include "writers/Ephemeris.hpp"

namespace vorlandi::tools {

using writers::Ephemeris;

// Every format can write whole milliseconds exactly. Every day has 86400 s: a span must not contain a leap second.
using UtcTime = std::chrono::sys_time<std::chrono::milliseconds>;

// Days since 1950 Jan 0.0, which is one day before 00:00 of January 1: the exact value, rounded once.
double daysSince1950(UtcTime time);

double secondsBetween(UtcTime from, UtcTime to);

struct EphemerisPlan {
    std::int32_t satelliteNumber;
    UtcTime epoch;  // time of the initial state and of the first point
    State initial;
    std::int64_t pointCount;  // at least 1
    std::chrono::milliseconds spacing;
    bool withCovariance;
};

// The covariance grows smoothly with the hours h since the epoch: C(h) = L(h) L(h)^T, where L is lower triangular with
//   diagonal      (0.010, 0.012, 0.014) (1 + 0.1 h) km   and   (1.0, 1.2, 1.4) 1e-5 (1 + 0.05 h) km/s,
//   L[1][0] = L[2][1] = -0.003 km,   L[3][0] = L[4][1] = L[5][2] = 4e-6 (1 + 0.1 h) km/s,
// and zeros elsewhere. It is positive definite for h >= 0, since the diagonal of L is, and each of its
// elements is a polynomial of at most second degree in h.
Ephemeris integrateEphemeris(const EphemerisPlan& plan, double integrationStep_s);

}  // namespace vorlandi::tools
