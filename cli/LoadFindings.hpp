// The findings of `check` that come from loading.
#pragma once

#include <vector>

#include "CheckReport.hpp"
#include "LoadListener.hpp"

namespace vorlandi::cli {

// What a report amounts to, beside the others of the load.
analysis::Finding findingOf(const LoadReport& report, const LoadResults& results);

// The files of a load with what was found in them, in the order of loading; the reports of one are put to the file that
// they name.
std::vector<CheckedFile> filesOf(const LoadResults& results);

// What shows only beside other satellites, or with the points that have been loaded: a satellite that repeats an
// earlier one, one that continues another, and lines of a covariance block that have been taken for points.
void findAmongSatellites(const LoadResults& results, std::vector<CheckedSatellite>& satellites);

// What was told of files that could not be read, or of which nothing was stored; the satellites are all that were
// loaded.
std::vector<const LoadReport*> unreadableFiles(const LoadResults& results,
                                               const std::vector<SatelliteRecord>& satellites);

}  // namespace vorlandi::cli
