// The findings of the command `approaches`, and the writers of its three forms.
#pragma once

#include <optional>
#include <vector>

#include "Output.hpp"
#include "SatelliteRecord.hpp"
#include "analysis/Approaches.hpp"

namespace vorlandi::cli {

struct ApproachesReport {
    double within_km = 0.0;
    std::vector<RecordOfFile> satellites;
    analysis::Approaches approaches;  // its indices are into `satellites`

    const RecordOfFile& first(const analysis::Approach& event) const { return satellites[event.a]; }
    const RecordOfFile& second(const analysis::Approach& event) const { return satellites[event.b]; }
};

void printApproachesTable(const ApproachesReport& report, Output& output);
void printApproachesCsv(const ApproachesReport& report, Output& output);
void printApproachesJson(const ApproachesReport& report, Output& output);

}  // namespace vorlandi::cli
