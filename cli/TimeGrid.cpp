#include "TimeGrid.hpp"

#include <algorithm>
#include <cmath>

#include "SatelliteRecord.hpp"

namespace vorlandi::cli {

double timesIn(double days, double step_s) { return std::floor(days * kSecondsPerDay / step_s) + 1.0; }

// The tolerance is half a step at most, or the shortest steps would reach the end twice.
TimeGrid::TimeGrid(double fromDs50, double toDs50, double step_s)
    : from_(fromDs50),
      to_(toDs50),
      step_s_(step_s),
      tolerance_s_(std::min(kTimeTolerance_s, step_s / 2.0)),
      size_(static_cast<std::int64_t>(std::floor(((to_ - from_) * kSecondsPerDay + tolerance_s_) / step_s)) + 1) {}

double TimeGrid::operator[](std::int64_t i) const {
    if (i == 0) return from_;
    // Counts seconds of the day from a start that is rounded to the microsecond, as a text has it, so that a time of
    // the grid has the same bits as its text.
    const double day = std::floor(from_);
    const double start_s = std::round((from_ - day) * kSecondsPerDay * 1e6) / 1e6;
    const double second = start_s + static_cast<double>(i) * step_s_;
    const double wholeDays = std::floor(second / kSecondsPerDay);
    const double time = day + wholeDays + (second - wholeDays * kSecondsPerDay) / kSecondsPerDay;
    // The last time is exactly the end: rounded beyond it, it would be outside the ephemeris.
    const bool reachesEnd = (to_ - time) * kSecondsPerDay <= tolerance_s_;
    return reachesEnd ? to_ : time;
}

}  // namespace vorlandi::cli
