#include "Segments.hpp"

#include <algorithm>
#include <cstddef>
#include <limits>

#include "SatelliteRecord.hpp"
#include "analysis/Ephemeris.hpp"
#include "analysis/InterpolationErrors.hpp"
#include "analysis/Steps.hpp"

namespace vorlandi::cli {
namespace {

constexpr double kMostSpacing_days = analysis::kLargestMeanSpacing_s / kSecondsPerDay;
constexpr std::size_t kStepsOfAnAnswer = analysis::kWindow - 1;

// Cheap: false for most satellites. Over a leap second a step is a second longer than the clock shows.
bool mayHaveGaps(std::span<const double> times) {
    constexpr double kLeapSecond_days = 1.0 / kSecondsPerDay;
    double least_days = std::numeric_limits<double>::infinity();
    double largest_days = 0.0;
    for (std::size_t i = 1; i < times.size(); ++i) {
        least_days = std::min(least_days, times[i] - times[i - 1]);
        largest_days = std::max(largest_days, times[i] - times[i - 1]);
    }
    return largest_days + kLeapSecond_days > analysis::kGapFactor * least_days;
}

// The gaps that the library answers, with errors above the tolerance or unknown ones.
std::vector<Cut> inaccurateGaps(Satellite satellite, std::span<const double> times, double tolerance_m) {
    std::vector<Cut> cuts;
    if (!mayHaveGaps(times)) return cuts;
    const analysis::Ephemeris ephemeris = analysis::ephemerisOf(satellite);
    const std::vector<std::size_t> gaps = analysis::gapsIn(analysis::stepsOf(ephemeris));
    if (gaps.empty()) return cuts;
    const analysis::InterpolationErrors errors = analysis::estimatedErrors(ephemeris);
    for (const std::size_t gap : gaps)
        if (analysis::isAnswered(ephemeris, gap) && !(errors.error_m(gap) <= tolerance_m))
            cuts.push_back({times[gap], times[gap + 1]});
    return cuts;
}

std::vector<Cut> unansweredSteps(std::span<const double> times) {
    std::vector<Cut> cuts;
    std::size_t next = 0;  // the first step that no window has cut yet
    for (std::size_t first = 0; first + analysis::kWindow <= times.size(); ++first) {
        const std::size_t last = first + kStepsOfAnAnswer;
        const double meanSpacing_days = (times[last] - times[first]) / static_cast<double>(kStepsOfAnAnswer);
        if (!(meanSpacing_days > kMostSpacing_days)) continue;
        for (std::size_t step = std::max(first, next); step < last; ++step)
            if (times[step + 1] - times[step] > kMostSpacing_days) cuts.push_back({times[step], times[step + 1]});
        next = last;
    }
    return cuts;
}

}  // namespace

std::vector<Cut> cutsOf(Satellite satellite, std::span<const double> times, double tolerance_m) {
    if (times.size() < analysis::kWindow) return {};
    std::vector<Cut> cuts = unansweredSteps(times);
    const std::vector<Cut> gaps = inaccurateGaps(satellite, times, tolerance_m);
    cuts.insert(cuts.end(), gaps.begin(), gaps.end());
    const auto earlier = [](const Cut& a, const Cut& b) { return a.from < b.from; };
    const auto same = [](const Cut& a, const Cut& b) { return a.from == b.from; };
    std::ranges::sort(cuts, earlier);
    cuts.erase(std::unique(cuts.begin(), cuts.end(), same), cuts.end());
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
