#include "Ephemeris.hpp"

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
    Covariance21 lowerTriangle{};
    std::size_t next = 0;
    for (std::size_t row = 0; row < 6; ++row) {
        for (std::size_t column = 0; column <= row; ++column, ++next) {
            for (std::size_t k = 0; k <= column; ++k)
                lowerTriangle[next] += factor[row][k] * factor[column][k];
        }
    }
    return lowerTriangle;
}

}  // namespace vorlandi::tools
