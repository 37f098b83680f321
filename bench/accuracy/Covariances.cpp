#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "Measures.hpp"
#include "Measuring.hpp"

namespace vorlandi::accuracy {
namespace {

constexpr int kSpacings_s[] = {60, 120, 300, 600, 900, 1800};

// Uncertainties at the epoch, along the axes: 100 m and 0.1 m/s.
constexpr double kSigma_km = 0.1, kSigma_km_s = 1e-4;

// The covariance of an orbit whose state at the epoch is uncertain, propagated along the orbit: D D^T, where the
// columns of D are the deviations of six neighbouring orbits.
class TrueCovariance {
public:
    explicit TrueCovariance(const Orbit& orbit) : orbit_(orbit) {
        for (std::size_t k = 0; k < 6; ++k) {
            Orbit neighbour = orbit;
            (k < 3 ? neighbour.initial.position_km[k] : neighbour.initial.velocity_km_s[k - 3]) +=
                k < 3 ? kSigma_km : kSigma_km_s;
            neighbours_.emplace_back(neighbour);
        }
    }

    Node at(double ds50UTC) const {
        Node node{ds50UTC, orbit_.at(ds50UTC)};
        for (const Truth& neighbour : neighbours_) {
            const tools::State other = neighbour.at(ds50UTC);
            std::array<double, 6> deviation;
            for (std::size_t i = 0; i < 3; ++i) {
                deviation[i] = other.position_km[i] - node.state.position_km[i];
                deviation[i + 3] = other.velocity_km_s[i] - node.state.velocity_km_s[i];
            }
            for (std::size_t i = 0; i < 6; ++i) {
                for (std::size_t j = 0; j < 6; ++j)
                    node.covariance[i][j] += deviation[i] * deviation[j];
            }
        }
        return node;
    }

private:
    Truth orbit_;
    std::vector<Truth> neighbours_;
};

bool hasNegativeVariance(const Matrix6& covariance) {
    for (std::size_t i = 0; i < 6; ++i) {
        if (covariance[i][i] < 0.0) return true;
    }
    return false;
}

// By Cholesky factorisation of the correlations, which have no units.
bool isPositiveDefinite(const Matrix6& covariance) {
    Matrix6 factor{};
    for (std::size_t i = 0; i < 6; ++i) {
        if (!(covariance[i][i] > 0.0)) return false;
        for (std::size_t j = 0; j <= i; ++j) {
            double rest = covariance[i][j] / std::sqrt(covariance[i][i] * covariance[j][j]);
            for (std::size_t k = 0; k < j; ++k)
                rest -= factor[i][k] * factor[j][k];
            if (i == j && !(rest > 0.0)) return false;
            factor[i][j] = i == j ? std::sqrt(rest) : rest / factor[j][j];
        }
    }
    return true;
}

// The uncertainty of the position, all axes together.
double sigma_km(const Matrix6& c) { return std::sqrt(c[0][0] + c[1][1] + c[2][2]); }

void measureSpacing(const std::string& orbit, const TrueCovariance& truth, int spacing_s) {
    std::vector<Node> nodes;
    for (int seconds = 0; seconds <= 86400; seconds += spacing_s) {
        nodes.push_back(truth.at(kEpoch + seconds / 86400.0));
        if (!isPositiveDefinite(nodes.back().covariance))
            throw std::runtime_error("a point's covariance is not positive definite");
    }
    const Satellite satellite(nodes);
    double answers = 0.0, indefinite = 0.0, negative = 0.0;
    Sample errors;
    for (std::size_t k = 1; k + 2 < nodes.size(); ++k) {
        for (int request = 0; request < kRequests; ++request) {
            const Node exact = truth.at(requestTime(nodes[k], nodes[k + 1], request));
            const Matrix6 answer = satellite.at(exact.time).value().covariance;
            ++answers;
            if (!isPositiveDefinite(answer)) ++indefinite;
            if (hasNegativeVariance(answer)) ++negative;
            errors.add(std::abs(sigma_km(answer) / sigma_km(exact.covariance) - 1.0));
        }
    }
    const std::string row = fmt::format("{}", spacing_s);
    report("covariances", row, orbit + " indefinite", indefinite / answers);
    report("covariances", row, orbit + " negative", negative / answers);
    report("covariances", row, orbit + " sigma", errors.quantile(1.0));
}

}  // namespace

void measureCovariances() {
    for (const std::size_t orbit : {0U, 3U}) {
        Orbit smooth = inSmoothField(orbits()[orbit]);
        smooth.step_s = 1.0;
        const TrueCovariance truth(smooth);
        for (const int spacing_s : kSpacings_s)
            measureSpacing(orbits()[orbit].name, truth, spacing_s);
    }
}

}  // namespace vorlandi::accuracy
