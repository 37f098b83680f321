// The points of a loaded satellite as the writers of formats take them.
#pragma once

#include <cstdint>
#include <optional>

#include "Segments.hpp"
#include "Selection.hpp"
#include "writers/Ephemeris.hpp"

namespace vorlandi::cli {

struct ExtractionRequest {
    TimeRange range;
    std::optional<double> step_s;  // interpolated states; without it, the stored points
    bool withCovariances = false;
    bool namesLosses = false;  // looks for what is not wanted
};

struct Extraction {
    writers::Ephemeris ephemeris;  // with its segments; without points if none is in the range
    // If they are wanted, or losses named.
    bool hasCovariances = false;
    bool hasRevolutions = false;
    std::int64_t unanswered = 0;  // times of the step that are between segments, or have no answer
    double firstUnanswered = 0.0;
};

Extraction extract(const SatelliteRecord& satellite, const ExtractionRequest& request);

}  // namespace vorlandi::cli
