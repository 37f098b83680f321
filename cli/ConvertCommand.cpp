#include "ConvertCommand.hpp"

#include <CLI/CLI.hpp>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>

#include "CommandTable.hpp"
#include "Conversion.hpp"
#include "Loading.hpp"
#include "Output.hpp"
#include "TextTable.hpp"
#include "TimeGrid.hpp"
#include "writers/FormatOptions.hpp"
#include "writers/Times.hpp"

namespace vorlandi::cli {
namespace {

using writers::CovariancesKept;
using writers::Target;

constexpr const char* kConvertFooter =
    R"(Exact means that the same doubles are read back. Where times are kept to the millisecond, one that is more than
half a microsecond off is an error, unless --round-times is given. A satellite that the format can't hold is
not written. No format keeps tags and revolution numbers; -v lists what is left out. States are not converted between
frames.

Files of oem and czml hold any number of satellites, each divided where there are no states between its points, and at
gaps in which states are off by more than --tolerance; all others hold one, and don't mark gaps. With --directory each
satellite has a file of its own, NUMBER_RECORD and the suffix, without the record if it is the first one of its file.
Readers take the number from the name of an stk or owner file, and number and frame from the name of a modified-itc
file. For csv see vorlandi states --format csv.

An existing file is an error, unless --force is given; it is replaced when the new one is complete. The creation date is
SOURCE_DATE_EPOCH if that is set.

Examples:
  vorlandi convert 81001_v31.txt --into oem -o 81001.oem
  vorlandi convert fleet.card --into stk --directory stk --cov
  vorlandi convert 81001_stk.e --into czml -o - --step 120)";

struct ConvertOptions {
    InputOptions input;
    std::vector<std::int32_t> satellites;
    double step_s = 0.0;
    bool withCovariances = false;
    std::string into;
    ConversionRequest request;
};

std::string listOfTargets() {
    TextTable table(std::vector<Align>(7, Align::Left),
                    {"format", "suffix", "frames", "number", "times", "numbers (km)", "covariance"});
    for (const Target& target : writers::targets()) {
        const bool isExact = target.times != writers::TimesKept::ToTheMillisecond;
        const bool onRequest = target.covariances == CovariancesKept::OnRequest;
        table.addRow({std::string(target.name), std::string(target.suffix), writers::namesOf(target.frames),
                      target.largestNumber == 99999 ? "<= 99999" : "any", isExact ? "exact" : "1 ms",
                      std::string(target.numbers),
                      onRequest                                    ? "--cov"
                      : target.covariances == CovariancesKept::Yes ? "yes"
                                                                   : "no"});
    }
    return table.text();
}

std::string optionName(const writers::FormatOption& option) { return fmt::format("--{}", option.name); }

void addFormatOptions(CLI::App& command, writers::Options& options) {
    for (const writers::FormatOption& option : writers::formatOptions()) {
        const std::string help = fmt::format("{}: {}", option.target, option.meaning);
        if (option.text == nullptr) {
            command.add_flag(optionName(option), options.*option.flag, help);
            continue;
        }
        CLI::Option* const added =
            command.add_option(optionName(option), options.*option.text, help)->type_name("TEXT");
        if (option.choices.empty())
            added->check(CLI::Validator([&option](const std::string& text) { return problemOf(option, text); }, ""));
        else
            added->check(oneOf({option.choices.begin(), option.choices.end()}))->capture_default_str();
    }
}

// The current time, or SOURCE_DATE_EPOCH, as 2026-01-31T00:00:00.
std::string creationDate() {
    std::int64_t seconds = 0;
    if (const char* const given = std::getenv("SOURCE_DATE_EPOCH")) {
        const std::string_view text(given);
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
        constexpr std::int64_t kEnd = 7258118400;  // 2200-01-01
        if (error != std::errc{} || end != text.data() + text.size() || seconds < 0 || seconds >= kEnd)
            throw UsageError("SOURCE_DATE_EPOCH", "is not a number of seconds since 1970");
    } else {
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        seconds = std::chrono::duration_cast<std::chrono::seconds>(now).count();
    }
    return writers::isoText19(ds50(SysTime(std::chrono::seconds(seconds))).days);
}

void finish(ConvertOptions& options, const CLI::App& command) {
    ConversionRequest& request = options.request;
    request.target = writers::findTarget(options.into);
    for (const writers::FormatOption& option : writers::formatOptions())
        if (command.count(optionName(option)) > 0 && option.target != request.target->name)
            throw UsageError(optionName(option), fmt::format("is an option of {} only", option.target));
    if (command.count("--output") + command.count("--directory") != 1)
        throw UsageError("--into", "needs either --output or --directory");
    if (request.output.empty() && request.directory.empty()) throw UsageError("--output", "is empty");
    if (options.withCovariances && request.target->covariances == CovariancesKept::No)
        throw UsageError("--cov", fmt::format("{} files have no covariances", request.target->name));
    if (request.roundTimes && request.target->times == writers::TimesKept::Exactly)
        throw UsageError("--round-times", fmt::format("{} files keep every time", request.target->name));
    if (command.count("--step") > 0) {
        requireStep(options.step_s);
        request.extraction.step_s = options.step_s;
    }
    readTimeRange(command, request.extraction.range);
    request.extraction.withCovariances = request.target->covariances == CovariancesKept::Yes || options.withCovariances;
    request.options.source = fmt::format("others, converted by {}", version());
    request.options.created = creationDate();
    options.input.keys = Keys::Own;
}

// The wanted satellites, numbered within their files.
std::vector<NumberedSatellite> wantedSatellites(const std::vector<std::int32_t>& numbers, const LoadResults& results) {
    std::map<std::string, std::int32_t> records;
    std::vector<NumberedSatellite> wanted;
    for (SatelliteRecord& satellite : loadedSatellites(results)) {
        const std::int32_t record = ++records[satellite.file];
        if (isWanted(satellite, numbers)) wanted.push_back({std::move(satellite), record});
    }
    return wanted;
}

ExitStatus runConvert(ConvertOptions& options, Console& console) {
    const ConversionRequest& request = options.request;
    const std::string output = request.output.empty() ? std::string(kStandardOutput) : request.output;
    LoadResults results;
    const bool allLoaded = loadFiles(options.input, output, console, &results);
    const bool allKnown = reportUnknown(options.satellites, loadedSatellites(results), console);
    const std::vector<NumberedSatellite> satellites = wantedSatellites(options.satellites, results);
    std::vector<SatelliteRecord> records;
    records.reserve(satellites.size());
    for (const NumberedSatellite& one : satellites)
        records.push_back(one.satellite);
    warnOfMissingVelocities(records, console);
    if (satellites.empty()) {
        reportNothingToWrite(request.output + request.directory, console);
        return ExitStatus::Failure;
    }
    if (request.directory.empty() && satellites.size() > 1 && !request.target->holdsSeveral)
        throw UsageError("--directory", fmt::format("is needed: there are {} satellites, and a file of {} holds one",
                                                    satellites.size(), request.target->name));
    requireTimesInMemory(mostTimes(request, satellites));
    options.request.extraction.namesLosses = console.isVerbose();
    const bool allWritten = convert(request, satellites, console);
    return statusOf(allLoaded && allKnown && allWritten);
}

}  // namespace

void addConvertCommand(CLI::App& application, Session& session) {
    CLI::App* const command = application.add_subcommand("convert", "Write satellites in another format");
    const auto options = std::make_shared<ConvertOptions>();
    ConversionRequest& request = options->request;
    addInput(*command, options->input);
    std::vector<std::string> names;
    for (const Target& target : writers::targets())
        names.emplace_back(target.name);
    command->add_option("--into", options->into, "The format to write, see below")
        ->type_name("FORMAT")
        ->required()
        ->check(oneOf(names));
    command->add_option("-o,--output", request.output, "The file to write; - is standard output")->type_name("FILE");
    command->add_option("--directory", request.directory, "Write a file for each satellite into DIR")->type_name("DIR");
    command->add_flag("--force", request.force, "Replace files that exist");
    addSatelliteNumbers(*command, options->satellites);
    addTimeRange(*command, request.extraction.range);
    command->add_option("--step", options->step_s, "Seconds between the states; stored points if not given")
        ->type_name("SECONDS");
    addMetres(*command, "--tolerance", request.extraction.tolerance_m,
              "Divide satellites at gaps in which states may be off by more than METRES");
    command->add_flag("--cov", options->withCovariances, "stk: with covariances");
    command->add_flag("--round-times", request.roundTimes,
                      "Round times to milliseconds where the format keeps no more");
    addFormatOptions(*command, request.options);
    addThreads(*command, options->input);
    addVerbose(*command, session.console);
    command->footer([] { return listOfTargets() + "\n" + kConvertFooter; });
    command->callback([options, command, &session] {
        finish(*options, *command);
        session.status = runConvert(*options, session.console);
    });
}

}  // namespace vorlandi::cli
