#include "writers/CovarianceAxes.hpp"

#include <algorithm>
#include <cmath>

namespace vorlandi::writers {
namespace {

using Matrix6 = std::array<std::array<double, 6>, 6>;

constexpr double kLeastSine = 1e-9;  // of the angle between position and velocity

Vector3 cross(const Vector3& a, const Vector3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double length(const Vector3& a) { return std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]); }

Vector3 unit(const Vector3& a) {
    const double size = length(a);
    return {a[0] / size, a[1] / size, a[2] / size};
}

Vector3 inertialVelocity_km_s(const State& state, Frame frame) {
    Vector3 velocity = state.velocity_km_s;
    if (isRotating(frame)) {
        velocity[0] -= kEarthRotation_rad_s * state.position_km[1];
        velocity[1] += kEarthRotation_rad_s * state.position_km[0];
    }
    return velocity;
}

}  // namespace

std::optional<Covariance> inAxesOfState(const Covariance& covariance, const State& state, Frame frame) {
    const Vector3& position = state.position_km;
    const Vector3 velocity = inertialVelocity_km_s(state, frame);
    const Vector3 momentum = cross(position, velocity);
    if (!(length(momentum) >= kLeastSine * length(position) * length(velocity))) return std::nullopt;
    if (length(momentum) == 0.0) return std::nullopt;
    const Vector3 radial = unit(position);
    const Vector3 normal = unit(momentum);
    const Vector3 axes[] = {radial, cross(normal, radial), normal};
    Matrix6 turn{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j)
            turn[i][j] = turn[i + 3][j + 3] = axes[i][j];
    }
    Matrix6 turned{};  // turn covariance
    for (std::size_t row = 0; row < 6; ++row) {
        for (std::size_t column = 0; column < 6; ++column) {
            for (std::size_t k = 0; k < 6; ++k) {
                const auto [low, high] = std::minmax(k, column);
                turned[row][column] += turn[row][k] * covariance[high * (high + 1) / 2 + low];
            }
        }
    }
    Covariance result{};
    std::size_t next = 0;
    for (std::size_t row = 0; row < 6; ++row) {
        for (std::size_t column = 0; column <= row; ++column, ++next) {
            for (std::size_t k = 0; k < 6; ++k)
                result[next] += turned[row][k] * turn[column][k];
        }
    }
    return result;
}

}  // namespace vorlandi::writers
