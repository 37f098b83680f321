// The interpolation kernels bit by bit against the formulas written down plainly, and their special cases.
#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "TestSupport.hpp"
#include "TimeLibrary/TimeScales.hpp"

namespace vorlandi::testing {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
using Points = std::vector<Vorlanpoint>;

double secondsBetween(double a, double b) { return minus(tosplittai(a), tosplittai(b)); }

// ---- The formulas, one after the other, in their order; no thought is given to speed. ----

double plainLagrange(const std::vector<double>& y, const std::vector<double>& x, double t) {
    if (y.empty()) return 0.0;
    double product = 1.0;
    for (std::size_t i = 0; i < y.size(); ++i) {
        if (t - x[i] == 0.0) return y[i];
        product *= t - x[i];
    }
    double s = 0.0;
    for (std::size_t i = 0; i < y.size(); ++i) {
        double denominator = 1.0;
        for (std::size_t j = 0; j < y.size(); ++j)
            if (j != i) denominator *= x[i] - x[j];
        s = std::fma((product / (t - x[i])) / denominator, y[i], s);
    }
    return s;
}

double vanishedSum(double dt) {
    if (dt == 0.0) return 0.0;
    if (!std::isfinite(dt)) return std::numeric_limits<double>::quiet_NaN();
    int k = 0;
    std::frexp(dt, &k);
    return 2.0 * std::fabs(dt) * std::ldexp(1.0, 53 - k);
}

// `vanished` counts the nodes at which the sum of 1/e is exactly 0.
Vorlanpoint plainHermite(const Points& p, double t, int* vanished = nullptr) {
    const std::size_t n = p.size();
    std::vector<double> dt(n);
    for (std::size_t i = 0; i < n; ++i) {
        dt[i] = secondsBetween(t, p[i].time);
        if (dt[i] == 0.0) return p[i];
    }
    double product = dt[0];
    for (std::size_t i = 1; i < n; ++i)
        product *= dt[i];
    Vorlanpoint result;
    result.time = t;
    for (std::size_t i = 0; i < n; ++i) {
        const double l = product / dt[i];
        double d = 1.0, s1 = 0.0, s2 = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            if (j == i) continue;
            const double e = secondsBetween(p[i].time, p[j].time);
            d *= e;
            s1 += 1.0 / e;
            s2 += 1.0 / dt[j];
        }
        double c = -(0.5 / s1);
        if (s1 == 0.0) {
            c = vanishedSum(dt[i]);
            if (vanished != nullptr) ++*vanished;
        }
        const double a = l * l, b = d * d;
        const double posValue = (dt[i] + c) * a / (c * b), posDerivative = dt[i] * a / b;
        const double velValue = ((2.0 * s2) * (dt[i] + c) + 1.0) * a / (c * b);
        const double velDerivative = ((2.0 * s2) * dt[i] + 1.0) * a / b;
        for (int axis = 0; axis < 3; ++axis) {
            result.pos[axis] = result.pos[axis] + posValue * p[i].pos[axis] + posDerivative * p[i].vel[axis];
            result.vel[axis] = result.vel[axis] + velValue * p[i].pos[axis] + velDerivative * p[i].vel[axis];
        }
        if (p[0].cov[1] == 12345.0) {
            std::vector<double> scalars, times;
            for (const Vorlanpoint& node : p) {
                scalars.push_back(node.cov[0]);
                times.push_back(node.time);
            }
            result.cov[0] = plainLagrange(scalars, times, t);
        } else {
            for (std::size_t k = 0; k < kCovarianceSize; ++k)
                result.cov[k] += l / d * p[i].cov[k];
        }
    }
    return result;
}

// ---- Windows ----

std::array<std::uint64_t, 29> bitsOf(const Vorlanpoint& point) {
    return std::bit_cast<std::array<std::uint64_t, 29>>(point);
}

Vorlanpoint interpolated(const Points& points, double t) {
    Vorlanpoint result;
    result.rev = 77;
    hermitevorlan(points, t, result);
    return result;
}

// Random states at the given times, days.
Points pointsAt(const std::vector<double>& times, std::mt19937_64& random) {
    std::uniform_real_distribution<double> position(-7000.0, 7000.0), velocity(-8.0, 8.0),
        covariance(-1.0, 1.0);
    Points points;
    for (const double time : times) {
        Vorlanpoint& point = points.emplace_back();
        point.time = time;
        for (int axis = 0; axis < 3; ++axis) {
            point.pos[axis] = position(random);
            point.vel[axis] = velocity(random);
        }
        point.rev = static_cast<std::int32_t>(random() % 100000);
        for (double& value : point.cov)
            value = covariance(random);
    }
    return points;
}

std::vector<double> risingTimes(std::size_t count, double start, double spacing_s, std::mt19937_64& random) {
    std::uniform_real_distribution<double> jitter(0.3, 1.7);
    std::vector<double> times{start};
    while (times.size() < count)
        times.push_back(times.back() + spacing_s * jitter(random) / 86400.0);
    return times;
}

TEST(Hermitevorlan, HasTheBitsOfTheFormulasOnRandomWindows) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> inside(-0.02, 1.02), year(27000.0, 28000.0), any(1.0, 60000.0),
        spacing(1.0, 3600.0);
    for (int round = 0; round < 30000; ++round) {
        const std::size_t n = 2 + static_cast<std::size_t>(round) % 5;
        const double starts[] = {year(random), any(random), 24473.0 - 0.5 * spacing(random) / 86400.0,
                                 8036.0 - 0.001};
        Points points = pointsAt(risingTimes(n, starts[round / 5 % 4], spacing(random), random), random);
        if (round % 7 == 0) points[0].cov[1] = 12345.0;
        const double t = std::lerp(points.front().time, points.back().time, inside(random));
        ASSERT_EQ(bitsOf(interpolated(points, t)), bitsOf(plainHermite(points, t))) << "round " << round;
        Vorlanpoint state;
        hermitevorlan(points, t, state, Covariance::NotWanted);
        Vorlanpoint expected = plainHermite(points, t);
        std::fill(std::begin(expected.cov), std::end(expected.cov), 0.0);
        ASSERT_EQ(bitsOf(state), bitsOf(expected)) << "round " << round;
    }
}

TEST(Hermitevorlan, PassesOverASumOfReciprocalsThatIsExactlyZeroAsTheFormulaDoes) {
    std::mt19937_64 random(testSeed());
    // Units of 1/128 day: 675 s, kept without rounding. The node in the middle of an odd window is one such; in a window of
    // four, -1/a + 1/b + 1/c has to vanish with its roundings.
    std::vector<std::vector<double>> windows{{0, 2, 4}, {0, 1, 3, 5, 6}};
    for (int a = 1; a < 60; ++a) {
        for (int b = a + 1; b < 200; ++b) {
            for (int c = b + 1; c < 400; ++c) {
                if (-1.0 / (a * 675.0) + 1.0 / (b * 675.0) + 1.0 / (c * 675.0) == 0.0)
                    windows.push_back({0.0, a * 1.0, a * 1.0 + b, a * 1.0 + c});
            }
        }
    }
    int ofFour = 0;
    for (const auto& window : windows) {
        std::vector<double> times;
        for (const double unit : window)
            times.push_back(27000.0 + unit / 128.0);
        const Points points = pointsAt(times, random);
        for (const double fraction : {0.01, 0.4999, 0.62, 0.999}) {
            const double t = std::lerp(times.front(), times.back(), fraction);
            int vanished = 0;
            const Vorlanpoint expected = plainHermite(points, t, &vanished);
            if (vanished > 0 && window.size() == 4) ++ofFour;
            EXPECT_TRUE(vanished > 0 || window.size() == 4);
            EXPECT_EQ(bitsOf(interpolated(points, t)), bitsOf(expected));
            EXPECT_TRUE(std::isfinite(expected.pos[0]) && std::isfinite(expected.vel[2]));
        }
    }
    EXPECT_GT(ofFour, 0);
}

TEST(HermiteWindow, ServesManyRequestsWithTheBitsOfEach) {
    std::mt19937_64 random(testSeed());
    for (const double start : {27000.1, 24473.0 - 100.0 / 86400.0, 8036.0 - 100.0 / 86400.0}) {
        std::vector<Points> windows{pointsAt(risingTimes(4, start, 60.0, random), random),
                                    pointsAt({start, start + 0.01, start + 0.02, start + 0.03}, random)};
        for (Points& points : windows) {
            const HermiteWindow window(points.data());
            Vorlanpoint result;
            for (const double share : {0.5, 0.0, 0.9, 0.1, 1.0, 1.2, -0.1, 0.3}) {
                const double t = std::lerp(points.front().time, points.back().time, share);
                window.at(t, result, Covariance::Wanted);
                EXPECT_EQ(bitsOf(result), bitsOf(plainHermite(points, t))) << share;
            }
        }
    }
}

TEST(Hermitevorlan, GivesANodeItselfAtItsTime) {
    std::mt19937_64 random(testSeed());
    for (const std::size_t n : {1u, 2u, 3u, 4u, 5u, 6u}) {
        Points points = pointsAt(risingTimes(n, 27000.1, 60.0, random), random);
        for (const bool marked : {false, true}) {
            if (marked) points[0].cov[1] = 12345.0;
            for (const Vorlanpoint& node : points)
                EXPECT_EQ(bitsOf(interpolated(points, node.time)), bitsOf(node));
        }
    }
    Points twins = pointsAt({27000.0, 27000.5, 27000.5, 27001.0}, random);
    EXPECT_EQ(bitsOf(interpolated(twins, 27000.5)), bitsOf(twins[1]));
}

TEST(Hermitevorlan, InterpolatesOnlyTheScalarOfMarkedPoints) {
    std::mt19937_64 random(testSeed());
    for (const std::size_t n : {2u, 4u, 6u}) {
        Points points = pointsAt(risingTimes(n, 27000.1, 60.0, random), random);
        const double t = points[0].time + 20.0 / 86400.0;
        points[1].cov[1] = 12345.0;  // of the first node only it is a mark
        EXPECT_NE(interpolated(points, t).cov[2], 0.0);
        points[0].cov[1] = 12345.0;
        const Vorlanpoint result = interpolated(points, t);
        std::vector<double> scalars, times;
        for (const Vorlanpoint& node : points) {
            scalars.push_back(node.cov[0]);
            times.push_back(node.time);
        }
        EXPECT_EQ(result.cov[0], plainLagrange(scalars, times, t));
        EXPECT_TRUE(
            std::all_of(result.cov + 1, std::end(result.cov), [](double value) { return value == 0.0; }));
        EXPECT_EQ(result.time, t);
        EXPECT_EQ(result.rev, 0);
    }
}

TEST(Hermitevorlan, KeepsAStraightLineAcrossALeapSecond) {
    for (const double start : {27000.3, 24473.0 - 90.0 / 86400.0}) {
        Points points;
        for (int k = 0; k < 4; ++k) {
            Vorlanpoint& point = points.emplace_back();
            point.time = start + k * 60.0 / 86400.0;
            for (int axis = 0; axis < 3; ++axis) {
                point.vel[axis] = 2.5 * (axis + 1);
                point.pos[axis] = 1000.0 * axis + point.vel[axis] * secondsBetween(point.time, start);
            }
        }
        for (const double seconds : {10.0, 75.0, 89.9, 90.1, 125.0, 179.0}) {
            const double t = start + seconds / 86400.0;
            const Vorlanpoint result = interpolated(points, t);
            for (int axis = 0; axis < 3; ++axis) {
                const double expected = 1000.0 * axis + points[0].vel[axis] * secondsBetween(t, start);
                // Some tens of roundings of numbers no larger than 4000 km, and of that by the spacing in the velocity.
                EXPECT_NEAR(result.pos[axis], expected, 32 * 4000.0 * kEpsilon);
                EXPECT_NEAR(result.vel[axis], points[0].vel[axis], 32 * 4000.0 / 60.0 * kEpsilon);
            }
        }
    }
}

TEST(LagrangeVal, TakesFewNodesAndAnyStride) {
    const double x[] = {1.0, -1.0, 2.0, -1.0, 4.0, -1.0}, y[] = {10.0, 20.0, 40.0};
    EXPECT_EQ(lagrange_val({y, 0}, {x, 0}, 3.0), 0.0);
    for (const double t : {-1e9, 0.3, 1.0, 1e9})
        EXPECT_EQ(lagrange_val({y, 1}, {x, 1}, t), 10.0) << t;
    EXPECT_DOUBLE_EQ(lagrange_val({y, 3}, {x, 3, 2}, 3.0), 30.0);
    EXPECT_DOUBLE_EQ(lagrange_val({y + 2, 3, -1}, {x + 4, 3, -2}, 3.0), 30.0);
    EXPECT_EQ(lagrange_val({y, 3}, {x, 3, 2}, 2.0), 20.0);
    const double twins[] = {1.0, 1.0, 4.0};
    EXPECT_EQ(lagrange_val({y, 3}, {twins, 3}, 1.0), 10.0);  // the first of equal nodes
    std::mt19937_64 random(testSeed());
    std::uniform_real_distribution<double> value(-10.0, 10.0);
    for (int round = 0; round < 5000; ++round) {
        std::vector<double> xs(static_cast<std::size_t>(round % 9)), ys(xs.size());
        std::generate(xs.begin(), xs.end(), [&] { return value(random); });
        std::generate(ys.begin(), ys.end(), [&] { return value(random); });
        const double t = value(random);
        ASSERT_EQ(lagrange_val({ys.data(), ys.size()}, {xs.data(), xs.size()}, t), plainLagrange(ys, xs, t));
    }
}

}  // namespace
}  // namespace vorlandi::testing
