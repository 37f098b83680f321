// Fixed-length, blank-padded texts without terminator, as they cross the C interface, to strings and back.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace vorlandi::cli {

template <std::size_t Length>
using PaddedText = std::array<char, Length>;

template <std::size_t Length>
std::string trimmed(const PaddedText<Length>& text) {
    const std::string_view all(text.data(), Length);
    return std::string(all.substr(0, all.find_last_not_of(' ') + 1));
}

// Cuts a text longer than Length.
template <std::size_t Length>
PaddedText<Length> padded(std::string_view text) {
    PaddedText<Length> result;
    result.fill(' ');
    std::copy_n(text.begin(), std::min(text.size(), Length), result.begin());
    return result;
}

}  // namespace vorlandi::cli
