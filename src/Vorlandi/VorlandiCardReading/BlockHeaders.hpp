// The lines with which blocks begin, as the readers see them: by the practical rules a block ends where the next one
// begins.
#pragma once

#include <cstddef>
#include <string_view>

#include "CoreServices/Texts.hpp"

namespace vorlandi {

// The header line of a format that has one.
struct BlockHeader {
    std::string_view format = {};  // empty: the line is not a header
    bool isDistinct = false;       // doesn't occur anywhere else, not even in free text

    explicit operator bool() const noexcept { return !format.empty(); }
};

// The header that a line is by the practical rules.
BlockHeader headerOn(std::string_view line) noexcept;

// Can a line be a header? A quick check that spares most lines the tests: the first letter, or the first letter of a
// mark farther right.
inline bool mayBeHeader(std::string_view line) noexcept {
    const auto has = [line](std::size_t column, char letter) {
        return line.size() >= column && touppercase(line[column - 1]) == letter;
    };
    std::size_t first = 0;
    while (first < line.size() && (line[first] == ' ' || line[first] == '\t'))
        ++first;
    return (first < line.size() && line[first] >= 'A') || has(13, 'V') || has(76, 'P') || has(80, 'Z') || has(114, 'P');
}

// Is it an input-file card or a tag card?
bool isCard(std::string_view line) noexcept;

}  // namespace vorlandi
