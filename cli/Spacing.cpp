#include "Spacing.hpp"

#include <algorithm>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::cli {

std::vector<double> stepsBetween(const std::vector<Ds50>& times) {
    return analysis::stepsOf(analysis::makeEphemeris(0, Frame::ECI, times, {}));
}

Gaps::Gaps(const Satellite& satellite) {
    const std::vector<Ds50> times = satellite.try_times().value;
    for (const std::size_t i : analysis::gapsIn(stepsBetween(times)))
        spans_.push_back({times[i].days, times[i + 1].days});
}

bool Gaps::contains(double ds50UTC) const {
    const auto gap =
        std::partition_point(spans_.begin(), spans_.end(), [=](const TimeSpan& span) { return span.end < ds50UTC; });
    return gap != spans_.end() && ds50UTC - gap->start > kTimeTolerance_days &&
           gap->end - ds50UTC > kTimeTolerance_days;
}

std::size_t Gaps::countWithin(const Span& span) const {
    return static_cast<std::size_t>(std::count_if(spans_.begin(), spans_.end(), [&](const TimeSpan& gap) {
        return gap.start < span.last.days - kTimeTolerance_days && gap.end > span.first.days + kTimeTolerance_days;
    }));
}

}  // namespace vorlandi::cli
