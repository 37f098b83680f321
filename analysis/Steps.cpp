#include "analysis/Steps.hpp"

#include <algorithm>
#include <cmath>

namespace vorlandi::analysis {
namespace {

constexpr std::size_t kStepsOnEachSide = 15;
constexpr double kLargestMeanSpacing_days = 0.04236111111111111;  // 61 minutes, with the library's digits

// The step that a quarter of the steps around an interval exceed.
double usualAround(std::span<const double> steps_s, std::size_t i) {
    const std::size_t first = i - std::min(i, kStepsOnEachSide);
    const std::size_t last = std::min(i + kStepsOnEachSide, steps_s.size() - 1);
    std::vector<double> around(steps_s.begin() + static_cast<std::ptrdiff_t>(first),
                               steps_s.begin() + static_cast<std::ptrdiff_t>(last) + 1);
    const auto usual = around.begin() + static_cast<std::ptrdiff_t>(3 * (around.size() - 1) / 4);
    std::nth_element(around.begin(), usual, around.end());
    return *usual;
}

}  // namespace

double medianOf(std::vector<double> values) {
    std::erase_if(values, [](double value) { return std::isnan(value); });
    if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 == 1) return *middle;
    return (*std::max_element(values.begin(), middle) + *middle) / 2.0;
}

std::vector<double> stepsOf(const Ephemeris& ephemeris) {
    std::vector<double> steps_s;
    steps_s.reserve(ephemeris.intervals());
    for (std::size_t i = 0; i < ephemeris.intervals(); ++i)
        steps_s.push_back(ephemeris.elapsed_s[i + 1] - ephemeris.elapsed_s[i]);
    return steps_s;
}

std::optional<StepRange> stepRange(std::span<const double> steps_s) {
    if (steps_s.empty()) return std::nullopt;
    const auto [least, largest] = std::minmax_element(steps_s.begin(), steps_s.end());
    const auto rounded = [](double seconds) { return std::round(seconds * 1e6) / 1e6; };
    return StepRange{rounded(*least), rounded(medianOf({steps_s.begin(), steps_s.end()})), rounded(*largest)};
}

std::vector<std::size_t> gapsIn(std::span<const double> steps_s, double factor) {
    std::vector<std::size_t> gaps;
    if (steps_s.empty()) return gaps;
    // The usual step is not below the least one: for most files comparing with that is enough.
    const double least_s = *std::min_element(steps_s.begin(), steps_s.end());
    // Steps are known to the microsecond: a step that is only longer by rounding is not a gap.
    constexpr double kRounding_s = 5e-7;
    const auto isLonger = [&](double step_s, double usual_s) { return step_s > factor * usual_s + kRounding_s; };
    for (std::size_t i = 0; i < steps_s.size(); ++i)
        if (isLonger(steps_s[i], least_s) && isLonger(steps_s[i], usualAround(steps_s, i))) gaps.push_back(i);
    return gaps;
}

std::size_t windowOf(std::size_t interval, std::size_t points) noexcept {
    return std::clamp(interval, std::size_t{1}, points - kWindow + 1) - 1;
}

bool isAnswered(const Ephemeris& ephemeris, std::size_t interval) noexcept {
    if (ephemeris.size() < kWindow) return false;
    const std::size_t first = windowOf(interval, ephemeris.size());
    const std::size_t last = first + kWindow - 1;
    // Near the limit the digits of the library's own times decide.
    if (ephemeris.elapsed_s[last] - ephemeris.elapsed_s[first] < 3.0 * 3600.0) return true;
    const double window_days = tai_days(ephemeris.times[last]) - tai_days(ephemeris.times[first]);
    return !(window_days / 3.0 > kLargestMeanSpacing_days);
}

std::vector<Stretch> unansweredStretches(const Ephemeris& ephemeris) {
    std::vector<Stretch> stretches;
    if (ephemeris.size() < kWindow) return stretches;
    for (std::size_t i = 0; i < ephemeris.intervals(); ++i) {
        if (isAnswered(ephemeris, i)) continue;
        if (stretches.empty() || stretches.back().last + 1 != i) stretches.push_back({i, i});
        stretches.back().last = i;
    }
    return stretches;
}

std::vector<Span> answeredSpans(const Ephemeris& ephemeris) {
    std::vector<Span> spans;
    if (ephemeris.size() < kWindow) return spans;
    std::size_t first = 0;
    const auto endAt = [&](std::size_t last) {
        if (first < last) spans.push_back({ephemeris.times[first], ephemeris.times[last]});
    };
    for (const Stretch& unanswered : unansweredStretches(ephemeris)) {
        endAt(unanswered.first);
        first = unanswered.last + 1;
    }
    endAt(ephemeris.size() - 1);
    return spans;
}

}  // namespace vorlandi::analysis
