#include "Vorlandi/VorlandiProcessing/CovarianceAxes.hpp"

#include <array>
#include <cmath>
#include <optional>

namespace vorlandi {
namespace {

using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>;  // rows

constexpr double kRotation = 7.292115e-5;  // of the Earth about z, rad/s
constexpr double kLeastSine = 1e-9;        // of the angle between r and u

Vector cross(const Vector& a, const Vector& b) noexcept {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double length(const Vector& a) noexcept { return std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]); }

Vector unit(const Vector& a, double size) noexcept { return {a[0] / size, a[1] / size, a[2] / size}; }

// The three axes, one a row.
std::optional<Matrix> axesOf(const Vorlanstate& state, bool rotatingFrame, CovarianceAxes axes) noexcept {
    const Vector r{state.pos[0], state.pos[1], state.pos[2]};
    const double rotation = rotatingFrame ? kRotation : 0.0;
    const Vector u{state.vel[0] - rotation * r[1], state.vel[1] + rotation * r[0], state.vel[2]};
    const Vector normal = cross(r, u);
    const double rSize = length(r), uSize = length(u), normalSize = length(normal);
    // Written so that zeros, NaN and what overflows have no axes.
    if (!(normalSize > kLeastSine * rSize * uSize)) return std::nullopt;
    const Vector first = axes == CovarianceAxes::Uvw ? unit(r, rSize) : unit(u, uSize);
    const Vector w = unit(normal, normalSize);
    return Matrix{first, cross(w, first), w};
}

Matrix transposed(const Matrix& m) noexcept {
    return {{{m[0][0], m[1][0], m[2][0]}, {m[0][1], m[1][1], m[2][1]}, {m[0][2], m[1][2], m[2][2]}}};
}

// Element (row, column) of the symmetric matrix, for row >= column.
constexpr std::size_t element(std::size_t row, std::size_t column) noexcept { return row * (row + 1) / 2 + column; }

// The block of a covariance that begins at (row, column): B becomes M B M'. In a block on the diagonal the elements
// above the diagonal equal the ones below it.
template <std::size_t Row, std::size_t Column>
void turnBlock(const Matrix& m, PointCovariance& covariance) noexcept {
    constexpr bool kSymmetric = Row == Column;
    double* const cov = covariance.cov;
    Matrix half;  // B M'
    for (std::size_t i = 0; i < 3; ++i) {
        Vector b;
        for (std::size_t k = 0; k < 3; ++k)
            b[k] = cov[kSymmetric && k > i ? element(Row + k, Column + i) : element(Row + i, Column + k)];
        for (std::size_t j = 0; j < 3; ++j)
            half[i][j] = b[0] * m[j][0] + b[1] * m[j][1] + b[2] * m[j][2];
    }
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < (kSymmetric ? i + 1 : 3); ++j)
            cov[element(Row + i, Column + j)] = m[i][0] * half[0][j] + m[i][1] * half[1][j] + m[i][2] * half[2][j];
    }
}

void turn(const Matrix& m, PointCovariance& covariance) noexcept {
    turnBlock<0, 0>(m, covariance);
    turnBlock<3, 0>(m, covariance);
    turnBlock<3, 3>(m, covariance);
}

}  // namespace

bool turnToFrame(const Vorlanstate& state, bool rotatingFrame, CovarianceAxes axes,
                 PointCovariance& covariance) noexcept {
    const auto rows = axesOf(state, rotatingFrame, axes);
    if (rows) turn(transposed(*rows), covariance);
    return rows.has_value();
}

}  // namespace vorlandi
