// What the command `approaches` has found, and the writers of its three forms.
#pragma once

#include <optional>
#include <vector>

#include "Output.hpp"
#include "SatelliteRecord.hpp"
#include "analysis/Approaches.hpp"

namespace vorlandi::cli {

struct ScreenedSatellite {
    SatelliteRecord record;
    std::int32_t inFile = 1;  // its number within its file
};

struct ApproachesReport {
    double within_km = 0.0;
    std::vector<ScreenedSatellite> satellites;
    analysis::Approaches approaches;  // its indices are those of the satellites

    const ScreenedSatellite& first(const analysis::Approach& event) const { return satellites[event.a]; }
    const ScreenedSatellite& second(const analysis::Approach& event) const { return satellites[event.b]; }
};

void printApproachesTable(const ApproachesReport& report, Output& output);
void printApproachesCsv(const ApproachesReport& report, Output& output);
void printApproachesJson(const ApproachesReport& report, Output& output);

}  // namespace vorlandi::cli
