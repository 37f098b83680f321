#include "Segments.hpp"

#include <algorithm>
#include <cstddef>

#include "SatelliteRecord.hpp"

namespace vorlandi::cli {
namespace {

constexpr double kMostSpacing_days = 61.0 * 60.0 / kSecondsPerDay;
constexpr std::size_t kPointsOfAnAnswer = 4;
constexpr std::size_t kStepsOfAnAnswer = kPointsOfAnAnswer - 1;

}  // namespace

std::vector<Cut> cutsOf(std::span<const double> times) {
    std::vector<Cut> cuts;
    if (times.size() < kPointsOfAnAnswer) return cuts;
    std::size_t next = 0;  // the first step that no window has cut yet
    for (std::size_t first = 0; first + kPointsOfAnAnswer <= times.size(); ++first) {
        const std::size_t last = first + kStepsOfAnAnswer;
        const double meanSpacing_days = (times[last] - times[first]) / static_cast<double>(kStepsOfAnAnswer);
        if (!(meanSpacing_days > kMostSpacing_days)) continue;
        for (std::size_t step = std::max(first, next); step < last; ++step)
            if (times[step + 1] - times[step] > kMostSpacing_days) cuts.push_back({times[step], times[step + 1]});
        next = last;
    }
    return cuts;
}

std::span<const Cut>::iterator firstCutFrom(std::span<const Cut> cuts, double ds50UTC) {
    return std::partition_point(cuts.begin(), cuts.end(), [=](const Cut& cut) { return cut.to < ds50UTC; });
}

bool isInCut(std::span<const Cut> cuts, double ds50UTC) {
    const auto cut = firstCutFrom(cuts, ds50UTC);
    return cut != cuts.end() && ds50UTC > cut->from && ds50UTC < cut->to;
}

bool isCutBetween(std::span<const Cut> cuts, double before, double after) {
    const auto cut = std::partition_point(cuts.begin(), cuts.end(), [=](const Cut& c) { return c.from < before; });
    return cut != cuts.end() && cut->to <= after;
}

}  // namespace vorlandi::cli
