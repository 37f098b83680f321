#include "analysis/Thinning.hpp"

#include <array>

#include "analysis/HermiteNodes.hpp"
#include "analysis/Steps.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kLongestWindow_s = 3.0 * kLargestMeanSpacing_s;  // that the library answers

// Takes the state of every `stride`th point, and compares interpolation between them with the other points.
class Thinned {
public:
    Thinned(const Ephemeris& ephemeris, std::size_t stride)
        : ephemeris_(ephemeris), stride_(stride), points_((ephemeris.size() - 1) / stride + 1) {}

    bool keepsWithin(double tolerance_km) const {
        if (points_ < kWindow) return false;
        for (std::size_t interval = 0; interval + 1 < points_; ++interval)
            if (!intervalKeepsWithin(interval, tolerance_km)) return false;
        return true;
    }

private:
    bool intervalKeepsWithin(std::size_t interval, double tolerance_km) const {
        std::array<std::size_t, kWindow> indices;
        std::array<double, kWindow> times_s;
        for (std::size_t k = 0; k < kWindow; ++k) {
            indices[k] = (windowOf(interval, points_) + k) * stride_;
            times_s[k] = ephemeris_.elapsed_s[indices[k]];
        }
        if (times_s.back() - times_s.front() > kLongestWindow_s) return false;
        const HermiteNodes<kWindow> nodes(times_s);
        for (std::size_t i = interval * stride_ + 1; i < (interval + 1) * stride_; ++i) {
            const HermiteWeights<kWindow> weights = nodes.at(ephemeris_.elapsed_s[i]);
            Vector difference = -positionOf(ephemeris_.states[i]);
            for (std::size_t k = 0; k < kWindow; ++k) {
                const State& state = ephemeris_.states[indices[k]];
                difference += weights.position[k] * positionOf(state) + weights.velocity[k] * velocityOf(state);
            }
            if (!(difference.norm() <= tolerance_km)) return false;
        }
        return true;
    }

    const Ephemeris& ephemeris_;
    std::size_t stride_;
    std::size_t points_;
};

}  // namespace

std::optional<double> spacingThatWouldDo_s(const Ephemeris& ephemeris, double tolerance_m) {
    if (ephemeris.size() < kWindow) return std::nullopt;
    std::size_t stride = 1;
    while (Thinned(ephemeris, 2 * stride).keepsWithin(tolerance_m / kMetresPerKm))
        stride *= 2;
    if (stride == 1) return std::nullopt;
    return stepRange(stepsOf(ephemeris))->median_s * static_cast<double>(stride);
}

}  // namespace vorlandi::analysis
