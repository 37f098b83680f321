#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

// Adds the command `save`, which writes a card file that names the files that were loaded.
void addSaveCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
