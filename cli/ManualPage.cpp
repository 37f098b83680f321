#include "ManualPage.hpp"

#include <algorithm>
#include <sstream>

#include "vorlandi/vorlandi.hpp"

namespace vorlandi::cli {
namespace {

// Escapes a text for roff: none of it is an instruction, and hyphens stay as commands need them.
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

// Indented lines and lines of tables stay as they are, others are filled; an empty line ends a paragraph.
void printText(const std::string& text, Output& output) {
    std::istringstream lines(text);
    bool isKept = false;
    bool isNew = true;
    for (std::string line; std::getline(lines, line);) {
        const bool keeps = line.find("  ") != std::string::npos;
        if (isKept && !keeps) output.write(".EE\n.RE\n");
        if (line.empty())
            isNew = true;
        else if (keeps && !isKept)
            output.write(".PP\n.RS 4\n.EX\n");
        else if (!keeps && (isNew || isKept))
            output.write(".PP\n");
        if (!line.empty()) {
            output.print("{}\n", roff(keeps ? line.substr(line.find_first_not_of(' ')) : line));
            isNew = false;
        }
        isKept = keeps;
    }
    if (isKept) output.write(".EE\n.RE\n");
}

// The parts of a help text that have sections of their own.
struct HelpText {
    std::string description;
    std::string exitStatus =
        "0 all is well; 1 something could not be loaded, answered or written; 2 wrong usage; 3 there is "
        "not enough memory.\n";
    std::string examples;
};

HelpText partsOf(const std::string& footer) {
    constexpr std::string_view kExitStatus = "Exit status: ";
    constexpr std::string_view kExamples = "Examples:";
    HelpText parts;
    std::string* part = &parts.description;
    std::istringstream lines(footer);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(kExitStatus)) {
            part = &parts.exitStatus;
            part->clear();
            line.erase(0, kExitStatus.size());
        } else if (line.starts_with(kExamples)) {
            part = &parts.examples;
            line.clear();
        } else if (line.empty() && part == &parts.exitStatus) {
            part = &parts.description;
        }
        *part += line + "\n";
    }
    return parts;
}

// What affects all commands.
constexpr const char* kEnvironment = R"(.SH ENVIRONMENT
.TP
\fBNO_COLOR\fR
If set and not empty, messages have no colour. The same holds for \fBTERM\fR=dumb.
.TP
\fBSOURCE_DATE_EPOCH\fR
Seconds since 1970: the creation date in converted files, instead of the current time.
)";

void printHead(const std::string& name, const std::string& description, Output& output) {
    std::string title = name;
    std::ranges::transform(title, title.begin(),
                           [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    output.print(".TH {} 1 \"\" \"{}\" \"User Commands\"\n", roff(title), roff(version()));
    output.print(".SH NAME\n{} \\- {}\n", roff(name), roff(description));
}

void printTail(const HelpText& help, Output& output) {
    output.write(".SH EXIT STATUS\n");
    printText(help.exitStatus, output);
    output.write(kEnvironment);
    output.write(".SH EXAMPLES\n");
    printText(help.examples, output);
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

}  // namespace

void printManual(const std::vector<CommandEntry>& commands, const std::string& footer, Output& output) {
    const HelpText help = partsOf(footer);
    printHead("vorlandi", "satellite states from ephemeris files", output);
    output.write(".SH SYNOPSIS\n\\fBvorlandi\\fR \\fICOMMAND\\fR [\\fIOPTIONS\\fR] \\fIARGUMENT\\fR...\n");
    output.write(".SH DESCRIPTION\n");
    for (const CommandEntry& command : commands)
        output.print(".TP\n\\fBvorlandi\\-{}\\fR(1)\n{}\n", command.name, roff(command.description + "."));
    printText(help.description, output);
    printTail(help, output);
}

void printManual(const CommandEntry& command, Output& output) {
    const HelpText help = partsOf(command.footer);
    std::string description = command.description;
    if (description[0] >= 'A' && description[0] <= 'Z') description[0] = static_cast<char>(description[0] - 'A' + 'a');
    printHead("vorlandi-" + command.name, description, output);
    output.print(".SH SYNOPSIS\n\\fBvorlandi {}\\fR [\\fIOPTIONS\\fR] \\fI{}\\fR\n", command.name, roff(command.usage));
    output.write(".SH DESCRIPTION\n");
    printText(help.description, output);
    output.write(".SH OPTIONS\n");
    for (const OptionEntry& option : command.options)
        printOption(option, output);
    printTail(help, output);
    output.write(".SH SEE ALSO\n.BR vorlandi (1)\n");
}

}  // namespace vorlandi::cli
