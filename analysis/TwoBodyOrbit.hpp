// The orbit through one state under the earth's central attraction alone, and the axes of a state.
#pragma once

#include <array>
#include <optional>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

inline constexpr double kMu_km3_s2 = 398600.4418;
inline constexpr double kEarthRadius_km = 6378.137;
inline constexpr double kEarthRotation_rad_s = 7.292115e-5;

// How the axes of a frame move. Unknown: codes other than ECI, J2K, EFG and ECR, and data that no orbit explains.
enum class Motion { Inertial, Rotating, Unknown };

Motion motionOf(Frame frame) noexcept;

// The state on the inertial axes that coincide with the frame's some seconds before the state's time.
State onInertialAxes(State state, Motion motion, double seconds = 0.0) noexcept;

// In rotating axes the orbit is on the inertial axes that coincide with them at the state's time.
class TwoBodyOrbit {
public:
    // The state is not at the centre of the earth.
    TwoBodyOrbit(const State& state, Motion motion) noexcept;

    // The state some seconds after the given one, before it if negative. Near-collisions may not converge; the result
    // is then inaccurate.
    State at(double seconds) const noexcept;

private:
    double anomalyAt(double scaledTime) const noexcept;
    double firstAnomaly(double scaledTime, double linear) const noexcept;

    std::array<double, 3> position_;
    std::array<double, 3> velocity_;  // on axes that don't rotate
    bool rotates_;
    double radius_;
    double sigma_;        // r.v / sqrt(mu)
    double inverseAxis_;  // 1 / semi-major axis
};

// Radial, in-track and cross-track unit vectors; none where position and velocity are parallel or zero. In rotating
// axes the in-track direction follows the inertial velocity.
using Axes = std::array<std::array<double, 3>, 3>;
std::optional<Axes> orbitAxes(const State& state, Motion motion) noexcept;

// The components of a vector on axes.
std::array<double, 3> onAxes(const Axes& axes, const std::array<double, 3>& vector) noexcept;

}  // namespace vorlandi::analysis
