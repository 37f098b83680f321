// Which satellites and which times a command is about.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CommandParser.hpp"
#include "Console.hpp"
#include "SatelliteRecord.hpp"

namespace vorlandi::cli {

// --from and --to, days since 1950, UTC. A limit that is not given is the first or last time of the satellite.
struct TimeRange {
    std::string fromText;
    std::string toText;
    std::optional<double> from;
    std::optional<double> to;
};
void addTimeRange(CLI::App& command, TimeRange& range);

// From the first to the last limit; those that are not given are infinite.
Span spanOf(const TimeRange& range);

// Reads the texts that were given. Throws a UsageError, also for a range that ends before it begins.
void readTimeRange(const CLI::App& command, TimeRange& range);

// Throws a UsageError of --step for a step that is shorter than a grid of times can have, or not finite.
void requireStep(double step_s);

// Throws a UsageError of --step for more times than a command may keep in memory.
void requireTimesInMemory(double times);

void addSatelliteNumbers(CLI::App& command, std::vector<std::int32_t>& numbers);

// All satellites are wanted if no number is given.
bool isWanted(const SatelliteRecord& satellite, const std::vector<std::int32_t>& numbers);

// Reports the requested numbers that are not in any of the files. True if there are none.
bool reportUnknown(const std::vector<std::int32_t>& numbers, const std::vector<SatelliteRecord>& satellites,
                   Console& console);

// Warns once if satellites have only positions, from which nothing useful can be interpolated.
void warnOfMissingVelocities(const std::vector<SatelliteRecord>& satellites, Console& console);

}  // namespace vorlandi::cli
