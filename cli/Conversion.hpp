// Writes loaded satellites in another format, and reports what can't be written and what is left out.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Console.hpp"
#include "Extraction.hpp"
#include "writers/Targets.hpp"

namespace vorlandi::cli {

// How messages name options of the request.
struct OptionNames {
    const char* force = "--force";
    const char* roundTimes = "--round-times";
    const char* covariances = "--cov";
};

struct ConversionRequest {
    const writers::Target* target = nullptr;
    writers::Options options;
    ExtractionRequest extraction;
    std::string output;     // a file, or standard output; empty if there is a directory
    std::string directory;  // a file for each satellite
    bool force = false;     // replaces files that exist
    bool roundTimes = false;
    OptionNames names;
};

// A satellite, and its number within its file, from 1.
struct NumberedSatellite {
    SatelliteRecord satellite;
    std::int32_t record;
};

// The most times that one of the satellites gets from the request's step; 0 without a step.
double mostTimes(const ConversionRequest& request, const std::vector<NumberedSatellite>& satellites);

// True if all were written. There are at most kMostTimes (TimeGrid.hpp), and one satellite if the output can only hold
// one.
bool convert(const ConversionRequest& request, const std::vector<NumberedSatellite>& satellites, Console& console);

}  // namespace vorlandi::cli
