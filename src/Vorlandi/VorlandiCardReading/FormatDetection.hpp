// Format detection: what kind of line a line is, by texts in its leading columns. One table holds the tests
// in the order in which they are made, with the format's name and reader; a further format is a further row.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {

// Format codes with a meaning to the scanner itself.
constexpr std::int32_t kInputFileCard = 8;
constexpr std::int32_t kTagCard = 11;
constexpr std::int32_t kUnknownFormat = 100;

// A text that stands at a column, 1-based; in upper case, compared in any case.
struct TextAt {
    std::size_t column = 0;  // 0: no test
    std::string_view text;
};

// A line passes when it has every text and, if there is one, `further` holds.
struct LineTest {
    TextAt texts[6] = {};
    bool (*further)(std::string_view line) = nullptr;
    std::string_view description = {};  // what `further` asks of a line, in words
};

struct FormatRow {
    std::int32_t code;
    std::string_view name;
    LineTest alternatives[6];  // one has to pass; the unused ones are empty
    Reader reader = nullptr;   // none: the line is no header of a block
    bool decides = false;      // its texts settle it: when `further` then fails, no later row is tried
};

// The format that is recognised by the file's name alone.
constexpr std::string_view kDceBinaryName = "DCE_BINARY";

std::span<const FormatRow> formatTable() noexcept;

// The row of the first test that a line passes; null if there is none. Columns behind the line are blank.
const FormatRow* recognise(std::string_view line) noexcept;

// The code of that row, kUnknownFormat for none.
std::int32_t vorlancardtype(std::string_view line) noexcept;

// Can a line that begins so be an input-file card or a tag card? A quick look that spares most lines the
// tests.
bool mayBeCard(std::string_view line) noexcept;

// Six blank-separated decimal numbers behind a time field with its point in column 12.
bool isowneroperatorfile(std::string_view line) noexcept;

// One to nine digits from column 1 on and no other digit.
bool issatnumonly(std::string_view line) noexcept;

// Does the last point of a file name begin ".DCE", in any case?
bool fileisdotdce(std::string_view name) noexcept;

}  // namespace vorlandi
