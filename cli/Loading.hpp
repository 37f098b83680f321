// Loading of the input files. Everything that goes wrong is reported.
#pragma once

#include <string>

#include "Console.hpp"
#include "LoadListener.hpp"
#include "Options.hpp"

namespace vorlandi::cli {

// True if every file was read whole and at least one satellite of each was stored. What could be loaded stays loaded.
// Throws a UsageError if the output of the command would overwrite one of the files or a file that their cards name.
// Fills `results` if it is given.
bool loadFiles(const InputOptions& input, const std::string& output, Console& console, LoadResults* results = nullptr);

// Throws the UsageError of a --number that no satellite needs.
[[noreturn]] void refuseNumber();

// The same for the content of one file in memory, which may be packed.
bool loadBytes(const std::string& content, const std::string& name, const InputOptions& input, Console& console,
               LoadResults& results);

}  // namespace vorlandi::cli
