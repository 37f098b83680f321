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
    double tolerance_m = 1000.0;   // segments end at gaps in which states are off by more
    bool withCovariances = false;
    bool namesLosses = false;  // looks for what is not wanted
};

struct Extraction {
    writers::Ephemeris ephemeris;  // with its segments; without points if none is in the range
    // If they are wanted, or losses named.
    bool hasCovariances = false;
    bool hasRevolutions = false;
    // Times of the step without a state: between segments, and within one, next to times that the library refuses.
    struct LeftOut {
        std::size_t count = 0;
        double first = 0.0;
    };
    LeftOut inGaps;
    LeftOut unanswered;
};

Extraction extract(const SatelliteRecord& satellite, const ExtractionRequest& request);

}  // namespace vorlandi::cli
