// The hidden command `completion`, which prints what is installed beside the program: completion for three shells, and
// the manual page.
#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

// Call it after all other commands have been added: the output describes them.
void addCompletionCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
