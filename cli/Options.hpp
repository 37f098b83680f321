// Shared by the commands: exit statuses, options and the session that a command runs in.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "CommandParser.hpp"
#include "Console.hpp"
#include "SatelliteRecord.hpp"
#include "archives/Loading.hpp"

namespace vorlandi::cli {

// Of check, diff and approaches: found nothing, found something, wrong usage, could not look.
enum class ExitStatus { Success = 0, Failure = 1, Usage = 2, Unreadable = 3 };

inline ExitStatus statusOf(bool allWell) { return allWell ? ExitStatus::Success : ExitStatus::Failure; }

struct Session {
    Console console;
    ExitStatus status = ExitStatus::Success;
    ExitStatus unwritten = ExitStatus::Failure;  // if the output can't be written
};

// Thrown for a fault in the arguments that only the command itself can detect: option and reason.
using UsageError = CLI::ValidationError;

inline constexpr const char* kOneStandardInput = "- (standard input) can be given only once";

enum class Format { Table, Csv, Json, Jsonl };

// The time that the text of an option means. Throws a UsageError.
Ds50 timeOf(const std::string& option, const std::string& text);

void reportNothingToWrite(const std::string& output, Console& console);

// An empty output does not replace a file: reports it and returns true, unless the output is standard output.
bool refusesEmptyFile(const std::string& output, Console& console);

const char* rulesName(Rules rules);

// What is loaded, and how.
struct InputOptions {
    std::vector<std::string> files;
    Rules rules = Rules::Practical;
    Keys keys = Keys::Ordinary;          // with keys of their own equal satellites are all kept
    std::optional<std::int32_t> number;  // of the satellite of a file that has none
    bool numberMustApply = true;         // or all satellites may have numbers already
    std::string stdinName = "stdin";     // in messages, and where some formats take the satellite number from
    unsigned threads = 1;                // large files are read by several if there are more; the result is the same
    std::uint64_t mostMemberBytes = static_cast<std::uint64_t>(archives::kMostMemberBytes);
};

inline constexpr std::string_view kStandardInput = "-";

// The files and how they are read; addInputRules alone for a command with other file arguments.
void addInput(CLI::App& command, InputOptions& input);
void addInputRules(CLI::App& command, InputOptions& input);
void addLeapSeconds(CLI::App& command);
// -j; `help` says what the command does with threads.
void addThreads(CLI::App& command, InputOptions& input,
                const char* help = "Read large files with several threads, if N is above 1");
void addOutput(CLI::App& command, std::string& output);

// An option whose value is a length above 0.
void addMetres(CLI::App& command, const std::string& option, double& value_m, const std::string& help);

// Validators of finite numbers, and of whole numbers from 0: CLI11's own accept NaN and -1.
CLI::Validator finiteAtLeast(double least);
CLI::Validator finiteAbove(double limit);
CLI::Validator finiteBetween(double least, double largest);
CLI::Validator wholeNumber();
// Calls the writer for the format. A command without JSON lines writes JSON instead.
template <typename Table, typename Csv, typename Json>
void inFormat(Format format, const Table& table, const Csv& csv, const Json& json) {
    switch (format) {
        case Format::Table:
            return table();
        case Format::Csv:
            return csv();
        case Format::Json:
        case Format::Jsonl:
            return json();
    }
}
// All formats but JsonLines (one line per item), all, or only table and JSON.
enum class Offered { WithoutJsonl, All, TableAndJson };
void addFormat(CLI::App& command, Format& format, Offered offered = Offered::WithoutJsonl);
void addVerbose(CLI::App& command, Console& console);

}  // namespace vorlandi::cli
