// Requests for states of a satellite, and their answers.
#pragma once

#include <optional>
#include <vector>

#include "Console.hpp"
#include "SatelliteRecord.hpp"
#include "StateWriter.hpp"

namespace vorlandi::cli {

// Times are days since 1950, UTC. Either single times or a range. With a step, a range means the times from its start
// on; without a step, the stored points within it. A missing limit is the first or last time of the satellite.
struct StateRequest {
    std::vector<double> at;
    std::optional<double> from;
    std::optional<double> to;
    std::optional<double> step_s;
    StateColumns columns;
};

// Writes the states that can be answered and reports the others. True if all were answered.
bool answer(const StateRequest& request, const SatelliteRecord& satellite, StateWriter& writer, Console& console);

}  // namespace vorlandi::cli
