// The time steps between the stored points of a satellite: how long they are, and which of them are gaps.
#pragma once

#include <cstddef>
#include <vector>

#include "SatelliteRecord.hpp"
#include "analysis/Steps.hpp"

namespace vorlandi::cli {

// Elapsed seconds from each time to the next, leap seconds counted, to the microsecond.
std::vector<double> stepsBetween(const std::vector<Ds50>& times);

// The stretches of time without points, from the last point before each gap to the first one after it.
class Gaps {
public:
    explicit Gaps(const Satellite& satellite);

    // True for a time within a gap. A time that misses a stored point only by rounding counts as that point.
    bool contains(double ds50UTC) const;

    // The gaps that are at least partly in a span.
    std::size_t countWithin(const Span& span) const;

private:
    std::vector<TimeSpan> spans_;
};

}  // namespace vorlandi::cli
