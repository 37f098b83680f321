#include "ForeignTexts.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace vorlandi::cli {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

unsigned byteOf(char c) { return static_cast<unsigned char>(c); }

bool isContinuation(char c) { return (byteOf(c) & 0xC0U) == 0x80U; }

// The smallest code point for each length in bytes; a smaller one is an overlong form.
constexpr std::array<unsigned, 5> kLeastOfLength = {0, 0, 0x80, 0x800, 0x10000};

// 0 for a byte that does not begin a character.
std::size_t sequenceLength(unsigned lead) {
    if (lead < 0x80U) return 1;
    if (lead < 0xC0U) return 0;
    if (lead < 0xE0U) return 2;
    if (lead < 0xF0U) return 3;
    return lead < 0xF8U ? 4 : 0;
}

bool isScalarValue(unsigned code, std::size_t length) {
    const bool surrogate = code >= 0xD800U && code <= 0xDFFFU;
    return code >= kLeastOfLength[length] && code <= 0x10FFFFU && !surrogate;
}

// A UTF-8 character, or a byte that does not begin one.
struct Character {
    std::string_view bytes;
    bool valid;
    unsigned code;
};

Character leadingCharacter(std::string_view text) {
    const Character invalid = {text.substr(0, 1), false, 0};
    const std::size_t length = sequenceLength(byteOf(text.front()));
    if (length == 0 || text.size() < length) return invalid;
    const std::string_view bytes = text.substr(0, length);
    if (!std::all_of(bytes.begin() + 1, bytes.end(), isContinuation)) return invalid;
    unsigned code = length == 1 ? byteOf(text.front()) : byteOf(text.front()) & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i)
        code = (code << 6U) | (byteOf(text[i]) & 0x3FU);
    return isScalarValue(code, length) ? Character{bytes, true, code} : invalid;
}

template <typename Use>
void forEachCharacter(std::string_view text, Use use) {
    while (!text.empty()) {
        const Character character = leadingCharacter(text);
        use(character);
        text.remove_prefix(character.bytes.size());
    }
}

// Code points that steer a terminal instead of being shown.
struct CodeRange {
    unsigned first, last;
};
constexpr CodeRange kSteering[] = {
    {0x00, 0x1F},      // C0
    {0x7F, 0x9F},      // delete, C1
    {0x061C, 0x061C},  // the others: marks, embeddings, overrides and isolates of bidirectional text
    {0x200E, 0x200F}, {0x202A, 0x202E}, {0x2066, 0x2069},
};

bool isSteering(unsigned code) {
    return std::any_of(std::begin(kSteering), std::end(kSteering),
                       [=](const CodeRange& range) { return code >= range.first && code <= range.last; });
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
    std::string result;
    forEachCharacter(text, [&](const Character& character) {
        result += character.valid && !isSteering(character.code) ? character.bytes : "?";
    });
    return result;
}

std::string csvField(std::string_view text) {
    constexpr std::string_view kFormulaStarts = "=+-@";
    std::string field;
    forEachCharacter(text, [&](const Character& character) {
        if (character.valid && !isSteering(character.code)) {
            field += character.bytes;
        } else {
            for (const char c : character.bytes)
                field += fmt::format("\\x{:02x}", byteOf(c));
        }
    });
    if (!field.empty() && kFormulaStarts.find(field.front()) != std::string_view::npos) field.insert(0, 1, '\'');
    if (field.find_first_of(",\"") == std::string::npos) return field;
    std::string quoted = "\"";
    for (const char c : field)
        quoted.append(c == '"' ? 2 : 1, c);
    return quoted + '"';
}

std::string jsonText(std::string_view text) {
    std::string result = "\"";
    forEachCharacter(text, [&](const Character& character) {
        if (character.valid) {
            appendJsonCharacter(result, character.bytes);
        } else {
            result += kReplacement;
        }
    });
    return result + '"';
}

std::size_t displayWidth(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

std::string_view cutToWidth(std::string_view text, std::size_t columns) {
    std::size_t size = 0;
    while (size < text.size() && (columns > 0 || isContinuation(text[size]))) {
        if (!isContinuation(text[size])) --columns;
        ++size;
    }
    return text.substr(0, size);
}

}  // namespace vorlandi::cli
