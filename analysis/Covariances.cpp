#include "analysis/Covariances.hpp"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>

#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {
namespace {

using Matrix = Eigen::Matrix<double, 6, 6>;

// Rounding can make a zero eigenvalue this negative.
constexpr double kRoundedZero = -1e-12;

Matrix scaledToUnitDiagonal(const Matrix6& covariance) {
    Matrix matrix;
    std::array<double, 6> scale;
    for (std::size_t i = 0; i < 6; ++i) {
        const double diagonal = std::abs(covariance[i][i]);
        scale[i] = diagonal > 0.0 ? 1.0 / std::sqrt(diagonal) : 1.0;
    }
    for (std::size_t row = 0; row < 6; ++row)
        for (std::size_t column = 0; column <= row; ++column) {
            const double element = covariance[row][column] * scale[row] * scale[column];
            matrix(static_cast<Eigen::Index>(row), static_cast<Eigen::Index>(column)) = element;
            matrix(static_cast<Eigen::Index>(column), static_cast<Eigen::Index>(row)) = element;
        }
    return matrix;
}

// Without velocities their rows are zero, which makes no eigenvalue negative, but stops a decomposition.
Matrix withoutEmptyRows(Matrix matrix) {
    for (Eigen::Index i = 0; i < 6; ++i)
        if (matrix(i, i) == 0.0 && matrix.row(i).isZero(0.0)) matrix(i, i) = 1.0;
    return matrix;
}

void extend(std::vector<PoorCovariances>& stretches, std::size_t point, double eigenvalue) {
    if (stretches.empty() || stretches.back().last + 1 != point) stretches.push_back({point, point, eigenvalue});
    stretches.back().last = point;
    stretches.back().eigenvalue = std::min(stretches.back().eigenvalue, eigenvalue);
}

}  // namespace

std::optional<double> negativeEigenvalue(const Matrix6& covariance) {
    const Matrix matrix = scaledToUnitDiagonal(covariance);
    if (Eigen::LLT<Matrix>(withoutEmptyRows(matrix)).info() == Eigen::Success) return std::nullopt;
    const Eigen::SelfAdjointEigenSolver<Matrix> solver(matrix, Eigen::EigenvaluesOnly);
    const double least = solver.eigenvalues().minCoeff();
    if (least >= kRoundedZero) return std::nullopt;
    return least;
}

PoorStretches poorCovariances(std::span<const Matrix6> covariances) {
    PoorStretches poor;
    for (std::size_t i = 0; i < covariances.size(); ++i) {
        if (!isCovariance(covariances[i])) continue;
        if (const auto eigenvalue = negativeEigenvalue(covariances[i]))
            extend(*eigenvalue >= kNegligibleEigenvalue ? poor.negligible : poor.serious, i, *eigenvalue);
    }
    return poor;
}

std::optional<SigmaRange> positionSigmas(std::span<const Matrix6> covariances) {
    SigmaRange range{std::numeric_limits<double>::infinity(), -1.0};
    for (const Matrix6& covariance : covariances) {
        if (!isCovariance(covariance)) continue;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double sigma_m = std::sqrt(std::max(covariance[axis][axis], 0.0)) * kMetresPerKm;
            range.largest_m = std::max(range.largest_m, sigma_m);
            if (sigma_m > 0.0) range.least_m = std::min(range.least_m, sigma_m);
        }
    }
    if (range.largest_m < 0.0) return std::nullopt;
    return range;
}

std::optional<std::array<double, 3>> orbitSigmas_m(const Matrix6& covariance, const State& state, Frame frame) {
    const Motion motion = motionOf(frame);
    if (motion == Motion::Unknown || !isCovariance(covariance)) return std::nullopt;
    const std::optional<Axes> axes = orbitAxes(state, motion);
    if (!axes) return std::nullopt;
    std::array<double, 3> sigmas_m{};
    for (std::size_t k = 0; k < 3; ++k) {
        double variance = 0.0;
        for (std::size_t row = 0; row < 3; ++row)
            for (std::size_t column = 0; column < 3; ++column)
                variance += (*axes)[k][row] * covariance[row][column] * (*axes)[k][column];
        if (!(variance >= 0.0)) return std::nullopt;
        sigmas_m[k] = std::sqrt(variance) * kMetresPerKm;
    }
    return sigmas_m;
}

std::vector<Matrix6> covariancesBetween(const Satellite& satellite, const Ephemeris& ephemeris) {
    std::vector<Ds50> times;
    for (std::size_t i = 0; i < ephemeris.intervals(); ++i)
        times.push_back({0.5 * (ephemeris.times[i].days + ephemeris.times[i + 1].days)});
    std::vector<State> states(times.size());
    std::vector<std::int32_t> codes(times.size());
    std::vector<Matrix6> covariances(times.size());
    satellite.try_states(times, states, codes, covariances);
    return covariances;
}

}  // namespace vorlandi::analysis
