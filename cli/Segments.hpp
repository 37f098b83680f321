// Where a satellite is cut into segments: stretches of points between which states can be interpolated.
#pragma once

#include <span>
#include <vector>

#include "vorlandi/vorlandi.hpp"

namespace vorlandi::cli {

// The time between two neighbouring points of different segments, days since 1950, UTC.
struct Cut {
    double from;
    double to;
};

// The cuts of a satellite with points at these times, in their order. It is cut where the library refuses to answer: at
// each step of more than 61 minutes that is among the four points of such an answer. In each segment of four or more
// points every state can then be interpolated. It is also cut at each gap in which states are estimated to be off by
// more than the tolerance.
std::vector<Cut> cutsOf(Satellite satellite, std::span<const double> timesDs50UTC, double tolerance_m);

// The first cut that does not end before this time.
std::span<const Cut>::iterator firstCutFrom(std::span<const Cut> cuts, double ds50UTC);

// True for a time within a cut, its ends excluded.
bool isInCut(std::span<const Cut> cuts, double ds50UTC);

// True if a cut lies between two times.
bool isCutBetween(std::span<const Cut> cuts, double before, double after);

}  // namespace vorlandi::cli
