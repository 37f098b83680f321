// The commands with their options as data, read from the parser: completion and manual are made from it.
#pragma once

#include <string>
#include <vector>

#include "CommandParser.hpp"

namespace vorlandi::cli {

struct OptionEntry {
    std::vector<std::string> names;    // with their dashes, the long one first; empty for a positional argument
    std::string value;                 // what follows it, such as FILE; empty for a flag
    std::vector<std::string> choices;  // of the value, if there are only a few
    std::string standard;              // the value that it has if it is not given
    std::string help;

    bool isList = false;  // of values with commas between them

    bool takesFile() const { return value == "FILE" || value == "DIR"; }
};

struct CommandEntry {
    std::string name;
    std::string description;
    std::string usage;  // the positional arguments, such as "FILE..."
    std::string footer;
    std::vector<OptionEntry> options;
    std::vector<std::string> choices;  // of its argument, if there are only a few
    bool takesFiles;                   // as arguments
};

// Without hidden commands.
std::vector<CommandEntry> commandsOf(CLI::App& application);

// A validator that accepts nothing but the choices shows them to completion by its name.
CLI::Validator withChoices(CLI::Validator validator, const std::vector<std::string>& choices);
CLI::Validator oneOf(const std::vector<std::string>& choices);

}  // namespace vorlandi::cli
