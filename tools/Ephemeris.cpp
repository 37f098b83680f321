#include "Ephemeris.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vorlandi::tools {
namespace {

using Matrix6 = std::array<std::array<double, 6>, 6>;

Matrix6 covarianceFactor(double hours) {
    const double fast = 1.0 + 0.1 * hours;
    const double slow = 1.0 + 0.05 * hours;
    Matrix6 factor{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double spread = 1.0 + 0.2 * static_cast<double>(i);
        factor[i][i] = 0.010 * spread * fast;
        factor[i + 3][i + 3] = 1.0e-5 * spread * slow;
        factor[i + 3][i] = 4.0e-6 * fast;
    }
    factor[1][0] = factor[2][1] = -0.003;
    return factor;
}

// a b', of which the lower triangle is filled.
Covariance21 lowerTriangleOf(const Matrix6& a, const Matrix6& b) {
    Covariance21 lowerTriangle{};
    std::size_t next = 0;
    for (std::size_t row = 0; row < 6; ++row) {
        for (std::size_t column = 0; column <= row; ++column, ++next) {
            for (std::size_t k = 0; k < 6; ++k)
                lowerTriangle[next] += a[row][k] * b[column][k];
        }
    }
    return lowerTriangle;
}

Vector3 cross(const Vector3& a, const Vector3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector3 unit(const Vector3& a) {
    const double length = std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
    return {a[0] / length, a[1] / length, a[2] / length};
}

}  // namespace

Ephemeris integrateEphemeris(const EphemerisPlan& plan, double integrationStep_s) {
    OrbitIntegration orbit(plan.initial, integrationStep_s);
    Ephemeris ephemeris{plan.satelliteNumber, {}};
    ephemeris.points.reserve(static_cast<std::size_t>(plan.pointCount));
    for (std::int64_t i = 0; i < plan.pointCount; ++i) {
        const auto time = plan.epoch + i * plan.spacing;
        ephemeris.points.push_back({time, orbit.at(secondsBetween(plan.epoch, time))});
    }
    return ephemeris;
}

Covariance21 covarianceAt(double hours) {
    const Matrix6 factor = covarianceFactor(hours);
    return lowerTriangleOf(factor, factor);
}

Covariance21 inAxesOfState(const Covariance21& covariance, const State& state) {
    const Vector3 radial = unit(state.position_km);
    const Vector3 normal = unit(cross(state.position_km, state.velocity_km_s));
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
    return lowerTriangleOf(turned, turn);
}

}  // namespace vorlandi::tools
