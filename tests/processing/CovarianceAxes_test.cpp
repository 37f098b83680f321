// Covariances turned from the axes of a state into its frame.
#include "Vorlandi/VorlandiProcessing/CovarianceAxes.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

using Real = long double;
using Vector = std::array<Real, 3>;
using Full = std::array<std::array<Real, 6>, 6>;

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector unit(const Vector& a) {
    const Real size = std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
    return {a[0] / size, a[1] / size, a[2] / size};
}

Full fullOf(const PointCovariance& covariance) {
    Full full{};
    std::size_t next = 0;
    for (std::size_t row = 0; row < 6; ++row)
        for (std::size_t column = 0; column <= row; ++column)
            full[row][column] = full[column][row] = covariance.cov[next++];
    return full;
}

// The definition, word by word: columns of M are the axes, and the whole 6x6 matrix turns at once.
Full plainlyTurned(const Vorlanstate& state, bool rotating, CovarianceAxes axes, const PointCovariance& covariance) {
    const Vector r{state.pos[0], state.pos[1], state.pos[2]};
    const Real w = rotating ? 7.292115e-5L : 0.0L;
    const Vector turning = cross({0, 0, w}, r);
    const Vector u{state.vel[0] + turning[0], state.vel[1] + turning[1], state.vel[2] + turning[2]};
    const Vector third = unit(cross(r, u));
    const Vector first = unit(axes == CovarianceAxes::Uvw ? r : u);
    const Vector columns[] = {first, cross(third, first), third};
    const auto m = [&](std::size_t i, std::size_t j) { return i / 3 == j / 3 ? columns[j % 3][i % 3] : 0.0L; };
    const Full c = fullOf(covariance);
    Full turned{};
    for (std::size_t i = 0; i < 6; ++i)
        for (std::size_t j = 0; j < 6; ++j)
            for (std::size_t k = 0; k < 6; ++k)
                for (std::size_t l = 0; l < 6; ++l)
                    turned[i][j] += m(i, k) * c[k][l] * m(j, l);
    return turned;
}

// Every element to 1e-12 of the largest in its block.
void expectNear(const PointCovariance& found, const Full& expected) {
    const Full full = fullOf(found);
    Real largest[2][2] = {};
    for (std::size_t i = 0; i < 36; ++i)
        largest[i / 18][i % 6 / 3] = std::max(largest[i / 18][i % 6 / 3], std::abs(expected[i / 6][i % 6]));
    for (std::size_t i = 0; i < 36; ++i)
        ASSERT_LE(std::abs(full[i / 6][i % 6] - expected[i / 6][i % 6]), 1e-12L * largest[i / 18][i % 6 / 3]) << i;
}

TEST(CovarianceAxes, TurnsIntoTheFrameAsDefined) {
    std::mt19937_64 random(testSeed());
    std::uniform_real_distribution<double> between(-1.0, 1.0);
    for (int k = 0; k < 200; ++k) {
        Vorlanstate state;
        for (int axis = 0; axis < 3; ++axis) {
            state.pos[axis] = 42000.0 * between(random);
            state.vel[axis] = 8.0 * between(random);
        }
        PointCovariance given;
        std::generate(std::begin(given.cov), std::end(given.cov), [&] { return between(random); });
        for (const std::size_t element : {9u, 13u, 14u, 18u, 19u, 20u})  // velocities are known a thousand times better
            given.cov[element] *= 1e-6;
        for (const bool rotating : {false, true}) {
            for (const CovarianceAxes axes : {CovarianceAxes::Uvw, CovarianceAxes::Tnw}) {
                PointCovariance turned = given;
                ASSERT_TRUE(turnToFrame(state, rotating, axes, turned));
                expectNear(turned, plainlyTurned(state, rotating, axes, given));
            }
        }
    }
}

TEST(CovarianceAxes, AreUndefinedWherePositionAndVelocityAreParallel) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        const char* what;
        Vorlanstate state;
        bool rotating, defined;
    };
    // In the rotating frame, a satellite above a fixed place has only the velocity of the frame.
    const Case cases[] = {
        {"at rest", {0, {42000, 0, 0}, {0, 0, 0}}, false, false},
        {"at rest in a rotating frame", {0, {42000, 0, 0}, {0, 0, 0}}, true, true},
        {"at rest above the pole", {0, {0, 0, 7000}, {0, 0, 0}}, true, false},
        {"no position", {0, {0, 0, 0}, {1, 2, 3}}, false, false},
        {"nearly parallel", {0, {7000, 0, 0}, {8, 7.9e-9, 0}}, false, false},
        {"not quite parallel", {0, {7000, 0, 0}, {8, 8.1e-9, 0}}, false, true},
        {"not a number", {0, {7000, kNan, 0}, {0, 8, 0}}, false, false},
        {"too large", {0, {1e200, 0, 0}, {0, 1e200, 0}}, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const PointCovariance given{{1, 2, 3}};
        PointCovariance covariance = given;
        EXPECT_EQ(turnToFrame(c.state, c.rotating, CovarianceAxes::Tnw, covariance), c.defined);
        covariance = given;
        EXPECT_EQ(turnToFrame(c.state, c.rotating, CovarianceAxes::Uvw, covariance), c.defined);
        if (c.defined) continue;
        EXPECT_TRUE(std::equal(std::begin(covariance.cov), std::end(covariance.cov), given.cov));
    }
}

}  // namespace
}  // namespace vorlandi::testing
