#include "SaveCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>

#include "Loading.hpp"
#include "Output.hpp"
#include "SatelliteRecord.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kSaveFooter =
    R"(A card file names each input file once, in the order of loading; loading it loads the same satellites. The names
are written as they were given, so load it from the same directory; with --absolute they are written so that the card
file loads from any directory. An existing file is replaced once the new one is complete.

The card file has to be loaded by the rules it was made by. A comment in it names them: files saved with --fixed-rules
are loaded with --fixed-rules.

If some of the files can't be loaded, or not completely, the card file is still written, with every file that a
satellite was loaded from, and the exit status is 1. Satellites from standard input or from a packed file have no file
that a card can name: they are listed and left out, and the exit status is 1. If there is no card to write, nothing is
written and an existing card file stays as it is.

Examples:
  vorlandi save my.card 81001_stk.e 81001_universal.txt
  vorlandi save all.card /data/ephemerides/*.e
  vorlandi save - fleet.card | less)";

struct SaveOptions {
    std::string output;
    InputOptions input;
    bool absolute = false;
};

// A file and the tag of its satellites.
struct Card {
    std::string file;
    std::string tag;
};

// In the order of loading. Tags that differ within a file are from the file itself and need no card.
std::vector<Card> cardsOf(const std::vector<SatelliteRecord>& satellites) {
    std::vector<Card> cards;
    std::map<std::string, std::size_t> byFile;
    for (const SatelliteRecord& satellite : satellites) {
        const auto [found, isNew] = byFile.try_emplace(satellite.file, cards.size());
        if (isNew) {
            cards.push_back({satellite.file, satellite.tag});
        } else if (Card& card = cards[found->second]; card.tag != satellite.tag) {
            card.tag.clear();
        }
    }
    return cards;
}

// By the practical rules a name is searched next to the card file first, where another file may have it.
std::string nameOnCard(const std::string& file, const SaveOptions& options) {
    namespace fs = std::filesystem;
    if (options.absolute) return fs::absolute(file).lexically_normal().string();
    if (options.input.rules == Rules::Fixed || options.output == kStandardOutput) return file;
    std::error_code error;
    const fs::path beside = fs::path(options.output).parent_path() / file;
    const bool meansAnother = fs::exists(beside, error) && !fs::equivalent(beside, file, error);
    return meansAnother ? fs::absolute(file).string() : file;
}

std::string textOf(const std::vector<Card>& cards, const SaveOptions& options) {
    std::string text =
        fmt::format("* External ephemeris input files, to be loaded by the {} rules\n", rulesName(options.input.rules));
    for (const auto& [file, tag] : cards) {
        if (!tag.empty()) text += fmt::format("#VORLANDI = {}\n", tag);
        text += fmt::format("EPHFIL = {}\n", nameOnCard(file, options));
    }
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\0'; }, ' ');
    return text;
}

// Reports the satellites that no card can bring back and leaves them out. True if there are none.
bool leaveOutUnnamed(std::vector<SatelliteRecord>& satellites, const Origins& origins, Console& console) {
    Quota unnamed(console);
    std::int64_t count = 0;
    const auto reason = [&](const SatelliteRecord& satellite) -> const char* {
        if (origins.at(satellite.key()).medium == Medium::Memory) return "it is from standard input or a packed file";
        return satellite.file.find('\n') != std::string::npos ? "its file name has a line feed" : nullptr;
    };
    const auto isUnnamed = [&](const SatelliteRecord& satellite) {
        const char* const why = reason(satellite);
        if (why == nullptr) return false;
        ++count;
        if (unnamed.admits())
            console.error(satellite.file, fmt::format("satellite {} is not saved: {}", satellite.number, why));
        return true;
    };
    satellites.erase(std::remove_if(satellites.begin(), satellites.end(), isUnnamed), satellites.end());
    if (unnamed.heldBack() > 0)
        console.error("", fmt::format("{} not saved", analysis::countIsText(unnamed.heldBack(), "more satellite")));
    return count == 0;
}

ExitStatus runSave(const SaveOptions& options, Console& console) {
    LoadResults results;
    const bool allLoaded = loadFiles(options.input, options.output, console, &results);
    std::vector<SatelliteRecord> satellites = loadedSatellites();
    const bool allNamed = leaveOutUnnamed(satellites, results.origins, console);
    if (satellites.empty()) {
        reportNothingToWrite(options.output, console);
        return ExitStatus::Failure;
    }
    Output output(options.output);
    output.write(textOf(cardsOf(satellites), options));
    output.close();
    return statusOf(allLoaded && allNamed);
}

}  // namespace

void addSaveCommand(CLI::App& application, Session& session) {
    CLI::App* const command = application.add_subcommand("save", "Write a card file that names ephemeris files");
    const auto options = std::make_shared<SaveOptions>();
    command->add_option("OUT.card", options->output, "The card file to write; - is standard output")
        ->type_name("")
        ->required();
    addInput(*command, options->input);
    command->add_flag("--absolute", options->absolute, "Write absolute file names");
    addThreads(*command, options->input);
    addVerbose(*command, session.console);
    command->footer(kSaveFooter);
    command->callback([options, &session] {
        if (options->input.number) throw UsageError("--number", "can't be kept: cards hold no numbers");
        session.status = runSave(*options, session.console);
    });
}

}  // namespace vorlandi::cli
