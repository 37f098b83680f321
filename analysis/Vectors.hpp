// The library's arrays of numbers as vectors of linear algebra, inside the calculations.
#pragma once

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <array>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

using Vector = Eigen::Vector3d;

inline Vector vectorOf(const std::array<double, 3>& values) { return {values[0], values[1], values[2]}; }
inline std::array<double, 3> arrayOf(const Vector& vector) { return {vector.x(), vector.y(), vector.z()}; }
inline Vector positionOf(const State& state) { return vectorOf(state.position_km); }
inline Vector velocityOf(const State& state) { return vectorOf(state.velocity_km_s); }

}  // namespace vorlandi::analysis
