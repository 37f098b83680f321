// The close approaches of two satellites within a window of time.
#pragma once

#include <vector>

#include "analysis/ApproachFleet.hpp"
#include "analysis/Approaches.hpp"

namespace vorlandi::analysis {

// Adds the approaches nearer than `within_km` in a window, from its first time up to, but not including, its last.
void addApproaches(const Member& a, const Member& b, Motion motion, const Span& window, double within_km,
                   std::vector<Approach>& found);

}  // namespace vorlandi::analysis
