// The manual pages vorlandi(1) and vorlandi-COMMAND(1), made from the options and the help texts.
#pragma once

#include <string>
#include <vector>

#include "CommandTable.hpp"
#include "Output.hpp"

namespace vorlandi::cli {

// The page about the program. `footer` is the text about all commands.
void printManual(const std::vector<CommandEntry>& commands, const std::string& footer, Output& output);

void printManual(const CommandEntry& command, Output& output);

}  // namespace vorlandi::cli
