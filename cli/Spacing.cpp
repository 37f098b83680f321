#include "Spacing.hpp"

#include <algorithm>
#include <cmath>

namespace vorlandi::cli {
namespace {

constexpr double kGapFactor = 3.0;
constexpr std::size_t kStepsOnEachSide = 15;

std::span<const double> stepsAround(std::span<const double> steps, std::size_t i) {
    const std::size_t first = i - std::min(i, kStepsOnEachSide);
    const std::size_t last = std::min(i + kStepsOnEachSide, steps.size() - 1);
    return steps.subspan(first, last - first + 1);
}

}  // namespace

std::vector<double> stepsBetween(std::span<const double> times) {
    std::vector<double> steps;
    for (std::size_t i = 1; i < times.size(); ++i) {
        const double clock_s = (times[i] - times[i - 1]) * kSecondsPerDay;
        const double leap_s = tai_minus_utc_s({times[i]}) - tai_minus_utc_s({times[i - 1]});
        steps.push_back(std::round((clock_s + leap_s) * kMicrosecondsPerSecond));
    }
    return steps;
}

double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) return *middle;
    return (*std::max_element(values.begin(), middle) + *middle) / 2.0;
}

std::vector<std::size_t> gapsIn(std::span<const double> steps) {
    std::vector<std::size_t> gaps;
    if (steps.empty()) return gaps;
    // No median is below the least step, so most files need no medians.
    const double least = *std::min_element(steps.begin(), steps.end());
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps[i] <= kGapFactor * least) continue;
        const auto around = stepsAround(steps, i);
        if (steps[i] > kGapFactor * medianOf({around.begin(), around.end()})) gaps.push_back(i);
    }
    return gaps;
}

Gaps::Gaps(std::span<const double> times) {
    for (const std::size_t i : gapsIn(stepsBetween(times)))
        spans_.push_back({times[i], times[i + 1]});
}

bool Gaps::contains(double ds50UTC) const {
    const auto gap =
        std::partition_point(spans_.begin(), spans_.end(), [=](const TimeSpan& span) { return span.end < ds50UTC; });
    return gap != spans_.end() && ds50UTC - gap->start > kTimeTolerance_days &&
           gap->end - ds50UTC > kTimeTolerance_days;
}

}  // namespace vorlandi::cli
