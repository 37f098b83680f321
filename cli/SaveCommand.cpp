#include "SaveCommand.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <memory>
#include <sstream>

#include "Library.hpp"
#include "Loading.hpp"
#include "Output.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kFooter =
    R"(A card file names the input file of every satellite; loading it loads them again. The names are written as they were
given, so load it from the same directory, or give absolute names. An existing file is replaced once the new one is
complete. The satellites are in the order of the store, not of loading.

If some of the files can't be loaded, or not completely, the card file is still written, with every satellite that was
loaded, and the exit status is 1. If none was loaded, nothing is written and an existing card file stays as it is.

Examples:
  vorlandi save my.card 81001_stk.e 81001_universal.txt
  vorlandi save all.card /data/ephemerides/*.e
  vorlandi save - fleet.card | less)";

struct SaveOptions {
    std::string output;
    std::vector<std::string> files;
};

// A file in memory that the library can open by a name.
class MemoryFile {
public:
    MemoryFile() : descriptor_(memfd_create("cards", MFD_CLOEXEC)) {
        if (descriptor_ < 0) throw OutputError("memory for the cards", errno);
    }
    ~MemoryFile() { close(descriptor_); }

    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string name() const { return fmt::format("/proc/self/fd/{}", descriptor_); }

private:
    int descriptor_;
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

// The library does not report a failed write. So it writes to memory, where little can fail, and the cards are counted.
std::string cardsOfStore() {
    const MemoryFile file;
    if (const int status = saveCards(file.name()); status != 0) throw OutputError(file.name(), status);
    std::string cards = contentsOf(file.name());
    if (!cards.ends_with('\n') || countFileCards(cards) != satelliteCount())
        throw OutputError("memory for the cards", "the cards could not be written completely");
    return cards;
}

ExitStatus runSave(const SaveOptions& options, Console& console) {
    const bool allLoaded = loadFiles(options.files, options.output, console);
    if (satelliteCount() == 0) {
        reportNothingToWrite(options.output, console);
        return ExitStatus::Failure;
    }
    const std::string cards = cardsOfStore();
    Output output(options.output);
    output.write(cards);
    output.close();
    return statusOf(allLoaded);
}

}  // namespace

void addSaveCommand(CLI::App& application, Session& session) {
    CLI::App* const command = application.add_subcommand("save", "Write a card file that names ephemeris files");
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
