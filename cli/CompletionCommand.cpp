#include "CompletionCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>

#include "CommandTable.hpp"
#include "ManualPage.hpp"
#include "Output.hpp"

namespace vorlandi::cli {
namespace {

using Commands = std::vector<CommandEntry>;

// A text in single quotes, as shells read it.
std::string inQuotes(std::string_view text) {
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

std::string wordsOf(const CommandEntry& command) {
    std::string words;
    for (const OptionEntry& option : command.options)
        words += fmt::format("{}{}", words.empty() ? "" : " ", fmt::join(option.names, " "));
    return words;
}

std::string namesOf(const Commands& commands) {
    std::string names;
    for (const CommandEntry& command : commands)
        names += command.name + " ";
    return names + "help";
}

// Offers words, file names or nothing. Without an offer bash completes file names, as the last line asks.
constexpr const char* kBashBegin = R"(# Completion of vorlandi for bash.
_vorlandi() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command=${COMP_WORDS[1]}
    local words='' files=yes list=no prefix=''
    if [[ $word == '=' ]]; then
        word=''
    elif [[ $before == '=' ]]; then
        before=${COMP_WORDS[COMP_CWORD-2]}
    fi
    COMPREPLY=()
    case "$((COMP_CWORD == 1)):$command:$before" in
)";
constexpr const char* kBashEnd = R"(    esac
    if [[ $list == yes && $word == *,* ]]; then
        prefix=${word%,*},
        word=${word##*,}
    fi
    if [[ -n $words ]]; then
        mapfile -t COMPREPLY < <(compgen -P "$prefix" -W "$words" -- "$word")
    elif [[ $files == no ]]; then
        compopt +o default 2>/dev/null
    fi
}
complete -o default -F _vorlandi vorlandi
)";

void printBash(const Commands& commands, Output& output) {
    output.write(kBashBegin);
    output.print("        1:*) words='{} --help --version' ;;\n", namesOf(commands));
    output.print("        0:help:*) words='{}' ;;\n", namesOf(commands));
    for (const CommandEntry& command : commands)
        for (const OptionEntry& option : command.options) {
            if (option.value.empty()) continue;
            std::string patterns;
            for (const std::string& name : option.names)
                patterns += fmt::format("{}0:{}:{}", patterns.empty() ? "" : " | ", command.name, name);
            const std::string words = fmt::format("{}", fmt::join(option.choices, " "));
            if (!words.empty())
                output.print("        {}) words='{}'{} ;;\n", patterns, words, option.isList ? " list=yes" : "");
            else
                output.print("        {}) {} ;;\n", patterns, option.takesFile() ? "return" : "files=no");
        }
    for (const CommandEntry& command : commands) {
        output.print("        0:{}:*)\n            if [[ $word == -* ]]; then words='{}'", command.name,
                     wordsOf(command));
        if (!command.choices.empty()) output.print("; else words='{}'", fmt::join(command.choices, " "));
        if (command.choices.empty() && !command.takesFiles) output.write("; else files=no");
        output.write("; fi ;;\n");
    }
    output.write(kBashEnd);
}

// In the arguments of _arguments, colons and brackets separate parts.
std::string zshText(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (std::string_view("[]:\\").find(c) != std::string_view::npos) result += '\\';
        result += c;
    }
    return result;
}

std::string zshValue(const OptionEntry& option) {
    if (option.value.empty()) return "";
    const std::string choices = fmt::format("{}", fmt::join(option.choices, " "));
    if (!choices.empty() && option.isList)
        return fmt::format(":{}:_values -s , value {}", zshText(option.value), choices);
    if (!choices.empty()) return fmt::format(":{}:({})", option.value, choices);
    return fmt::format(":{}:{}", zshText(option.value), option.takesFile() ? "_files" : " ");
}

void printZsh(const Commands& commands, Output& output) {
    output.write(
        "#compdef vorlandi\n# Completion of vorlandi for zsh.\n_vorlandi() {\n    local -a commands\n    commands=(\n");
    for (const CommandEntry& command : commands)
        output.print("        {}\n", inQuotes(command.name + ":" + zshText(command.description)));
    output.write("        'help:Describe a command'\n    )\n");
    output.write("    if (( CURRENT == 2 )); then\n        _describe command commands\n        return\n    fi\n");
    output.write("    local command=$words[2]\n    shift words\n    (( CURRENT-- ))\n    case $command in\n");
    output.write("        help) _describe command commands ;;\n");
    for (const CommandEntry& command : commands) {
        output.print("        {}) _arguments", command.name);
        for (const OptionEntry& option : command.options)
            for (const std::string& name : option.names)
                output.print(" \\\n            {}",
                             inQuotes(fmt::format("*{}[{}]{}", name, zshText(option.help), zshValue(option))));
        if (!command.choices.empty())
            output.print(" \\\n            {}", inQuotes(fmt::format("1:name:({})", fmt::join(command.choices, " "))));
        else if (command.takesFiles)
            output.print(" \\\n            {}", inQuotes("*:file:_files"));
        output.write(" ;;\n");
    }
    output.write("    esac\n}\n_vorlandi \"$@\"\n");
}

void printFish(const Commands& commands, Output& output) {
    output.write("# Completion of vorlandi for fish.\ncomplete -c vorlandi -f\n");
    for (const CommandEntry& command : commands)
        output.print("complete -c vorlandi -n __fish_use_subcommand -a {} -d {}\n", command.name,
                     inQuotes(command.description));
    output.print("complete -c vorlandi -n '__fish_seen_subcommand_from help' -a {}\n", inQuotes(namesOf(commands)));
    for (const CommandEntry& command : commands) {
        const std::string when = inQuotes("__fish_seen_subcommand_from " + command.name);
        if (command.takesFiles) output.print("complete -c vorlandi -n {} -F\n", when);
        if (!command.choices.empty())
            output.print("complete -c vorlandi -n {} -a '{}'\n", when, fmt::join(command.choices, " "));
        for (const OptionEntry& option : command.options) {
            output.print("complete -c vorlandi -n {}", when);
            for (const std::string& name : option.names)
                output.print(" {} {}", name.starts_with("--") ? "-l" : "-s", name.substr(name.find_first_not_of('-')));
            if (!option.choices.empty() && option.isList)
                output.print(" -x -a '(__fish_complete_list , \"string split , {}\")'", fmt::join(option.choices, ","));
            else if (!option.choices.empty())
                output.print(" -x -a '{}'", fmt::join(option.choices, " "));
            else if (!option.value.empty())
                output.write(option.takesFile() ? " -r -F" : " -x");
            output.print(" -d {}\n", inQuotes(option.help));
        }
    }
}

struct CompletionOptions {
    std::string kind;
    std::string output{kStandardOutput};
    std::string directory;
};

// The manual pages of the program and its commands.
void writeManuals(const std::string& directory, const Commands& commands, const std::string& footer) {
    const auto write = [&](const std::string& name, const auto& print) {
        Output output((std::filesystem::path(directory) / (name + ".1")).string());
        print(output);
        output.close();
    };
    write("vorlandi", [&](Output& output) { printManual(commands, footer, output); });
    for (const CommandEntry& command : commands)
        write("vorlandi-" + command.name, [&](Output& output) { printManual(command, output); });
}

ExitStatus runCompletion(const CompletionOptions& options, CLI::App& application) {
    const Commands commands = commandsOf(application);
    if (!options.directory.empty()) {
        if (options.kind != "man") throw UsageError("--directory", "is for manual pages only");
        writeManuals(options.directory, commands, application.get_footer());
        return ExitStatus::Success;
    }
    Output output(options.output);
    if (options.kind == "bash") printBash(commands, output);
    if (options.kind == "zsh") printZsh(commands, output);
    if (options.kind == "fish") printFish(commands, output);
    if (options.kind == "man") printManual(commands, application.get_footer(), output);
    output.close();
    return ExitStatus::Success;
}

}  // namespace

void addCompletionCommand(CLI::App& application, Session& session) {
    CLI::App* const command =
        application.add_subcommand("completion", "Print the completion for a shell, or the manual page");
    command->group("");
    const auto options = std::make_shared<CompletionOptions>();
    const std::vector<std::string> kinds{"bash", "zsh", "fish", "man"};
    command->add_option("KIND", options->kind, "bash, zsh, fish or man")
        ->type_name("")
        ->required()
        ->check(oneOf(kinds));
    addOutput(*command, options->output);
    command->add_option("--directory", options->directory, "man: write all pages into DIR, one for each command")
        ->type_name("DIR");
    command->callback([options, &application, &session] { session.status = runCompletion(*options, application); });
}

}  // namespace vorlandi::cli
