#include "CoreServices/Texts.hpp"

#include <charconv>
#include <cstring>

namespace vorlandi {

bool isblankornull(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char c) { return c == ' ' || c == '\0'; });
}

std::string blanktozerochar(std::string_view text) { return replacestring(text, ' ', '0'); }

std::string replacestring(std::string_view text, char from, char to) {
    std::string result(text);
    std::replace(result.begin(), result.end(), from, to);
    return result;
}

std::int32_t strtoint(std::string_view text) noexcept {
    text = stripped(text);
    text = text.substr(0, text.find_first_of(kBlanks));
    const bool plus = text.starts_with('+');
    if (plus) text.remove_prefix(1);
    if (plus && text.starts_with('-')) return kNoInteger;
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && end == text.data() + text.size() ? value : kNoInteger;
}

std::string_view getinputfilename(std::string_view line) noexcept {
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) return {};
    return stripped(line.substr(equals + 1));
}

std::string_view chararrtostr(const char* chars, std::size_t length) noexcept {
    if (chars == nullptr) return {};
    const void* const nul = std::memchr(chars, '\0', length);
    return {chars, nul == nullptr ? length : static_cast<std::size_t>(static_cast<const char*>(nul) - chars)};
}

void strtochararr(std::string_view text, char* chars, std::size_t length) noexcept {
    if (chars == nullptr) return;
    const std::size_t used = std::min(text.size(), length);
    if (used > 0) std::memcpy(chars, text.data(), used);
    std::memset(chars + used, ' ', length - used);
}

}  // namespace vorlandi
