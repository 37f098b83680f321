#include "Options.hpp"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <functional>
#include <map>

#include "CommandTable.hpp"
#include "Output.hpp"

namespace vorlandi::cli {
namespace {

using FormatsByName = std::map<std::string, Format>;

const FormatsByName& formatsByName(Offered offered) {
    static const FormatsByName formats = {{"table", Format::Table}, {"csv", Format::Csv}, {"json", Format::Json}};
    static const FormatsByName all = {
        {"table", Format::Table}, {"csv", Format::Csv}, {"json", Format::Json}, {"jsonl", Format::Jsonl}};
    static const FormatsByName few = {{"table", Format::Table}, {"json", Format::Json}};
    return offered == Offered::All ? all : offered == Offered::TableAndJson ? few : formats;
}

std::vector<std::string> namesOf(const FormatsByName& formats) {
    std::vector<std::string> names;
    for (const auto& [name, format] : formats)
        names.push_back(name);
    return names;
}

// In any of the forms that a number has in C++.
CLI::Validator finite(const std::function<bool(double)>& isRight, const std::string& wanted) {
    return CLI::Validator(
        [=](const std::string& text) {
            double value = 0.0;
            const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
            const bool isNumber = error == std::errc() && end == text.data() + text.size() && std::isfinite(value);
            return isNumber && isRight(value) ? std::string() : text + " is not " + wanted;
        },
        "");
}

void useLeapSeconds(const std::string& file) {
    try {
        load_leap_seconds(file);
    } catch (const Error& error) {
        throw UsageError("--leap-seconds", error.what());
    }
}

}  // namespace

Ds50 timeOf(const std::string& option, const std::string& text) {
    try {
        return parse(text);
    } catch (const Error& error) {
        throw UsageError(option, error.what());
    }
}

const char* rulesName(Rules rules) { return rules == Rules::Practical ? "practical" : "fixed"; }

void reportNothingToWrite(const std::string& output, Console& console) {
    console.error(output, "not written: there is nothing to write");
}

bool refusesEmptyFile(const std::string& output, Console& console) {
    if (output == kStandardOutput) return false;
    reportNothingToWrite(output, console);
    return true;
}

void addInput(CLI::App& command, InputOptions& input) {
    command
        .add_option(
            "FILE", input.files,
            "Ephemeris files, card files that name ephemeris files, and files packed with gzip, xz, zstd, zip or "
            "tar; - is standard input, packed or not")
        ->type_name("")
        ->required();
    addInputRules(command, input);
}

void addInputRules(CLI::App& command, InputOptions& input) {
    command.add_flag_callback(
        "--fixed-rules", [&input] { input.rules = Rules::Fixed; },
        "Read by the fixed rules instead of the practical ones (docs/formats.md compares them)");
    command
        .add_option("--stdin-name", input.stdinName,
                    "The name of standard input, from which some formats take the satellite number")
        ->type_name("NAME")
        ->capture_default_str();
    command
        .add_option("--number", input.number, "The number of a satellite that has none in its file or the file's name")
        ->type_name("N")
        ->check(CLI::Range(0, 999999999).description(""));
    addLeapSeconds(command);
    command
        .add_option("--max-member", input.mostMemberBytes,
                    "Refuse files in archives, and unpacked ones, that are larger than SIZE: bytes, or with K, M or G")
        ->type_name("SIZE")
        ->default_str("1G")
        ->transform(CLI::AsSizeValue(false).description(""))
        ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 40).description(""));
}

void addLeapSeconds(CLI::App& command) {
    command
        .add_option_function<std::string>(
            "--leap-seconds", useLeapSeconds,
            "Use the leap seconds of this leap-seconds.list file, as the IERS publishes it")
        ->type_name("FILE");
}

void addThreads(CLI::App& command, InputOptions& input, const char* help) {
    command.add_option("-j", input.threads, help)
        ->type_name("N")
        ->capture_default_str()
        ->check(wholeNumber() & CLI::Range(1U, 1024U).description(""));
}

CLI::Validator finiteAtLeast(double least) {
    return finite([least](double value) { return value >= least; }, fmt::format("a finite number, {} or more", least));
}

CLI::Validator finiteAbove(double limit) {
    return finite([limit](double value) { return value > limit; }, fmt::format("a finite number above {}", limit));
}

CLI::Validator finiteBetween(double least, double largest) {
    return finite([=](double value) { return value >= least && value <= largest; },
                  fmt::format("a number from {} to {}", least, largest));
}

CLI::Validator wholeNumber() {
    return CLI::Validator(
        [](const std::string& text) {
            const bool isWhole = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
            return isWhole ? std::string() : text + " is not a whole number, 0 or more";
        },
        "");
}

void addMetres(CLI::App& command, const std::string& option, double& value_m, const std::string& help) {
    command.add_option(option, value_m, help)->type_name("METRES")->capture_default_str()->check(finiteAbove(0.0));
}

void addOutput(CLI::App& command, std::string& output) {
    command
        .add_option("-o,--output", output,
                    "Write to FILE, which is replaced only when the output is complete; - is standard output")
        ->type_name("FILE")
        ->capture_default_str();
}

void addFormat(CLI::App& command, Format& format, Offered offered) {
    command
        .add_option_function<std::string>(
            "--format", [&format](const std::string& name) { format = formatsByName(Offered::All).at(name); },
            offered == Offered::All            ? "table, csv, json, or jsonl: a line of json for each state"
            : offered == Offered::TableAndJson ? "table or json"
                                               : "table, csv or json")
        ->type_name("FORMAT")
        ->default_str("table")
        ->check(withChoices(CLI::IsMember(&formatsByName(offered)).description(""), namesOf(formatsByName(offered))));
}

void addVerbose(CLI::App& command, Console& console) {
    command.add_flag_callback(
        "-v,--verbose", [&console] { console.setVerbose(true); },
        "Show what the library reports while loading, and all errors, not only ten of a kind");
}

}  // namespace vorlandi::cli
