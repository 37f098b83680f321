#include "InfoCommand.hpp"

#include <memory>

#include "Loading.hpp"
#include "Output.hpp"
#include "Store.hpp"
#include "TextTable.hpp"
#include "Texts.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kFooter =
    R"(The mean spacing is in seconds. The tag is the text that a card file gives the satellite it names next. A
second satellite of the same number, frame and first time is refused as a duplicate. Names in a card file are relative
to the current directory; files that can't be opened are passed over.

Examples:
  vorlandi info 81001_stk.e
  vorlandi info --verbose fleet.card
  vorlandi info --format json *.e | jq '.satellites[].satellite')";

struct InfoOptions {
    std::vector<std::string> files;
    std::string output{kStandardOutput};
    Format format = Format::kTable;
};

struct Row {
    Satellite satellite;
    std::string format;
};

std::string timeText(const Satellite& satellite, double ds50_utc) {
    return satellite.point_count > 0 ? isoTime(ds50_utc) : "";
}

void printTable(const std::vector<Row>& rows, Output& output) {
    if (rows.empty()) return;
    using enum Align;
    TextTable table({kRight, kRight, kLeft, kRight, kLeft, kLeft, kRight, kLeft, kLeft, kLeft, kLeft},
                    {"satellite", "key", "frame", "points", "first (UTC)", "last (UTC)", "spacing (s)",
                     "covariance", "format", "file", "tag"});
    for (const auto& [satellite, format] : rows) {
        const auto spacing = satellite.meanSpacing_s();
        table.addRow({std::to_string(satellite.number), std::to_string(satellite.key), satellite.frame(),
                      std::to_string(satellite.point_count), timeText(satellite, satellite.span.start),
                      timeText(satellite, satellite.span.end),
                      spacing ? fmt::format("{:.3f}", *spacing) : "-",
                      carriesCovariance(satellite) ? "yes" : "no", format, satellite.file, satellite.tag});
    }
    table.print(output);
}

void printCsv(const std::vector<Row>& rows, Output& output) {
    output.write("satellite,key,frame,points,first_utc,last_utc,mean_spacing_s,covariance,format,file,tag\n");
    for (const auto& [satellite, format] : rows) {
        const auto spacing = satellite.meanSpacing_s();
        output.print("{},{},{},{},{},{},{},{},{},{},{}\n", satellite.number, satellite.key, satellite.frame(),
                     satellite.point_count, timeText(satellite, satellite.span.start),
                     timeText(satellite, satellite.span.end), spacing ? fmt::format("{}", *spacing) : "",
                     carriesCovariance(satellite) ? "yes" : "no", format, csvField(satellite.file),
                     csvField(satellite.tag));
    }
}

// A satellite without points has no times; one outside of 1900 to 2199 has no text.
std::string jsonTime(const Satellite& satellite, double ds50_utc) {
    const std::string text = timeText(satellite, ds50_utc);
    return text.empty() ? "null" : jsonText(text);
}

void printJson(const std::vector<Row>& rows, Output& output) {
    const char* separator = "\n";
    output.write("{\"satellites\":[");
    for (const auto& [satellite, format] : rows) {
        const auto spacing = satellite.meanSpacing_s();
        output.print(
            "{}{{\"satellite\":{},\"key\":\"{}\",\"frame\":{},\"points\":{},\"first_utc\":{},"
            "\"last_utc\":{},\"mean_spacing_s\":{},\"covariance\":{},\"format\":{},\"file\":{},\"tag\":{}}}",
            separator, satellite.number, satellite.key, jsonText(satellite.frame()), satellite.point_count,
            jsonTime(satellite, satellite.span.start), jsonTime(satellite, satellite.span.end),
            spacing ? fmt::format("{}", *spacing) : "null", carriesCovariance(satellite), jsonText(format),
            jsonText(satellite.file), jsonText(satellite.tag));
        separator = ",\n";
    }
    output.write("\n]}\n");
}

ExitStatus runInfo(const InfoOptions& options, Console& console) {
    Formats formats;
    const bool all_loaded = loadFiles(options.files, options.output, console, &formats);
    std::vector<Row> rows;
    for (const Satellite& satellite : loadedSatellites())
        rows.push_back({satellite, formats[std::to_string(satellite.key)]});
    Output output(options.output);
    switch (options.format) {
        case Format::kTable:
            printTable(rows, output);
            break;
        case Format::kCsv:
            printCsv(rows, output);
            break;
        case Format::kJson:
            printJson(rows, output);
            break;
    }
    output.close();
    return statusOf(all_loaded);
}

}  // namespace

void addInfoCommand(CLI::App& application, Session& session) {
    CLI::App* const command = application.add_subcommand("info", "List the satellites in ephemeris files");
    const auto options = std::make_shared<InfoOptions>();
    addInputFiles(*command, options->files);
    addFormat(*command, options->format);
    addOutput(*command, options->output);
    addVerbose(*command, session.console);
    command->footer(kFooter);
    command->callback([options, &session] { session.status = runInfo(*options, session.console); });
}

}  // namespace vorlandi::cli
