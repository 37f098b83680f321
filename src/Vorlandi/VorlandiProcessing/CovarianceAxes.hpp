// Covariances in the axes of their own state, as files have them; the store keeps them in the frame of the states.
#pragma once

#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

// The axes of a state with position r and inertial velocity u; W is r x u in both.
enum class CovarianceAxes {
    Uvw,  // U along r, V = W x U: radial, in-track, cross-track
    Tnw,  // T along u, N = W x T
};

// Turns a covariance from the axes of a state into its frame. The position, mixed and velocity blocks turn alike; no
// rate of the axes is added. False, and the covariance is as it was, if the axes are undefined: if r and u are
// parallel, |r x u| < 1e-9 |r| |u|, or not finite. In a rotating frame u is the velocity plus the frame's.
bool turnToFrame(const Vorlanstate& state, bool rotatingFrame, CovarianceAxes axes,
                 PointCovariance& covariance) noexcept;

}  // namespace vorlandi
