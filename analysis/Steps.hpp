// Steps between points, and what the library does with the windows over them.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

// The mean of the middle two if their number is even; NaN if there are none. NaNs don't count.
double medianOf(std::vector<double> values);

// Seconds between neighbouring points.
std::vector<double> stepsOf(const Ephemeris& ephemeris);

// To the microsecond: finer differences are due to the rounding of times.
struct StepRange {
    double least_s;
    double median_s;
    double largest_s;
};

// None if there are fewer than two points.
std::optional<StepRange> stepRange(std::span<const double> steps_s);

// The largest mean spacing of four points between which the library interpolates.
inline constexpr double kLargestMeanSpacing_s = 61.0 * 60.0;

inline constexpr double kGapFactor = 3.0;

// The intervals that are longer than `factor` times what is usual around them: the upper quartile of 31 steps, itself
// and fifteen on each side, fewer at the ends. (With their median, long steps would be gaps wherever they alternate
// with short ones.)
std::vector<std::size_t> gapsIn(std::span<const double> steps_s, double factor = kGapFactor);

// The library interpolates over windows of four points.
inline constexpr std::size_t kWindow = 4;

// The first point of an interval's window. There are at least four points.
std::size_t windowOf(std::size_t interval, std::size_t points) noexcept;

// Whether the library answers between the points of an interval: there are four points, and the points of the window
// are at most 61 minutes apart on average.
bool isAnswered(const Ephemeris& ephemeris, std::size_t interval) noexcept;

// Intervals first to last.
struct Stretch {
    std::size_t first;
    std::size_t last;
};

// The stretches of intervals that are not answered, although there are four points.
std::vector<Stretch> unansweredStretches(const Ephemeris& ephemeris);

// The spans between and around them, in which every time is answered; spans of a single point are left out. Only the
// times of the ephemeris count.
std::vector<Span> answeredSpans(const Ephemeris& ephemeris);

}  // namespace vorlandi::analysis
