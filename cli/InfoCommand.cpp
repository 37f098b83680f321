#include "InfoCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "ForeignTexts.hpp"
#include "InfoReport.hpp"
#include "Loading.hpp"
#include "Output.hpp"
#include "SatelliteRecord.hpp"
#include "Spacing.hpp"
#include "TextTable.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kInfoFooter =
    R"(least, median and largest are the seconds between neighbouring points, to the microsecond. A gap is a step that
is longer than three times the upper quartile of the 31 steps around it: states within it can be far off. velocities
and covariances say whether all points have them, some or none; between points without velocities (all zero) states are
also far off. The tag is the text that a card file gives the satellite it names next.

Files are read by the practical rules; --fixed-rules asks for the fixed ones (see docs/formats.md). format and rules say
in which format and by which rules a satellite was read. A second satellite with the same number, frame and first time
is refused as a duplicate. Names in a card file are relative to the card file's directory or, if there is no such file
(by the fixed rules always), to the current one; a file that can't be read is an error, and the others are loaded.

Archives and compressed files are detected by their content and never unpacked to disk. A card in an archive names files
in the same archive; cards on standard input are not followed.

--summary is for fleets: files, satellites, points, times, spacings, gaps, how many satellites have velocities and
covariances, and the memory that the program takes once they are loaded; then the same by frame and format.

csv and json also have the mean spacing, json the status of each file (0 if nothing is wrong). In csv a text that begins
with = + - @, a tab or a carriage return gets an apostrophe in front, so that no spreadsheet takes it for a formula.

Examples:
  vorlandi info 81001_stk.e
  vorlandi info --verbose fleet.card
  vorlandi info delivery.zip --summary
  curl https://example.org/81001.e.gz | vorlandi info -
  vorlandi info --format json *.e | jq '.satellites[].satellite')";

struct InfoOptions {
    InputOptions input;
    std::string output{kStandardOutput};
    Format format = Format::Table;
    bool summary = false;
};

Spacing spacingOf(const SatelliteRecord& satellite) {
    const std::vector<double> steps_s = stepsBetween(satellite.satellite.try_times().value);
    const std::optional<analysis::StepRange> range = analysis::stepRange(steps_s);
    if (!range) return {};
    return {satellite.meanSpacing_s(), range->least_s, range->median_s, range->largest_s,
            analysis::gapsIn(steps_s).size()};
}

std::string timeText(const SatelliteRecord& satellite, double ds50UTC) {
    return satellite.pointCount > 0 ? isoTime(ds50UTC) : "";
}

void printTable(const std::vector<SatelliteInfo>& rows, Output& output) {
    if (rows.empty()) return;
    using enum Align;
    TextTable table(
        {Right, Right, Left, Right, Left, Left, Right, Right, Right, Right, Left, Left, Left, Left, Left, Left},
        {"satellite", "key", "frame", "points", "first (UTC)", "last (UTC)", "least spacing (s)", "median (s)",
         "largest (s)", "gaps", "velocities", "covariances", "format", "rules", "file", "tag"});
    const auto seconds = [](std::optional<double> value) { return value ? fmt::format("{:.3f}", *value) : "-"; };
    for (const auto& [satellite, format, rules, spacing, contents] : rows)
        table.addRow({std::to_string(satellite.number), std::to_string(satellite.key()), name(satellite.frame),
                      std::to_string(satellite.pointCount), timeText(satellite, satellite.span.start),
                      timeText(satellite, satellite.span.end), seconds(spacing.least_s), seconds(spacing.median_s),
                      seconds(spacing.largest_s), std::to_string(spacing.gaps), nameOf(contents.velocities),
                      nameOf(contents.covariances), format, rules, satellite.file, satellite.tag});
    table.print(output);
}

// A value and its name in csv and json.
struct Field {
    const char* name;
    std::string csv;
    std::string json;
};

Field number(const char* name, std::int64_t value) { return {name, std::to_string(value), std::to_string(value)}; }

// JSON has neither infinities nor NaN.
Field seconds(const char* name, std::optional<double> value) {
    if (!value || !std::isfinite(*value)) return {name, "", "null"};
    return {name, fmt::format("{}", *value), fmt::format("{}", *value)};
}

Field text(const char* name, const std::string& value) { return {name, csvField(value), jsonText(value)}; }

// A satellite without points has no times; a time outside the years 1900 to 2199 has no text.
Field time(const char* name, const SatelliteRecord& satellite, double ds50UTC) {
    const std::string iso = timeText(satellite, ds50UTC);
    return {name, iso, iso.empty() ? "null" : jsonText(iso)};
}

Field flag(const char* name, bool value) { return {name, value ? "yes" : "no", value ? "true" : "false"}; }

// New fields come last, so that those before them keep their columns.
std::vector<Field> fieldsOf(const SatelliteInfo& row) {
    const auto& [satellite, format, rules, spacing, contents] = row;
    return {number("satellite", satellite.number),
            text("key", std::to_string(satellite.key())),
            text("frame", name(satellite.frame)),
            number("points", satellite.pointCount),
            time("first_utc", satellite, satellite.span.start),
            time("last_utc", satellite, satellite.span.end),
            seconds("mean_spacing_s", spacing.mean_s),
            flag("covariance", contents.covariances != Share::None),
            text("format", format),
            text("file", satellite.file),
            text("tag", satellite.tag),
            seconds("spacing_least_s", spacing.least_s),
            seconds("spacing_median_s", spacing.median_s),
            seconds("spacing_largest_s", spacing.largest_s),
            number("gaps", static_cast<std::int64_t>(spacing.gaps)),
            text("velocities", nameOf(contents.velocities)),
            text("covariances", nameOf(contents.covariances)),
            text("rules", rules)};
}

// A line of csv with one part of each field.
template <typename Part>
void printLine(const std::vector<Field>& fields, Part Field::*part, Output& output) {
    const char* separator = "";
    for (const Field& field : fields)
        output.print("{}{}", std::exchange(separator, ","), field.*part);
    output.write("\n");
}

void printCsv(const std::vector<SatelliteInfo>& rows, Output& output) {
    printLine(fieldsOf({}), &Field::name, output);
    for (const SatelliteInfo& row : rows)
        printLine(fieldsOf(row), &Field::csv, output);
}

void printJson(const std::vector<SatelliteInfo>& rows, const FileStatuses& files, Output& output) {
    output.write("{\"schema\":\"vorlandi.info/1\",\"satellites\":[");
    const char* rowSeparator = "\n";
    for (const SatelliteInfo& row : rows) {
        const char* separator = "{";
        output.write(std::exchange(rowSeparator, ",\n"));
        for (const Field& field : fieldsOf(row))
            output.print("{}\"{}\":{}", std::exchange(separator, ","), field.name, field.json);
        output.write("}");
    }
    output.write("\n]");
    printFiles(files, output);
    output.write("}\n");
}

void print(const std::vector<SatelliteInfo>& rows, const FileStatuses& files, Format format, Output& output) {
    inFormat(
        format, [&] { printTable(rows, output); }, [&] { printCsv(rows, output); },
        [&] { printJson(rows, files, output); });
}

ExitStatus runInfo(const InfoOptions& options, Console& console) {
    LoadResults results;
    const bool allLoaded = loadFiles(options.input, options.output, console, &results);
    std::vector<SatelliteInfo> rows;
    for (const SatelliteRecord& satellite : loadedSatellites(results))
        rows.push_back({satellite, results.origins[satellite.key()].format, rulesName(options.input.rules),
                        spacingOf(satellite), contentsOf(satellite)});
    if (rows.empty() && refusesEmptyFile(options.output, console)) return ExitStatus::Failure;
    Output output(options.output);
    if (options.summary)
        printSummary(rows, results.statuses, options.format, output);
    else
        print(rows, results.statuses, options.format, output);
    output.close();
    return statusOf(allLoaded);
}

}  // namespace

void addInfoCommand(CLI::App& application, Session& session) {
    CLI::App* const command = application.add_subcommand("info", "List the satellites in ephemeris files");
    const auto options = std::make_shared<InfoOptions>();
    addInput(*command, options->input);
    command->add_flag("--summary", options->summary, "One block for all satellites, a line for each frame and format");
    addFormat(*command, options->format);
    addOutput(*command, options->output);
    addThreads(*command, options->input);
    addVerbose(*command, session.console);
    command->footer(kInfoFooter);
    command->callback([options, &session] { session.status = runInfo(*options, session.console); });
}

}  // namespace vorlandi::cli
