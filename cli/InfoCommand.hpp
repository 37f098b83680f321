#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

// Adds the command `info`, which lists what was loaded.
void addInfoCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
