// What the times themselves say about how they were made.
#pragma once

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

// Whether the first time is before 1957-10-04, the first launch, or the last after 2056-12-31, the last day of
// two-digit years.
bool isOutsideSpaceAge(const Ephemeris& ephemeris);

// "TAI", "GPS" or "TT" if all times are whole multiples of the median step on that scale and not all are on UTC; null
// otherwise, and for steps that don't divide an hour.
const char* likelyTimeScale(const Ephemeris& ephemeris);

// The largest distance of a time from a whole millisecond in seconds; 0 if it is below the resolution of times.
double offWholeMilliseconds(const Ephemeris& ephemeris);

}  // namespace vorlandi::analysis
