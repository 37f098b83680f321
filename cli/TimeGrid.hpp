// Evenly spaced times.
#pragma once

#include <cstdint>

namespace vorlandi::cli {

// Shorter steps would vanish in the rounding of a time counted in days.
inline constexpr double kShortestStep_s = 1e-6;

// What a command keeps in memory takes some 2 GB for so many times.
inline constexpr double kMostTimes = 20e6;

// How many times a grid of so many days has.
double timesIn(double days, double step_s);

// The times from + i * step up to and including the end, to within a microsecond. Each is calculated on its own, so
// that errors do not add up however long the grid is. A step counts seconds of the UTC clock, 86400 to the day.
class TimeGrid {
public:
    // from <= to, step_s >= kShortestStep_s.
    TimeGrid(double fromDs50, double toDs50, double step_s);

    std::int64_t size() const { return size_; }
    double operator[](std::int64_t i) const;

private:
    double from_;
    double to_;
    double step_s_;
    double tolerance_s_;
    std::int64_t size_;
};

}  // namespace vorlandi::cli
