#include "Ephemeris.hpp"

#include <array>
#include <cstddef>

namespace vorlandi::tools {
namespace {

constexpr UtcTime kDay0Of1950{std::chrono::sys_days{std::chrono::year{1949} / 12 / 31}};

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

writers::Covariance covarianceAt(double hours) {
    const Matrix6 factor = covarianceFactor(hours);
    writers::Covariance lowerTriangle{};
    std::size_t next = 0;
    for (std::size_t row = 0; row < 6; ++row) {
        for (std::size_t column = 0; column <= row; ++column, ++next) {
            for (std::size_t k = 0; k < 6; ++k)
                lowerTriangle[next] += factor[row][k] * factor[column][k];
        }
    }
    return lowerTriangle;
}

}  // namespace

double daysSince1950(UtcTime time) { return static_cast<double>((time - kDay0Of1950).count()) / 86400000.0; }

double secondsBetween(UtcTime from, UtcTime to) { return static_cast<double>((to - from).count()) / 1000.0; }

Ephemeris integrateEphemeris(const EphemerisPlan& plan, double integrationStep_s) {
    OrbitIntegration orbit(plan.initial, integrationStep_s);
    Ephemeris ephemeris;
    ephemeris.number = plan.satelliteNumber;
    const auto count = static_cast<std::size_t>(plan.pointCount);
    ephemeris.times.reserve(count);
    ephemeris.states.reserve(count);
    if (plan.withCovariance) ephemeris.covariances.reserve(count);
    for (std::int64_t i = 0; i < plan.pointCount; ++i) {
        const auto time = plan.epoch + i * plan.spacing;
        const double elapsed_s = secondsBetween(plan.epoch, time);
        ephemeris.times.push_back(daysSince1950(time));
        ephemeris.states.push_back(orbit.at(elapsed_s));
        if (plan.withCovariance) ephemeris.covariances.push_back(covarianceAt(elapsed_s / 3600.0));
    }
    return ephemeris;
}

}  // namespace vorlandi::tools
