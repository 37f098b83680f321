#include "DiffCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>

#include "DiffWriter.hpp"
#include "Loading.hpp"
#include "Output.hpp"
#include "Selection.hpp"
#include "Spacing.hpp"
#include "TimeGrid.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kDiffFooter =
    R"(B minus A, on the radial, in-track and cross-track axes of A, at the points of A in the time that both cover, or
every SECONDS with --step. Satellites are paired by number; if A and B have one each, these are compared in any case.
Of mean, rms and largest, largest is the value of the largest magnitude, with its sign.

With a covariance in A or B, the normalized distance is sqrt(d' P^-1 d), d being the difference of the positions and P
the covariance, or the sum of both. Of independent errors that P describes, 1 % are above 3.368.

Two causes are tried, and named if they leave less than a fifth of the rms: an offset of all times, and a constant
rotation. See docs/comparing.md.

Times that A or B answers across a gap between its points are also compared; a warning says how many there are.

Frames are never converted: satellites in different frames are not compared, unless --ignore-frames is given.

Exit status: 0 compared; 1 a distance is above --tolerance, or a satellite of A has no partner; 2 wrong usage; 3 a file
could not be read whole, the output could not be written, or satellites can't be compared.

Examples:
  vorlandi diff 81001_stk.e 81001.oem
  vorlandi diff old.card new.card --tolerance 10 --format json
  vorlandi diff a.e b.e --step 60 --each --format csv -o difference.csv)";

struct DiffOptions {
    InputOptions input;
    std::string a;
    std::string b;
    std::vector<std::int32_t> satellites;
    TimeRange range;
    double step_s = 0.0;
    bool hasStep = false;
    bool ignoresFrames = false;
    std::string output{kStandardOutput};
    DiffStyle style;
};

// Loads one of the two and returns its satellites, which come after the `earlier` ones in the store.
std::vector<RecordOfFile> load(const std::string& file, std::size_t earlier, const DiffOptions& options,
                               Console& console, bool& allLoaded, bool& numberUsed) {
    InputOptions input = options.input;
    input.files = {file};
    LoadResults results;
    allLoaded = loadFiles(input, options.output, console, &results) && allLoaded;
    numberUsed = numberUsed || !results.numbers.empty();
    return loadedRecords(results, earlier);
}

// One run of the command.
class Diff {
public:
    Diff(const DiffOptions& options, Console& console)
        : options_(options), console_(console), range_(spanOf(options.range)) {}

    ExitStatus run() {
        bool numberUsed = !options_.input.number;
        a_ = load(options_.a, 0, options_, console_, couldLook_, numberUsed);
        b_ = load(options_.b, a_.size(), options_, console_, couldLook_, numberUsed);
        if (!numberUsed && !(a_.empty() && b_.empty())) refuseNumber();
        const std::vector<SatelliteRecord> all = satellites();
        couldLook_ = reportUnknown(options_.satellites, all, console_) && couldLook_;
        warnOfMissingVelocities(all, console_);
        keepWanted(a_);
        keepWanted(b_);
        write();
        return couldLook_ ? statusOf(!differs_) : ExitStatus::Unreadable;
    }

private:
    std::vector<SatelliteRecord> satellites() const {
        std::vector<SatelliteRecord> all;
        for (const auto* const satellites : {&a_, &b_})
            for (const RecordOfFile& satellite : *satellites)
                all.push_back(satellite.record);
        return all;
    }

    // Satellites without points in the range of times don't count.
    void keepWanted(std::vector<RecordOfFile>& satellites) const {
        std::erase_if(satellites, [this](const RecordOfFile& satellite) {
            const auto& [start, end] = satellite.record.span;
            return satellite.record.pointCount == 0 || !isWanted(satellite.record, options_.satellites) ||
                   start - range_.last.days > kTimeTolerance_days || range_.first.days - end > kTimeTolerance_days;
        });
    }

    void write() {
        Output output(options_.output);
        const auto writer = makeDiffWriter(options_.style, output);
        std::vector<RecordOfFile> withoutPartner;
        for (const RecordOfFile& satellite : a_)
            if (!compareWithPartners(satellite, *writer)) withoutPartner.push_back(satellite);
        differs_ = differs_ || !withoutPartner.empty();
        if (a_.empty()) {
            console_.error(options_.a, "has no satellite to compare");
            couldLook_ = false;
        }
        writer->finish(withoutPartner);
        if (compared_ == 0 && refusesEmptyFile(options_.output, console_)) return;
        output.close();
    }

    // False if there is no partner.
    bool compareWithPartners(const RecordOfFile& a, DiffWriter& writer) {
        const bool isOnlyPair = a_.size() == 1 && b_.size() == 1;
        bool hasPartner = false;
        for (const RecordOfFile& b : b_) {
            if (a.record.number != b.record.number && !isOnlyPair) continue;
            const auto span = analysis::commonSpan(a.record.satellite, b.record.satellite, range_);
            if (!span) continue;
            hasPartner = true;
            if (a.record.number != b.record.number)
                console_.warning("", fmt::format("{} is compared with {}", nameOf(a), nameOf(b)));
            compare(a, b, *span, writer);
        }
        if (!hasPartner)
            console_.error(nameOf(a), fmt::format("{} has no such satellite at these times, {} to {}", options_.b,
                                                  isoTime(a.record.span.start), isoTime(a.record.span.end)));
        return hasPartner;
    }

    void compare(const RecordOfFile& a, const RecordOfFile& b, const Span& span, DiffWriter& writer) {
        if (a.record.frame != b.record.frame && !options_.ignoresFrames)
            return refuse(
                a, fmt::format("its frame is {}, the frame of {} is {} (--ignore-frames compares them as they are)",
                               name(a.record.frame), nameOf(b), name(b.record.frame)));
        const std::vector<Ds50> times = timesOf(a, span);
        if (times.empty())
            return refuse(a, fmt::format("it has no point in the span of {}; --step compares states between the points",
                                         nameOf(b)));
        const ComparedPair pair{a,
                                b,
                                span,
                                analysis::compare(a.record.satellite, b.record.satellite, times),
                                gapsOf(a.record, span),
                                gapsOf(b.record, span)};
        if (pair.comparison.differences.empty())
            return refuse(a, fmt::format("there is no time at which both it and {} have a state", nameOf(b)));
        ++compared_;
        for (const auto& [satellite, gaps] : {std::pair{&a, &pair.gapsOfA}, {&b, &pair.gapsOfB}})
            warnOfGaps(*satellite, *gaps, pair.comparison);
        const double largest_m = pair.comparison.statistics(analysis::Quantity::Distance).largest;
        differs_ = differs_ || (options_.style.tolerance_m && !(largest_m <= *options_.style.tolerance_m));
        writer.pair(pair);
    }

    static GapsOfRecord gapsOf(const SatelliteRecord& record, const Span& span) {
        Gaps gaps(record.satellite);
        const std::size_t count = gaps.countWithin(span);
        return {std::move(gaps), count};
    }

    void warnOfGaps(const RecordOfFile& satellite, const GapsOfRecord& gaps, const analysis::Comparison& comparison) {
        const std::size_t times = gaps.timesOf(comparison);
        if (times > 0)
            console_.warning(nameOf(satellite),
                             fmt::format("{} of {} {} interpolated across {}: the difference there can be due to that",
                                         times, analysis::countText(comparison.differences.size(), "state"),
                                         analysis::isOrAre(times), analysis::countText(gaps.count, "gap")));
    }

    void refuse(const RecordOfFile& a, const std::string& reason) {
        console_.error(nameOf(a), "not compared: " + reason);
        couldLook_ = false;
    }

    std::vector<Ds50> timesOf(const RecordOfFile& a, const Span& span) const {
        if (!options_.hasStep) return analysis::timesWithin(a.record.satellite, span);
        requireTimesInMemory(timesIn(span.last.days - span.first.days, options_.step_s));
        const TimeGrid grid(span.first.days, span.last.days, options_.step_s);
        std::vector<Ds50> times;
        for (std::int64_t i = 0; i < grid.size(); ++i)
            times.push_back({grid[i]});
        return times;
    }

    const DiffOptions& options_;
    Console& console_;
    Span range_;
    std::vector<RecordOfFile> a_;
    std::vector<RecordOfFile> b_;
    std::size_t compared_ = 0;
    bool couldLook_ = true;
    bool differs_ = false;
};

void readOptions(const CLI::App& command, DiffOptions& options) {
    if (options.a == kStandardInput && options.b == kStandardInput) throw UsageError("B", kOneStandardInput);
    readTimeRange(command, options.range);
    options.hasStep = command.count("--step") > 0;
    if (options.hasStep) requireStep(options.step_s);
}

}  // namespace

void addDiffCommand(CLI::App& application, Session& session) {
    CLI::App* const command = application.add_subcommand("diff", "Compare the satellites of two files");
    const auto options = std::make_shared<DiffOptions>();
    options->input.keys = Keys::Own;
    options->input.numberMustApply = false;
    command->add_option("A", options->a, "Ephemeris file, card file or packed file; - is standard input")
        ->type_name("")
        ->required();
    command->add_option("B", options->b, "The file to compare with A")->type_name("")->required();
    addInputRules(*command, options->input);
    addSatelliteNumbers(*command, options->satellites);
    addTimeRange(*command, options->range);
    command->add_option("--step", options->step_s, "Seconds between the times; the points of A if not given")
        ->type_name("SECONDS");
    command->add_flag("--each", options->style.each, "Print the differences at every time");
    command
        ->add_option_function<double>(
            "--tolerance", [options](double metres) { options->style.tolerance_m = metres; },
            "Exit with status 1 if a distance is above METRES")
        ->type_name("METRES")
        ->check(finiteAtLeast(0.0));
    command->add_flag("--ignore-frames", options->ignoresFrames, "Also compare satellites in different frames");
    addFormat(*command, options->style.format);
    addOutput(*command, options->output);
    addThreads(*command, options->input);
    addVerbose(*command, session.console);
    command->footer(kDiffFooter);
    command->callback([options, command, &session] {
        session.unwritten = ExitStatus::Unreadable;
        readOptions(*command, *options);
        session.status = Diff(*options, session.console).run();
    });
}

}  // namespace vorlandi::cli
