#include "CheckCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "CheckReport.hpp"
#include "Checking.hpp"
#include "LoadFindings.hpp"
#include "Loading.hpp"
#include "Output.hpp"
#include "Selection.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kCheckFooter =
    R"(inside and ends are upper limits, estimated from the points, of the error of states between them: in the inner
intervals, and in the first and last ones. scatter is the noise of the points, rounding included. would do is the
largest spacing that keeps the error below the tolerance. docs/checking.md describes every kind of finding, how it is
found, and how well.

Do not use an ephemeris with an error. Look at warnings. A note is worth knowing and doesn't change the exit status.

Duplicate satellites are all kept. Files are read by the practical rules (--fixed-rules for the others).

Exit status: 0 no error or warning; 1 some; 2 wrong usage; 3 a file could not be read, or the output could not be
written.

Examples:
  vorlandi check 81001_stk.e
  vorlandi check delivery.zip --tolerance 10 --format json
  vorlandi check *.e --skip steps,coarse-digits)";

struct CheckCommandOptions {
    InputOptions input;
    std::vector<std::int32_t> satellites;
    TimeRange range;
    analysis::CheckOptions check;
    KindChoice kinds;
    std::size_t limit = 10;
    std::string output{kStandardOutput};
    Format format = Format::Table;
};

// With --sat, keeps files with a wanted satellite, and files without any: a fault may have lost it.
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
    options.kinds.requireSome();
    LoadResults results;
    results.wantsReports = true;
    loadFiles(options.input, options.output, console, &results);
    const std::vector<SatelliteRecord> all = loadedSatellites(results);
    CheckReport report{options.check.tolerance_m, satellitesToCheck(results, options.satellites), filesOf(results)};
    keepFilesOfWanted(options, all, report.files);
    checkAll(report.satellites, options.check, spanOf(options.range), options.input.threads);
    findAmongSatellites(results, report.satellites);
    for (CheckedSatellite& satellite : report.satellites)
        options.kinds.keepWanted(satellite.check.findings);
    for (CheckedFile& file : report.files)
        options.kinds.keepWanted(file.findings);
    bool couldLook = reportUnknown(options.satellites, all, console);
    for (const LoadReport* const unreadable : unreadableFiles(results, all)) {
        couldLook = false;
        if (options.kinds.leavesOut(analysis::Kind::NotRead)) console.error(unreadable->file, unreadable->text);
    }
    write(report, options);
    if (!couldLook) return ExitStatus::Unreadable;
    return statusOf(report.count(analysis::Severity::Error) + report.count(analysis::Severity::Warning) == 0);
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
    addKindChoice(*command, options->kinds);
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
