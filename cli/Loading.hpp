// Loading of the input files, with everything that goes wrong reported.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "Console.hpp"

namespace vorlandi::cli {

// Name of the format of each satellite, by its key in digits.
using Formats = std::map<std::string, std::string>;

// True if every file was read whole and gave at least one satellite. What could be loaded stays loaded.
// Throws a UsageError if the output of the command would overwrite one of the files or what their cards name.
// Fills `formats` if it is given.
bool loadFiles(const std::vector<std::string>& files, const std::string& output, Console& console,
               Formats* formats = nullptr);

}  // namespace vorlandi::cli
