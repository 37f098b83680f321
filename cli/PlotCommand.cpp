#include "PlotCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>

#include "CommandTable.hpp"
#include "Loading.hpp"
#include "Output.hpp"
#include "PlotPage.hpp"
#include "PlotPanels.hpp"
#include "Selection.hpp"
#include "analysis/Thinning.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kPlotFooter =
    R"(The suffix of the output chooses the form. svg: panels one above the other over time, UTC; gaps are shaded
(darker where there are no states), jumps marked; the first eight satellites have a colour each. html: a single file
that needs no network, with the orbits in their own frame, to be turned and zoomed, a time slider with the states, and
the panels below. #at= and times after the page's address list states: plot.html#at=2026-01-31T01:00:00.

height and speed come from the stored points or, if these are few, from interpolated states. sigma is along the radial,
in-track and cross-track axes. error is the estimated interpolation error (docs/checking.md).

Duplicate satellites are all kept. Files are read by the practical rules (--fixed-rules for the others).

Exit status: 0 all is well; 1 something could not be loaded or written; 2 wrong usage.

Examples:
  vorlandi plot 81001_stk.e -o 81001.svg
  vorlandi plot delivery.zip --sat 81001 --diff yesterday.zip -o 81001.html)";

// Browsers can't take a page with more points than this, some 150 MB.
constexpr std::size_t kMostEmbeddedPoints = 2'000'000;

// In the order of Shown.
constexpr std::array<const char*, 5> kShownNames{"height", "speed", "sigma", "error", "gaps"};

std::set<Shown> shownOf(const std::vector<std::string>& names) {
    std::set<Shown> shown;
    for (std::size_t i = 0; i < kShownNames.size(); ++i)
        if (std::find(names.begin(), names.end(), kShownNames[i]) != names.end()) shown.insert(static_cast<Shown>(i));
    return shown;
}

struct PlotCommandOptions {
    InputOptions input;
    std::vector<std::int32_t> satellites;
    TimeRange range;
    std::vector<std::string> shown{kShownNames.begin(), kShownNames.end()};
    std::string other;
    std::string output;
    int width_px = 1000;
    bool isForced = false;
};

bool isPage(const std::string& output) { return output.ends_with(".html"); }

std::vector<PlottedSatellite> wantedSatellites(const PlotCommandOptions& options,
                                               const std::vector<RecordOfFile>& records, Console& console) {
    const Span range = spanOf(options.range);
    std::vector<PlottedSatellite> wanted;
    for (const RecordOfFile& satellite : records) {
        const SatelliteRecord& record = satellite.record;
        if (!isWanted(record, options.satellites)) continue;
        const std::string name = shortNameOf(satellite);
        analysis::Ephemeris ephemeris = analysis::ephemerisOf(record.satellite);
        ephemeris.number = record.number;
        const analysis::PointRange within = analysis::pointsWithin(ephemeris.times, range);
        if (within.size() == 0)
            console.warning(nameOf(satellite), "has no points in the range");
        else
            wanted.push_back({record.satellite, name, std::move(ephemeris), within});
    }
    return wanted;
}

// Pairs each satellite with those of the other file that share its number, its frame and a part of its span.
std::vector<PlottedPair> pairsOf(const std::vector<PlottedSatellite>& satellites,
                                 const std::vector<RecordOfFile>& others, Console& console, bool& allPaired) {
    std::vector<PlottedPair> pairs;
    for (std::size_t i = 0; i < satellites.size(); ++i) {
        const analysis::Ephemeris& ephemeris = satellites[i].ephemeris;
        bool hasPartner = false;
        for (const RecordOfFile& other : others) {
            if (other.record.number != ephemeris.number || other.record.frame != ephemeris.frame ||
                !analysis::commonSpan(satellites[i].satellite, other.record.satellite))
                continue;
            hasPartner = true;
            pairs.push_back({i, other.record.satellite, nameOf(other)});
        }
        allPaired = allPaired && hasPartner;
        if (!hasPartner)
            console.warning("satellite " + satellites[i].name,
                            "has no partner of its number and frame at its times in the other file");
    }
    return pairs;
}

// Leaves out points where that keeps the error below the page's tolerance.
void thin(analysis::Ephemeris& ephemeris) {
    std::vector<Ds50> times;
    std::vector<State> states;
    for (const std::size_t i : analysis::pointsThatWouldDo(ephemeris, kPageTolerance_m)) {
        times.push_back(ephemeris.times[i]);
        states.push_back(ephemeris.states[i]);
    }
    ephemeris = analysis::makeEphemeris(ephemeris.number, ephemeris.frame, std::move(times), std::move(states));
}

// The points of the range, and two more on each side: the windows of its intervals have no others.
analysis::Ephemeris embeddedOf(const PlottedSatellite& satellite) {
    constexpr std::size_t kMore = 2;
    const analysis::Ephemeris& all = satellite.ephemeris;
    const auto first = static_cast<std::ptrdiff_t>(satellite.range.first - std::min(satellite.range.first, kMore));
    const auto last = static_cast<std::ptrdiff_t>(std::min(satellite.range.last + kMore, all.size()));
    return analysis::makeEphemeris(all.number, all.frame, {all.times.begin() + first, all.times.begin() + last},
                                   {all.states.begin() + first, all.states.begin() + last});
}

std::vector<PageOrbit> orbitsOf(const std::vector<PlottedSatellite>& satellites, std::vector<std::string>& notes) {
    std::vector<PageOrbit> orbits;
    std::size_t points = 0, embedded = 0;
    for (const PlottedSatellite& satellite : satellites) {
        orbits.push_back({satellite.name, embeddedOf(satellite), satellite.span()});
        points += orbits.back().ephemeris.size();
    }
    for (PageOrbit& orbit : orbits) {
        if (points > kMostPagePoints) thin(orbit.ephemeris);
        embedded += orbit.ephemeris.size();
    }
    if (embedded < points)
        notes.push_back(fmt::format("{} of {} points are in this page: its states are within {} m of the file's.",
                                    embedded, points, kPageTolerance_m));
    if (embedded > kMostEmbeddedPoints)
        throw UsageError("-o",
                         fmt::format("a page with {} points is too large for browsers, which take about {}; choose "
                                     "satellites with --sat, a range with --from and --to, or an svg",
                                     embedded, kMostEmbeddedPoints));
    return orbits;
}

void describe(Plot& plot, const std::vector<PlottedSatellite>& satellites) {
    const bool isOne = satellites.size() == 1;
    plot.title = isOne ? fmt::format("Satellite {}, {}", satellites[0].name, name(satellites[0].ephemeris.frame))
                       : fmt::format("{} satellites", satellites.size());
    plot.description = fmt::format("From {} to {} UTC:", isoTime(plot.span.first.days), isoTime(plot.span.last.days));
    for (const PlotPanel& panel : plot.panels)
        plot.description += (plot.panels.data() == &panel ? " " : "; ") + panel.title;
}

void write(const PlotCommandOptions& options, const Plot& plot, const std::vector<PlottedSatellite>& satellites) {
    std::string text;
    if (isPage(options.output)) {
        std::vector<std::string> notes;
        const std::vector<PageOrbit> orbits = orbitsOf(satellites, notes);
        text = pageOf(plot, options.width_px, orbits, notes);
    } else {
        text = svgOf(plot, options.width_px);
    }
    Output output(options.output);
    output.write(text);
    output.close();
}

void requireNewFile(const PlotCommandOptions& options) {
    if (!isPage(options.output) && !options.output.ends_with(".svg"))
        throw UsageError("-o", "needs a name that ends in .svg or .html");
    std::error_code error;
    const auto status = std::filesystem::status(options.output, error);
    if (error && status.type() == std::filesystem::file_type::none) throw OutputError(options.output, error.value());
    if (!options.isForced && exists(status)) throw OutputError(options.output, existsText());
}

ExitStatus runPlot(const CLI::App& command, PlotCommandOptions& options, Console& console) {
    requireNewFile(options);
    readTimeRange(command, options.range);
    options.input.numberMustApply = options.other.empty();
    LoadResults results;
    bool allWell = loadFiles(options.input, options.output, console, &results);
    const std::vector<RecordOfFile> records = loadedRecords(results);
    allWell = reportUnknown(options.satellites, loadedSatellites(results), console) && allWell;
    warnOfMissingVelocities(loadedSatellites(results), console);
    std::vector<PlottedSatellite> satellites = wantedSatellites(options, records, console);
    std::vector<PlottedPair> pairs;
    if (!options.other.empty()) {
        InputOptions other = options.input;
        other.files = {options.other};
        allWell = loadFiles(other, options.output, console, &results) && allWell;
        pairs = pairsOf(satellites, loadedRecords(results, records.size()), console, allWell);
        if (options.input.number && results.numbers.empty()) refuseNumber();
    }
    if (satellites.empty()) {
        console.error("", "there is nothing to plot");
        return ExitStatus::Failure;
    }
    Plot plot = makePlot(satellites, pairs, shownOf(options.shown), options.width_px, console);
    if (plot.panels.empty() && !isPage(options.output)) {
        console.error("", "there is nothing to plot: gaps are shown in panels, and no panel has values");
        return ExitStatus::Failure;
    }
    describe(plot, satellites);
    write(options, plot, satellites);
    return statusOf(allWell);
}

}  // namespace

void addPlotCommand(CLI::App& application, Session& session) {
    const std::vector<std::string> names(kShownNames.begin(), kShownNames.end());
    CLI::App* const command = application.add_subcommand("plot", "Draw heights, speeds, sigmas, errors and orbits");
    const auto options = std::make_shared<PlotCommandOptions>();
    options->input.keys = Keys::Own;
    addInput(*command, options->input);
    command->add_option("-o,--output", options->output, "File to be written, .svg or .html")
        ->type_name("OUT")
        ->required();
    command->add_option("--show", options->shown, "What is drawn: height, speed, sigma, error, gaps; all by default")
        ->type_name("WHAT,...")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(oneOf(names));
    command->add_option("--diff", options->other, "Also draw the difference from the satellites in this file")
        ->type_name("OTHER");
    addSatelliteNumbers(*command, options->satellites);
    addTimeRange(*command, options->range);
    command->add_option("--width", options->width_px, "Width in pixels")
        ->type_name("PIXELS")
        ->capture_default_str()
        ->check(CLI::Range(kLeastPlotWidth, kLargestPlotWidth).description(""));
    command->add_flag("--force", options->isForced, "Replace a file that exists");
    addThreads(*command, options->input);
    addVerbose(*command, session.console);
    command->footer(kPlotFooter);
    command->callback([options, command, &session] { session.status = runPlot(*command, *options, session.console); });
}

}  // namespace vorlandi::cli
