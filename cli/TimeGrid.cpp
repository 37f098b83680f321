#include "TimeGrid.hpp"

#include <algorithm>
#include <cmath>

#include "Store.hpp"

namespace vorlandi::cli {

// Half a step at most, lest the shortest steps reach the end twice.
TimeGrid::TimeGrid(double from_ds50, double to_ds50, double step_s)
    : from_(from_ds50),
      to_(to_ds50),
      step_s_(step_s),
      tolerance_s_(std::min(kTimeTolerance_s, step_s / 2.0)),
      size_(static_cast<std::int64_t>(std::floor(((to_ - from_) * kSecondsPerDay + tolerance_s_) / step_s)) +
            1) {}

double TimeGrid::operator[](std::int64_t i) const {
    // Counted in seconds of the day from a start rounded to the microsecond, as texts give times: a time of
    // the grid then has the very bits of its text.
    const double day = std::floor(from_);
    const double start_s = std::round((from_ - day) * kSecondsPerDay * 1e6) / 1e6;
    const double second = start_s + static_cast<double>(i) * step_s_;
    const double whole_days = std::floor(second / kSecondsPerDay);
    const double time = day + whole_days + (second - whole_days * kSecondsPerDay) / kSecondsPerDay;
    // The end is met exactly: a time that rounding put behind it would lie outside the ephemeris.
    const bool reaches_end = (to_ - time) * kSecondsPerDay <= tolerance_s_;
    return reaches_end ? to_ : time;
}

}  // namespace vorlandi::cli
