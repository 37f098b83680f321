// Orbits with the forces that matter for interpolation: the earth's J2 to J4 and C22, sun and moon (on circles).
#pragma once

#include <array>

#include "OrbitIntegration.hpp"

namespace vorlandi::tools {

// Integrates forward by extrapolation (Gragg, Bulirsch and Stoer), to the last digits of a double.
class PerturbedOrbit {
public:
    explicit PerturbedOrbit(const State& initial) : state_(initial) {}

    // Forward only: seconds since the initial state.
    const State& at(double seconds);

    // A change of velocity now, km/s.
    void kick(const Vector3& change_km_s);

private:
    void step(double step_s);

    State state_;
    double time_s_ = 0.0;
};

// Elements in km and radians. The orbit begins at perigee.
State stateAtPerigee(double semiMajorAxis_km, double eccentricity, double inclination, double node,
                     double argumentOfPerigee);

// The same state on axes that turn with the earth and coincide with the inertial ones at time 0.
State onRotatingAxes(const State& state, double seconds);

}  // namespace vorlandi::tools
