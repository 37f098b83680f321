#include "StatesCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>

#include "Loading.hpp"
#include "Output.hpp"
#include "SatelliteRecord.hpp"
#include "Selection.hpp"
#include "StateQuery.hpp"
#include "StateWriter.hpp"
#include "TimeGrid.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kStatesFooter =
    R"(Positions are km, velocities km/s, in the frame of the ephemeris. Without times all stored points are printed;
with --from or --to alone, the stored points in that range; with --step, states at from, from + step, ... up to and
including the end. A step counts seconds of the UTC clock. A time that misses the first or last point by less than a
microsecond means that point. States in gaps between the points (see vorlandi info --help) can be far off: a warning
says how many there are.

TIME is UTC in any of these forms; vorlandi time shows a time in all of them:
  2024-03-01T12:00:30.5   2024-03-01T12:00   2024-03-01   2024-061T12:00:30.5   2024/03/01 12:00:30.5
  24061120030.5   2024061120030.5   24061.50035301   2024061.50035301   2024Mar01120030.5   "01 Mar 2024 12:00:30.5"

Covariances (--cov) are of x, y, z, vx, vy, vz in km and km/s. The table shows the lower triangle below each state; csv
has its 21 values row by row, cov_x_x, cov_y_x, cov_y_y, ..., empty if there is none; json has the whole 6x6 matrix, or
null. Numbers in csv and json are exact: read back, they are the same doubles.

Sigmas (--sigma) are of the position, along the radial, in-track and cross-track axes of each state. The error (--error)
is an upper limit of what interpolation adds to the error of the points, estimated from the points as vorlandi check
does: the error of the interval around the time, 0 at a point.

Examples:
  vorlandi states 81001_stk.e --at 2026-01-31T01:30:00
  vorlandi states fleet.card --sat 81001 --step 10 --format csv -o states.csv
  vorlandi states 81001_stk.e --from 2026-01-31T01:00:00 --to 2026-01-31T02:00:00 --step 60 --cov)";

struct StatesOptions {
    InputOptions input;
    std::vector<std::string> at;
    std::string timesFile;
    TimeRange range;
    double step_s = 0.0;
    std::vector<std::int32_t> satellites;
    StateColumns columns;
    std::string output{kStandardOutput};
    Format format = Format::Table;
};

// The times of a file, one a line. Blank lines and lines that begin with # are skipped.
void appendTimes(const StatesOptions& options, std::vector<double>& times) {
    const std::string& file = options.timesFile;
    const bool isStandardInput = file == kStandardInput;
    const auto& inputs = options.input.files;
    if (isStandardInput && std::find(inputs.begin(), inputs.end(), kStandardInput) != inputs.end())
        throw UsageError("--times", kOneStandardInput);
    std::ifstream opened;
    if (!isStandardInput) opened.open(file);
    std::istream& stream = isStandardInput ? std::cin : opened;
    std::string line;
    for (std::int64_t number = 1; std::getline(stream, line); ++number) {
        if (line.ends_with('\r')) line.pop_back();
        const auto begin = line.find_first_not_of(" \t");
        if (begin == std::string::npos || line[begin] == '#') continue;
        times.push_back(timeOf(fmt::format("--times {}:{}", file, number), line).days);
    }
    if (!stream.eof()) throw UsageError("--times " + file, std::strerror(errno));
    if (times.empty()) throw UsageError("--times " + file, "has no times");
}

// "--at T1 T2" leaves T2 among the files. It is a time unless there is a file of that name.
void moveTimes(StatesOptions& options) {
    if (options.at.empty()) return;
    std::error_code ignored;
    std::erase_if(options.input.files, [&](const std::string& text) {
        const bool isTime = try_parse(text) && !std::filesystem::exists(text, ignored);
        if (isTime) options.at.push_back(text);
        return isTime;
    });
    if (options.input.files.empty()) throw CLI::RequiredError("FILE");
}

StateRequest requestOf(StatesOptions& options, const CLI::App& command) {
    StateRequest request;
    const std::size_t ranges = command.count("--from") + command.count("--to") + command.count("--step");
    for (const char* const times : {"--at", "--times"})
        if (command.count(times) > 0 && ranges > 0)
            throw UsageError(times, "can't be combined with --from, --to or --step");
    for (const std::string& text : options.at)
        request.at.push_back(timeOf("--at", text).days);
    if (command.count("--times") > 0) appendTimes(options, request.at);
    readTimeRange(command, options.range);
    request.from = options.range.from;
    request.to = options.range.to;
    if (command.count("--step") > 0) {
        requireStep(options.step_s);
        request.step_s = options.step_s;
    }
    request.columns = options.columns;
    return request;
}

bool hasRevolutions(const SatelliteRecord& record) {
    for (std::int32_t index = 1; index <= record.pointCount; ++index)
        if (record.satellite.try_point(index).value.revolution != 0) return true;
    return false;
}

ExitStatus runStates(const StatesOptions& options, StateRequest request, Console& console) {
    LoadResults results;
    bool allWell = loadFiles(options.input, options.output, console, &results);
    std::vector<SatelliteRecord> satellites = loadedSatellites(results);
    allWell = reportUnknown(options.satellites, satellites, console) && allWell;
    std::erase_if(satellites, [&](const auto& satellite) { return !isWanted(satellite, options.satellites); });
    warnOfMissingVelocities(satellites, console);
    request.columns.revolution = std::any_of(satellites.begin(), satellites.end(), hasRevolutions);

    Output output(options.output);
    const auto writer = makeStateWriter(options.format, request.columns, output);
    for (const SatelliteRecord& satellite : satellites)
        allWell = answer(request, satellite, *writer, console) && allWell;
    writer->finish();
    if (writer->count() == 0 && refusesEmptyFile(options.output, console)) return ExitStatus::Failure;
    output.close();
    return statusOf(allWell);
}

void addTimes(CLI::App& command, StatesOptions& options) {
    command
        .add_option("--times", options.timesFile, "States at the times in this file, one a line; - is standard input")
        ->type_name("FILE");
    command.add_option("--at", options.at, "State at this time; several may follow, and it may be repeated")
        ->type_name("TIME")
        ->allow_extra_args(false);
    addTimeRange(command, options.range);
    command.add_option("--step", options.step_s, "Seconds between the states; stored points if not given")
        ->type_name("SECONDS");
}

}  // namespace

void addStatesCommand(CLI::App& application, Session& session) {
    CLI::App* const command = application.add_subcommand("states", "Print states of satellites");
    const auto options = std::make_shared<StatesOptions>();
    addInput(*command, options->input);
    addTimes(*command, *options);
    addSatelliteNumbers(*command, options->satellites);
    command->add_flag("--cov", options->columns.covariance, "With covariances");
    command->add_flag("--sigma", options->columns.sigma, "With the radial, in-track and cross-track sigmas, in m");
    command->add_flag("--error", options->columns.error, "With the estimated error of the interpolation, in m");
    addFormat(*command, options->format, Offered::All);
    addOutput(*command, options->output);
    addThreads(*command, options->input);
    addVerbose(*command, session.console);
    command->footer(kStatesFooter);
    command->callback([options, command, &session] {
        moveTimes(*options);
        session.status = runStates(*options, requestOf(*options, *command), session.console);
    });
}

}  // namespace vorlandi::cli
