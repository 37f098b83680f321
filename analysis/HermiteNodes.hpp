// Hermite interpolation through N states as weights of their positions and velocities: what it does to differences
// and to rounding errors, not only to states.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <span>

namespace vorlandi::analysis {

// What the positions x_k and velocities v_k contribute: the sum of position[k] x_k + velocity[k] v_k.
template <std::size_t N>
struct HermiteWeights {
    std::array<double, N> position;
    std::array<double, N> velocity;

    // By how much errors of the nodes are magnified; errors of velocities count as errors of positions over step_s.
    double squaredGain(double step_s) const noexcept {
        double ofPositions = 0.0;
        double ofVelocities = 0.0;
        for (std::size_t k = 0; k < N; ++k) {
            ofPositions += position[k] * position[k];
            ofVelocities += velocity[k] * velocity[k];
        }
        return ofPositions + ofVelocities / (step_s * step_s);
    }
};

template <std::size_t N>
class HermiteNodes {
public:
    // N different times.
    explicit HermiteNodes(const std::array<double, N>& times_s) noexcept : times_s_(times_s) {
        for (std::size_t k = 0; k < N; ++k) {
            double product = 1.0;
            double sum = 0.0;
            for (std::size_t j = 0; j < N; ++j) {
                if (j == k) continue;
                const double difference = times_s[k] - times_s[j];
                product *= difference;
                sum += 1.0 / difference;
            }
            scale_[k] = 1.0 / product;
            slope_[k] = 2.0 * sum;
        }
    }

    // The weights of the position at a time.
    HermiteWeights<N> at(double t_s) const noexcept {
        HermiteWeights<N> weights;
        for (std::size_t k = 0; k < N; ++k) {
            const double lagrange = lagrangeAt(t_s, k);
            const double since_s = t_s - times_s_[k];
            weights.position[k] = (1.0 - slope_[k] * since_s) * (lagrange * lagrange);
            weights.velocity[k] = since_s * (lagrange * lagrange);
        }
        return weights;
    }

    // The weights of the velocity at a time that is not a node: the derivatives of the weights of the position.
    HermiteWeights<N> rateAt(double t_s) const noexcept {
        HermiteWeights<N> weights;
        for (std::size_t k = 0; k < N; ++k) {
            const double lagrange = lagrangeAt(t_s, k);
            const double since_s = t_s - times_s_[k];
            double logarithmic = 0.0;
            for (std::size_t j = 0; j < N; ++j)
                if (j != k) logarithmic += 1.0 / (t_s - times_s_[j]);
            const double square = lagrange * lagrange;
            weights.position[k] = 2.0 * square * logarithmic * (1.0 - slope_[k] * since_s) - slope_[k] * square;
            weights.velocity[k] = square + 2.0 * square * logarithmic * since_s;
        }
        return weights;
    }

    // The product of the distances to all nodes.
    double distances(double t_s) const noexcept {
        double product = 1.0;
        for (const double time_s : times_s_)
            product *= t_s - time_s;
        return product;
    }

private:
    double lagrangeAt(double t_s, std::size_t k) const noexcept {
        double product = scale_[k];
        for (std::size_t j = 0; j < N; ++j)
            if (j != k) product *= t_s - times_s_[j];
        return product;
    }

    std::array<double, N> times_s_;
    std::array<double, N> scale_;
    std::array<double, N> slope_;  // twice the derivative of the Lagrange polynomial at its node
};

}  // namespace vorlandi::analysis
