// An orbit of the earth, integrated numerically with the central term, J2 and, if wanted, higher zonal terms of the
// earth's gravity.
//
// Force model and integration use only + - * / and square roots, all of which IEEE 754 rounds exactly one way. With
// contraction off, the same initial state therefore leads to the same bits with every compiler at every optimisation
// level, and files made from it can be compared byte by byte.
#pragma once

#include <cstdint>
#include <span>

#include "writers/Ephemeris.hpp"

namespace vorlandi::tools {

using writers::State;
using writers::Vector3;

// World Geodetic System 1972: gravitational parameter, equatorial radius, second zonal harmonic.
inline constexpr double kEarthGm_km3_s2 = 398600.8;
inline constexpr double kEarthRadius_km = 6378.135;
inline constexpr double kEarthJ2 = 1.082616e-3;

// Fixed-step fourth-order Runge-Kutta integration, forward in time only.
class OrbitIntegration {
public:
    // A low orbit is off by less than 1e-6 m after ten days with this step, as halving it shows.
    static constexpr double kAccurateStep_s = 0.25;

    // `higherZonals` are J3, J4 and so on; they must outlive the integration.
    explicit OrbitIntegration(const State& initial, double step_s = kAccurateStep_s,
                              std::span<const double> higherZonals = {});

    // The state offset_s after the initial one. Between two whole steps a last, partial step is taken on a copy, so
    // that a request never changes later answers. Throws std::invalid_argument for an offset before the last whole step
    // reached, or that is not finite.
    State at(double offset_s);

private:
    State meanRate(double step_s) const;
    void wholeStep();

    State state_;   // at stepsDone_ whole steps
    State excess_;  // the rounding error in state_, which the next step subtracts (compensated summation)
    double step_s_;
    std::span<const double> higherZonals_;
    std::int64_t stepsDone_ = 0;
};

}  // namespace vorlandi::tools
