// Shared by the readers: states from lines of numbers, groups of lines, and the ends of a block.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "CoreServices/Units.hpp"
#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"

namespace vorlandi {

// A line that begins with "*".
constexpr bool isComment(std::string_view line) noexcept { return line.starts_with('*'); }

constexpr bool isBlank(std::string_view line) noexcept { return line.find_first_not_of(' ') == std::string_view::npos; }

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

// Position and velocity to km and km/s, from a unit of `km` kilometers.
inline void scaleState(Vorlanstate& point, double km) noexcept {
    for (double& value : point.pos)
        value *= km;
    for (double& value : point.vel)
        value *= km;
}

// "reader: file:line: reason", for a message.
MessageText reasonAt(const ReadPlace& place, std::string_view reader, std::string_view reason) noexcept;

// Reports a line that can't be used: an event, then "*** reader : Bad ephemeris data. ***", the reason, and the line.
void reportBadLine(const ReadPlace& place, std::string_view reader, std::string_view reason);

// Ends a block that can't be read further: reports the line to blame to the read observer, then logs "*** reader:
// problem ***". The second form logs the line before this message.
std::int32_t blockFailed(const ReadPlace& place, std::string_view reader, std::string_view problem);
inline std::int32_t blockFailed(const BlockInput& input, std::string_view reader, std::string_view problem) {
    return blockFailed(input.place(), reader, problem);
}
std::int32_t blockFailedWithLine(const BlockInput& input, std::string_view reader, std::string_view problem);

// The same for a reader that says where and why, "reader: file:line: reason", before the line and
// "*** reader: problem ***".
std::int32_t blockRefused(const BlockInput& input, std::string_view reader, std::string_view problem,
                          std::string_view reason);

// The same where the fixed rules don't say it: by them `otherwise` ends the block.
template <class Otherwise>
std::int32_t blockRefusedBy(const BlockInput& input, std::string_view reader, std::string_view problem,
                            std::string_view reason, Otherwise otherwise) {
    return input.has(Rule::FailedBlockIsRefused) ? blockRefused(input, reader, problem, reason)
                                                 : otherwise(input, reader, problem);
}

// The usual problem.
constexpr std::string_view kFileReadError = "File read error.";

// The reason of a bad line by Rule::DatesExist.
constexpr std::string_view kNoSuchDate = "there is no such date or time";

// Ends a block that has been read: its epoch is the time of its first point.
std::int32_t blockRead(Vorlanrecord& record) noexcept;

// Passes every line up to the end of the file, or to any header, to `use`, then ends the block.
template <class Use>
std::int32_t useLinesToEnd(BlockInput& input, std::string_view reader, Vorlanrecord& record, Use use) {
    std::string_view line;
    for (;;) {
        const ReadOutcome outcome = input.readPointLine(line);
        if (outcome == ReadOutcome::Error) return blockFailed(input, reader, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) return blockRead(record);
        use(line);
    }
}

// The same for lines that don't depend on their place, so that several threads may read them: `use(line, input,
// record)` uses nothing else that changes.
template <class Use>
std::int32_t useLoneLinesToEnd(BlockInput& input, std::string_view reader, Vorlanrecord& record, const Use& use) {
    input.readInChunks(record, {}, [&use](BlockInput& part, Vorlanrecord& partRecord) {
        std::string_view line;
        while (part.readPointLine(line) == ReadOutcome::Success)
            use(line, part, partRecord);
    });
    return useLinesToEnd(input, reader, record, [&](std::string_view line) { use(line, input, record); });
}

// The satellite number in a file's base name, 99999 if there is none. By the fixed rules it is the first five
// characters; for the practical rules see Rule::NumberFromLongName.
std::int32_t satNumFromFileName(std::string_view fileName, ReadingRules rules = ReadingRules::fixed()) noexcept;
constexpr std::int32_t kUncataloguedSatNum = 99999;

// The first two fields of a file name TYPE_NUMBER_NAME_..., with TYPE being the name of a frame and NUMBER one to nine
// digits.
struct LongFileName {
    std::int32_t coordSys;
    std::int32_t satNum;
};
std::optional<LongFileName> longFileName(std::string_view fileName) noexcept;

// A whole text of one to nine digits as a number, -1 for any other text.
std::int32_t numberOfDigits(std::string_view text) noexcept;

}  // namespace vorlandi
