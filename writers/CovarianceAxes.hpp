// Covariances in the axes of their states.
#pragma once

#include <optional>

#include "writers/Ephemeris.hpp"

namespace vorlandi::writers {

// The covariance in the axes radial, in-track, cross-track of its state; in a rotating frame they follow the inertial
// velocity. None if position and velocity are parallel.
std::optional<Covariance> inAxesOfState(const Covariance& covariance, const State& state, Frame frame);

}  // namespace vorlandi::writers
