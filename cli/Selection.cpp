#include "Selection.hpp"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>

#include "Options.hpp"
#include "TimeGrid.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::cli {

void addTimeRange(CLI::App& command, TimeRange& range) {
    command.add_option("--from", range.fromText, "Start of the range; the first point if not given")->type_name("TIME");
    command.add_option("--to", range.toText, "End of the range; the last point if not given")->type_name("TIME");
}

void readTimeRange(const CLI::App& command, TimeRange& range) {
    if (command.count("--from") > 0) range.from = timeOf("--from", range.fromText).days;
    if (command.count("--to") > 0) range.to = timeOf("--to", range.toText).days;
    if (range.from && range.to && *range.from > *range.to) throw UsageError("--to", "is earlier than --from");
}

void requireStep(double step_s) {
    if (!std::isfinite(step_s) || step_s < kShortestStep_s)
        throw UsageError("--step", "must be a finite number of seconds, a microsecond or more");
}

void requireTimesInMemory(double times) {
    if (times > kMostTimes)
        throw UsageError("--step",
                         fmt::format("gives {:.0f} times, more than the {:.0f} that are kept in memory; choose "
                                     "a longer step, or a range with --from and --to",
                                     times, kMostTimes));
}

Span spanOf(const TimeRange& range) {
    return {{range.from.value_or(analysis::kAllTimes.first.days)}, {range.to.value_or(analysis::kAllTimes.last.days)}};
}

void addSatelliteNumbers(CLI::App& command, std::vector<std::int32_t>& numbers) {
    command.add_option("--sat", numbers, "Only this satellite number; may be repeated")
        ->type_name("N")
        ->allow_extra_args(false)
        ->check(CLI::Range(0, 999999999).description(""));
}

bool isWanted(const SatelliteRecord& satellite, const std::vector<std::int32_t>& numbers) {
    return numbers.empty() || std::find(numbers.begin(), numbers.end(), satellite.number) != numbers.end();
}

bool reportUnknown(const std::vector<std::int32_t>& numbers, const std::vector<SatelliteRecord>& satellites,
                   Console& console) {
    Quota unknown(console);
    bool allKnown = true;
    for (const std::int32_t number : numbers) {
        const auto hasNumber = [number](const SatelliteRecord& satellite) { return satellite.number == number; };
        if (std::any_of(satellites.begin(), satellites.end(), hasNumber)) continue;
        allKnown = false;
        if (unknown.admits()) console.error("", fmt::format("satellite {} is not in any of the files", number));
    }
    if (unknown.heldBack() > 0)
        console.error(
            "", fmt::format("{} not in any of the files", analysis::countIsText(unknown.heldBack(), "more satellite")));
    return allKnown;
}

void warnOfMissingVelocities(const std::vector<SatelliteRecord>& satellites, Console& console) {
    const SatelliteRecord* first = nullptr;
    std::size_t more = 0;
    for (const SatelliteRecord& satellite : satellites) {
        if (satellite.pointCount == 0 || hasVelocities(satellite)) continue;
        if (first == nullptr)
            first = &satellite;
        else
            ++more;
    }
    if (first == nullptr) return;
    const std::string others = more == 0   ? ""
                               : more == 1 ? " and those of one more satellite"
                                           : fmt::format(" and those of {} more satellites", more);
    console.warning(fmt::format("satellite {} ({})", first->number, first->file),
                    fmt::format("all velocities are zero{}: states between the points are useless", others));
}

}  // namespace vorlandi::cli
