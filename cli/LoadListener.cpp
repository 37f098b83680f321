#include "LoadListener.hpp"
#include "analysis/Texts.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <utility>

namespace vorlandi::cli {
namespace {

// In the order of Problem.
struct ProblemName {
    const char* what;
    const char* rest = "";
};
constexpr ProblemName kProblemNames[] = {{"unreadable line"},
                                         {"unreadable block"},
                                         {"unreadable file"},
                                         {"satellite", " not stored"},
                                         {"satellite", " with dropped points"},
                                         {"remark"},
                                         {"message"}};

// The reason in a message of the form "reader: file:line: reason" about a place; none in any other text.
std::optional<std::string_view> reasonIn(std::string_view message, const std::string& file, std::int64_t line) {
    const auto colon = message.find(": ");
    const std::string place = fmt::format("{}:{}: ", file, line);
    if (colon == std::string_view::npos || !message.substr(colon + 2).starts_with(place)) return std::nullopt;
    return message.substr(colon + 2 + place.size());
}

// The line in such a message about a file, 0 if there is none.
std::int64_t lineIn(std::string_view message, const std::string& file) {
    const auto colon = message.find(": ");
    if (file.empty() || colon == std::string_view::npos) return 0;
    message.remove_prefix(colon + 2);
    if (!message.starts_with(file + ":")) return 0;
    message.remove_prefix(file.size() + 1);
    std::int64_t line = 0;
    const auto [end, error] = std::from_chars(message.data(), message.data() + message.size(), line);
    return error == std::errc() && std::string_view(end, message.data() + message.size()).starts_with(": ") ? line : 0;
}

// Is a message about the same card as an event? It may truncate a long name.
bool isAboutCard(std::string_view message, const ReadEvent& event) {
    return lineIn(message, std::string(event.file)) == event.line ||
           (message.starts_with("*** ") && message.find(event.text) != std::string_view::npos);
}

// The problem in a message of the form "*** reader: problem ***"; none in any other text.
std::optional<std::string_view> problemIn(std::string_view message) {
    constexpr std::string_view kBegin = "*** ";
    constexpr std::string_view kSeparator = ": ";
    constexpr std::string_view kEnd = " ***";
    const auto separator = message.find(kSeparator);
    if (separator == std::string_view::npos || !message.starts_with(kBegin) || !message.ends_with(kEnd))
        return std::nullopt;
    message.remove_suffix(kEnd.size());
    return message.substr(separator + kSeparator.size());
}

// After this problem the next message is the unreadable part of the line.
constexpr std::string_view kBadData = "Bad ephemeris data.";
// A problem whose cause is the line itself.
constexpr std::string_view kReadError = "File read error.";
// A block that ended without a point.
constexpr std::string_view kNoData =
    "ReadOnlyVorlans: Input ephemeris does not contain any ephemeris data. It will not be stored.";
// Followed by an event that says more.
constexpr std::string_view kDuplicate = "AddRecToMem: Duplicated record/key";
// Begins messages of a load by the practical rules.
constexpr std::string_view kLoader = "VorlanLoadFileExt: ";
constexpr std::string_view kUnrecognised = "VorlanLoadFileExt: No ephemeris format recognised in ";
constexpr std::string_view kForeign = " It seems to hold ";
// The events have reported each of these points.
constexpr std::string_view kDroppedPoints = " dropped, the first of them here: not later than the point before.";
// These messages report no loss of data.
constexpr std::string_view kRemarks[] = {"the record is divided there", "their number is 99999"};

// Reasons for a refusal. A key follows the first.
constexpr std::string_view kDuplicateReason = "duplicate of ";
constexpr std::string_view kOutOfRange = "number or first time out of range";

constexpr std::string_view kBinaryFormat = "DCE_BINARY";
constexpr std::string_view kFormatsNumberedByName[] = {"STK", "OASYS", "OWNER", "OEM", "MODIFIED_ITC"};
constexpr std::string_view kFormatsWithoutNumber[] = {"LAUNCH", "EELV", "J2K"};
constexpr std::string_view kFormatsWithNumberAsText[] = {"DCE_TEXT", "OASYS"};

template <std::size_t Size>
bool isOneOf(const std::string_view (&names)[Size], std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

// Does the file name have the number where the library looks for it, at the front or as the second word?
bool hasNumber(const std::string& file) {
    const std::string name = std::filesystem::path(file).filename().string();
    return name.starts_with(std::to_string(analysis::kUncatalogued)) ||
           name.find(fmt::format("_{}_", analysis::kUncatalogued)) != std::string::npos;
}

// Why a file that a card names could not be read. The library doesn't say.
std::string whyNotRead(const std::string& name) {
    struct stat status {};
    if (stat(name.c_str(), &status) != 0) return std::strerror(errno);
    if (S_ISDIR(status.st_mode)) return std::strerror(EISDIR);
    if (!S_ISREG(status.st_mode)) return "not a regular file";
    const int descriptor = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return std::strerror(errno);
    close(descriptor);
    return "reading failed";
}

std::string besideCard(const std::string& name, const std::string& card) {
    return (std::filesystem::path(card).parent_path() / name).string();
}

bool exists(const std::string& name) {
    std::error_code error;
    return std::filesystem::exists(name, error);
}

// The file that a card names: by the practical rules it is searched next to the card file first.
std::string fileOfCard(const std::string& name, const std::string& card, Rules rules) {
    const std::string beside = besideCard(name, card);
    return rules == Rules::Practical && exists(beside) ? beside : name;
}

// Most people expect the names to be relative to the card file.
std::string hintAt(const std::string& name, const std::string& card, Rules rules) {
    const std::string beside = besideCard(name, card);
    if (rules == Rules::Practical || exists(name) || !exists(beside)) return "";
    return fmt::format(" (there is {}, but by the fixed rules names on cards are relative to the current directory)",
                       beside);
}

// A failed read and a missing file have the same status, 2.
std::string describeStatus(std::int32_t status, const std::string& name) {
    struct stat file {};
    if (stat(name.c_str(), &file) == 0 && !S_ISREG(file.st_mode) && !S_ISDIR(file.st_mode)) return "not a regular file";
    return status == ENOENT && exists(name) ? "reading failed" : std::strerror(status);
}

std::int64_t keyIn(std::string_view text) {
    std::int64_t key = 0;
    std::from_chars(text.data(), text.data() + text.size(), key);
    return key;
}

}  // namespace

bool lacksNumber(const SatelliteRecord& satellite, const Origin& origin) {
    const bool isGiven = isOneOf(kFormatsWithoutNumber, origin.format) ||
                         (isOneOf(kFormatsNumberedByName, origin.format) && !hasNumber(satellite.file));
    return satellite.number == analysis::kUncatalogued && isGiven;
}

std::vector<SatelliteRecord> loadedSatellites(const LoadResults& results) {
    std::vector<SatelliteRecord> satellites = loadedSatellites();
    for (SatelliteRecord& satellite : satellites)
        if (const auto number = results.numbers.find(satellite.key()); number != results.numbers.end())
            satellite.number = number->second;
    return satellites;
}

std::vector<RecordOfFile> loadedRecords(const LoadResults& results, std::size_t earlier) {
    std::vector<SatelliteRecord> loaded = loadedSatellites(results);
    std::vector<RecordOfFile> records;
    std::map<std::string, std::int32_t> inFile;
    for (auto record = loaded.begin() + static_cast<std::ptrdiff_t>(earlier); record != loaded.end(); ++record) {
        const std::int32_t number = ++inFile[record->file];
        records.push_back({std::move(*record), number});
    }
    return records;
}

LoadListener::LoadListener(std::string argument, Rules rules, Medium medium, LoadResults& results, Console& console)
    : argument_(std::move(argument)),
      file_(argument_),
      rules_(rules),
      medium_(medium),
      results_(results),
      origins_(results.origins),
      console_(console),
      tallies_(std::size(kProblemNames), Tally{Quota(console), ""}),
      messages_([this](vorlandi::Severity severity, std::string_view text) { handleMessage(severity, text); }),
      events_([this](const ReadEvent& event) { handleEvent(event); }) {}

void LoadListener::beginFile(const std::string& name) {
    file_ = name;
    fileHasError_ = fileHasFormat_ = fileHasSatellite_ = false;
}

void LoadListener::endFile(std::int32_t status, bool isCardFile) {
    endBlock();
    results_.statuses.emplace_back(file_, status);
    if (fileHasError_ || (status == 0 && (fileHasSatellite_ || isCardFile))) return;
    if (status != 0) {
        const bool isFile = medium_ == Medium::File;
        reportUnreadableFile(file_, isFile ? describeStatus(status, file_) : "reading failed");
    } else {
        reportUnreadableFile(file_, fileHasFormat_
                                        ? "nothing was loaded"
                                        : "no ephemeris recognised in this file, nor in any that its cards name");
    }
}

void LoadListener::reportUnreadableFile(const std::string& where, std::string_view reason) {
    report(Problem::UnreadableFile, {where, 0, {}}, reason);
}

void LoadListener::finish() {
    endBlock();
    for (std::size_t i = 0; i < tallies_.size(); ++i) {
        const auto& [quota, last] = tallies_[i];
        if (quota.heldBack() == 0) continue;
        const std::string text =
            fmt::format("{}{}, the last at {}",
                        analysis::countText(quota.heldBack(), (std::string("more ") + kProblemNames[i].what).c_str()),
                        kProblemNames[i].rest, last);
        isWarning(static_cast<Problem>(i)) ? console_.warning(argument_, text) : console_.error(argument_, text);
    }
}

void LoadListener::handleEvent(const ReadEvent& event) {
    using enum ReadEvent::Kind;
    const std::string file(event.file);
    const std::string text(event.text);
    // The messages about a bad line come before the next event.
    if (badLine_) reportUnreadable("");
    if (event.kind == Missing && isAboutCard(heldMessage_, event)) heldMessage_.clear();
    reportHeldMessage();
    if (block_.file != file) endBlock();
    const Place place = {file, event.line, block_.format};
    switch (event.kind) {
        case Format:
            endBlock();
            block_ = {file, event.line, text};
            files_.insert(file);
            fileHasFormat_ = true;
            break;
        case Bad:
            badLine_ = {place, text};
            break;
        case Dropped:
            handleDropped(place);
            break;
        case Stored:
            origins_[keyIn(text)] = {block_.format, medium_};
            results_.stored.push_back(keyIn(text));
            fileHasSatellite_ = true;
            reportDropped();
            break;
        case Missing:
            endBlock();
            handleMissing(event);
            break;
        case Refused:
            if (text.starts_with(kDuplicateReason)) ++results_.duplicates;
            report(Problem::NotStored, place, "not stored: " + reasonOfRefusal(text));
            reportDropped();
            refusalTold_ = true;
            break;
    }
}

void LoadListener::handleMissing(const ReadEvent& event) {
    const std::string name(event.text), card(event.file);
    const std::string reason = medium_ == Medium::Memory
                                   ? "cards on standard input are not followed"
                                   : whyNotRead(fileOfCard(name, card, rules_)) + hintAt(name, card, rules_);
    report(Problem::UnreadableFile, {card, event.line, ""}, fmt::format("{}: {}", name, reason));
}

void LoadListener::handleMessage(vorlandi::Severity severity, std::string_view message) {
    if (severity != vorlandi::Severity::Error) return console_.information(file_, message);
    if (message.starts_with(kDuplicate)) return;
    const bool repeatsRefusal = std::exchange(refusalTold_, false) && message.starts_with(kLoader);
    if (repeatsRefusal && message.find(" is not stored: ") != std::string_view::npos) return;
    if (badLine_) return handleMessageAboutBadLine(message);
    reportHeldMessage();
    if (message.starts_with(kLoader) && message.ends_with(kDroppedPoints)) return;
    heldMessage_ = message;
}

// An event may say more.
void LoadListener::reportHeldMessage() {
    if (!heldMessage_.empty()) handleOtherMessage(std::exchange(heldMessage_, ""));
}

void LoadListener::handleOtherMessage(std::string_view message) {
    if (message.starts_with(kUnrecognised)) return reportUnrecognised(message.substr(kUnrecognised.size()));
    const auto isIn = [message](std::string_view remark) { return message.find(remark) != std::string_view::npos; };
    const bool isRemark = std::any_of(std::begin(kRemarks), std::end(kRemarks), isIn);
    const std::string& file = block_.file.empty() ? file_ : block_.file;
    if (const std::int64_t line = lineIn(message, file); line > 0) {
        report(isRemark ? Problem::Remark : Problem::Other, {file, line, block_.format},
               *reasonIn(message, file, line));
    } else {
        report(Problem::Other, {file, 0, {}}, problemIn(message).value_or(message));
    }
}

// "NAME.", and what the file seems to hold.
void LoadListener::reportUnrecognised(std::string_view text) {
    const auto foreign = text.rfind(kForeign);
    std::string reason = "no ephemeris format recognised";
    if (foreign != std::string_view::npos) {
        reason += fmt::format("; it seems to hold {}", text.substr(foreign + kForeign.size()));
        text = text.substr(0, foreign);
        if (reason.ends_with('.')) reason.pop_back();
    }
    if (text.ends_with('.')) text.remove_suffix(1);
    report(Problem::UnreadableFile, {std::string(text), 0, {}}, reason);
}

// Some readers log the line itself before the problem; it is already known.
void LoadListener::handleMessageAboutBadLine(std::string_view message) {
    auto& [place, text, awaitsDetail, reason] = *badLine_;
    const auto problem = problemIn(message);
    const auto explained = reason.empty() ? reasonIn(message, place.file, place.line) : std::nullopt;
    if (explained) {
        reason = *explained;
        if (reason.ends_with('.')) reason.pop_back();
        // No line follows.
        if (awaitsDetail && place.format == kBinaryFormat) reportUnreadable("");
    } else if (awaitsDetail) {
        reportUnreadable(message);
    } else if (problem == kBadData) {
        awaitsDetail = true;
    } else if (message == kNoData) {
        reportBadLine(Problem::EndedBlock, fmt::format("recognised as {} data, but without points", place.format));
    } else if (problem == kReadError) {
        reportBadLine(Problem::EndedBlock, reasonOfReadError());
    } else if (problem && message != text) {
        reportBadLine(Problem::EndedBlock,
                      fmt::format("{} data refused: {}", place.format, reason.empty() ? *problem : reason));
    }
}

// Names the line that could not be read as numbers, or the file if there is no such line.
std::string LoadListener::reasonOfReadError() const {
    const auto& [place, text, awaitsDetail, reason] = *badLine_;
    if (place.format == kBinaryFormat) return "not a readable record of DCE_BINARY data";
    if (text.empty()) {
        return fmt::format("reading failed, or the file ends too early: recognised as {} data at line {}", place.format,
                           block_.line);
    }
    return fmt::format("unreadable as {} data, the format recognised at line {}: {}", place.format, block_.line, text);
}

void LoadListener::reportUnreadable(std::string_view detail) {
    const auto& [place, text, awaitsDetail, reason] = *badLine_;
    const std::string_view line = detail.empty() ? std::string_view(text) : detail;
    std::string report = fmt::format("unreadable as {} data", place.format);
    if (!reason.empty()) report += fmt::format(" ({})", reason);
    if (!line.empty() || reason.empty()) report += fmt::format(": {}", line);
    reportBadLine(Problem::UnreadableLine, report);
}

void LoadListener::reportBadLine(Problem problem, const std::string& text) {
    report(problem, badLine_->place, text);
    badLine_.reset();
}

// Points are not dropped in the order of their lines.
void LoadListener::handleDropped(const Place& place) {
    if (console_.isVerbose() && !results_.wantsReports)
        return console_.warning(nameOf(place), "point dropped: not later than the point before it");
    if (dropped_ == 0 || place.line < firstDropped_.line) firstDropped_ = place;
    ++dropped_;
}

void LoadListener::reportDropped() {
    if (dropped_ == 1)
        report(Problem::DroppedPoints, firstDropped_, "point dropped: not later than the point before it");
    if (dropped_ > 1)
        report(Problem::DroppedPoints, firstDropped_,
               fmt::format("{} points dropped, this one first: not later than the points before them", dropped_));
    dropped_ = 0;
}

void LoadListener::endBlock() {
    if (badLine_) reportUnreadable("");
    reportHeldMessage();
    reportDropped();
    block_ = {};
}

bool LoadListener::isWarning(Problem problem) {
    return problem == Problem::DroppedPoints || problem == Problem::Remark;
}

void LoadListener::report(Problem problem, const Place& place, std::string_view text) {
    errorSeen_ = errorSeen_ || !isWarning(problem);
    fileHasError_ = fileHasError_ || !isWarning(problem);
    if (results_.wantsReports) {
        results_.reports.push_back(
            {problem, place.file, place.line, std::string(text), badLine_ ? badLine_->text : ""});
        return;
    }
    const std::string where = nameOf(place);
    auto& [quota, last] = tallies_[static_cast<std::size_t>(problem)];
    last = where;
    if (!quota.admits()) return;
    isWarning(problem) ? console_.warning(where, text) : console_.error(where, text);
}

std::string LoadListener::reasonOfRefusal(std::string_view reason) const {
    if (reason.starts_with(kDuplicateReason)) {
        const std::vector<SatelliteRecord> originals = originalsOf(keyIn(reason.substr(kDuplicateReason.size())));
        std::string files;
        for (const SatelliteRecord& original : originals)
            files += (files.empty() ? "" : " or ") + original.file;
        return fmt::format("{} already has satellite {} with the same frame and first time{}", files,
                           originals.front().number, originOfNumber(originals.front()));
    }
    if (reason != kOutOfRange) return std::string(reason);
    const char* const fault =
        isOneOf(kFormatsWithNumberAsText, block_.format) ? "could not be read" : "is not in 0 to 999999999";
    return fmt::format("the satellite number {}, or the first time is not in the years 1950 to 2199", fault);
}

// The key of a duplicate is made from its number and first time. Satellites with the same number and nearly the same
// first time would share that key, so the later ones get the next keys: one of them is the original.
std::vector<SatelliteRecord> LoadListener::originalsOf(std::int64_t duplicate) const {
    constexpr double kSharedKey_days = 10.0 / kSecondsPerDay;  // only closer times can share a key
    std::vector<SatelliteRecord> originals = {recordOf(Satellite(duplicate))};
    const auto isAlike = [first = originals[0]](const SatelliteRecord& other) {
        return other.number == first.number && std::abs(other.span.start - first.span.start) < kSharedKey_days;
    };
    for (auto next = origins_.upper_bound(duplicate); next != origins_.end(); ++next) {
        const SatelliteRecord other = recordOf(Satellite(next->first));
        if (!isAlike(other)) break;
        originals.push_back(other);
    }
    return originals;
}

std::string LoadListener::originOfNumber(const SatelliteRecord& original) const {
    if (isOneOf(kFormatsWithoutNumber, block_.format))
        return fmt::format("; {} data have no satellite number, so that all count as {}", block_.format,
                           original.number);
    const bool bothByName = isOneOf(kFormatsNumberedByName, block_.format) &&
                            isOneOf(kFormatsNumberedByName, origins_[original.key()].format);
    if (original.number != analysis::kUncatalogued || !bothByName || hasNumber(block_.file) || hasNumber(original.file))
        return "";
    return fmt::format("; both are {} because neither file name begins with a satellite number",
                       analysis::kUncatalogued);
}

std::string LoadListener::nameOf(const Place& place) {
    if (place.line == 0 && place.format.empty()) return place.file;
    const char* const separator = place.format == kBinaryFormat ? ", record " : ":";
    return place.file + separator + std::to_string(place.line);
}

}  // namespace vorlandi::cli
