// Which states of a satellite are wanted, and their answers.
#pragma once

#include <optional>
#include <vector>

#include "Console.hpp"
#include "StateWriter.hpp"
#include "Store.hpp"

namespace vorlandi::cli {

// Times are days since 1950, UTC. Either single times, or a range: with a step, its times from its beginning on;
// without, the points that are stored within it. A missing limit is the satellite's own.
struct StateRequest {
    std::vector<double> at;
    std::optional<double> from;
    std::optional<double> to;
    std::optional<double> step_s;
    Covariance covariance = Covariance::LeftOut;
};

// Writes the states that can be answered and reports the others. True if all were answered.
bool answer(const StateRequest& request, const Satellite& satellite, StateWriter& writer, Console& console);

}  // namespace vorlandi::cli
