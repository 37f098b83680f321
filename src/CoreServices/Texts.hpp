// Texts: the fixed-length, blank-padded character arrays of the interface, and the small operations on
// working texts that every reader shares. A blank is ' '; nothing here depends on the locale.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vorlandi {

// What strtoint returns for a text without an integer.
constexpr std::int32_t kNoInteger = -123;

constexpr char touppercase(char c) noexcept { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
// A given name; only tests use it: the library compares in upper case.
constexpr char tolowercase(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
constexpr bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }

// Are these texts equal in any letter case?
constexpr bool isWord(std::string_view text, std::string_view word) noexcept {
    return std::equal(text.begin(), text.end(), word.begin(), word.end(),
                      [](char a, char b) { return touppercase(a) == touppercase(b); });
}

// Text without its leading, or trailing, blanks.
constexpr std::string_view leftAdjusted(std::string_view text) noexcept {
    while (text.starts_with(' '))
        text.remove_prefix(1);
    return text;
}
constexpr std::string_view trimmed(std::string_view text) noexcept {
    while (text.ends_with(' '))
        text.remove_suffix(1);
    return text;
}

// Text without the blanks and tabs around it.
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view stripped(std::string_view text) noexcept {
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// True when the text holds nothing but blanks and NULs.
bool isblankornull(std::string_view text) noexcept;

// The text with every blank replaced by the digit zero.
std::string blanktozerochar(std::string_view text);

// The text with every `from` replaced by `to`.
std::string replacestring(std::string_view text, char from, char to);

// The integer that a text begins with, after any blanks and tabs, as 12345 in "12345 ISS". A blank, a tab or the end of
// the text must follow its digits. kNoInteger if there is none or it exceeds 32 bits.
std::int32_t strtoint(std::string_view text) noexcept;

// The value of a KEY = value card: what follows the first "=", without leading and trailing blanks and tabs. Empty if
// there is no "=".
std::string_view getinputfilename(std::string_view line) noexcept;

// A caller's character array as text: at most `length` characters, ended early by a NUL; empty for a null array.
std::string_view chararrtostr(const char* chars, std::size_t length) noexcept;

// A text into a caller's character array, cut or blank padded to `length`; a null array is skipped.
void strtochararr(std::string_view text, char* chars, std::size_t length) noexcept;

// Room for N characters in place: a reader concurrent with a writer may see a mixture of old and new, but never
// released memory.
template <std::size_t N>
class InlineChars {
public:
    InlineChars& operator=(std::string_view text) noexcept {
        size_ = std::min(text.size(), N);
        std::copy_n(text.data(), size_, chars_.data());
        return *this;
    }
    operator std::string_view() const noexcept { return {chars_.data(), size_}; }

private:
    std::array<char, N> chars_{};
    std::size_t size_ = 0;
};

// A text field of N characters, blank padded: longer texts are cut and trailing blanks don't count. Only the text
// without them is stored, on the heap or in place.
template <std::size_t N, class Storage = std::string>
class PaddedText {
public:
    PaddedText() = default;
    explicit PaddedText(std::string_view text) { *this = text; }

    PaddedText& operator=(std::string_view text) {
        text_ = trimmed(text.substr(0, std::min(text.size(), N)));
        return *this;
    }

    std::string_view view() const noexcept { return text_; }
    bool blank() const noexcept { return view().empty(); }
    void copyTo(char* chars) const noexcept { strtochararr(view(), chars, N); }
    std::string padded() const { return std::string(view()).append(N - view().size(), ' '); }

private:
    Storage text_;
};

template <std::size_t N>
using InlineText = PaddedText<N, InlineChars<N>>;

}  // namespace vorlandi
