#include "CommandTable.hpp"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>

namespace vorlandi::cli {
namespace {

constexpr char kBetweenChoices = '|';

std::vector<std::string> choicesOf(CLI::Option& option) {
    std::vector<std::string> choices;
    try {
        const std::string names = option.get_validator(0)->get_name();
        for (std::size_t begin = 0; begin < names.size();) {
            const std::size_t end = std::min(names.find(kBetweenChoices, begin), names.size());
            choices.push_back(names.substr(begin, end - begin));
            begin = end + 1;
        }
    } catch (const CLI::OptionNotFound&) {
        // There is no validator: the option accepts every value.
    }
    return choices;
}

OptionEntry entryOf(CLI::Option& option) {
    OptionEntry entry;
    for (const std::string& name : option.get_lnames())
        entry.names.push_back("--" + name);
    for (const std::string& name : option.get_snames())
        entry.names.push_back("-" + name);
    const bool takesValue = option.get_items_expected_max() > 0;
    entry.value = takesValue ? option.get_type_name() : "";
    entry.choices = choicesOf(option);
    entry.isList = option.get_delimiter() != '\0';
    entry.standard = takesValue ? option.get_default_str() : "";
    entry.help = option.get_description();
    return entry;
}

CommandEntry entryOf(CLI::App& command) {
    CommandEntry entry{command.get_name(), command.get_description(), "", command.get_footer(), {}, {}, false};
    for (CLI::Option* const option : command.get_options()) {
        if (!option->get_positional()) {
            entry.options.push_back(entryOf(*option));
            continue;
        }
        const std::string name = option->get_name(true);
        const bool repeats = option->get_items_expected_max() > 1;
        const std::string argument = name + (repeats ? "..." : "");
        entry.usage += (entry.usage.empty() ? "" : " ") + (option->get_required() ? argument : "[" + argument + "]");
        entry.choices = choicesOf(*option);
        entry.takesFiles = entry.takesFiles || (name != "TEXT" && entry.choices.empty());
    }
    return entry;
}

}  // namespace

std::vector<CommandEntry> commandsOf(CLI::App& application) {
    std::vector<CommandEntry> commands;
    for (CLI::App* const command : application.get_subcommands([](CLI::App* app) { return !app->get_group().empty(); }))
        commands.push_back(entryOf(*command));
    return commands;
}

CLI::Validator withChoices(CLI::Validator validator, const std::vector<std::string>& choices) {
    return validator.name(fmt::format("{}", fmt::join(choices, std::string(1, kBetweenChoices))));
}

CLI::Validator oneOf(const std::vector<std::string>& choices) {
    return withChoices(CLI::IsMember(choices).description(""), choices);
}

}  // namespace vorlandi::cli
