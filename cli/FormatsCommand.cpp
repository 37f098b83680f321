#include "FormatsCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <memory>

#include "CommandTable.hpp"
#include "ForeignTexts.hpp"
#include "FormatsPage.hpp"
#include "Output.hpp"
#include "TextTable.hpp"

namespace vorlandi::cli {
namespace {

struct FormatLine {
    const char* name;  // as the read observer receives it
    const char* recognisedBy;
    const char* content;
};

constexpr FormatLine kFormats[] = {
    {"UNIVERSAL", "KQ_UNIVERSAL_VORLANDI_V", "the library's own text format, in fixed columns or with commas"},
    {"STK", "stk.v", "keywords, then time offsets with position and velocity; earth-centred frames"},
    {"V31", "EPHEMERIS FILE FOR SATELLITE", "fixed columns, km and m/s; ECI or EFG"},
    {"ECR", "CLASSIFICATION: UNCLASSIFIED", "earth-fixed positions, with or without velocities"},
    {"ITC", "decimal points and blanks in its columns", "fixed columns, ECI, with or without covariance"},
    {"DCE_BINARY", "a file name that ends in .DCE", "framed big-endian records, ECI"},
    {"DCE_TEXT", "a line with a satellite number alone", "the values of DCE binary as text, ECI"},
    {"LAUNCH", "Time(sec): Time", "seconds of the day of reading, earth-fixed, m and m/s"},
    {"EELV", "decimal points in six columns", "reference date, then seconds, ECI, feet"},
    {"LCH", "CLASSIFICATION:, UNCLASSIFIED in column 33", "dates with ECI states and a scalar"},
    {"OASYS", "a date with slashes and colons, or VERSION:", "dates with J2000 states"},
    {"OWNER", "a date and six decimal numbers", "dates with J2000 states, no header"},
    {"J2K", "SPEPH PREDICTION EPHEMERIS", "dates in groups with J2000 states"},
    {"VECTOR", "constants and SP or GP in its columns", "two lines per point, the frame by name"},
    {"SIMOBS", "constants and Z in column 80", "three lines per point, the frame by name"},
    {"OEM", "CCSDS_OEM_VERS", "CCSDS orbit ephemeris messages as text, with covariances; practical rules only"},
    {"MODIFIED_ITC", "created:", "dates with states and covariances of four lines a point; practical rules only"},
};

constexpr const char* kFormatsFooter =
    R"(A file's format is recognised by its lines, DCE_BINARY by the file name. docs/formats.md says what a producer
has to write, and by which rules. OEM and MODIFIED_ITC are read by the practical rules, which this tool takes unless
--fixed-rules is given.

Examples:
  vorlandi formats
  vorlandi formats OEM    describes the format
  vorlandi info FILE      shows the format of a file)";

struct FormatsOptions {
    std::string name;
    std::string output{kStandardOutput};
    Format format = Format::Table;
};

void printTable(Output& output) {
    TextTable table({Align::Left, Align::Left, Align::Left}, {"format", "recognised by", "content"});
    for (const FormatLine& line : kFormats)
        table.addRow({line.name, line.recognisedBy, line.content});
    table.print(output);
}

void printCsv(Output& output) {
    output.write("format,recognised_by,content\n");
    for (const FormatLine& line : kFormats)
        output.print("{},{},{}\n", line.name, csvField(line.recognisedBy), csvField(line.content));
}

void printJson(Output& output) {
    output.write("{\"schema\":\"vorlandi.formats/1\",\"formats\":[");
    const char* separator = "\n";
    for (const FormatLine& line : kFormats)
        output.print("{}{{\"format\":{},\"recognised_by\":{},\"content\":{}}}", std::exchange(separator, ",\n"),
                     jsonText(line.name), jsonText(line.recognisedBy), jsonText(line.content));
    output.write("\n]}\n");
}

std::vector<std::string> namesOfFormats() {
    std::vector<std::string> names;
    for (const FormatLine& line : kFormats)
        names.emplace_back(line.name);
    return names;
}

std::string inCapitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

// The section of the page of formats that is about this one: from its heading to the next of the same level.
std::string_view sectionOf(const std::string& format) {
    const std::string_view page = kFormatsPage;
    const auto isNamed = [&format](const FormatLine& line) { return line.name == format; };
    const auto begin = page.find("\n## " + format + "\n");
    if (std::none_of(std::begin(kFormats), std::end(kFormats), isNamed) || begin == std::string_view::npos)
        throw UsageError("NAME", fmt::format("there is no format {}; vorlandi formats lists them", format));
    return page.substr(begin + 1, page.find("\n## ", begin + 1) - begin);
}

ExitStatus runFormats(const FormatsOptions& options) {
    const std::string_view section = options.name.empty() ? "" : sectionOf(inCapitals(options.name));
    Output output(options.output);
    if (!options.name.empty())
        output.write(section);
    else if (options.format == Format::Csv)
        printCsv(output);
    else if (options.format == Format::Json)
        printJson(output);
    else
        printTable(output);
    output.close();
    return ExitStatus::Success;
}

}  // namespace

void addFormatsCommand(CLI::App& application, Session& session) {
    CLI::App* const command = application.add_subcommand("formats", "List the ephemeris formats, or describe one");
    const auto options = std::make_shared<FormatsOptions>();
    command->add_option("NAME", options->name, "Describe this format: what a producer has to write, with an example")
        ->type_name("")
        ->check(withChoices(CLI::Validator([](const std::string&) { return std::string(); }, ""), namesOfFormats()));
    addFormat(*command, options->format);
    addOutput(*command, options->output);
    command->footer(kFormatsFooter);
    command->callback([options, &session] { session.status = runFormats(*options); });
}

}  // namespace vorlandi::cli
