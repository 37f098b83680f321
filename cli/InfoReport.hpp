// What the command `info` knows about the satellites in files, and the summary of a fleet.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "LoadListener.hpp"
#include "Options.hpp"
#include "Output.hpp"
#include "SatelliteRecord.hpp"

namespace vorlandi::cli {

// Seconds; none of them if there are fewer than two points.
struct Spacing {
    std::optional<double> mean_s;
    std::optional<double> least_s;
    std::optional<double> median_s;
    std::optional<double> largest_s;
    std::size_t gaps = 0;
};

struct SatelliteInfo {
    SatelliteRecord satellite;
    std::string format;
    std::string rules;
    Spacing spacing;
    Contents contents;
};

using FileStatuses = decltype(LoadResults::statuses);

const char* nameOf(Share share);  // "none", "some", "all"

// The field "files" of json: name and status of each.
void printFiles(const FileStatuses& files, Output& output);

// One block for all satellites, and a line for each frame and format; csv has only the lines.
void printSummary(const std::vector<SatelliteInfo>& satellites, const FileStatuses& files, Format format,
                  Output& output);

}  // namespace vorlandi::cli
