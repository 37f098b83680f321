// The manual page vorlandi(1), made from the options and the help texts.
#pragma once

#include <string>
#include <vector>

#include "CommandTable.hpp"
#include "Output.hpp"

namespace vorlandi::cli {

// `footer` is the text about all commands.
void printManual(const std::vector<CommandEntry>& commands, const std::string& footer, Output& output);

}  // namespace vorlandi::cli
