#include "analysis/Thinning.hpp"

#include <array>
#include <utility>

#include "analysis/HermiteNodes.hpp"
#include "analysis/Steps.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kLongestWindow_s = 3.0 * kLargestMeanSpacing_s;  // that the library answers

// Compares interpolation between the kept points, whose indices rise, with the other points.
bool keepsWithin(const Ephemeris& ephemeris, const std::vector<std::size_t>& kept, double tolerance_km) {
    if (kept.size() < kWindow) return false;
    for (std::size_t interval = 0; interval + 1 < kept.size(); ++interval) {
        const std::size_t* const window = kept.data() + windowOf(interval, kept.size());
        std::array<double, kWindow> times_s;
        for (std::size_t k = 0; k < kWindow; ++k)
            times_s[k] = ephemeris.elapsed_s[window[k]];
        if (times_s.back() - times_s.front() > kLongestWindow_s) return false;
        const HermiteNodes<kWindow> nodes(times_s);
        for (std::size_t i = kept[interval] + 1; i < kept[interval + 1]; ++i) {
            const HermiteWeights<kWindow> weights = nodes.at(ephemeris.elapsed_s[i]);
            Vector difference = -positionOf(ephemeris.states[i]);
            for (std::size_t k = 0; k < kWindow; ++k) {
                const State& state = ephemeris.states[window[k]];
                difference += weights.position[k] * positionOf(state) + weights.velocity[k] * velocityOf(state);
            }
            if (!(difference.norm() <= tolerance_km)) return false;
        }
    }
    return true;
}

std::vector<std::size_t> everyNth(std::size_t points, std::size_t stride) {
    std::vector<std::size_t> kept;
    for (std::size_t i = 0; i < points; i += stride)
        kept.push_back(i);
    return kept;
}

// From the first to the last point, at most a stride apart. No step is more than a point shorter than the others: a
// short one would magnify the rounding of its points, which the last one would be if the others had the full stride.
std::vector<std::size_t> evenly(std::size_t points, std::size_t stride) {
    const std::size_t last = points - 1;
    const std::size_t steps = (last + stride - 1) / stride;
    std::vector<std::size_t> kept;
    for (std::size_t k = 0; k <= steps; ++k)
        kept.push_back(k * last / steps);
    return kept;
}

}  // namespace

std::optional<double> spacingThatWouldDo_s(const Ephemeris& ephemeris, double tolerance_m) {
    if (ephemeris.size() < kWindow) return std::nullopt;
    std::size_t stride = 1;
    while (keepsWithin(ephemeris, everyNth(ephemeris.size(), 2 * stride), tolerance_m / kMetresPerKm))
        stride *= 2;
    if (stride == 1) return std::nullopt;
    return stepRange(stepsOf(ephemeris))->median_s * static_cast<double>(stride);
}

std::vector<std::size_t> pointsThatWouldDo(const Ephemeris& ephemeris, double tolerance_m) {
    std::vector<std::size_t> kept = everyNth(ephemeris.size(), 1);
    if (kept.size() < kWindow) return kept;
    for (std::size_t stride = 2;; stride *= 2) {
        std::vector<std::size_t> fewer = evenly(ephemeris.size(), stride);
        if (!keepsWithin(ephemeris, fewer, tolerance_m / kMetresPerKm)) return kept;
        kept = std::move(fewer);
    }
}

}  // namespace vorlandi::analysis
