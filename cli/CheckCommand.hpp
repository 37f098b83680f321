// The command `check`: what one should know about ephemeris files before trusting them.
#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

void addCheckCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
