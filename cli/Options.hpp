// What the commands have in common: exit statuses, shared options and the session that a command runs in.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "Console.hpp"

namespace vorlandi::cli {

enum class ExitStatus { kSuccess = 0, kFailure = 1, kUsage = 2 };

// Anything that went wrong makes the whole run a failure.
inline ExitStatus statusOf(bool all_well) { return all_well ? ExitStatus::kSuccess : ExitStatus::kFailure; }

struct Session {
    Console console;
    ExitStatus status = ExitStatus::kSuccess;
};

// Thrown by a command for what only it can find wrong with its arguments: option and reason.
using UsageError = CLI::ValidationError;

enum class Format { kTable, kCsv, kJson };

void addInputFiles(CLI::App& command, std::vector<std::string>& files);
void addOutput(CLI::App& command, std::string& output);
void addFormat(CLI::App& command, Format& format);
void addVerbose(CLI::App& command, Console& console);

}  // namespace vorlandi::cli
