// The commands of the tool, for the program `vorlandi` and for `python3 -m vorlandi`.
#pragma once

namespace vorlandi::cli {

// Runs a command line, whose first text is the name of the program, and returns the exit status. It is the main work of
// its process: it takes over the signals of broken pipes, the standard streams that are closed, and the store.
int run(int argc, const char* const* argv);

}  // namespace vorlandi::cli
