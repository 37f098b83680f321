#include "Loading.hpp"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <span>
#include <utility>

#include "InputFile.hpp"
#include "Options.hpp"
#include "Output.hpp"
#include "SatelliteRecord.hpp"

namespace vorlandi::cli {
namespace {

// File names cross the interface padded with blanks: trailing blanks would be lost, and leading ones don't count.
std::string libraryName(const std::string& file) { return file.starts_with(' ') ? "./" + file : file; }

const char* reasonAgainst(const std::string& name) {
    if (name.size() > detail::kFileNameLength) return "the file name is too long";
    if (name.empty() || name.ends_with(' ')) return "a file name that is empty or ends with a blank can't be loaded";
    return nullptr;
}

void refuseOverwriting(const std::string& output, const std::string& input) {
    std::error_code error;
    if (output != kStandardOutput && std::filesystem::equivalent(output, input, error))
        throw UsageError(output, "is an input file and would be overwritten");
}

void checkArguments(const InputOptions& input, const std::string& output) {
    bool hasStandardInput = false;
    for (const std::string& file : input.files) {
        const bool isStandardInput = file == kStandardInput;
        refuseOverwriting(output, isStandardInput ? "/dev/stdin" : file);
        if (isStandardInput && std::exchange(hasStandardInput, true)) throw UsageError("FILE", kOneStandardInput);
    }
}

// Tells the listener what becomes of the members of an archive.
class ArchiveClient : public archives::Client {
public:
    explicit ArchiveClient(LoadListener& listener) : listener_(listener) {}

    void memberBegins(const std::string& name) override { listener_.beginFile(name); }
    void memberEnds(const std::string& /*name*/, const archives::LoadedMember& member) override {
        listener_.endFile(member.status, !member.cards.empty());
    }
    void refused(const std::string& where, const std::string& reason) override {
        listener_.reportUnreadableFile(where, reason);
    }

private:
    LoadListener& listener_;
};

// Loads the files of a command, one after the other.
class Loader {
public:
    Loader(const InputOptions& input, const std::string& output, Console& console, LoadResults& results)
        : input_(input), output_(output), console_(console), results_(results) {}

    // True if all went well.
    bool load(const std::string& file) { return file == kStandardInput ? loadStandardInput() : loadNamed(file); }

    bool loadBytes(const std::string& content, const std::string& file) {
        const std::string name = libraryName(file);
        if (const char* const reason = reasonAgainst(name)) {
            refuse(file, reason);
            return false;
        }
        InputFile opened(InputFile::Content{content});
        return loadOpened(name, opened);
    }

private:
    // Cards from a pipe are followed, as from a file.
    bool loadStream(const std::string& name, InputFile& opened, Medium medium) {
        if (const int error = opened.readAll(); error != 0) {
            refuse(name, error == EFBIG ? "larger than 4 GiB" : std::strerror(error));
            return false;
        }
        LoadListener listener(name, input_.rules, medium, results_, console_);
        LoadOptions fromMemory = options();
        fromMemory.follow_cards = medium == Medium::File;
        const auto content = std::as_bytes(std::span(opened.source().begin));
        listener.endFile(keepIn(try_load_bytes(content, name, fromMemory)));
        return finish(listener);
    }

    bool loadNamed(const std::string& file) {
        const std::string name = libraryName(file);
        if (const char* const reason = reasonAgainst(name)) {
            refuse(file, reason);
            return false;
        }
        InputFile opened(name);
        if (opened.packing()) return loadPacked(name, opened);
        if (opened.isStream()) return loadStream(name, opened, Medium::File);
        LoadListener listener(file, input_.rules, Medium::File, results_, console_);
        listener.endFile(keepIn(try_load(name, options())));
        return finish(listener);
    }

    bool loadStandardInput() {
        if (const char* const reason = reasonAgainst(input_.stdinName)) {
            refuse("--stdin-name", reason);
            return false;
        }
        InputFile opened;
        return loadOpened(input_.stdinName, opened);
    }

    bool loadOpened(const std::string& name, InputFile& opened) {
        if (opened.packing()) return loadPacked(name, opened);
        return loadStream(name, opened, Medium::Memory);
    }

    bool loadPacked(const std::string& name, const InputFile& opened) {
        LoadListener listener(name, input_.rules, Medium::Memory, results_, console_);
        if (opened.packing().isRead) {
            ArchiveClient client(listener);
            archives::load({name, detail::flags(options()), static_cast<std::int64_t>(input_.mostMemberBytes)},
                           opened.source(), client);
        } else {
            listener.reportUnreadableFile(
                name, fmt::format("{} is not read; gzip, xz, zstd, zip and tar are", opened.packing().name));
        }
        return finish(listener);
    }

    void refuse(const std::string& file, const std::string& reason) {
        results_.statuses.emplace_back(file, kFailure);
        if (!results_.wantsReports) return console_.error(file, reason);
        results_.reports.push_back({LoadProblem::UnreadableFile, file, 0, reason, {}});
    }

    LoadOptions options() const {
        LoadOptions options;
        options.rules = input_.rules;
        options.keys = input_.keys;
        options.threads = input_.threads > 1;
        return options;
    }

    // What a command loads stays in the store to its end. Returns the status.
    static std::int32_t keepIn(LoadOutcome outcome) {
        for (OwnedSatellite& satellite : outcome.loaded)
            satellite.release();
        return outcome.status;
    }

    bool finish(LoadListener& listener) const {
        listener.finish();
        for (const std::string& named : listener.files())
            refuseOverwriting(output_, named);
        return !listener.hasSeenError();
    }

    const InputOptions& input_;
    const std::string& output_;
    Console& console_;
    LoadResults& results_;
};

void numberSatellites(const InputOptions& input, LoadResults& results) {
    std::set<std::string> files;
    const std::vector<SatelliteRecord> satellites = loadedSatellites();
    for (const SatelliteRecord& satellite : satellites) {
        if (!lacksNumber(satellite, results.origins[satellite.key()])) continue;
        if (!files.insert(satellite.file).second)
            throw UsageError("--number", satellite.file + " holds several satellites without a number");
        results.numbers[satellite.key()] = *input.number;
    }
    if (files.empty() && !satellites.empty() && input.numberMustApply) refuseNumber();
}

}  // namespace

void refuseNumber() { throw UsageError("--number", "every satellite has a number already"); }

bool loadFiles(const InputOptions& input, const std::string& output, Console& console, LoadResults* results) {
    LoadResults unused;
    LoadResults& filled = results != nullptr ? *results : unused;
    checkArguments(input, output);
    Loader loader(input, output, console, filled);
    const std::size_t count = input.files.size();
    bool allWell = true;
    for (std::size_t i = 0; i < count; ++i) {
        if (count > 1) console.progress(fmt::format("loading file {} of {}: {}", i + 1, count, input.files[i]));
        allWell = loader.load(input.files[i]) && allWell;
    }
    console.clearProgress();
    if (input.number) numberSatellites(input, filled);
    return allWell;
}

bool loadBytes(const std::string& content, const std::string& name, const InputOptions& input, Console& console,
               LoadResults& results) {
    const std::string output{kStandardOutput};
    return Loader(input, output, console, results).loadBytes(content, name);
}

}  // namespace vorlandi::cli
