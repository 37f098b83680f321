// Loading of the input files, with everything that goes wrong reported.
#pragma once

#include <string>
#include <vector>

#include "Console.hpp"

namespace vorlandi::cli {

// True if every file was read whole and gave at least one satellite. What could be loaded stays loaded.
// Throws a UsageError if the output of the command would overwrite one of the files or what their cards name.
bool loadFiles(const std::vector<std::string>& files, const std::string& output, Console& console);

}  // namespace vorlandi::cli
