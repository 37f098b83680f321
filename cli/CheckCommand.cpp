#include "CheckCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <memory>
#include <thread>

#include "CheckReport.hpp"
#include "CommandTable.hpp"
#include "LoadFindings.hpp"
#include "Loading.hpp"
#include "Output.hpp"
#include "Selection.hpp"
#include "analysis/Covariances.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kCheckFooter =
    R"(inside and ends are upper limits of the error of states between the points, estimated from the points: within,
and in the first and the last interval. scatter is the noise of the points, rounding included. would do is the largest
spacing that keeps the error below the tolerance. docs/checking.md describes every kind of finding, how it is found, and
how well.

An error means: don't use it. A warning: look. A note is worth knowing and leaves the exit status alone.

Equal satellites are all kept. Files are read by the practical rules (--fixed-rules for the others).

Exit status: 0 no error or warning; 1 some; 2 wrong usage; 3 a file could not be read, or the output not be written.

Examples:
  vorlandi check 81001_stk.e
  vorlandi check delivery.zip --tolerance 10 --format json
  vorlandi check *.e --skip steps,coarse-digits)";

struct CheckCommandOptions {
    InputOptions input;
    std::vector<std::int32_t> satellites;
    TimeRange range;
    analysis::CheckOptions check;
    std::vector<std::string> only;
    std::vector<std::string> skip;
    std::size_t limit = 10;
    std::string output{kStandardOutput};
    Format format = Format::Table;
};

std::vector<CheckedSatellite> wantedSatellites(const CheckCommandOptions& options, const LoadResults& results) {
    std::vector<CheckedSatellite> wanted;
    for (RecordOfFile& satellite : loadedRecords(results)) {
        if (!isWanted(satellite.record, options.satellites)) continue;
        const auto origin = results.origins.find(satellite.record.key());
        const std::string format = origin == results.origins.end() ? "" : origin->second.format;
        wanted.push_back({std::move(satellite.record), satellite.inFile, format, 0, {}, {}});
    }
    return wanted;
}

void check(CheckedSatellite& satellite, const analysis::CheckOptions& options, const Span& range) {
    const analysis::Ephemeris ephemeris = analysis::ephemerisOf(satellite.record.satellite, range);
    satellite.points = ephemeris.size();
    if (satellite.points > 0) satellite.span = {ephemeris.times.front().days, ephemeris.times.back().days};
    satellite.check = analysis::checkEphemeris(
        ephemeris, options, [&] { return analysis::covariancesBetween(satellite.record.satellite, ephemeris); });
}

// Each thread takes the next satellite; the order of the results stays that of the satellites.
void checkAll(std::vector<CheckedSatellite>& satellites, const CheckCommandOptions& options, const Span& range) {
    std::atomic<std::size_t> next = 0;
    std::vector<std::exception_ptr> failures(satellites.size());
    const auto work = [&] {
        for (std::size_t i; (i = next++) < satellites.size();)
            try {
                check(satellites[i], options.check, range);
            } catch (...) {
                failures[i] = std::current_exception();
            }
    };
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 1; i < std::min<std::size_t>(options.input.threads, satellites.size()); ++i)
            threads.emplace_back(work);
        work();
    }
    for (const std::exception_ptr& failure : failures)
        if (failure) std::rethrow_exception(failure);
}

bool isNamed(const std::vector<std::string>& kinds, analysis::Kind kind) {
    return std::find(kinds.begin(), kinds.end(), nameOf(kind)) != kinds.end();
}

// What was not examined is told with any choice of kinds but its own: it could have been of those.
bool isLeftOut(analysis::Kind kind, const CheckCommandOptions& options) {
    const bool isAlwaysTold = kind == analysis::Kind::NotExamined;
    return isNamed(options.skip, kind) || (!options.only.empty() && !isNamed(options.only, kind) && !isAlwaysTold);
}

void keepWanted(std::vector<analysis::Finding>& findings, const CheckCommandOptions& options) {
    std::erase_if(findings, [&](const analysis::Finding& finding) { return isLeftOut(finding.kind, options); });
}

// With --sat only the files that hold one of the satellites; those that hold none may have lost it.
void keepFilesOfWanted(const CheckCommandOptions& options, const std::vector<SatelliteRecord>& all,
                       std::vector<CheckedFile>& files) {
    if (options.satellites.empty()) return;
    std::erase_if(files, [&](const CheckedFile& file) {
        const auto isHere = [&](const SatelliteRecord& record) { return record.file == file.name; };
        return std::any_of(all.begin(), all.end(), isHere) &&
               std::none_of(all.begin(), all.end(), [&](const SatelliteRecord& record) {
                   return isHere(record) && isWanted(record, options.satellites);
               });
    });
}

void write(const CheckReport& report, const CheckCommandOptions& options) {
    Output output(options.output);
    inFormat(
        options.format, [&] { printCheckTable(report, options.limit, output); }, [&] { printCheckCsv(report, output); },
        [&] { printCheckJson(report, output); });
    output.close();
}

ExitStatus runCheck(const CLI::App& command, CheckCommandOptions& options, Console& console) {
    readTimeRange(command, options.range);
    LoadResults results;
    results.wantsReports = true;
    loadFiles(options.input, options.output, console, &results);
    const std::vector<SatelliteRecord> all = loadedSatellites(results);
    CheckReport report{options.check.tolerance_m, wantedSatellites(options, results), filesOf(results)};
    keepFilesOfWanted(options, all, report.files);
    checkAll(report.satellites, options, spanOf(options.range));
    findAmongSatellites(results, report.satellites);
    for (CheckedSatellite& satellite : report.satellites)
        keepWanted(satellite.check.findings, options);
    for (CheckedFile& file : report.files)
        keepWanted(file.findings, options);
    bool couldLook = reportUnknown(options.satellites, all, console);
    for (const LoadReport* const unreadable : unreadableFiles(results, all)) {
        couldLook = false;
        if (isLeftOut(analysis::Kind::NotRead, options)) console.error(unreadable->file, unreadable->text);
    }
    write(report, options);
    if (!couldLook) return ExitStatus::Unreadable;
    return statusOf(report.count(analysis::Severity::Error) + report.count(analysis::Severity::Warning) == 0);
}

std::string kindList() {
    std::string list;
    for (const char* const name : analysis::kKindNames)
        list += (list.empty() ? "" : ", ") + std::string(name);
    return list;
}

void addKinds(CLI::App& command, const std::string& option, std::vector<std::string>& kinds, const std::string& help) {
    command.add_option(option, kinds, help)
        ->type_name("KIND,...")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(withChoices(CLI::Validator(
                                [](const std::string& text) {
                                    return analysis::kindNamed(text)
                                               ? ""
                                               : text + " is not a kind of finding; these are: " + kindList();
                                },
                                ""),
                            {analysis::kKindNames.begin(), analysis::kKindNames.end()}));
}

}  // namespace

std::size_t countOf(const std::vector<analysis::Finding>& findings, analysis::Severity severity) {
    return static_cast<std::size_t>(
        std::count_if(findings.begin(), findings.end(),
                      [severity](const analysis::Finding& finding) { return finding.severity == severity; }));
}

std::size_t CheckReport::count(analysis::Severity severity) const {
    std::size_t count = 0;
    for (const CheckedSatellite& satellite : satellites)
        count += countOf(satellite.check.findings, severity);
    for (const CheckedFile& file : files)
        count += countOf(file.findings, severity);
    return count;
}

void addCheckCommand(CLI::App& application, Session& session) {
    CLI::App* const command =
        application.add_subcommand("check", "Look for faults in ephemeris files, and estimate how good states are");
    const auto options = std::make_shared<CheckCommandOptions>();
    options->input.keys = Keys::Own;
    addInput(*command, options->input);
    addSatelliteNumbers(*command, options->satellites);
    addTimeRange(*command, options->range);
    addMetres(*command, "--tolerance", options->check.tolerance_m,
              "Warn of states that may be off by more than METRES");
    command
        ->add_option("--gap-factor", options->check.gapFactor,
                     "A gap is a step of more than F times what is usual around it")
        ->type_name("F")
        ->capture_default_str()
        ->check(finiteAtLeast(1.0));
    addKinds(*command, "--only", options->only, "Only these kinds of findings");
    addKinds(*command, "--skip", options->skip, "Not these kinds of findings");
    command->add_option("--limit", options->limit, "In tables show at most N findings of a kind for each satellite")
        ->type_name("N")
        ->capture_default_str()
        ->check(wholeNumber());
    addThreads(*command, options->input, "Check with N threads, and read large files with several");
    addFormat(*command, options->format);
    addOutput(*command, options->output);
    addVerbose(*command, session.console);
    command->footer(kCheckFooter);
    command->callback([options, command, &session] {
        session.unwritten = ExitStatus::Unreadable;
        session.status = runCheck(*command, *options, session.console);
    });
}

}  // namespace vorlandi::cli
