// The input of a reader: the open unit, positioned after the recognised header line, that line, and the file name; and
// what all readers do alike with their lines and points.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "CoreServices/InputUnits.hpp"
#include "CoreServices/ReadObserver.hpp"
#include "CoreServices/Texts.hpp"
#include "CoreServices/Units.hpp"
#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"

namespace vorlandi {

constexpr std::size_t kEphemerisColumns = 512;  // width of a line in an ephemeris pass
constexpr std::size_t kCardColumns = 1500;      // and in a card pass

constexpr std::int32_t kBlockRead = 0;
constexpr std::int32_t kBlockFailed = 2;

// A line that begins with "*".
constexpr bool isComment(std::string_view line) noexcept { return line.starts_with('*'); }

constexpr bool isBlank(std::string_view line) noexcept { return line.find_first_not_of(' ') == std::string_view::npos; }

// A place in a file, for what is told about it.
struct ReadPlace {
    std::string_view fileName;
    std::int64_t number = 0;  // of the line, from 1; in a binary file, of the record
    std::string_view line;    // empty in a binary file
};

// Tells the thread's read observer of an event at a place.
inline void observeRead(std::int32_t event, const ReadPlace& place) {
    observeRead(event, place.fileName, place.number, place.line);
}

// A line that is kept while others are read.
struct KeptLine {
    std::int64_t number = 0;  // 0: none is kept
    std::string text;
};

class BlockInput {
public:
    BlockInput(InputUnit& unit, std::string_view headerLine, std::string_view fileName)
        : unit_(unit), place_{fileName, unit.lineNumber(), {}} {
        headerLine_ = headerLine;
        place_.line = headerLine_;
    }
    BlockInput(const BlockInput&) = delete;
    BlockInput& operator=(const BlockInput&) = delete;

    std::string_view headerLine() const noexcept { return headerLine_; }
    std::string_view fileName() const noexcept { return place_.fileName; }

    // The next line, which stays valid until the next one is read.
    ReadOutcome readLine(std::string_view& line) {
        const ReadOutcome outcome = unit_.readLine(kEphemerisColumns, line);
        blame(line, unit_.lineNumber());
        if (outcome != ReadOutcome::Success) [[unlikely]]
            ++place_.number;
        return outcome;
    }

    // The line to blame for what goes wrong now. At first it is the header; then the line read last, or, if it could
    // not be read, the empty one after the last; a reader of groups sets it to the first line of a group.
    const ReadPlace& place() const noexcept { return place_; }
    void blame(std::string_view line, std::int64_t number) noexcept {
        place_.line = line;
        place_.number = number;
    }
    void blame(const KeptLine& kept) noexcept { blame(kept.text, kept.number); }
    KeptLine keep() const { return {place_.number, std::string(place_.line)}; }

    // Skips lines. Error or EndOfData if the file doesn't have that many.
    ReadOutcome skipLines(int count);

    void rewind() { unit_.rewind(); }

    // Appends a point of revolution number 0; one that is not later than the last is dropped.
    void append(const Vorlanstate& point, Vorlanrecord& record, const PointCovariance* covariance = nullptr) const {
        if (!addoneeppoint(point, record, covariance)) [[unlikely]] {
            observeRead(VORLAN_READ_DROPPED, place_);
        }
    }

    // Reports data that can't be used, in two messages: "*** reader : Bad ephemeris data. ***" and the text.
    void skipbadephempoint(std::string_view reader, std::string_view text) const;

private:
    InputUnit& unit_;
    InlineChars<kEphemerisColumns> headerLine_;
    ReadPlace place_;
};

// A fixed number of lines that are read together. They stay valid until the next group is read.
class LineGroup {
public:
    static constexpr std::size_t kMostLines = 4;

    explicit LineGroup(std::size_t size) noexcept : size_(size) {}

    // Reads the next lines. EndOfData also if the file ends inside the group, whose lines are then lost.
    ReadOutcome read(BlockInput& input);

    std::string_view operator[](std::size_t k) const noexcept { return k + 1 == size_ ? last_ : kept_[k]; }

private:
    std::size_t size_;
    std::array<InlineChars<kEphemerisColumns>, kMostLines - 1> kept_;
    std::string_view last_;  // still in the unit's buffer
};

// Position and velocity, six numbers, from a free-form list into a point.
inline ReadOutcome readState(FreeFormList& list, Vorlanstate& point) noexcept {
    const ReadOutcome outcome = list.next(point.pos);
    return outcome == ReadOutcome::Success ? list.next(point.vel) : outcome;
}
inline ReadOutcome readState(std::string_view text, Vorlanstate& point) noexcept {
    FreeFormList list(text);
    return readState(list, point);
}

// Position and velocity to km and km/s, from a unit of `km` kilometers.
inline void scaleState(Vorlanstate& point, double km) noexcept {
    for (double& value : point.pos)
        value *= km;
    for (double& value : point.vel)
        value *= km;
}

// Ends a block that can't be read further: tells the read observer the line to blame, then logs
// "*** reader: problem ***". The second form logs the line before this message.
std::int32_t blockFailed(const ReadPlace& place, std::string_view reader, std::string_view problem);
inline std::int32_t blockFailed(const BlockInput& input, std::string_view reader, std::string_view problem) {
    return blockFailed(input.place(), reader, problem);
}
std::int32_t blockFailedWithLine(const BlockInput& input, std::string_view reader, std::string_view problem);

// The usual problem.
constexpr std::string_view kFileReadError = "File read error.";

// Ends a block that has been read: its epoch is the time of its first point.
std::int32_t blockRead(Vorlanrecord& record) noexcept;

// Passes every line up to the end of the file to `use`, then ends the block.
template <class Use>
std::int32_t useLinesToEnd(BlockInput& input, std::string_view reader, Vorlanrecord& record, Use use) {
    std::string_view line;
    for (;;) {
        const ReadOutcome outcome = input.readLine(line);
        if (outcome == ReadOutcome::Error) return blockFailed(input, reader, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) return blockRead(record);
        use(line);
    }
}

// The satellite number in the first five characters of a file's base name, 99999 if they are not an integer.
std::int32_t satNumFromFileName(std::string_view fileName) noexcept;
constexpr std::int32_t kUncataloguedSatNum = 99999;

}  // namespace vorlandi
