#include "LoadListener.hpp"

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

#include "vorlandi/services.h"

namespace vorlandi::cli {
namespace {

// In the order of Problem.
constexpr const char* kPlurals[] = {"unreadable lines",
                                    "unreadable blocks",
                                    "unreadable files",
                                    "satellites not stored",
                                    "satellites with dropped points",
                                    "messages"};

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

// Reasons for a refusal. A key follows the first.
constexpr std::string_view kDuplicateReason = "duplicate of ";
constexpr std::string_view kOutOfRange = "number or first time out of range";

constexpr std::string_view kBinaryFormat = "DCE_BINARY";
constexpr std::string_view kFormatsNumberedByName[] = {"STK", "OASYS", "OWNER"};
constexpr std::string_view kFormatsWithoutNumber[] = {"LAUNCH", "EELV", "J2K"};
constexpr std::string_view kFormatsWithNumberAsText[] = {"DCE_TEXT", "OASYS"};

template <std::size_t Size>
bool isOneOf(const std::string_view (&names)[Size], std::string_view name) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

// The number that the library gives a satellite if the file name does not begin with one.
constexpr std::int32_t kUncatalogued = 99999;

bool beginsWithNumber(const std::string& file) {
    return std::filesystem::path(file).filename().string().starts_with(std::to_string(kUncatalogued));
}

// Why a file that a card names could not be read. The library doesn't say.
std::string reasonAgainst(const std::string& name) {
    struct stat status {};
    if (stat(name.c_str(), &status) != 0) return std::strerror(errno);
    if (S_ISDIR(status.st_mode)) return std::strerror(EISDIR);
    if (!S_ISREG(status.st_mode)) return "not a regular file";
    const int descriptor = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return std::strerror(errno);
    close(descriptor);
    return "reading failed";
}

// Most people expect the names to be relative to the card file.
std::string hintAt(const std::string& name, const std::string& card) {
    std::error_code error;
    const auto besideCard = std::filesystem::path(card).parent_path() / name;
    if (std::filesystem::exists(name, error) || !std::filesystem::exists(besideCard, error)) return "";
    return fmt::format(" (there is {}, but names on cards are relative to the current directory)", besideCard.string());
}

std::int64_t keyIn(std::string_view text) {
    std::int64_t key = 0;
    std::from_chars(text.data(), text.data() + text.size(), key);
    return key;
}

}  // namespace

LoadListener::LoadListener(std::string argument, Formats& formats, Console& console)
    : argument_(std::move(argument)),
      formats_(formats),
      console_(console),
      tallies_(std::size(kPlurals), Tally{Quota(console), ""}) {
    VorlanTraceSetHandler(onMessage, this);
}

LoadListener::~LoadListener() { VorlanTraceSetHandler(nullptr, nullptr); }

void LoadListener::finish() {
    endBlock();
    for (std::size_t i = 0; i < tallies_.size(); ++i) {
        const auto& [quota, last] = tallies_[i];
        if (quota.heldBack() == 0) continue;
        const std::string text = fmt::format("{} more {}, the last at {}", quota.heldBack(), kPlurals[i], last);
        static_cast<Problem>(i) == Problem::DroppedPoints ? console_.warning(argument_, text)
                                                          : console_.error(argument_, text);
    }
}

void LoadListener::onMessage(std::int32_t severity, const char* text, std::int32_t length, void* self) noexcept {
    static_cast<LoadListener*>(self)->handleMessage(severity, {text, static_cast<std::size_t>(length)});
}

void LoadListener::onEvent(const ReadEvent& event) noexcept {
    using enum ReadEvent::Kind;
    const std::string file(event.file);
    const std::string text(event.text);
    // The messages about a bad line come before the next event.
    if (badLine_) reportUnreadable("");
    const Place place = {file, event.line, block_.format};
    switch (event.kind) {
        case Format:
            endBlock();
            block_ = {file, event.line, text};
            files_.insert(file);
            break;
        case Bad:
            badLine_ = {place, text, false};
            break;
        case Dropped:
            handleDropped(place);
            break;
        case Stored:
            formats_[keyIn(text)] = block_.format;
            endBlock();
            break;
        case Missing:
            endBlock();
            report(Problem::UnreadableFile, nameOf({file, event.line, ""}),
                   fmt::format("{}: {}{}", text, reasonAgainst(text), hintAt(text, file)));
            break;
        case Refused:
            report(Problem::NotStored, nameOf(place), "not stored: " + reasonOfRefusal(text));
            endBlock();
            break;
    }
}

void LoadListener::handleMessage(std::int32_t severity, std::string_view message) {
    if (severity != VORLAN_TRACE_ERROR) return console_.information(argument_, message);
    if (message.starts_with(kDuplicate)) return;
    if (badLine_) return handleMessageAboutBadLine(message);
    report(Problem::Other, block_.file.empty() ? argument_ : block_.file, problemIn(message).value_or(message));
}

// Some readers log the line itself before the problem; it is known already.
void LoadListener::handleMessageAboutBadLine(std::string_view message) {
    const auto& [place, text, awaitsDetail] = *badLine_;
    const auto problem = problemIn(message);
    if (awaitsDetail) {
        reportUnreadable(message);
    } else if (problem == kBadData) {
        badLine_->awaitsDetail = true;
    } else if (message == kNoData) {
        reportBadLine(Problem::EndedBlock, fmt::format("recognised as {} data, but without points", place.format));
    } else if (problem == kReadError) {
        reportBadLine(Problem::EndedBlock, reasonOfReadError());
    } else if (problem && message != text) {
        reportBadLine(Problem::EndedBlock, fmt::format("{} data refused: {}", place.format, *problem));
    }
}

// Names the line that could not be read as numbers, or the file if there is no such line.
std::string LoadListener::reasonOfReadError() const {
    const auto& [place, text, awaitsDetail] = *badLine_;
    if (place.format == kBinaryFormat) return "not a readable record of DCE_BINARY data";
    if (text.empty()) {
        return fmt::format("reading failed, or the file ends too early: recognised as {} data at line {}", place.format,
                           block_.line);
    }
    return fmt::format("unreadable as {} data, the format recognised at line {}: {}", place.format, block_.line, text);
}

void LoadListener::reportUnreadable(std::string_view detail) {
    reportBadLine(Problem::UnreadableLine, fmt::format("unreadable as {} data: {}", badLine_->place.format,
                                                       detail.empty() ? badLine_->text : detail));
}

void LoadListener::reportBadLine(Problem problem, const std::string& text) {
    report(problem, nameOf(badLine_->place), text);
    badLine_.reset();
}

void LoadListener::handleDropped(const Place& place) {
    if (console_.isVerbose()) {
        console_.warning(nameOf(place), "point dropped: not later than the point before it");
    } else if (dropped_++ == 0) {
        firstDropped_ = place;
    }
}

void LoadListener::endBlock() {
    if (badLine_) reportUnreadable("");
    if (dropped_ == 1)
        report(Problem::DroppedPoints, nameOf(firstDropped_), "point dropped: not later than the point before it");
    if (dropped_ > 1)
        report(Problem::DroppedPoints, nameOf(firstDropped_),
               fmt::format("{} points dropped, this one first: not later than the points before them", dropped_));
    dropped_ = 0;
    block_ = {};
}

void LoadListener::report(Problem problem, const std::string& where, std::string_view text) {
    const bool isWarning = problem == Problem::DroppedPoints;
    errorSeen_ = errorSeen_ || !isWarning;
    auto& [quota, last] = tallies_[static_cast<std::size_t>(problem)];
    last = where;
    if (!quota.admits()) return;
    isWarning ? console_.warning(where, text) : console_.error(where, text);
}

std::string LoadListener::reasonOfRefusal(std::string_view reason) const {
    if (reason.starts_with(kDuplicateReason)) {
        const std::vector<Satellite> originals = originalsOf(keyIn(reason.substr(kDuplicateReason.size())));
        std::string files;
        for (const Satellite& original : originals)
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
std::vector<Satellite> LoadListener::originalsOf(std::int64_t duplicate) const {
    constexpr double kSharedKey_days = 10.0 / kSecondsPerDay;  // only closer times can share a key
    std::vector<Satellite> originals = {satelliteOf(duplicate)};
    const auto isAlike = [first = originals[0]](const Satellite& other) {
        return other.number == first.number && std::abs(other.span.start - first.span.start) < kSharedKey_days;
    };
    for (auto next = formats_.upper_bound(duplicate); next != formats_.end(); ++next) {
        const Satellite other = satelliteOf(next->first);
        if (!isAlike(other)) break;
        originals.push_back(other);
    }
    return originals;
}

std::string LoadListener::originOfNumber(const Satellite& original) const {
    if (isOneOf(kFormatsWithoutNumber, block_.format))
        return fmt::format("; {} data have no satellite number, so that all count as {}", block_.format,
                           original.number);
    const bool bothByName =
        isOneOf(kFormatsNumberedByName, block_.format) && isOneOf(kFormatsNumberedByName, formats_[original.key]);
    if (original.number != kUncatalogued || !bothByName || beginsWithNumber(block_.file) ||
        beginsWithNumber(original.file))
        return "";
    return fmt::format("; both are {} because neither file name begins with a satellite number", kUncatalogued);
}

std::string LoadListener::nameOf(const Place& place) {
    const char* const separator = place.format == kBinaryFormat ? ", record " : ":";
    return place.file + separator + std::to_string(place.line);
}

}  // namespace vorlandi::cli
