// Turns what the library reports while it loads a file into messages that name file and line.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Console.hpp"
#include "SatelliteRecord.hpp"
#include "ThreadMessages.hpp"

namespace vorlandi::cli {

// Whether the bytes come from a file that can be named again, or from standard input or an archive.
enum class Medium { File, Memory };

// What was loaded for a satellite.
struct Origin {
    std::string format;
    Medium medium = Medium::File;
};

// By the key of the satellite.
using Origins = std::map<std::int64_t, Origin>;

enum class LoadProblem { UnreadableLine, EndedBlock, UnreadableFile, NotStored, DroppedPoints, Remark, Other };

// Whether the library gave a satellite its number because it found none.
bool lacksNumber(const SatelliteRecord& satellite, const Origin& origin);

// What went wrong, for callers that want it as data.
struct LoadReport {
    LoadProblem problem;
    std::string file;
    std::int64_t line;  // 0: none; in a binary file the record
    std::string text;
    std::string lineText;  // of an unreadable line
};

// The results of a load.
struct LoadResults {
    Origins origins;
    std::map<std::int64_t, std::int32_t> numbers;  // by key, of satellites that have another one than in the store
    bool wantsReports = false;                     // if so, they are collected here and not printed
    std::vector<LoadReport> reports;
    std::vector<std::pair<std::string, std::int32_t>> statuses;  // of the files, with the library's status
    std::vector<std::int64_t> stored;                            // keys, in the order of storing
    std::size_t duplicates = 0;                                  // satellites refused as such
};

// All satellites in the order of loading, with these numbers.
std::vector<SatelliteRecord> loadedSatellites(const LoadResults& results);

// The same with their numbers within their files, without the `earlier` first ones.
std::vector<RecordOfFile> loadedRecords(const LoadResults& results, std::size_t earlier = 0);

class LoadListener {
public:
    // `argument` is the file to be loaded, as the user named it; the origin of each satellite is added to `results`.
    LoadListener(std::string argument, Rules rules, Medium medium, LoadResults& results, Console& console);

    // One of several files of the argument begins, or ends with a status of the library. A fault that the library did
    // not report is reported at the end; a card file needs no satellites of its own.
    void beginFile(const std::string& name);
    void endFile(std::int32_t status, bool isCardFile = false);

    // Reports a file, a member of an archive or an archive that is not loaded.
    void reportUnreadableFile(const std::string& where, std::string_view reason);

    // Reports what has been held back. Call it after the load.
    void finish();

    bool hasSeenError() const { return errorSeen_; }

    // The files in which a format was recognised.
    const std::set<std::string>& files() const { return files_; }

private:
    using Problem = LoadProblem;

    struct Place {
        std::string file;
        std::int64_t line = 0;
        std::string format;  // of the data there; empty for a card
    };
    struct BadLine {
        Place place;
        std::string text;
        bool awaitsDetail = false;
        std::string reason = {};
    };
    struct Tally {
        Quota quota;
        std::string last;
    };

    void handleEvent(const ReadEvent& event);
    void handleMessage(Severity severity, std::string_view message);
    void handleMessageAboutBadLine(std::string_view message);
    void handleOtherMessage(std::string_view message);
    void handleDropped(const Place& place);
    void handleMissing(const ReadEvent& event);
    void reportDropped();
    void reportHeldMessage();
    void reportUnrecognised(std::string_view text);
    void endBlock();

    void reportBadLine(Problem problem, const std::string& text);
    void reportUnreadable(std::string_view detail);
    void report(Problem problem, const Place& place, std::string_view text);

    std::string reasonOfReadError() const;
    std::string reasonOfRefusal(std::string_view reason) const;
    std::vector<SatelliteRecord> originalsOf(std::int64_t duplicate) const;
    std::string originOfNumber(const SatelliteRecord& original) const;

    static std::string nameOf(const Place& place);
    static bool isWarning(Problem problem);

    std::string argument_;
    std::string file_;  // the file being loaded now
    Rules rules_;
    Medium medium_;
    LoadResults& results_;
    Origins& origins_;
    Console& console_;
    std::set<std::string> files_;
    Place block_;                     // the header of the block that is being read; without a file if there is none
    std::optional<BadLine> badLine_;  // whose messages are still to come
    std::int64_t dropped_ = 0;        // points of this block
    Place firstDropped_;
    std::string heldMessage_;   // reported unless an event says more
    bool refusalTold_ = false;  // the next message repeats a refusal
    bool fileHasError_ = false;
    bool fileHasFormat_ = false;
    bool fileHasSatellite_ = false;
    std::vector<Tally> tallies_;  // one for each problem
    bool errorSeen_ = false;
    ThreadMessages messages_;
    ReadObservation events_;
};

}  // namespace vorlandi::cli
