// The measures of docs/accuracy.md. Each prints its figures.
#pragma once

#include "Truth.hpp"

namespace vorlandi::accuracy {

// Interpolated against integrated states: by the spacing of the points; across and next to holes in points a minute
// apart; by spacing again, with velocities of zero.
void measureSpacings(const Orbit& orbit, const Truth& truth);
void measureHoles(const Orbit& orbit, const Truth& truth);
void measurePositionsAlone(const Orbit& orbit, const Truth& truth);

// The errors that come from the rounded times of points.
void measureRoundedTimes(const Truth& lowOrbit);

// Covariances between points: whether they are positive definite, and how far off they are.
void measureCovariances();

// The kernel's arithmetic compared with the same polynomial in more digits.
void measureRoundings(const Truth& lowOrbit, const Truth& geostationary);

}  // namespace vorlandi::accuracy
