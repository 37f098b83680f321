// Turns what the library reports while it loads a file into messages that name file and line.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "Console.hpp"
#include "Library.hpp"

namespace vorlandi::cli {

// The format of each loaded satellite, by its key.
using Formats = std::map<std::int64_t, std::string>;

class LoadListener : public ReadListener {
public:
    // `argument` is the file to be loaded, as the user named it; the format of each satellite is added to `formats`.
    LoadListener(std::string argument, Formats& formats, Console& console);
    ~LoadListener() override;

    // Reports what has been held back. Call it after the load.
    void finish();

    bool hasSeenError() const { return errorSeen_; }
    bool hasSeenFormat() const { return !files_.empty(); }

    // The files in which a format was recognised.
    const std::set<std::string>& files() const { return files_; }

private:
    enum class Problem { UnreadableLine, EndedBlock, UnreadableFile, NotStored, DroppedPoints, Other };

    struct Place {
        std::string file;
        std::int64_t line = 0;
        std::string format;  // of the data there; empty for a card
    };
    struct BadLine {
        Place place;
        std::string text;
        bool awaitsDetail;
    };
    struct Tally {
        Quota quota;
        std::string last;
    };

    // Called by the library: no exception may leave them.
    static void onMessage(std::int32_t severity, const char* text, std::int32_t length, void* self) noexcept;
    void onEvent(const ReadEvent& event) noexcept override;

    void handleMessage(std::int32_t severity, std::string_view message);
    void handleMessageAboutBadLine(std::string_view message);
    void handleDropped(const Place& place);
    void endBlock();

    void reportBadLine(Problem problem, const std::string& text);
    void reportUnreadable(std::string_view detail);
    void report(Problem problem, const std::string& where, std::string_view text);

    std::string reasonOfReadError() const;
    std::string reasonOfRefusal(std::string_view reason) const;
    std::vector<Satellite> originalsOf(std::int64_t duplicate) const;
    std::string originOfNumber(const Satellite& original) const;

    static std::string nameOf(const Place& place);

    std::string argument_;
    Formats& formats_;
    Console& console_;
    std::set<std::string> files_;
    Place block_;                     // the header of the block that is being read; without a file if there is none
    std::optional<BadLine> badLine_;  // whose messages are still to come
    std::int64_t dropped_ = 0;        // points of this block
    Place firstDropped_;
    std::vector<Tally> tallies_;  // one for each problem
    bool errorSeen_ = false;
};

}  // namespace vorlandi::cli
