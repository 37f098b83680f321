// How many of the points would be enough.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

// The largest of 2, 4, 8 and so on times the median step at which interpolation still misses none of the points that
// are left out by more than the tolerance; none if not even every second point may go.
std::optional<double> spacingThatWouldDo_s(const Ephemeris& ephemeris, double tolerance_m);

// Points from which interpolation misses none of the others by more than the tolerance, the first and the last among
// them: about every second, fourth, eighth and so on, all of them if not even every second point may go.
std::vector<std::size_t> pointsThatWouldDo(const Ephemeris& ephemeris, double tolerance_m);

}  // namespace vorlandi::analysis
