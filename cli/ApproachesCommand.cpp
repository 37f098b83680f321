#include "ApproachesCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "ApproachesReport.hpp"
#include "ForeignTexts.hpp"
#include "Loading.hpp"
#include "Output.hpp"
#include "Selection.hpp"
#include "analysis/Steps.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kApproachesFooter =
    R"(All satellites are compared with all others of their frame, where both have interpolated states. An event is a
local minimum of a distance, or the end of a common span nearer than --within. Components are those of b from a on the
axes of a. sigmas is the distance in standard deviations where both satellites have covariances, whose errors are taken
as independent. Collision probabilities are not calculated: they need sizes, and assumptions that only you can make.

Frames are never converted: pairs across frames are counted and not compared. Files are read by the practical rules
(--fixed-rules for the others).

Exit status: 0 no approach; 1 some; 2 wrong usage; 3 a file could not be read, or the output could not be written.

Examples:
  vorlandi approaches fleet.card --within 5
  vorlandi approaches delivery.zip --within 1 --sat 81001 --format csv -o approaches.csv -j 4)";

struct ApproachesCommandOptions {
    InputOptions input;
    std::vector<std::int32_t> satellites;
    TimeRange range;
    analysis::ApproachOptions search;
    std::string output{kStandardOutput};
    Format format = Format::Table;
};

// Warns of satellites interpolated across gaps: approaches found there can be spurious, and real ones missed.
void reportGaps(const std::vector<RecordOfFile>& satellites, Console& console) {
    Quota quota(console);
    for (const RecordOfFile& satellite : satellites) {
        const analysis::Ephemeris times =
            analysis::makeEphemeris(0, Frame::ECI, satellite.record.satellite.times(), {});
        std::vector<std::size_t> gaps = analysis::gapsIn(analysis::stepsOf(times));
        std::erase_if(gaps, [&](std::size_t gap) { return !isAnswered(times, gap); });
        if (!gaps.empty() && quota.admits())
            console.warning(nameOf(satellite),
                            fmt::format("is interpolated across {}, the first at {}; states there can be far off",
                                        analysis::countText(gaps.size(), "gap"), isoTime(times.times[gaps[0]].days)));
    }
    if (quota.heldBack() > 0)
        console.warning(
            "", fmt::format("{} interpolated across gaps", analysis::countIsText(quota.heldBack(), "more satellite")));
}

// Reports comparisons that were not made, or not over the whole span.
void reportLeftOut(const ApproachesReport& report, const Span& range, Console& console) {
    const analysis::Approaches& approaches = report.approaches;
    if (approaches.pairsAcrossFrames > 0)
        console.warning("", fmt::format("{} in different frames and not compared",
                                        analysis::countIsText(approaches.pairsAcrossFrames, "pair")));
    if (approaches.pairsOfSameNumber > 0)
        console.warning("",
                        fmt::format("{} of records with the same number and not compared; --same-number compares them",
                                    analysis::countIsText(approaches.pairsOfSameNumber, "pair")));
    Quota unknown(console);
    for (const std::size_t i : approaches.inUnknownFrames)
        if (unknown.admits())
            console.warning(nameOf(report.satellites[i]),
                            fmt::format("the axes of {} are not known; it was not compared",
                                        name(report.satellites[i].record.frame)));
    if (unknown.heldBack() > 0)
        console.warning("", fmt::format("{} in a frame that is not known",
                                        analysis::countIsText(unknown.heldBack(), "more satellite")));
    Quota partly(console);
    for (std::size_t i = 0; i < report.satellites.size(); ++i) {
        const SatelliteRecord& record = report.satellites[i].record;
        const bool isInRange =
            record.pointCount > 0 && record.span.start <= range.last.days && record.span.end >= range.first.days;
        if (isInRange && approaches.answered[i] < 1.0 - 1e-9 && partly.admits())
            console.warning(nameOf(report.satellites[i]),
                            fmt::format("has states for {:.1f} % of its span; the rest was not compared",
                                        100.0 * approaches.answered[i]));
    }
    if (partly.heldBack() > 0)
        console.warning("", fmt::format("{} compared for a part of the span",
                                        analysis::countIsText(partly.heldBack(), "more satellite")));
}

void write(const ApproachesReport& report, const ApproachesCommandOptions& options) {
    Output output(options.output);
    inFormat(
        options.format, [&] { printApproachesTable(report, output); }, [&] { printApproachesCsv(report, output); },
        [&] { printApproachesJson(report, output); });
    output.close();
}

ExitStatus runApproaches(const CLI::App& command, ApproachesCommandOptions& options, Console& console) {
    readTimeRange(command, options.range);
    options.search.range = spanOf(options.range);
    options.search.only = options.satellites;
    options.search.threads = options.input.threads;
    LoadResults results;
    bool couldLook = loadFiles(options.input, options.output, console, &results);
    ApproachesReport report{options.search.within_km, loadedRecords(results), {}};
    std::vector<Satellite> satellites;
    for (const RecordOfFile& satellite : report.satellites) {
        satellites.push_back(satellite.record.satellite);
        options.search.numbers.push_back(satellite.record.number);
    }
    warnOfMissingVelocities(loadedSatellites(results), console);
    couldLook = reportUnknown(options.satellites, loadedSatellites(results), console) && couldLook;
    options.search.progress = [&](double share) {
        console.progress(fmt::format("comparing, {:.0f} %", 100.0 * share));
    };
    report.approaches = analysis::findApproaches(satellites, options.search);
    console.clearProgress();
    reportLeftOut(report, options.search.range, console);
    reportGaps(report.satellites, console);
    if (!report.approaches.anyCompared) {
        console.error("",
                      "there are no two satellites of one frame and different numbers with states at a common time");
        couldLook = false;
    }
    write(report, options);
    if (!couldLook) return ExitStatus::Unreadable;
    return statusOf(report.approaches.events.empty());
}

}  // namespace

void addApproachesCommand(CLI::App& application, Session& session) {
    CLI::App* const command =
        application.add_subcommand("approaches", "Find where satellites come close to each other");
    const auto options = std::make_shared<ApproachesCommandOptions>();
    options->input.keys = Keys::Own;
    addInput(*command, options->input);
    command->add_option("--within", options->search.within_km, "Approaches nearer than KM")
        ->type_name("KM")
        ->required()
        ->check(finiteBetween(1e-6, 1e5));
    addSatelliteNumbers(*command, options->satellites);
    addTimeRange(*command, options->range);
    command
        ->add_option("--step", options->search.step_s,
                     "Seconds between the times at which all satellites are sorted by place; 1 to 300. The result does "
                     "not depend on it")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(finiteBetween(1.0, analysis::kLargestApproachStep_s));
    command->add_flag("--same-number", options->search.sameNumber, "Also compare records with the same number");
    addThreads(*command, options->input, "Compare with N threads, and read large files with several");
    addFormat(*command, options->format);
    addOutput(*command, options->output);
    addVerbose(*command, session.console);
    command->footer(kApproachesFooter);
    command->callback([options, command, &session] {
        session.unwritten = ExitStatus::Unreadable;
        session.status = runApproaches(*command, *options, session.console);
    });
}

}  // namespace vorlandi::cli
