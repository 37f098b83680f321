// Which states of a satellite are wanted, and their answers.
#pragma once

#include <optional>
#include <vector>

#include "Console.hpp"
#include "StateWriter.hpp"
#include "Store.hpp"

namespace vorlandi::cli {

// Times are days since 1950, UTC. Either single times, or a range: with a step its times from the beginning
// on, without one the points that are stored within it. A missing limit is that of the satellite.
struct StateRequest {
    std::vector<double> at;
    std::optional<double> from;
    std::optional<double> to;
    std::optional<double> step_s;
    Covariance covariance = Covariance::kLeftOut;
};

// Writes what can be answered and reports the rest. True if all was answered.
bool answer(const StateRequest& request, const Satellite& satellite, StateWriter& writer, Console& console);

}  // namespace vorlandi::cli
