// The command `diff`: how the satellites of two files differ.
#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

void addDiffCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
