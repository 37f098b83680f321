// The rounding error of the interpolation kernels, against results worked out without any: data/kernel_reference.txt.
#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>

#include "TestSupport.hpp"
#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"

namespace vorlandi::testing {
namespace {

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
using Points = std::vector<Vorlanpoint>;

Vorlanpoint interpolated(const Points& points, double t) {
    Vorlanpoint result;
    hermitevorlan(points, t, result);
    return result;
}

// A window of kernel_reference.txt.
struct Reference {
    std::string kind, name;
    std::vector<std::vector<double>> rows;
};

std::vector<Reference> references() {
    std::ifstream file(VORLANDI_TEST_DATA "/kernel_reference.txt");
    std::vector<Reference> found;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("hermite") || line.starts_with("lagrange")) {
            std::istringstream head(line);
            Reference& next = found.emplace_back();
            head >> next.kind >> next.name;
        } else if (!line.starts_with("#")) {
            std::istringstream words(line);
            std::vector<double>& row = found.back().rows.emplace_back();
            for (std::string word; words >> word;)
                row.push_back(std::strtod(word.c_str(), nullptr));
        }
    }
    return found;
}

double largestOf(const Points& points, double (Vorlanpoint::*field)[3]) {
    double largest = 0.0;
    for (const Vorlanpoint& point : points)
        for (const double value : point.*field)
            largest = std::max(largest, std::abs(value));
    return largest;
}

// How much the polynomial and its derivative enlarge errors of the nodes' positions and velocities: the sums of the
// weights' magnitudes, worked out from states that have a 1 in one place.
struct Amplification {
    double position = 0.0, velocity = 0.0;  // of an error of 1 km in each position
    double fromVelocity = 0.0;              // km in the position, of an error of 1 km/s in each velocity
};
Amplification amplification(const Points& points, double t) {
    Amplification sum;
    for (std::size_t i = 0; i < points.size(); ++i) {
        Points unit(points.size());
        for (std::size_t k = 0; k < unit.size(); ++k)
            unit[k].time = points[k].time;
        unit[i].pos[0] = unit[i].vel[1] = 1.0;
        const Vorlanpoint weights = interpolated(unit, t);
        sum.position += std::abs(weights.pos[0]);
        sum.velocity += std::abs(weights.vel[0]);
        sum.fromVelocity += std::abs(weights.pos[1]);
    }
    return sum;
}

// From day 512 on the differences of times are exact. A weight is a product of about 8n factors, each rounded; their
// roundings don't all fall the same way, so that 3n are allowed for. The weights of the velocity hold besides sums of n
// terms whose parts are larger than the sums.
TEST(Hermitevorlan, StaysWithinItsRoundingErrorOfTheExactPolynomial) {
    double largestPos_ulps = 0.0, largestVel_ulps = 0.0, largestShare = 0.0;
    int windows = 0;
    for (const Reference& reference : references()) {
        if (reference.kind != "hermite") continue;
        ++windows;
        SCOPED_TRACE(reference.name + ", window " + std::to_string(windows));
        Points points;
        for (const auto& row : reference.rows) {
            Vorlanpoint& point = points.emplace_back();
            point.time = row[0];
            std::copy_n(&row[1], 3, point.pos);
            std::copy_n(&row[4], 3, point.vel);
            std::copy_n(&row[7], 3, point.cov);
        }
        const Vorlanpoint exact = points.back();  // the last row: the request and the result
        points.pop_back();
        const Vorlanpoint result = interpolated(points, exact.time);
        const double pos = largestOf(points, &Vorlanpoint::pos), vel = largestOf(points, &Vorlanpoint::vel);
        const Amplification grown = amplification(points, exact.time);
        const double roundings = 3.0 * static_cast<double>(points.size());
        const double nodeError_km = roundings * kEpsilon * pos;
        const double posBound =
            grown.position * nodeError_km + grown.fromVelocity * roundings * kEpsilon * vel;
        const double velBound = grown.velocity * nodeError_km + 16 * roundings * kEpsilon * vel;
        for (int axis = 0; axis < 3; ++axis) {
            const double posError = std::abs(result.pos[axis] - exact.pos[axis]);
            const double velError = std::abs(result.vel[axis] - exact.vel[axis]);
            EXPECT_LE(posError, posBound);
            EXPECT_LE(velError, velBound);
            largestShare = std::max({largestShare, posError / posBound, velError / velBound});
            if (grown.position > 1.5) continue;  // a request at the edge of an uneven window
            largestPos_ulps = std::max(largestPos_ulps, posError / (pos * kEpsilon));
            largestVel_ulps = std::max(largestVel_ulps, velError / (vel * kEpsilon));
        }
        for (int k = 0; k < 3; ++k) {
            double magnitude = 0.0;
            for (const Vorlanpoint& point : points)
                magnitude = std::max(magnitude, std::abs(point.cov[k]));
            // The weights of edge windows of six sum to about ten without their signs.
            EXPECT_NEAR(result.cov[k], exact.cov[k], magnitude * 64 * kEpsilon);
        }
    }
    EXPECT_GE(windows, 40);
    RecordProperty("largest_position_error_ulps", std::to_string(largestPos_ulps));
    RecordProperty("largest_velocity_error_ulps", std::to_string(largestVel_ulps));
    RecordProperty("largest_share_of_bound", std::to_string(largestShare));
}

TEST(LagrangeVal, StaysWithinItsRoundingErrorOfTheExactPolynomial) {
    double largestShare = 0.0;
    int windows = 0;
    for (const Reference& reference : references()) {
        if (reference.kind != "lagrange") continue;
        SCOPED_TRACE(++windows);
        const std::vector<double>&x = reference.rows[0], &y = reference.rows[1];
        const double t = reference.rows[2][0], exact = reference.rows[2][1];
        double terms = 0.0;  // what the terms would sum to without their signs
        for (std::size_t i = 0; i < x.size(); ++i) {
            std::vector<double> one(x.size(), 0.0);
            one[i] = y[i];
            terms += std::abs(lagrange_val({one.data(), one.size()}, {x.data(), x.size()}, t));
        }
        // 2n products and differences in each weight, n sums.
        const double bound = 3.0 * static_cast<double>(x.size()) * kEpsilon * terms;
        const double error = std::abs(lagrange_val({y.data(), y.size()}, {x.data(), x.size()}, t) - exact);
        EXPECT_LE(error, bound);
        largestShare = std::max(largestShare, error / bound);
    }
    EXPECT_GE(windows, 10);
    RecordProperty("largest_share_of_bound", std::to_string(largestShare));
}

}  // namespace
}  // namespace vorlandi::testing
