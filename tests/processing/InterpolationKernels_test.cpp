// The interpolation kernels, bit by bit against the plainly written formulas, and their rounding error against exact
// results: data/kernel_reference.txt.
#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <fstream>
#include <iostream>
#include <random>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
using Points = std::vector<Vorlanpoint>;
using Doubles = std::vector<double>;

constexpr double kUnits[17] = {0, 0, 0, 0, 0, 0, 0, 0, 1};  // from 8 - i on, only element i is a 1

// The formula of the weights, term by term, in its order.
double plainLagrange(const Doubles& y, const Doubles& x, double t) {
    double product = 1.0, sum = 0.0;
    for (const double node : x)
        product *= t - node;
    for (std::size_t i = 0; i < y.size(); ++i) {
        double denominator = 1.0;
        for (std::size_t j = 0; j < y.size(); ++j)
            if (j != i) denominator *= x[i] - x[j];
        sum = std::fma((product / (t - x[i])) / denominator, y[i], sum);
    }
    return sum;
}

// The same of the states. `vanished` counts the nodes at which the sum of 1/e is exactly 0.
Vorlanpoint plainHermite(const Points& p, double t, int& vanished) {
    const auto secondsBetween = [](double a, double b) { return minus(tosplittai(a), tosplittai(b)); };
    Doubles dt, scalars, times;
    double product = 1.0;
    for (const Vorlanpoint& node : p) {
        dt.push_back(secondsBetween(t, node.time));
        product *= dt.back();
        scalars.push_back(node.cov[0]);
        times.push_back(node.time);
    }
    Vorlanpoint result;
    result.time = t;
    for (std::size_t i = 0; i < p.size(); ++i) {
        const double l = product / dt[i];
        double d = 1.0, s1 = 0.0, s2 = 0.0;
        for (std::size_t j = 0; j < p.size(); ++j) {
            if (j == i) continue;
            const double e = secondsBetween(p[i].time, p[j].time);
            d *= e;
            s1 += 1.0 / e;
            s2 += 1.0 / dt[j];
        }
        if (s1 == 0.0) ++vanished;
        const double c = s1 == 0.0 ? 2.0 * std::fabs(dt[i]) * std::ldexp(1.0, 52 - std::ilogb(dt[i])) : -(0.5 / s1);
        const double a = l * l, b = d * d;
        for (int k = 0; k < 3; ++k) {
            result.pos[k] += (dt[i] + c) * a / (c * b) * p[i].pos[k];
            result.pos[k] += dt[i] * a / b * p[i].vel[k];
            result.vel[k] += ((2.0 * s2) * (dt[i] + c) + 1.0) * a / (c * b) * p[i].pos[k];
            result.vel[k] += ((2.0 * s2) * dt[i] + 1.0) * a / b * p[i].vel[k];
        }
        for (std::size_t k = 0; k < kCovarianceSize && p[0].cov[1] != 12345.0; ++k)
            result.cov[k] += l / d * p[i].cov[k];
    }
    if (p[0].cov[1] == 12345.0) result.cov[0] = plainLagrange(scalars, times, t);
    return result;
}

template <std::size_t N>
void interpolate(const Points& points, double t, Vorlanpoint& result, WithCovariance covariance) {
    Vorlanstate states[N];
    PointCovariance covariances[N];
    std::copy(points.begin(), points.end(), states);
    std::copy(points.begin(), points.end(), covariances);
    if constexpr (N == HermiteWindow::kNodes) {
        hermitevorlan(HermiteWindow(states, covariances), t, result, covariance);
    } else {
        HermiteNodes<N> nodes(states, covariances, leapTable());
        nodes.prepare();
        nodes.answer(t, result, covariance);
    }
}

// By 2 to 6 points.
Vorlanpoint interpolated(const Points& points, double t, WithCovariance covariance = WithCovariance::Yes) {
    constexpr decltype(&interpolate<2>) kKernels[] = {interpolate<2>, interpolate<3>, interpolate<4>, interpolate<5>,
                                                      interpolate<6>};
    Vorlanpoint result;
    result.rev = 77;
    std::fill_n(result.cov, kCovarianceSize, 77.0);
    kKernels[points.size() - 2](points, t, result, covariance);
    return result;
}

auto bitsOf(const Vorlanpoint& point) { return std::bit_cast<std::array<std::uint64_t, 29>>(point); }

TEST(Hermitevorlan, HasTheBitsOfTheFormulasOnRandomWindowsAndOfTheNodesAtTheirTimes) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    std::uniform_real_distribution<double> share(-0.02, 1.02), any(1.0, 60000.0), spacing(1.0, 3600.0),
        value(-1.0, 1.0);
    // Units of 675 s, kept without rounding: windows in which the sum of the reciprocals vanishes at a node.
    const Doubles vanishing[] = {{0, 2, 4}, {0, 1, 3, 5, 6}, {0, 6, 13, 48}};
    int vanished = 0;
    for (std::size_t round = 0; round < 30000; ++round) {
        const double starts[] = {27000.25, any(random), 24473.0 - 0.5 * spacing(random) / 86400.0, 8036.0 - 0.001};
        SCOPED_TRACE(round);
        const bool vanishes = round % 50 == 49;
        const Doubles& units = vanishing[round / 50 % 3];
        Points points(vanishes ? units.size() : 2 + round % 5);
        double time = starts[round / 5 % 4], step = spacing(random) / 86400.0;
        for (std::size_t k = 0; k < points.size(); ++k) {
            points[k].time = vanishes ? 27000.0 + units[k] / 128.0 : time;
            time += step * (1.0 + 0.7 * value(random));
            points[k].rev = static_cast<std::int32_t>(random() % 100000);
            std::generate_n(points[k].pos, 3, [&] { return 7000.0 * value(random); });
            std::generate_n(points[k].vel, 3, [&] { return 8.0 * value(random); });
            std::generate_n(points[k].cov, kCovarianceSize, [&] { return value(random); });
        }
        if (round % 7 < 2) points[round % 7].cov[1] = 12345.0;  // only in the first node it is a mark
        const double t = std::lerp(points.front().time, points.back().time, share(random));
        Vorlanpoint expected = plainHermite(points, t, vanished);
        ASSERT_EQ(bitsOf(interpolated(points, t)), bitsOf(expected));
        std::fill_n(expected.cov, kCovarianceSize, 77.0);  // as it was
        ASSERT_EQ(bitsOf(interpolated(points, t, WithCovariance::No)), bitsOf(expected));
        const Vorlanpoint& node = points[random() % points.size()];
        ASSERT_EQ(bitsOf(interpolated(points, node.time)), bitsOf(node));
    }
    EXPECT_EQ(vanished, 600);
}

// The largest errors in units of 2^-52 of the nodes' largest position and velocity, and a hash of all
// results.
struct Roundings {
    double position = 0.0, velocity = 0.0;
    std::uint64_t hash = 14695981039346656037U;  // FNV-1a

    void note(const Vorlanpoint& result, const Vorlanpoint& exact, const Vorlanpoint& largest) {
        for (int k = 0; k < 3; ++k) {
            position = std::max(position, std::abs(result.pos[k] - exact.pos[k]) / largest.pos[0] / kEpsilon);
            velocity = std::max(velocity, std::abs(result.vel[k] - exact.vel[k]) / largest.vel[0] / kEpsilon);
        }
        for (const std::uint64_t bits : bitsOf(result))
            hash = (hash ^ bits) * 1099511628211U;
    }
};

// From day 512 on the differences of times are exact. A weight is a product of about 8n factors, each rounded; their
// roundings don't all fall the same way, so 3n roundings are allowed. Velocity weights also contain sums of n terms
// whose parts are larger than the sums.
void expectNearExact(const Points& points, const Vorlanpoint& exact, Roundings& found) {
    Vorlanpoint largest;
    // How much the polynomial and its derivative magnify errors of the nodes: the sums of the weights' magnitudes,
    // found from states that have a 1 in one place.
    double position = 0.0, velocity = 0.0, fromVelocity = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        Points unit(points.size());
        for (std::size_t k = 0; k < unit.size(); ++k)
            unit[k].time = points[k].time;
        unit[i].pos[0] = unit[i].vel[1] = 1.0;
        const Vorlanpoint weights = interpolated(unit, exact.time);
        position += std::abs(weights.pos[0]);
        velocity += std::abs(weights.vel[0]);
        fromVelocity += std::abs(weights.pos[1]);
        for (int k = 0; k < 3; ++k) {
            largest.pos[0] = std::max(largest.pos[0], std::abs(points[i].pos[k]));
            largest.vel[0] = std::max(largest.vel[0], std::abs(points[i].vel[k]));
            largest.cov[k] = std::max(largest.cov[k], std::abs(points[i].cov[k]));
        }
    }
    const double roundings = 3.0 * static_cast<double>(points.size()) * kEpsilon;
    const double pos = roundings * largest.pos[0], vel = roundings * largest.vel[0];
    const Vorlanpoint result = interpolated(points, exact.time);
    found.note(result, exact, largest);
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(result.pos[k], exact.pos[k], position * pos + fromVelocity * vel);
        EXPECT_NEAR(result.vel[k], exact.vel[k], velocity * pos + 16 * vel);
        // The weights of edge windows of six sum to about ten without their signs.
        EXPECT_NEAR(result.cov[k], exact.cov[k], largest.cov[k] * 64 * kEpsilon);
    }
}

TEST(InterpolationKernels, StayWithinTheirRoundingErrorOfTheExactPolynomials) {
    std::ifstream file(VORLANDI_TEST_DATA "/kernel_reference.txt");
    std::string kind, word;
    const auto number = [&] { return file >> word, std::strtod(word.c_str(), nullptr); };
    for (int k = 0; k < 3; ++k)
        std::getline(file, word);  // the comment
    int windows = 0;
    Roundings found;
    for (std::size_t n = 0; file >> kind >> word >> n; ++windows) {
        SCOPED_TRACE(word + ", window " + std::to_string(windows));
        if (kind == "hermite") {
            Points points(n + 1);
            for (Vorlanpoint& point : points) {
                point.time = number();
                std::generate_n(point.pos, 3, number);
                std::generate_n(point.vel, 3, number);
                std::generate_n(point.cov, 3, number);
            }
            const Vorlanpoint exact = points.back();  // the last row: the request and the result
            points.pop_back();
            expectNearExact(points, exact, found);
        } else {
            Doubles x(n), y(n);
            std::generate(x.begin(), x.end(), number);
            std::generate(y.begin(), y.end(), number);
            const double t = number(), exact = number();
            double terms = 0.0;  // what the terms would sum to without their signs
            for (std::size_t i = 0; i < n; ++i)
                terms += std::abs(y[i] * lagrange_val({&kUnits[8 - i], n}, {x.data(), n}, t));
            // 2n products and differences in each weight, n sums.
            const double value = lagrange_val({y.data(), n}, {x.data(), n}, t);
            EXPECT_NEAR(value, exact, 3.0 * static_cast<double>(n) * kEpsilon * terms);
        }
    }
    EXPECT_EQ(windows, 59);
    std::cout << "largest rounding errors: position " << found.position << ", velocity " << found.velocity
              << " units of 2^-52 of the largest node\n";
    EXPECT_EQ(found.hash, 18318692360554219188U) << "another compiler or optimisation changes the bits";
}

}  // namespace
}  // namespace vorlandi::testing
