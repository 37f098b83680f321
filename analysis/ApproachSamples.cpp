#include "analysis/ApproachSamples.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace vorlandi::analysis {

ApproachSamples::ApproachSamples(const std::vector<Span>& spans, double step_s)
    : first_days_(tai_days(spans.front().first)), step_days_(step_s / kSecondsPerDay) {
    constexpr double kRounding = 1e-4;  // of a time, which may be on the other side of a border
    std::size_t earlierEnd = 0;
    for (const Span& span : spans) {
        const std::size_t first = std::max(numberAt(span.first, -kRounding), earlierEnd);
        const std::size_t end = numberAt(span.last, kRounding) + 1;
        if (first >= end) continue;
        stretches_.push_back({count_, first});
        count_ += end - first;
        earlierEnd = end;
    }
}

Span ApproachSamples::window(std::size_t i) const {
    const auto k = static_cast<double>(numberOf(i));
    return {at(k - 0.5), at(k + 0.5)};
}

std::size_t ApproachSamples::numberAt(Ds50 time, double rounding) const {
    const double number = std::floor((tai_days(time) - first_days_) / step_days_ + 0.5 + rounding);
    return static_cast<std::size_t>(std::max(number, 0.0));
}

std::size_t ApproachSamples::numberOf(std::size_t i) const {
    const auto next = std::upper_bound(stretches_.begin(), stretches_.end(), i,
                                       [](std::size_t value, const Stretch& s) { return value < s.before; });
    return std::prev(next)->first + i - std::prev(next)->before;
}

Ds50 ApproachSamples::at(double steps) const { return from_tai_days(first_days_ + steps * step_days_); }

}  // namespace vorlandi::analysis
