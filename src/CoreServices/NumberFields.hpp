// Number fields: fixed columns (Iw, Fw.d, Ew.d) and free-form lists as Fortran reads them, and the
// fixed-point and integer fields that it writes.
//
// Every read reports one of three outcomes. Reading is independent of the locale and correctly rounded;
// infinities, NaNs, hexadecimal numbers, repeat counts and numbers too large for a double are not numbers; one
// too small for a double is zero. Exponents may be written with E, e, D or d.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "CoreServices/BoundedText.hpp"

namespace vorlandi {

enum class ReadOutcome { Success, Error, EndOfData };

// Columns first to last of a line, 1-based; columns after the end of the line are blank, and cut here.
constexpr std::string_view columns(std::string_view line, std::size_t first, std::size_t last) noexcept {
    if (first > line.size()) return {};
    return line.substr(first - 1, last - first + 1);
}

// The columns from `first` to the end of the line.
constexpr std::string_view columnsFrom(std::string_view line, std::size_t first) noexcept {
    return columns(line, first, line.size());
}

// How an exponent may be written: with its letter, or also without one, as in 1.5-101.
enum class Exponents { WithLetter, AlsoWithoutLetter };

// The whole text as a real; nothing when any of it is not part of the number.
std::optional<double> realOf(std::string_view text, Exponents exponents = Exponents::WithLetter) noexcept;

// A field of an integer (Iw) or of a real with `decimals` implied decimals (Fw.d, Ew.d), which count only
// when no decimal point is written. Blanks inside are ignored; an all-blank field is 0. Success or Error; on
// Error the value stays as it was.
ReadOutcome readInteger(std::string_view field, std::int32_t& value) noexcept;
ReadOutcome readReal(std::string_view field, int decimals, double& value,
                     Exponents exponents = Exponents::WithLetter) noexcept;

// A field of a line: 1-based columns, both included.
struct Columns {
    std::size_t first, last;
};
struct RealColumns {
    std::size_t first, last;
    int decimals;
    std::size_t gap = 0;  // columns between this field and the next of its kind
};

ReadOutcome readColumns(std::string_view line, Columns where, std::int32_t& value) noexcept;

// `values.size()` real fields of equal width, the first one at `where`. Stops at the first bad field.
ReadOutcome readColumns(std::string_view line, RealColumns where, std::span<double> values,
                        Exponents exponents = Exponents::WithLetter) noexcept;

// Takes numbers separated by blanks, tabs or commas from one text, from left to right. Two commas with nothing between
// mean 0; a slash ends the list, and the rest are 0.
class FreeFormList {
public:
    explicit FreeFormList(std::string_view text, Exponents exponents = Exponents::WithLetter) noexcept
        : position_(text.data()), end_(text.data() + text.size()), exponents_(exponents) {}

    // The next number. EndOfData when the text holds no further one.
    ReadOutcome next(double& value) noexcept;
    ReadOutcome nextInteger(std::int32_t& value) noexcept;

    ReadOutcome next(std::span<double> values) noexcept {
        for (double& value : values) {
            if (const ReadOutcome outcome = next(value); outcome != ReadOutcome::Success) return outcome;
        }
        return ReadOutcome::Success;
    }

    // The next value of any kind, including a text in quotes; a null value is an empty text.
    ReadOutcome nextWord(std::string_view& word) noexcept;

    bool endedBySlash() const noexcept { return slash_; }

    // Has a value been left out so far, between two commas or by a slash?
    bool leftOut() const noexcept { return leftOut_; }

    // Continues on the next line; the end of the previous one counts as a blank.
    void goOn(std::string_view line) noexcept {
        position_ = line.data();
        end_ = line.data() + line.size();
    }

    // What has not been read yet.
    std::string_view rest() const noexcept { return {position_, static_cast<std::size_t>(end_ - position_)}; }

private:
    enum class Found { Value, Null, Nothing };
    Found findValue() noexcept;
    std::string_view takeWord() noexcept;

    const char* position_;
    const char* end_;
    Exponents exponents_;
    bool afterValue_ = false;  // the next comma belongs to the value before it
    bool slash_ = false;
    bool leftOut_ = false;
};

// `values.size()` numbers from the beginning of a text; what follows them is ignored.
inline ReadOutcome readFreeForm(std::string_view text, std::span<double> values,
                                Exponents exponents = Exponents::WithLetter) noexcept {
    return FreeFormList(text, exponents).next(values);
}

// Integer and fixed-point output fields: right-aligned in `width` columns, at most kWidestField, and all "*" when the
// value doesn't fit. Every digit of the double is printed exactly.
constexpr int kWidestField = 40;
using FieldText = BoundedText<kWidestField>;
FieldText integerField(std::int64_t value, int width, int leastDigits = 1) noexcept;
FieldText fixedField(double value, int width, int decimals) noexcept;

}  // namespace vorlandi
