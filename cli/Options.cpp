#include "Options.hpp"

#include <map>

namespace vorlandi::cli {
namespace {

const std::map<std::string, Format>& formatsByName() {
    static const std::map<std::string, Format> formats = {
        {"table", Format::kTable}, {"csv", Format::kCsv}, {"json", Format::kJson}};
    return formats;
}

}  // namespace

void addInputFiles(CLI::App& command, std::vector<std::string>& files) {
    command.add_option("FILE", files, "Ephemeris files, or card files that name ephemeris files")
        ->type_name("")
        ->required();
}

void addOutput(CLI::App& command, std::string& output) {
    command.add_option("-o,--output", output, "Write to FILE; - is standard output")
        ->type_name("FILE")
        ->capture_default_str();
}

void addFormat(CLI::App& command, Format& format) {
    command
        .add_option_function<std::string>(
            "--format", [&format](const std::string& name) { format = formatsByName().at(name); },
            "table, csv or json")
        ->type_name("FORMAT")
        ->default_str("table")
        ->check(CLI::IsMember(&formatsByName()).description(""));
}

void addVerbose(CLI::App& command, Console& console) {
    command.add_flag_callback(
        "-v,--verbose", [&console] { console.setVerbose(true); },
        "Show what the library reports while loading");
}

}  // namespace vorlandi::cli
