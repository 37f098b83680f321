// Which points of an ephemeris are in a range of times.
#pragma once

#include <cstddef>
#include <vector>

#include "vorlandi/vorlandi.hpp"

namespace vorlandi::analysis {

// The points from first to last, without the latter.
struct PointRange {
    std::size_t first;
    std::size_t last;

    std::size_t size() const noexcept { return last - first; }
};

// Those of rising times that are in a range, both ends included to the microsecond.
PointRange pointsWithin(const std::vector<Ds50>& times, const Span& range);

}  // namespace vorlandi::analysis
