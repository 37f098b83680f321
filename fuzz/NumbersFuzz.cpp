// Number fields and free-form lists against a plain model: a grammar and strtod. The first byte of an input
// is the number of implied decimals.
#include <cmath>
#include <cstdlib>
#include <regex>

#include "CoreServices/NumberFields.hpp"
#include "CoreServices/Texts.hpp"
#include "FuzzSupport.hpp"

namespace vorlandi::fuzzing {
namespace {

bool sameBits(double a, double b) { return a == b && std::signbit(a) == std::signbit(b); }

// A number: sign, digits with or without a point, an exponent. Nothing if the text is none.
struct Model {
    std::string mantissa;
    long exponent = 0;
    bool point = false;
};
std::optional<Model> parse(const std::string& text) {
    static const std::regex grammar("([+-]?(?:[0-9]+([.]?)[0-9]*|([.])[0-9]+))(?:[eEdD]([+-]?[0-9]+))?");
    std::smatch parts;
    if (!std::regex_match(text, parts, grammar)) return std::nullopt;
    return Model{parts[1], std::strtol(parts.str(4).c_str(), nullptr, 10), parts.length(2) + parts.length(3) > 0};
}

// The value of a field with implied decimals; nothing for a number past any double.
std::optional<double> modelOf(const std::string& text, int decimals) {
    const auto model = parse(text);
    if (!model) return std::nullopt;
    constexpr long kFar = 1'000'000;
    const long exponent = std::clamp(model->exponent, -kFar, kFar) - (model->point ? 0 : decimals);
    const double value = std::strtod((model->mantissa + "e" + std::to_string(exponent)).c_str(), nullptr);
    if (!std::isfinite(value)) return std::nullopt;
    return value;
}

std::string withoutBlanks(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c != ' ') result += c;
    }
    return result;
}

void checkReal(std::string_view field, int decimals) {
    const std::string digits = withoutBlanks(field);
    const auto expected = digits.empty() ? std::optional(0.0) : modelOf(digits, decimals);
    double value = 4.5;
    const ReadOutcome outcome = readReal(field, decimals, value);
    require(outcome != ReadOutcome::EndOfData, "a field has no end");
    require((outcome == ReadOutcome::Success) == expected.has_value(), "a field is read if it is a number");
    require(sameBits(value, expected.value_or(4.5)), "a field has the value of its text");
}

void checkInteger(std::string_view field) {
    const std::string digits = withoutBlanks(field);
    std::int32_t value = 7;
    const bool good = readInteger(field, value) == ReadOutcome::Success;
    static const std::regex grammar("(?:[+-]?[0-9]+)?");
    const bool isInteger = std::regex_match(digits, grammar);
    const long long wanted = std::strtoll(digits.c_str(), nullptr, 10);
    const bool fits = wanted >= INT32_MIN && wanted <= INT32_MAX;
    require(good == (isInteger && fits), "an integer is read if it fits");
    require(value == (good ? wanted : 7), "an integer has the value of its text");
}

// Reading numbers and reading the same words as texts go hand in hand.
void checkList(std::string_view text) {
    FreeFormList numbers(text);
    FreeFormList words(text);
    for (std::size_t k = 0; k <= text.size(); ++k) {
        double value = 4.5;
        std::string_view word;
        const ReadOutcome outcome = numbers.next(value);
        const ReadOutcome wordOutcome = words.nextWord(word);
        require(numbers.endedBySlash() == words.endedBySlash(), "a slash ends both");
        if (wordOutcome == ReadOutcome::EndOfData) {
            require(outcome == ReadOutcome::EndOfData, "a text has as many numbers as words");
            return;
        }
        if (outcome == ReadOutcome::Error) return;
        const auto expected = word.empty() ? std::optional(0.0) : modelOf(std::string(word), 0);
        require(expected.has_value() && sameBits(value, *expected), "a number has the value of its word");
        if (numbers.endedBySlash()) return;
    }
    require(false, "a list has an end");
}

}  // namespace
}  // namespace vorlandi::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorlandi::fuzzing;
    if (size == 0) return 0;
    const std::string_view text = textOf(data + 1, size - 1);
    const int decimals = data[0] % 20;
    checkReal(text, 0);
    checkReal(text, decimals);
    checkInteger(text);
    checkList(text);
    return 0;
}
