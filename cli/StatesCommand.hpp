#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

// Adds the command `states`, which prints states of the satellites that were loaded.
void addStatesCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
