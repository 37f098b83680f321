#include "Texts.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace vorlandi::cli {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

unsigned byteOf(char c) { return static_cast<unsigned char>(c); }

bool isContinuation(char c) { return (byteOf(c) & 0xC0U) == 0x80U; }

// The least code point that needs so many bytes; anything smaller is an overlong form.
constexpr std::array<unsigned, 5> kLeastOfLength = {0, 0, 0x80, 0x800, 0x10000};

std::size_t sequenceLength(unsigned lead) {
    if (lead < 0x80U) return 1;
    if (lead >= 0xC2U && lead <= 0xDFU) return 2;
    if (lead >= 0xE0U && lead <= 0xEFU) return 3;
    if (lead >= 0xF0U && lead <= 0xF4U) return 4;
    return 0;
}

bool isScalarValue(unsigned code, std::size_t length) {
    const bool surrogate = code >= 0xD800U && code <= 0xDFFFU;
    return code >= kLeastOfLength[length] && code <= 0x10FFFFU && !surrogate;
}

// Length of the UTF-8 character that the text begins with; 0 if it begins with none.
std::size_t leadingCharacter(std::string_view text) {
    const std::size_t length = sequenceLength(byteOf(text.front()));
    if (length <= 1) return length;
    if (text.size() < length) return 0;
    if (!std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length), isContinuation))
        return 0;
    unsigned code = byteOf(text.front()) & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i)
        code = (code << 6U) | (byteOf(text[i]) & 0x3FU);
    return isScalarValue(code, length) ? length : 0;
}

void appendJsonCharacter(std::string& out, std::string_view character) {
    const char c = character.front();
    if (c == '"' || c == '\\') {
        out += '\\';
        out += c;
    } else if (byteOf(c) < 0x20U) {
        out += fmt::format("\\u{:04x}", byteOf(c));
    } else {
        out += character;
    }
}

}  // namespace

std::string printable(std::string_view text) {
    std::string result(text);
    std::replace_if(
        result.begin(), result.end(), [](char c) { return byteOf(c) < 0x20U || c == 0x7F; }, '?');
    return result;
}

std::string csvField(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
    std::string result = "\"";
    for (const char c : text)
        result.append(c == '"' ? 2 : 1, c);
    return result + '"';
}

std::string jsonText(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        const std::size_t length = leadingCharacter(text);
        if (length == 0) {
            result += kReplacement;
        } else {
            appendJsonCharacter(result, text.substr(0, length));
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result + '"';
}

std::size_t displayWidth(std::string_view text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

}  // namespace vorlandi::cli
