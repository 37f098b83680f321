// The time steps between the stored points of a satellite: how long they are, and which of them are gaps.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "SatelliteRecord.hpp"

namespace vorlandi::cli {

// Elapsed microseconds from each time to the next, leap seconds counted. They are whole: a finer difference is due to
// the rounding of the times.
std::vector<double> stepsBetween(std::span<const double> timesDs50UTC);

// The mean of the middle two if their number is even.
double medianOf(std::vector<double> values);

// A step is a gap if it is longer than three times the median of the 31 steps around it: the step itself and fifteen on
// each side, fewer at the ends. Returns the indices of the gaps, ascending.
std::vector<std::size_t> gapsIn(std::span<const double> steps);

// The stretches of time without points, from the last point before each gap to the first one after it.
class Gaps {
public:
    explicit Gaps(std::span<const double> timesDs50UTC);

    // True for a time within a gap. A time that misses a stored point only by rounding counts as that point.
    bool contains(double ds50UTC) const;

private:
    std::vector<TimeSpan> spans_;
};

}  // namespace vorlandi::cli
