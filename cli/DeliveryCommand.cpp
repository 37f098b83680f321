#include "DeliveryCommand.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <memory>
#include <set>
#include <system_error>
#include <utility>

#include "Checking.hpp"
#include "DeliveryReport.hpp"
#include "LoadFindings.hpp"
#include "Loading.hpp"
#include "Selection.hpp"

namespace vorlandi::cli {
namespace {

constexpr const char* kDeliveryFooter =
    R"(DELIVERY and --previous are a folder, whose files are all read (those that a card file in it names, once), an
archive, a card file or an ephemeris file. The report lists the satellites with their spacing and what `vorlandi check`
finds in them. With a previous delivery it also says which findings are new, unchanged or gone; which satellites are
missing, added, in another frame, not updated, or end earlier; and how the states differ over the overlap, radial,
in-track and cross-track, by the age of the previous prediction: whole days since its first point. With covariances it
says whether they are honest: a factor of 2.1 means that standard deviations would have to grow 2.1 times. See
docs/delivery.md.

Records belong together if their satellite number and frame are the same. Frames are never converted: satellites whose
frame has changed are reported, not compared.

-o with a name that ends in .html writes a page, a single file that needs no network; --force replaces an existing one.

Exit status: 0 nothing found; 1 an error or a warning; 2 wrong usage; 3 a file could not be read, or the output could
not be written.

Examples:
  vorlandi delivery today/ --previous yesterday/
  vorlandi delivery today.zip --previous yesterday.zip -o report.html -j 2
  vorlandi delivery fleet.card --format json --skip steps)";

namespace fs = std::filesystem;

struct DeliveryOptions {
    InputOptions input;
    std::string delivery;
    std::string previous;
    std::vector<std::int32_t> satellites;
    analysis::CheckOptions check;
    KindChoice kinds;
    std::size_t limit = 10;
    std::string output{kStandardOutput};
    Format format = Format::Table;
    bool isForced = false;
};

bool isPage(const DeliveryOptions& options) { return options.output.ends_with(".html"); }

struct FolderContents {
    std::vector<std::string> files;
    std::vector<std::pair<std::string, std::string>> unreadable;  // folders below, and why
};

// What may be a file, such as a broken link, is treated as one: loading it reports what is wrong.
bool mayBeFile(const fs::directory_entry& entry) {
    std::error_code error;
    const fs::file_type type = entry.status(error).type();
    return error || type == fs::file_type::regular || type == fs::file_type::not_found;
}

// No error if the folder can be opened.
std::error_code openingError(const fs::path& folder) {
    std::error_code error;
    const fs::directory_iterator opened(folder, error);
    return error;
}

// The files in a folder and in those below, by name. Hidden ones don't count, and links to folders are not followed.
FolderContents contentsOf(const std::string& folder) {
    FolderContents contents;
    // A folder that can't be opened would look empty below.
    if (const std::error_code error = openingError(folder)) throw fs::filesystem_error("not opened", folder, error);
    const auto options = fs::directory_options::skip_permission_denied;
    for (auto entry = fs::recursive_directory_iterator(folder, options); entry != fs::recursive_directory_iterator();
         ++entry) {
        const bool isHidden = entry->path().filename().string().starts_with('.');
        std::error_code error;
        if (fs::is_directory(entry->symlink_status(error))) {
            if (!isHidden) error = openingError(entry->path());
            if (isHidden || error) entry.disable_recursion_pending();
            if (error) contents.unreadable.emplace_back(entry->path().string(), error.message());
        } else if (!isHidden && mayBeFile(*entry)) {
            contents.files.push_back(entry->path().string());
        }
    }
    std::sort(contents.files.begin(), contents.files.end());
    std::sort(contents.unreadable.begin(), contents.unreadable.end());
    return contents;
}

fs::path canonicalOf(const fs::path& file) {
    std::error_code error;
    fs::path canonical = fs::weakly_canonical(file, error);
    return error ? file : canonical;
}

bool isCard(const std::string& file) {
    std::string suffix = fs::path(file).extension().string();
    std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return suffix == ".card";
}

// The files that cards have named so far: those that were read, and those that could not be.
class NamedFiles {
public:
    explicit NamedFiles(LoadResults& results) : results_(results) {}

    bool contain(const std::string& file) const { return files_.contains(canonicalOf(file)); }

    // Adds what a card has loaded since there were so many satellites, and removes again what an earlier card named.
    void add(std::size_t satellites) {
        std::set<fs::path> files;
        const auto isRepeated = [&](const std::string& file) {
            files.insert(canonicalOf(file));
            return contain(file);
        };
        const std::vector<SatelliteRecord> loaded = loadedSatellites();
        for (std::size_t i = satellites; i < loaded.size(); ++i)
            if (isRepeated(loaded[i].file)) const OwnedSatellite removed(loaded[i].satellite);
        auto& reports = results_.reports;
        const auto first = reports.begin() + static_cast<std::ptrdiff_t>(reports_);
        reports.erase(
            std::remove_if(first, reports.end(), [&](const LoadReport& report) { return isRepeated(report.file); }),
            reports.end());
        reports_ = reports.size();
        files_.merge(files);
    }

private:
    LoadResults& results_;
    std::set<fs::path> files_;
    std::size_t reports_ = 0;  // those that earlier cards have left
};

// One run of the command.
class Delivery {
public:
    Delivery(const DeliveryOptions& options, Console& console) : options_(options), console_(console) {}

    ExitStatus run() {
        DeliveryReport report;
        report.tolerance_m = options_.check.tolerance_m;
        report.now = load(options_.delivery);
        if (!options_.previous.empty()) {
            const std::size_t earlier = loadedSatellites().size();
            CheckedDelivery before = load(options_.previous);
            // Without one that can be read, every satellite would count as new.
            if (loadedSatellites().size() > earlier) report.before = std::move(before);
        }
        if (!isNumberUsed_ && !loadedSatellites().empty()) refuseNumber();
        couldLook_ = reportUnknown(options_.satellites, loadedSatellites(), console_) && couldLook_;
        compareDeliveries(report, options_.input.threads);
        reportFrames(report);
        write(report);
        if (!couldLook_) return ExitStatus::Unreadable;
        return statusOf(report.count(analysis::Severity::Error) + report.count(analysis::Severity::Warning) == 0);
    }

private:
    void refuse(const std::string& name, const std::string& reason) {
        console_.error(name, reason);
        couldLook_ = false;
    }

    CheckedDelivery load(const std::string& name) {
        CheckedDelivery delivery{name, {}, {}, {}};
        LoadResults results;
        results.wantsReports = true;
        const std::size_t earlier = loadedSatellites().size();
        std::error_code error;
        if (!fs::is_directory(name, error))
            loadAll({name}, results);
        else if (!loadFolder(name, results))
            return delivery;
        delivery.satellites = satellitesToCheck(results, options_.satellites, earlier);
        delivery.files = filesOf(results);
        checkAll(delivery.satellites, options_.check, analysis::kAllTimes, options_.input.threads);
        findAmongSatellites(results, delivery.satellites);
        for (CheckedSatellite& satellite : delivery.satellites) {
            delivery.areStatesWrong.push_back(analysis::areStatesWrong(satellite.check.findings));
            options_.kinds.keepWanted(satellite.check.findings);
        }
        for (CheckedFile& file : delivery.files)
            options_.kinds.keepWanted(file.findings);
        reportUnreadable(name, earlier, results);
        return delivery;
    }

    void loadAll(std::vector<std::string> files, LoadResults& results) {
        InputOptions input = options_.input;
        input.files = std::move(files);
        loadFiles(input, options_.output, console_, &results);
        isNumberUsed_ = isNumberUsed_ || !results.numbers.empty();
    }

    // Card files come first; what they name counts once.
    bool loadFolder(const std::string& folder, LoadResults& results) {
        std::vector<std::string> files;
        try {
            FolderContents contents = contentsOf(folder);
            files = std::move(contents.files);
            for (const auto& [name, reason] : contents.unreadable)
                refuse(name, reason);
        } catch (const fs::filesystem_error& error) {
            refuse(folder, error.code().message());
            return false;
        }
        if (files.empty()) {
            refuse(folder, "there are no files in it");
            return false;
        }
        const auto others = std::stable_partition(files.begin(), files.end(), isCard);
        NamedFiles named(results);
        for (auto card = files.begin(); card != others; ++card) {
            const std::size_t satellites = loadedSatellites().size();
            loadAll({*card}, results);
            named.add(satellites);
        }
        files.erase(files.begin(), others);
        std::erase_if(files, [&](const std::string& file) { return named.contain(file); });
        if (!files.empty()) loadAll(std::move(files), results);
        return true;
    }

    void reportUnreadable(const std::string& name, std::size_t earlier, const LoadResults& results) {
        const std::vector<SatelliteRecord> all = loadedSatellites(results);
        const std::vector<SatelliteRecord> loaded(all.begin() + static_cast<std::ptrdiff_t>(earlier), all.end());
        const bool isPrevious = name != options_.delivery || earlier > 0;
        Quota quota(console_);
        for (const LoadReport* const unreadable : unreadableFiles(results, loaded)) {
            couldLook_ = false;
            // Findings of the previous delivery are only counted.
            if ((isPrevious || options_.kinds.leavesOut(analysis::Kind::NotRead)) && quota.admits())
                console_.error(unreadable->file, unreadable->text);
        }
        if (quota.heldBack() > 0)
            console_.error(name, fmt::format("{} more files could not be read", quota.heldBack()));
        if (loaded.empty()) refuse(name, "there is no satellite in it that could be read");
    }

    // Must be noticed even if nobody reads the report.
    void reportFrames(const DeliveryReport& report) {
        const auto count = std::count_if(report.changes.begin(), report.changes.end(),
                                         [](const Change& change) { return change.kind == ChangeKind::FrameChanged; });
        if (count > 0)
            console_.warning("", fmt::format("{} in another frame than before and not compared",
                                             count == 1 ? "1 satellite is" : fmt::format("{} satellites are", count)));
    }

    void write(const DeliveryReport& report) {
        const bool isEmpty = report.now.satellites.empty() && report.changes.empty();
        if (isEmpty && refusesEmptyFile(options_.output, console_)) return;
        Output output(options_.output);
        if (isPage(options_))
            output.write(deliveryPage(report, options_.limit));
        else if (options_.format == Format::Json)
            printDeliveryJson(report, output);
        else
            printDeliveryTable(report, options_.limit, output);
        output.close();
    }

    const DeliveryOptions& options_;
    Console& console_;
    bool couldLook_ = true;
    bool isNumberUsed_ = !options_.input.number;
};

void requireOutput(const CLI::App& command, const DeliveryOptions& options) {
    if (!isPage(options)) return;
    if (command.count("--format") > 0) throw UsageError("--format", "can't be chosen for a page, an .html file");
    if (!options.isForced && fs::exists(options.output)) throw OutputError(options.output, existsText());
}

ExitStatus runDelivery(const CLI::App& command, const DeliveryOptions& options, Console& console) {
    options.kinds.requireSome();
    if (options.delivery == kStandardInput && options.previous == kStandardInput)
        throw UsageError("--previous", kOneStandardInput);
    try {
        requireOutput(command, options);
    } catch (const OutputError& error) {
        console.error(error.name(), error.what());
        return ExitStatus::Unreadable;
    }
    return Delivery(options, console).run();
}

}  // namespace

void addDeliveryCommand(CLI::App& application, Session& session) {
    CLI::App* const command = application.add_subcommand(
        "delivery", "Report on a delivery of ephemerides, and on how accurate the previous one was");
    const auto options = std::make_shared<DeliveryOptions>();
    options->input.keys = Keys::Own;
    options->input.numberMustApply = false;
    command
        ->add_option("DELIVERY", options->delivery, "Folder, archive, card file or ephemeris file; - is standard input")
        ->type_name("")
        ->required();
    command->add_option("--previous", options->previous, "The previous delivery, to compare with")->type_name("OTHER");
    addInputRules(*command, options->input);
    addSatelliteNumbers(*command, options->satellites);
    addMetres(*command, "--tolerance", options->check.tolerance_m,
              "Warn of states that may be off by more than METRES");
    addKindChoice(*command, options->kinds);
    command->add_option("--limit", options->limit, "List at most N findings of a kind, and N changes of a kind")
        ->type_name("N")
        ->capture_default_str()
        ->check(wholeNumber());
    addThreads(*command, options->input, "Check and compare with N threads, and read large files with several");
    addFormat(*command, options->format, Offered::TableAndJson);
    addOutput(*command, options->output);
    command->add_flag("--force", options->isForced, "Replace a page that exists");
    addVerbose(*command, session.console);
    command->footer(kDeliveryFooter);
    command->callback([options, command, &session] {
        session.unwritten = ExitStatus::Unreadable;
        session.status = runDelivery(*command, *options, session.console);
    });
}

}  // namespace vorlandi::cli
