#include "ManualPage.hpp"

#include <sstream>

#include "vorlandi/vorlandi.hpp"

namespace vorlandi::cli {
namespace {

// Text as roff reads it: no character of it is an instruction, and a hyphen stays the sign that commands have.
std::string roff(std::string_view text) {
    std::string result;
    if (text.starts_with('.') || text.starts_with('\'')) result = "\\&";
    for (const char c : text) {
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else
            result += c;
    }
    return result;
}

// Indented lines stay as they are, the others are filled; an empty line ends a paragraph.
void printText(const std::string& text, Output& output) {
    std::istringstream lines(text);
    bool isIndented = false;
    bool isNew = true;
    for (std::string line; std::getline(lines, line);) {
        const bool indented = line.starts_with(' ');
        if (isIndented && !indented) output.write(".EE\n.RE\n");
        if (line.empty())
            isNew = true;
        else if (indented && !isIndented)
            output.write(".PP\n.RS 4\n.EX\n");
        else if (!indented && (isNew || isIndented))
            output.write(".PP\n");
        if (!line.empty()) {
            output.print("{}\n", roff(indented ? line.substr(line.find_first_not_of(' ')) : line));
            isNew = false;
        }
        isIndented = indented;
    }
    if (isIndented) output.write(".EE\n.RE\n");
}

void printOption(const OptionEntry& option, Output& output) {
    output.write(".TP\n");
    const char* separator = "";
    for (const std::string& name : option.names)
        output.print("{}\\fB{}\\fR", std::exchange(separator, ", "), roff(name));
    if (!option.value.empty()) output.print(" \\fI{}\\fR", roff(option.value));
    output.print("\n{}\n", roff(option.help));
    if (!option.standard.empty()) output.print("(default: {})\n", roff(option.standard));
}

void printCommand(const CommandEntry& command, Output& output) {
    output.print(".SS \"vorlandi {} [OPTIONS] {}\"\n{}\n", command.name, roff(command.usage),
                 roff(command.description + "."));
    for (const OptionEntry& option : command.options)
        printOption(option, output);
    printText(command.footer, output);
}

}  // namespace

void printManual(const std::vector<CommandEntry>& commands, const std::string& footer, Output& output) {
    output.print(".TH VORLANDI 1 \"\" \"{}\" \"User Commands\"\n", roff(version()));
    output.write(".SH NAME\nvorlandi \\- satellite states from ephemeris files\n");
    output.write(".SH SYNOPSIS\n\\fBvorlandi\\fR \\fICOMMAND\\fR [\\fIOPTIONS\\fR] \\fIARGUMENT\\fR...\n");
    output.write(".SH DESCRIPTION\n");
    for (const CommandEntry& command : commands)
        output.print(".TP\n\\fB{}\\fR\n{}\n", command.name, roff(command.description + "."));
    printText(footer, output);
    output.write(".SH COMMANDS\n");
    for (const CommandEntry& command : commands)
        printCommand(command, output);
}

}  // namespace vorlandi::cli
