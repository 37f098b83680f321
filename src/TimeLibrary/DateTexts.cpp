#include "TimeLibrary/DateTexts.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>

#include "CoreServices/NumberFields.hpp"
#include "CoreServices/Texts.hpp"
#include "TimeLibrary/Calendar.hpp"
#include "TimeLibrary/LeapSeconds.hpp"

namespace vorlandi {
namespace {

// A time as its text has it, not yet checked against the calendar. A part that couldn't be read is negative.
struct DateParts {
    int year = 0;
    int dayOfYear = 0;
    int hour = 0;
    int minute = 0;
    double second = 0.0;
};

std::optional<double> ds50Of(const DateParts& parts) noexcept {
    if (parts.year < kFirstYear || parts.dayOfYear < 1 || parts.dayOfYear > daysInYear(parts.year)) return std::nullopt;
    if (parts.hour > 23 || parts.minute > 59 || parts.second >= 61.0) return std::nullopt;
    if (parts.second >= 60.0) {
        const bool lastMinute = parts.hour == 23 && parts.minute == 59;
        if (!lastMinute || !leapTable().endsWithLeapSecond(clocka(parts.dayOfYear, parts.year))) return std::nullopt;
    }
    const auto day = static_cast<double>(dayZeroOfYear(parts.year) + parts.dayOfYear);
    return day + (parts.hour * 3600.0 + parts.minute * 60.0 + parts.second) / kSecondsPerDay;
}

// Only digits, at most nine; -1 if there is anything else, or nothing.
int digitsOf(std::string_view text) noexcept {
    if (text.empty() || text.size() > 9) return -1;
    int value = 0;
    for (const char c : text) {
        if (!isDigit(c)) return -1;
        value = value * 10 + (c - '0');
    }
    return value;
}

// A field of a compact form, which may have blanks on its left.
int paddedDigits(std::string_view field) noexcept { return digitsOf(leftAdjusted(field)); }

// Digits, a point, any number of digits; -1.0 if they are anything else. 59.99... stays below 60, however many nines
// follow: it is not a leap second.
double secondsOf(std::string_view whole, std::string_view fraction) noexcept {
    const int seconds = paddedDigits(whole);
    if (seconds < 0) return -1.0;
    if (fraction.size() == 3) {  // milliseconds, the common case
        const int thousandths = digitsOf(fraction);
        return thousandths < 0 ? -1.0 : (seconds * 1000 + thousandths) / 1000.0;
    }
    if (!std::all_of(fraction.begin(), fraction.end(), isDigit)) return -1.0;
    double value = 0.0;
    const std::string_view text(whole.data(), whole.size() + 1 + fraction.size());
    if (readReal(text, 0, value) != ReadOutcome::Success) return -1.0;
    return std::min(value, std::nextafter(seconds + 1.0, 0.0));
}

int monthOf(std::string_view name) noexcept {
    constexpr std::string_view kMonths = "JANFEBMARAPRMAYJUNJULAUGSEPOCTNOVDEC";
    if (name.size() != 3) return 0;
    const std::array<char, 3> upper{touppercase(name[0]), touppercase(name[1]), touppercase(name[2])};
    for (int month = 1; month <= 12; ++month) {
        if (kMonths.substr(static_cast<std::size_t>(month - 1) * 3, 3) == std::string_view(upper.data(), 3)) {
            return month;
        }
    }
    return 0;
}

// ---- Compact forms: fields of fixed width ----

// A date text without the blanks and tabs around it. Whether a blank was before its first character is kept: that is
// where a year of one digit has its missing digit. Without it, a digit was lost on the way.
struct CompactText {
    explicit CompactText(std::string_view given) noexcept : text(stripped(given)), begin(given.data()) {}

    bool blankBefore() const noexcept { return text.data() != begin && *(text.data() - 1) == ' '; }

    std::string_view text;
    const char* begin;  // of the text with its blanks
};

// HHMMSS before the point.
bool readTimeOfDay(std::string_view text, std::size_t hourAt, std::size_t secondAt, DateParts& parts) noexcept {
    parts.hour = paddedDigits(text.substr(hourAt, 2));
    parts.minute = paddedDigits(text.substr(hourAt + 2, 2));
    parts.second = secondsOf(text.substr(secondAt, 2), text.substr(secondAt + 3));
    return parts.hour >= 0 && parts.minute >= 0 && parts.second >= 0.0;
}

// The year and the day of the year, Between columns before the point. The year has four digits, two, or one after a
// blank. Returns the width of the year, 0 if there is no such year.
template <std::size_t Between>
std::size_t readYearAndDay(const CompactText& date, DateParts& parts) noexcept {
    // A point that is missing, or too early, results in a width that no year has.
    const std::size_t width = date.text.find('.') - 3 - Between;
    if (width != 2 && width != 4 && !(width == 1 && date.blankBefore())) return 0;
    const int year = paddedDigits(date.text.substr(0, width));
    parts.year = static_cast<int>(width <= 2 && year >= 0 ? fullYear(year) : year);
    parts.dayOfYear = paddedDigits(date.text.substr(width, 3));
    return width;
}

// YYDDDHHMMSS.SSS and YYYYDDDHHMMSS.SSS.
std::optional<double> compactTime(const CompactText& date) noexcept {
    DateParts parts;
    const std::size_t yearWidth = readYearAndDay<6>(date, parts);
    if (yearWidth == 0 || !readTimeOfDay(date.text, yearWidth + 3, yearWidth + 7, parts)) return std::nullopt;
    return ds50Of(parts);
}

// The usual text of compactTime, read without a check for blanks: only digits, to the millisecond. Nothing for any
// other.
template <std::size_t YearWidth>
std::optional<double> usualTime(const char* text) noexcept {
    constexpr std::size_t kPoint = YearWidth + 9;
    bool isUsual = text[kPoint] == '.';
    for (std::size_t k = 0; k < kPoint + 4; ++k)
        isUsual &= k == kPoint || isDigit(text[k]);
    if (!isUsual) return std::nullopt;
    const auto number = [=](std::size_t first, std::size_t width) {
        int value = 0;
        for (std::size_t k = first; k < first + width; ++k)
            value = value * 10 + (text[k] - '0');
        return value;
    };
    DateParts parts;
    parts.year = number(0, YearWidth);
    if (YearWidth == 2) parts.year = static_cast<int>(fullYear(parts.year));
    parts.dayOfYear = number(YearWidth, 3);
    parts.hour = number(YearWidth + 3, 2);
    parts.minute = number(YearWidth + 5, 2);
    parts.second = (number(YearWidth + 7, 2) * 1000 + number(kPoint + 1, 3)) / 1000.0;
    return ds50Of(parts);
}

// YYDDD.DDDDDDDD and YYYYDDD.DDDDDDDD.
std::optional<double> compactDay(const CompactText& date) noexcept {
    DateParts parts;
    const std::size_t yearWidth = readYearAndDay<0>(date, parts);
    if (yearWidth == 0) return std::nullopt;
    const std::string_view fraction = date.text.substr(yearWidth + 3);
    if (!std::all_of(fraction.begin() + 1, fraction.end(), isDigit)) return std::nullopt;
    double dayFraction = 0.0;
    if (fraction.size() > 1 && readReal(fraction, 0, dayFraction) != ReadOutcome::Success) return std::nullopt;
    const auto day = ds50Of(parts);
    return day ? std::optional(*day + dayFraction) : std::nullopt;
}

// YYYY/DDD HHMM SS.SSS; `zeros` admits a 0 for each of the two blanks.
std::optional<double> slashedDay(std::string_view text, bool zeros) noexcept {
    if (text.size() < 17 || text[4] != '/' || text[16] != '.') return std::nullopt;
    const auto separates = [=](char c) { return c == ' ' || (zeros && c == '0'); };
    if (!separates(text[8]) || !separates(text[13])) return std::nullopt;
    DateParts parts;
    parts.year = digitsOf(text.substr(0, 4));
    parts.dayOfYear = paddedDigits(text.substr(5, 3));
    if (!readTimeOfDay(text, 9, 14, parts)) return std::nullopt;
    return ds50Of(parts);
}

// YYYYMonDDHHMMSS.SSS.
std::optional<double> compactMonth(std::string_view text) noexcept {
    if (text.size() < 16 || text[15] != '.') return std::nullopt;
    DateParts parts;
    parts.year = digitsOf(text.substr(0, 4));
    parts.dayOfYear = mmdd2jul(parts.year, monthOf(text.substr(4, 3)), paddedDigits(text.substr(7, 2)));
    if (!readTimeOfDay(text, 9, 13, parts)) return std::nullopt;
    return ds50Of(parts);
}

// ---- Forms with separators, written loosely in real files ----

class Words {
public:
    explicit Words(std::string_view text) noexcept : rest_(text) {}

    bool blanks() noexcept {
        const auto count = std::min(rest_.find_first_not_of(kBlanks), rest_.size());
        rest_.remove_prefix(count);
        return count > 0;
    }

    bool skip(char c) noexcept {
        if (!rest_.starts_with(c)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    // A number of `least` to `most` digits, after any blanks; -1 if there is none.
    int number(std::size_t least, std::size_t most) noexcept {
        blanks();
        const std::string_view digits = takeDigits();
        width_ = digits.size();
        return digits.size() < least || digits.size() > most ? -1 : digitsOf(digits);
    }

    std::size_t widthOfLast() const noexcept { return width_; }

    std::string_view take(std::size_t count) noexcept {
        const std::string_view word = rest_.substr(0, count);
        rest_.remove_prefix(word.size());
        return word;
    }

    // HH:MM:SS with or without a point and digits.
    bool timeOfDay(DateParts& parts) noexcept {
        parts.hour = number(1, 2);
        if (parts.hour < 0 || !skip(':')) return false;
        parts.minute = number(1, 2);
        if (parts.minute < 0 || !skip(':')) return false;
        blanks();
        const std::string_view whole = takeDigits();
        if (whole.empty() || whole.size() > 2) return false;
        if (!skip('.')) {
            parts.second = digitsOf(whole);
            return true;
        }
        parts.second = secondsOf(whole, takeDigits());
        return parts.second >= 0.0;
    }

    bool done() const noexcept { return rest_.empty(); }

private:
    std::string_view takeDigits() noexcept {
        return take(static_cast<std::size_t>(std::find_if_not(rest_.begin(), rest_.end(), isDigit) - rest_.begin()));
    }

    std::string_view rest_;
    std::size_t width_ = 0;
};

// DD Mon YYYY HH:MM:SS.SSS
bool monthName(Words words, DateParts& parts) noexcept {
    const int day = words.number(1, 2);
    if (!words.blanks()) return false;
    const int month = monthOf(words.take(3));
    if (!words.blanks()) return false;
    parts.year = words.number(4, 4);
    parts.dayOfYear = mmdd2jul(parts.year, month, day);
    return words.blanks() && words.timeOfDay(parts) && words.done();
}

// YYYY/MM/DD HH:MM:SS.SSS
bool slashes(Words words, DateParts& parts) noexcept {
    parts.year = words.number(4, 4);
    if (!words.skip('/')) return false;
    const int month = words.number(1, 2);
    if (!words.skip('/')) return false;
    parts.dayOfYear = mmdd2jul(parts.year, month, words.number(1, 2));
    return words.blanks() && words.timeOfDay(parts) && words.done();
}

// YYYY-MM-DDTHH:MM:SS.SSS and YYYY-DDDTHH:MM:SS.SSS; T may be a blank, Z may follow. A day of the year has three
// digits: with fewer, it is a month whose day is missing.
bool dashes(Words words, DateParts& parts) noexcept {
    constexpr std::size_t kDayOfYearWidth = 3;
    parts.year = words.number(4, 4);
    if (!words.skip('-')) return false;
    const int monthOrDay = words.number(1, kDayOfYearWidth);
    if (words.widthOfLast() == kDayOfYearWidth) {
        parts.dayOfYear = monthOrDay;
    } else if (words.skip('-')) {
        parts.dayOfYear = mmdd2jul(parts.year, monthOrDay, words.number(1, 2));
    } else {
        return false;
    }
    if (!words.skip('T') && !words.blanks()) return false;
    if (!words.timeOfDay(parts)) return false;
    words.skip('Z');
    return words.done();
}

std::optional<double> withSeparators(std::string_view text) noexcept {
    DateParts parts;
    if (text.size() < 5) return std::nullopt;
    const bool read = text[4] == '-'   ? dashes(Words(text), parts)
                      : text[4] == '/' ? slashes(Words(text), parts)
                                       : monthName(Words(text), parts);
    return read ? ds50Of(parts) : std::nullopt;
}

std::optional<double> compactForms(const CompactText& date, bool zeros) noexcept {
    const std::string_view text = date.text;
    if (text.size() > 4 && text[4] == '/') return slashedDay(text, zeros);
    if (text.size() > 4 && monthOf(text.substr(4, 3)) != 0) return compactMonth(text);
    if (const auto time = compactTime(date)) return time;
    return compactDay(date);
}

// ---- Writing ----

// A time rounded to whole units, `unitsPerDay` in a day; nothing if it isn't finite or is outside the years 1900 to
// 2199.
struct RoundedTime {
    CalendarDay day;
    std::int64_t units;
};
std::optional<RoundedTime> rounded(double ds50UTC, std::int64_t unitsPerDay) noexcept {
    constexpr auto kFirst = static_cast<double>(dayZeroOfYear(1900) + 1);
    constexpr auto kAfterLast = static_cast<double>(dayZeroOfYear(2200) + 1);
    if (!(ds50UTC >= kFirst && ds50UTC < kAfterLast)) return std::nullopt;
    const double day = std::floor(ds50UTC);
    auto dayNumber = static_cast<std::int64_t>(day);
    std::int64_t units = std::llround((ds50UTC - day) * static_cast<double>(unitsPerDay));
    if (units == unitsPerDay) {
        units = 0;
        ++dayNumber;
    }
    return RoundedTime{calendarDay(dayNumber), units};
}

// Writes `width` digits with leading zeros and moves on.
void put(char*& at, std::int64_t value, int width) noexcept {
    for (int k = width - 1; k >= 0; --k) {
        at[k] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    at += width;
}

}  // namespace

double date_in(std::string_view text) noexcept {
    std::optional<double> time;
    if (text.size() == 15) time = usualTime<2>(text.data());
    if (text.size() == 17) time = usualTime<4>(text.data());
    return time ? *time : compactTime(CompactText(text)).value_or(0.0);
}

double dtg2ds50utc(std::string_view text) noexcept {
    const CompactText date(text);
    const auto time =
        date.text.find(':') != std::string_view::npos ? withSeparators(date.text) : compactForms(date, false);
    return time.value_or(0.0);
}

bool isSecond60(std::string_view text) noexcept {
    constexpr std::size_t kShortestBeforePoint = 10;  // with a time of day; without one it would be day 60
    text = stripped(text);
    const auto colon = text.rfind(':'), point = text.find('.');
    if (colon != std::string_view::npos) return stripped(text.substr(colon + 1)).starts_with("60");
    return point != std::string_view::npos && point >= kShortestBeforePoint && text.substr(point - 2, 2) == "60";
}

std::optional<double> epochTextToDs50(std::string_view text) noexcept { return compactForms(CompactText(text), true); }

std::array<char, 15> ds50todate15(double ds50UTC) noexcept {
    std::array<char, 15> text;
    text.fill(' ');
    const auto time = rounded(ds50UTC, 86'400'000);
    if (!time) return text;
    char* at = text.data();
    put(at, time->day.year % 100, 2);
    put(at, time->day.dayOfYear, 3);
    put(at, time->units / 3'600'000, 2);
    put(at, time->units / 60'000 % 60, 2);
    put(at, time->units / 1000 % 60, 2);
    *at++ = '.';
    put(at, time->units % 1000, 3);
    return text;
}

std::array<char, 26> ds50toiso(double ds50UTC) noexcept {
    std::array<char, 26> text;
    text.fill(' ');
    const auto time = rounded(ds50UTC, 86'400'000'000);
    if (!time) return text;
    char* at = text.data();
    put(at, time->day.year, 4);
    *at++ = '-';
    put(at, time->day.month, 2);
    *at++ = '-';
    put(at, time->day.day, 2);
    *at++ = 'T';
    put(at, time->units / 3'600'000'000, 2);
    *at++ = ':';
    put(at, time->units / 60'000'000 % 60, 2);
    *at++ = ':';
    put(at, time->units / 1'000'000 % 60, 2);
    *at++ = '.';
    put(at, time->units % 1'000'000, 6);
    return text;
}

}  // namespace vorlandi
