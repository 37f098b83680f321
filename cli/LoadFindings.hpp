// The findings of `check` that come from loading.
#pragma once

#include <vector>

#include "CheckReport.hpp"
#include "LoadListener.hpp"

namespace vorlandi::cli {

// The finding that a report amounts to, given the other reports of the load.
analysis::Finding findingOf(const LoadReport& report, const LoadResults& results);

// The files of a load with their findings, in the order of loading. A report goes to the file that it names.
std::vector<CheckedFile> filesOf(const LoadResults& results);

// Findings that need other satellites or the loaded points: a satellite that repeats an earlier one, one that continues
// another, and lines of a covariance block that were taken for points.
void findAmongSatellites(const LoadResults& results, std::vector<CheckedSatellite>& satellites);

// The reports about files that could not be read, or from which nothing was stored. `satellites` are all that were
// loaded.
std::vector<const LoadReport*> unreadableFiles(const LoadResults& results,
                                               const std::vector<SatelliteRecord>& satellites);

}  // namespace vorlandi::cli
