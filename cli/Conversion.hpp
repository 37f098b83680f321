// Writes loaded satellites in another format, and reports what can't be written and what is left out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Console.hpp"
#include "Extraction.hpp"
#include "writers/Targets.hpp"

namespace vorlandi::cli {

struct ConversionRequest {
    const writers::Target* target = nullptr;
    writers::Options options;
    ExtractionRequest extraction;
    std::string output;     // a file, or standard output; empty if there is a directory
    std::string directory;  // a file for each satellite
    bool force = false;     // replaces files that exist
    bool roundTimes = false;
};

// A satellite, and its number within its file, from 1.
struct NumberedSatellite {
    SatelliteRecord satellite;
    std::int32_t record;
};

// True if all were written. Throws a UsageError if there are several and the output can only hold one.
bool convert(const ConversionRequest& request, const std::vector<NumberedSatellite>& satellites, Console& console);

}  // namespace vorlandi::cli
