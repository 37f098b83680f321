#include "SaveCommand.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "Loading.hpp"
#include "Output.hpp"
#include "Store.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kFooter =
    R"(A card file names the input file of every satellite; loading it loads them again. The names stay as they were
given, so load it from the same directory, or give absolute names. An existing file is replaced. The satellites stand
in the order of the store, not of loading.

Examples:
  vorlandi save my.card 81001_stk.e 81001_universal.txt
  vorlandi save all.card /data/ephemerides/*.e
  vorlandi save - fleet.card | less)";

struct SaveOptions {
    std::string output;
    std::vector<std::string> files;
};

class TemporaryFile {
public:
    TemporaryFile() : name_((std::filesystem::temp_directory_path() / "vorlandi-XXXXXX").string()) {
        const int descriptor = mkstemp(name_.data());
        if (descriptor < 0) throw OutputError(fmt::format("{}: {}", name_, std::strerror(errno)));
        close(descriptor);
    }
    ~TemporaryFile() { unlink(name_.c_str()); }

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& name() const { return name_; }

private:
    std::string name_;
};

std::string contentsOf(const std::string& name) {
    std::ostringstream contents;
    contents << std::ifstream(name, std::ios::binary).rdbuf();
    return contents.str();
}

std::ptrdiff_t countFileCards(const std::string& cards) {
    std::istringstream lines(cards);
    std::ptrdiff_t count = 0;
    for (std::string line; std::getline(lines, line);)
        count += line.starts_with("EPHFIL = ") ? 1 : 0;
    return count;
}

// The library does not notice a write that fails, so it writes to a file of ours, which is checked and then
// copied with every failure noticed.
std::string cardsOfStore() {
    const TemporaryFile file;
    if (const int status = saveCards(file.name()); status != 0)
        throw OutputError(fmt::format("{}: {}", file.name(), std::strerror(status)));
    std::string cards = contentsOf(file.name());
    if (!cards.ends_with('\n') || countFileCards(cards) != satelliteCount())
        throw OutputError(file.name() + ": the cards could not be written whole");
    return cards;
}

ExitStatus runSave(const SaveOptions& options, Console& console) {
    const bool all_loaded = loadFiles(options.files, options.output, console);
    if (satelliteCount() == 0) {
        console.error(options.output, "not written, there is nothing to save");
        return ExitStatus::kFailure;
    }
    const std::string cards = cardsOfStore();
    Output output(options.output);
    output.write(cards);
    output.close();
    return statusOf(all_loaded);
}

}  // namespace

void addSaveCommand(CLI::App& application, Session& session) {
    CLI::App* const command =
        application.add_subcommand("save", "Write a card file that names ephemeris files");
    const auto options = std::make_shared<SaveOptions>();
    command->add_option("OUT.card", options->output, "The card file to write; - is standard output")
        ->type_name("")
        ->required();
    addInputFiles(*command, options->files);
    addVerbose(*command, session.console);
    command->footer(kFooter);
    command->callback([options, &session] { session.status = runSave(*options, session.console); });
}

}  // namespace vorlandi::cli
