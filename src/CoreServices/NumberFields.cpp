#include "CoreServices/NumberFields.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "CoreServices/Texts.hpp"

namespace vorlandi {
namespace {

constexpr std::size_t kLongestField = 512;

constexpr bool isBlankOrTab(char c) noexcept { return c == ' ' || c == '\t'; }
constexpr bool endsWord(char c) noexcept { return isBlankOrTab(c) || c == ',' || c == '/'; }

// A number in the form that std::from_chars reads, put together piece by piece.
class NumberText {
public:
    void add(char c) noexcept {
        if (size_ < chars_.size()) chars_[size_] = c;
        ++size_;
    }
    bool fits() const noexcept { return size_ <= chars_.size(); }
    std::string_view view() const noexcept { return {chars_.data(), size_}; }

private:
    std::array<char, kLongestField + 16> chars_;
    std::size_t size_ = 0;
};

// Of a decimal number whose magnitude no double can hold: is it too small rather than too large?
bool isTiny(std::string_view number) noexcept {
    const auto exponentAt = std::min(number.find_first_of("eE"), number.size());
    const std::string_view mantissa = number.substr(0, exponentAt);
    const auto point = std::min(mantissa.find('.'), mantissa.size());
    const auto leading = mantissa.find_first_of("123456789");
    if (leading == std::string_view::npos) return true;
    // Past any mantissa that fits a field, only the sign of the exponent matters.
    long exponent = 0;
    if (exponentAt < number.size()) {
        std::string_view digits = number.substr(exponentAt + 1);
        const bool negative = digits.starts_with('-');
        if (digits.starts_with('+')) digits.remove_prefix(1);
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
        if (error == std::errc::result_out_of_range) exponent = negative ? -1'000'000 : 1'000'000;
    }
    return static_cast<long>(point) - static_cast<long>(leading) + exponent < 0;
}

// The whole text as a number, only in the forms of std::from_chars.
std::optional<double> plainReal(std::string_view text) noexcept {
    double value = 0.0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    if (end != last || error == std::errc::invalid_argument) return std::nullopt;
    if (error == std::errc::result_out_of_range) {
        if (!isTiny(text)) return std::nullopt;
        return text.starts_with('-') ? -0.0 : 0.0;
    }
    if (!std::isfinite(value)) return std::nullopt;
    return value;
}

// The exponent of a number, blanks inside ignored where they are allowed; all that no double reaches are equivalent.
std::optional<int> exponentOf(std::string_view text, bool blanksInside) noexcept {
    constexpr int kBeyondAnyDouble = 1'000'000;
    if (blanksInside) text = leftAdjusted(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) text.remove_prefix(1);
    bool anyDigit = false;
    int exponent = 0;
    for (const char c : text) {
        if (c == ' ' && blanksInside) continue;
        if (!isDigit(c)) return std::nullopt;
        anyDigit = true;
        exponent = std::min(exponent * 10 + (c - '0'), kBeyondAnyDouble);
    }
    if (!anyDigit) return std::nullopt;
    return negative ? -exponent : exponent;
}

// Does a number end so that a sign can begin its exponent?
bool isDigitOrPoint(std::string_view number) noexcept {
    return !number.empty() && (isDigit(number.back()) || number.back() == '.');
}

// The odd forms: a plus sign, a D exponent, blanks inside, implied decimals. `decimals` below 0 means
// none.
std::optional<double> oddReal(std::string_view text, int decimals, Exponents exponents) noexcept {
    NumberText number;
    bool sign = false;
    bool point = false;
    std::optional<std::size_t> exponentAt;
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        const char c = text[at];
        if (c == ' ' && decimals >= 0) continue;
        if (c == '+' || c == '-') {
            if (exponents == Exponents::AlsoWithoutLetter && isDigitOrPoint(number.view())) {
                exponentAt = at;
                break;
            }
            if (sign || !number.view().empty()) return std::nullopt;
            sign = true;
            if (c == '+') continue;
        }
        const char upper = touppercase(c);
        if (upper == 'E' || upper == 'D') {
            exponentAt = at + 1;
            break;
        }
        point = point || c == '.';
        if (!isDigit(c) && c != '.' && c != '-') return std::nullopt;
        number.add(c);
    }
    // Implied decimals shift the exponent, so that the number is rounded only once.
    const int shift = decimals > 0 && !point ? -decimals : 0;
    if (!exponentAt && shift == 0) return number.fits() ? plainReal(number.view()) : std::nullopt;
    const std::optional<int> exponent = exponentAt ? exponentOf(text.substr(*exponentAt), decimals >= 0) : 0;
    if (!exponent) return std::nullopt;
    std::array<char, 16> written{};
    const auto [end, error] = std::to_chars(written.data(), written.data() + written.size(), *exponent + shift);
    number.add('e');
    std::for_each(written.data(), end, [&](char c) { number.add(c); });
    return number.fits() ? plainReal(number.view()) : std::nullopt;
}

}  // namespace

std::optional<double> realOf(std::string_view text, Exponents exponents) noexcept {
    if (const auto value = plainReal(text)) return value;
    return oddReal(text, -1, exponents);
}

ReadOutcome readInteger(std::string_view field, std::int32_t& value) noexcept {
    std::int64_t magnitude = 0;
    bool sign = false, negative = false, digits = false;
    for (const char c : field) {
        if (c == ' ') continue;
        if ((c == '+' || c == '-') && !sign && !digits) {
            sign = true;
            negative = c == '-';
        } else if (isDigit(c) && magnitude <= INT32_MAX) {
            digits = true;
            magnitude = magnitude * 10 + (c - '0');
        } else {
            return ReadOutcome::Error;
        }
    }
    const std::int64_t result = negative ? -magnitude : magnitude;
    if (result > INT32_MAX || result < INT32_MIN || (sign && !digits)) return ReadOutcome::Error;
    value = static_cast<std::int32_t>(result);
    return ReadOutcome::Success;
}

namespace {

// Is there a point in a number? Looked for first where a writer of this many decimals puts it.
bool hasPoint(const char* number, const char* end, int decimals) noexcept {
    return (end - number > decimals && end[-1 - decimals] == '.') || std::find(number, end, '.') != end;
}

// The usual field: blanks, a number with its decimal point written or none implied, blanks.
bool readUsualReal(std::string_view field, int decimals, double& value) noexcept {
    const char* at = field.data();
    const char* const last = at + field.size();
    while (at != last && *at == ' ')
        ++at;
    double read = 0.0;
    auto [end, error] = std::from_chars(at, last, read);
    if (error != std::errc{} || !std::isfinite(read)) return false;
    if (decimals > 0 && !hasPoint(at, end, decimals)) return false;
    while (end != last) {
        if (*end++ != ' ') return false;
    }
    value = read;
    return true;
}

}  // namespace

ReadOutcome readReal(std::string_view field, int decimals, double& value, Exponents exponents) noexcept {
    if (readUsualReal(field, decimals, value)) [[likely]]
        return ReadOutcome::Success;
    field = trimmed(leftAdjusted(field));
    if (field.empty()) {
        value = 0.0;
        return ReadOutcome::Success;
    }
    std::optional<double> read;
    if (decimals == 0 || field.find('.') != std::string_view::npos) read = plainReal(field);
    if (!read) read = oddReal(field, decimals, exponents);
    if (!read) return ReadOutcome::Error;
    value = *read;
    return ReadOutcome::Success;
}

ReadOutcome readColumns(std::string_view line, Columns where, std::int32_t& value) noexcept {
    return readInteger(columns(line, where.first, where.last), value);
}

ReadOutcome readColumns(std::string_view line, RealColumns where, std::span<double> values,
                        Exponents exponents) noexcept {
    const std::size_t width = where.last - where.first + 1;
    std::size_t first = where.first;
    for (double& value : values) {
        const auto outcome = readReal(columns(line, first, first + width - 1), where.decimals, value, exponents);
        if (outcome != ReadOutcome::Success) return outcome;
        first += width + where.gap;
    }
    return ReadOutcome::Success;
}

FreeFormList::Found FreeFormList::findValue() noexcept {
    const auto skipBlanks = [this] {
        while (position_ != end_ && isBlankOrTab(*position_))
            ++position_;
    };
    if (slash_) return Found::Null;
    skipBlanks();
    if (afterValue_ && position_ != end_ && *position_ == ',') {
        ++position_;
        afterValue_ = false;
        skipBlanks();
    }
    if (position_ == end_) return Found::Nothing;
    afterValue_ = false;
    if (*position_ == ',') {
        ++position_;
        leftOut_ = true;
        return Found::Null;
    }
    if (*position_ == '/') {
        ++position_;
        slash_ = true;
        leftOut_ = true;
        return Found::Null;
    }
    afterValue_ = true;
    return Found::Value;
}

std::string_view FreeFormList::takeWord() noexcept {
    const char* const first = position_;
    position_ = std::find_if(position_, end_, endsWord);
    return {first, static_cast<std::size_t>(position_ - first)};
}

ReadOutcome FreeFormList::next(double& value) noexcept {
    const Found found = findValue();
    if (found == Found::Nothing) return ReadOutcome::EndOfData;
    if (found == Found::Null) {
        value = 0.0;
        return ReadOutcome::Success;
    }
    double plain = 0.0;
    const auto [end, error] = std::from_chars(position_, end_, plain);
    if (error == std::errc{} && (end == end_ || endsWord(*end)) && std::isfinite(plain)) [[likely]] {
        value = plain;
        position_ = end;
        return ReadOutcome::Success;
    }
    const auto odd = realOf(takeWord(), exponents_);
    if (!odd) return ReadOutcome::Error;
    value = *odd;
    return ReadOutcome::Success;
}

ReadOutcome FreeFormList::nextInteger(std::int32_t& value) noexcept {
    const Found found = findValue();
    if (found == Found::Nothing) return ReadOutcome::EndOfData;
    value = 0;
    return found == Found::Null ? ReadOutcome::Success : readInteger(takeWord(), value);
}

ReadOutcome FreeFormList::nextWord(std::string_view& word) noexcept {
    const Found found = findValue();
    word = {};
    if (found == Found::Nothing) return ReadOutcome::EndOfData;
    if (found == Found::Null) return ReadOutcome::Success;
    const char quote = *position_;
    if (quote != '\'' && quote != '"') {
        word = takeWord();
        return ReadOutcome::Success;
    }
    const char* const first = ++position_;
    position_ = std::find(position_, end_, quote);
    word = {first, static_cast<std::size_t>(position_ - first)};
    if (position_ == end_) return ReadOutcome::Error;
    ++position_;
    return ReadOutcome::Success;
}

namespace {

// Right-aligned in `width` columns; `sign` characters at the front come before leading zeros.
FieldText rightAligned(std::string_view text, int width, std::size_t leastSize = 0, std::size_t sign = 0) noexcept {
    const auto columns = static_cast<std::size_t>(width);
    const std::size_t zeros = leastSize > text.size() ? leastSize - text.size() : 0;
    FieldText field;
    if (text.size() + zeros > columns) return field.append(columns, '*');
    field.append(columns - zeros - text.size(), ' ') << text.substr(0, sign);
    return field.append(zeros, '0') << text.substr(sign);
}

}  // namespace

FieldText integerField(std::int64_t value, int width, int leastDigits) noexcept {
    BoundedText<20> digits;
    digits << value;
    const std::size_t sign = value < 0 ? 1 : 0;
    return rightAligned(digits, width, static_cast<std::size_t>(leastDigits) + sign, sign);
}

FieldText fixedField(double value, int width, int decimals) noexcept {
    std::array<char, 400> chars;  // the largest double has 309 digits before the point
    std::string_view text;
    if (std::isnan(value)) {
        text = "NaN";
    } else if (std::isinf(value)) {
        text = value < 0 ? "-Infinity" : "Infinity";
    } else {
        const auto [end, error] =
            std::to_chars(chars.data(), chars.data() + chars.size(), value, std::chars_format::fixed, decimals);
        text = {chars.data(), static_cast<std::size_t>(end - chars.data())};
    }
    return rightAligned(text, width);
}

}  // namespace vorlandi
