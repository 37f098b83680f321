#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

// Adds the command `formats`, which lists the ephemeris formats.
void addFormatsCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
