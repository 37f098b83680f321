// What a reader is handed: the open unit behind the line that was recognised, that line, and the file's name;
// and what all readers do alike with their lines and points.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "CoreServices/InputUnits.hpp"
#include "CoreServices/ReadObserver.hpp"
#include "CoreServices/Texts.hpp"
#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"

namespace vorlandi {

constexpr std::size_t kEphemerisColumns = 512;  // width of a line in an ephemeris pass
constexpr std::size_t kCardColumns = 1500;      // and in a card pass

constexpr std::int32_t kBlockRead = 0;
constexpr std::int32_t kBlockFailed = 2;

// A line that begins with "*".
constexpr bool isComment(std::string_view line) noexcept { return line.starts_with('*'); }

constexpr bool isBlank(std::string_view line) noexcept {
    return line.find_first_not_of(' ') == std::string_view::npos;
}

constexpr double kSecondsPerDay = 86400.0;

class BlockInput {
public:
    BlockInput(InputUnit& unit, std::string_view headerLine, std::string_view fileName)
        : unit_(unit), headerLine_(headerLine), fileName_(fileName) {}

    std::string_view headerLine() const noexcept { return headerLine_; }
    std::string_view fileName() const noexcept { return fileName_; }

    // The next line, which stays valid until the next one is read.
    ReadOutcome readLine(std::string_view& line) {
        const ReadOutcome outcome = unit_.readLine(kEphemerisColumns, line);
        standAt(line, unit_.lineNumber());
        return outcome;
    }

    // Sets the line at which a bad line or a dropped point is said to stand: the one read last, or the first
    // of a group.
    void standAt(std::string_view line, std::int64_t number) noexcept {
        line_ = line;
        lineNumber_ = number;
    }
    std::int64_t lineNumber() const noexcept { return lineNumber_; }

    // Passes over lines; Error or EndOfData if the file doesn't hold as many.
    ReadOutcome skipLines(int count);

    void rewind() { unit_.rewind(); }

    // Appends a point of revolution number 0; one that is not later than the last is dropped.
    void append(const Vorlanstate& point, Vorlanrecord& record,
                const PointCovariance* covariance = nullptr) const {
        if (!addoneeppoint(point, record, covariance)) [[unlikely]] {
            observeRead(VORLAN_READ_DROPPED, fileName_, lineNumber_, line_);
        }
    }

    // Reports data that could not be used, in two messages: "*** reader : Bad ephemeris data. ***" and the
    // text.
    void skipbadephempoint(std::string_view reader, std::string_view text) const;

private:
    InputUnit& unit_;
    std::string headerLine_;
    std::string_view fileName_;
    std::string_view line_;
    std::int64_t lineNumber_ = 0;
};

// A fixed number of lines that are read together. They stay valid until the next group is read.
class LineGroup {
public:
    static constexpr std::size_t kMostLines = 4;

    explicit LineGroup(std::size_t size) noexcept : size_(size) {}

    // The next lines. EndOfData also when the file ends inside the group, whose lines are then lost.
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

// Ends a block that can't be read further, with the message "*** reader: problem ***"; the second form logs
// the line to blame before it.
std::int32_t blockFailed(std::string_view reader, std::string_view problem);
std::int32_t blockFailed(std::string_view reader, std::string_view problem, std::string_view line);

// The usual problem.
constexpr std::string_view kFileReadError = "File read error.";

// Ends a block that has been read: its epoch is the time of its first point.
std::int32_t blockRead(Vorlanrecord& record) noexcept;

// Hands every line up to the end of the file to `use`, then ends the block.
template <class Use>
std::int32_t useLinesToEnd(BlockInput& input, std::string_view reader, Vorlanrecord& record, Use use) {
    std::string_view line;
    for (;;) {
        const ReadOutcome outcome = input.readLine(line);
        if (outcome == ReadOutcome::Error) return blockFailed(reader, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) return blockRead(record);
        use(line);
    }
}

// The satellite number in the first five characters of a file's base name, 99999 if they are no integer.
std::int32_t satNumFromFileName(std::string_view fileName) noexcept;
constexpr std::int32_t kUncataloguedSatNum = 99999;

}  // namespace vorlandi
