#include "TimeCommand.hpp"

#include <CLI/CLI.hpp>
#include <memory>

#include "ForeignTexts.hpp"
#include "Output.hpp"
#include "TextTable.hpp"
#include "TimeForms.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kTimeFooter =
    R"(TEXT is UTC in any form that states --at takes; quote it if it holds a blank. Ds50UTC, Julian dates and Unix
seconds count 86,400 s a day, so that they don't tell a leap second from the second after it. TAI is ahead of UTC by
whole seconds from 1972 on, and counted as 10 s before. GPS time is TAI - 19 s; its weeks count from 1980-01-06 and
don't roll over. YYDDDHHMMSS.SSS means the years 1957 to 2056.

Examples:
  vorlandi time 2026-01-31T01:30
  vorlandi time --format json 26031013000.5 "31 Jan 2026 01:30:00")";

struct TimeOptions {
    std::vector<std::string> texts;
    std::string output{kStandardOutput};
    Format format = Format::Table;
};

using Forms = std::vector<TimeForm>;

void printTable(const std::vector<Forms>& times, Output& output) {
    const char* separator = "";
    for (const Forms& forms : times) {
        output.write(std::exchange(separator, "\n"));
        for (const TimeForm& form : forms)
            output.print("{:<26}  {}\n", form.title, form.text.empty() ? "-" : form.text);
    }
}

void printCsv(const std::vector<Forms>& times, Output& output) {
    const auto line = [&output](const Forms& forms, const auto& part) {
        const char* separator = "";
        for (const TimeForm& form : forms)
            output.print("{}{}", std::exchange(separator, ","), part(form));
        output.write("\n");
    };
    line(times.front(), [](const TimeForm& form) { return form.name; });
    for (const Forms& forms : times)
        line(forms, [](const TimeForm& form) { return form.text; });
}

void printJson(const std::vector<Forms>& times, Output& output) {
    output.write("{\"schema\":\"vorlandi.time/1\",\"times\":[");
    const char* timeSeparator = "\n";
    for (const Forms& forms : times) {
        const char* separator = "{";
        output.write(std::exchange(timeSeparator, ",\n"));
        for (const TimeForm& form : forms) {
            const std::string value = form.isNumber ? form.text : jsonText(form.text);
            output.print("{}\"{}\":{}", std::exchange(separator, ","), form.name, form.text.empty() ? "null" : value);
        }
        output.write("}");
    }
    output.write("\n]}\n");
}

// YYDDD.DDD has the form of a modified Julian date, which means another time.
void warnOfOtherMeaning(const std::string& text, Ds50 time, Console& console) {
    constexpr double kModifiedJulianDateOf1950 = 33281.0;
    if (!detail::may_be_modified_julian_date(detail::without_blanks_around(text))) return;
    const Ds50 other{std::stod(text) - kModifiedJulianDateOf1950};
    console.warning("", fmt::format("{} is read as YYDDD.DDD, {}; it looks like a modified Julian date, which means {}",
                                    text, isoTime(time.days), isoTime(other.days)));
}

ExitStatus runTime(const TimeOptions& options, Console& console) {
    std::vector<Forms> times;
    for (const std::string& text : options.texts) {
        const Ds50 time = timeOf("TEXT", text);
        if (!try_iso(time)) throw UsageError("TEXT", fmt::format("\"{}\" is outside the years 1900 to 2199", text));
        warnOfOtherMeaning(text, time, console);
        times.push_back(formsOf(time, hasSecond60(text, time)));
    }
    Output output(options.output);
    inFormat(
        options.format, [&] { printTable(times, output); }, [&] { printCsv(times, output); },
        [&] { printJson(times, output); });
    output.close();
    return ExitStatus::Success;
}

}  // namespace

void addTimeCommand(CLI::App& application, Session& session) {
    CLI::App* const command = application.add_subcommand("time", "Show a time in every form");
    const auto options = std::make_shared<TimeOptions>();
    command->add_option("TEXT", options->texts, "Times, UTC")->type_name("")->required();
    addLeapSeconds(*command);
    addFormat(*command, options->format);
    addOutput(*command, options->output);
    command->footer(kTimeFooter);
    command->callback([options, &session] { session.status = runTime(*options, session.console); });
}

}  // namespace vorlandi::cli
