// Format detection: what kind of line a line is, by texts in its leading columns. One table holds the tests in the
// order in which they are made, with the format's name and reader; a new format is a new row.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "Vorlandi/VorlandiCardReading/BlockHeaders.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {

// Format codes that the scanner handles itself.
constexpr std::int32_t kInputFileCard = 8;
constexpr std::int32_t kTagCard = 11;
constexpr std::int32_t kUnknownFormat = 100;

// A text at a column, 1-based; in upper case, compared in any case.
struct TextAt {
    std::size_t column = 0;  // 0: no test
    std::string_view text;
};

// A line passes when it has every text and, if there is one, `further` holds.
struct LineTest {
    std::array<TextAt, 6> texts = {};
    bool (*further)(std::string_view line) = nullptr;
    std::string_view description = {};  // what `further` requires of a line, in words
    bool isHeader = false;              // though the format is known by the shape of its lines

    constexpr bool empty() const noexcept { return texts[0].column == 0 && further == nullptr; }
};

// The rules by which a row counts.
enum class RowRules { All, Fixed, Practical };

// A row of the table. The member functions return a row with one more property, so that a row is written as a sentence.
struct FormatRow {
    std::int32_t code = kUnknownFormat;
    std::string_view name = {};
    Reader reader = nullptr;                    // by the fixed rules; none: the line is not the header of a block
    Reader practicalReader = nullptr;           // by the practical rules
    std::array<LineTest, 6> alternatives = {};  // one has to pass; the unused ones are empty
    std::size_t alternativeCount = 0;
    bool decides = false;     // if the texts match but `further` fails, the line has no format
    bool byShape = false;     // known by the shape of a data line, which can be one of another block as well
    bool isDistinct = false;  // its header doesn't occur anywhere else, not even in free text
    bool (*confirmedBy)(std::string_view) = nullptr;       // a line of this shape after it shows that it is a header
    bool (*isHeaderAmongOwn)(std::string_view) = nullptr;  // tells its first line from others of the same format
    RowRules rules = RowRules::All;

    constexpr FormatRow(std::int32_t rowCode, std::string_view rowName, Reader fixedReader = nullptr,
                        Reader otherReader = nullptr) noexcept
        : code(rowCode),
          name(rowName),
          reader(fixedReader),
          practicalReader(otherReader != nullptr ? otherReader : fixedReader) {}

    // An alternative: a line passes with all of these texts.
    template <class... Texts>
    constexpr FormatRow when(Texts... texts) const noexcept {
        FormatRow row = *this;
        row.alternatives[row.alternativeCount++].texts = {texts...};
        return row;
    }

    // The last alternative also requires this; without texts, this is an alternative by itself.
    constexpr FormatRow further(bool (*test)(std::string_view), std::string_view description) const noexcept {
        FormatRow row = *this;
        if (row.alternativeCount == 0) ++row.alternativeCount;
        row.alternatives[row.alternativeCount - 1].further = test;
        row.alternatives[row.alternativeCount - 1].description = description;
        return row;
    }

    constexpr FormatRow deciding() const noexcept {
        FormatRow row = *this;
        row.decides = true;
        return row;
    }
    constexpr FormatRow knownByShape() const noexcept {
        FormatRow row = *this;
        row.byShape = true;
        return row;
    }
    // The last way is a header line.
    constexpr FormatRow withHeader() const noexcept {
        FormatRow row = *this;
        row.alternatives[row.alternativeCount - 1].isHeader = true;
        return row;
    }
    constexpr FormatRow distinct() const noexcept {
        FormatRow row = *this;
        row.isDistinct = true;
        return row;
    }
    constexpr FormatRow confirmed(bool (*byNextLine)(std::string_view)) const noexcept {
        FormatRow row = *this;
        row.confirmedBy = byNextLine;
        return row;
    }
    constexpr FormatRow amongOwn(bool (*isHeader)(std::string_view)) const noexcept {
        FormatRow row = *this;
        row.isHeaderAmongOwn = isHeader;
        return row;
    }
    constexpr FormatRow only(RowRules which) const noexcept {
        FormatRow row = *this;
        row.rules = which;
        return row;
    }

    constexpr Reader readerBy(ReadingRules by) const noexcept { return by.arePractical() ? practicalReader : reader; }
    constexpr bool countsBy(ReadingRules by) const noexcept {
        return rules == RowRules::All || (rules == RowRules::Practical) == by.arePractical();
    }
};

// The format that is recognised by the file's name alone.
constexpr std::string_view kDceBinaryName = "DCE_BINARY";

std::span<const FormatRow> formatTable() noexcept;

// The row of the first test that a line passes; null if there is none. Columns after the end of the line are blank.
const FormatRow* recognise(std::string_view line, ReadingRules rules = ReadingRules::fixed()) noexcept;

// The code of that row, kUnknownFormat for none.
std::int32_t vorlancardtype(std::string_view line) noexcept;

// A line without these characters is not a tag card, and if it is an input-file card, it doesn't name a file.
constexpr std::string_view kCardMarks = "#=";

// Can a line with this beginning, of any length, be an input-file card or a tag card? Cards are recognised by at most
// kCardHead characters.
constexpr std::size_t kCardHead = 18;
bool mayBeginCard(std::string_view head) noexcept;

// Can a line that begins so be an input-file card or a tag card? A quick check that spares most lines the tests.
bool mayBeCard(std::string_view line) noexcept;

// Six blank-separated decimal numbers after a time field with its point in column 12.
bool isowneroperatorfile(std::string_view line) noexcept;

// One to nine digits from column 1 on and no other digit.
bool issatnumonly(std::string_view line) noexcept;

// Does the last point of a file name begin ".DCE", in any case?
bool fileisdotdce(std::string_view name) noexcept;

// A format that no reader reads, by the beginning of the file's first line that is not blank: its name, empty if it is
// none of these.
std::string_view foreignFormat(std::string_view line) noexcept;

}  // namespace vorlandi
