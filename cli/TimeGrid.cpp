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
    const double time = from_ + static_cast<double>(i) * step_s_ / kSecondsPerDay;
    // The end is met exactly: a time that rounding put behind it would lie outside the ephemeris.
    const bool reaches_end = (to_ - time) * kSecondsPerDay <= tolerance_s_;
    return reaches_end ? to_ : time;
}

}  // namespace vorlandi::cli
