#include "writers/Times.hpp"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cmath>
#include <string_view>

namespace vorlandi::writers {
namespace {

constexpr std::chrono::sys_days kDay0{std::chrono::year{1949} / 12 / 31};
constexpr std::int64_t kDay0Of1970 = 7305;
constexpr std::int64_t kSecondsOfDay = 86400;
constexpr std::int64_t kMillisecond = 1000;     // per second
constexpr std::int64_t kMicrosecond = 1000000;  // per second

// A double of 2199 ends with a unit of a microsecond: any time is found with fewer decimals.
constexpr int kMostDecimals = 12;

// A time rounded to whole units.
struct RoundedTime {
    std::int64_t day;
    std::int64_t units;  // of the day
};
RoundedTime rounded(double time, std::int64_t unitsPerSecond) {
    const double day = std::floor(time);
    const std::int64_t unitsPerDay = kSecondsOfDay * unitsPerSecond;
    const auto dayNumber = static_cast<std::int64_t>(day);
    const std::int64_t units = std::llround((time - day) * static_cast<double>(unitsPerDay));
    return units == unitsPerDay ? RoundedTime{dayNumber + 1, 0} : RoundedTime{dayNumber, units};
}

// The double that a reader of the text makes of it.
double readBack(const RoundedTime& time, std::int64_t unitsPerSecond) {
    const std::int64_t minutes = time.units / (60 * unitsPerSecond);
    const std::int64_t unitsOfMinute = time.units - minutes * 60 * unitsPerSecond;
    const double second = static_cast<double>(unitsOfMinute) / static_cast<double>(unitsPerSecond);
    return static_cast<double>(time.day) + (static_cast<double>(minutes) * 60.0 + second) / kSecondsPerDay;
}

struct Date {
    int year;
    unsigned month;
    unsigned day;
    unsigned dayOfYear;
};
Date dateOf(std::int64_t dayNumber) {
    const std::chrono::sys_days day = kDay0 + std::chrono::days(dayNumber);
    const std::chrono::year_month_day date(day);
    const auto newYear = std::chrono::sys_days(date.year() / 1 / 1);
    return {static_cast<int>(date.year()), static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
            static_cast<unsigned>((day - newYear).count()) + 1};
}

// Writes the fields of a date text one after the other.
class Fields {
public:
    explicit Fields(const RoundedTime& time, int decimals, std::int64_t unitsPerSecond)
        : date(dateOf(time.day)), units_(time.units), decimals_(decimals), unitsPerSecond_(unitsPerSecond) {}

    Fields& number(std::int64_t value, std::size_t width) {
        text_.resize(text_.size() + width);
        for (auto at = text_.rbegin(); width > 0; ++at, --width, value /= 10)
            *at = static_cast<char>('0' + value % 10);
        return *this;
    }
    Fields& character(char c) {
        text_.push_back(c);
        return *this;
    }
    Fields& year(std::size_t width) { return number(width == 2 ? date.year % 100 : date.year, width); }

    // Hours, minutes and seconds; a NUL means no separator.
    std::string clock(char separator) {
        const std::int64_t seconds = units_ / unitsPerSecond_;
        number(seconds / 3600, 2);
        if (separator != '\0') character(separator);
        number(seconds / 60 % 60, 2);
        if (separator != '\0') character(separator);
        number(seconds % 60, 2);
        if (decimals_ > 0) character('.').number(units_ % unitsPerSecond_, static_cast<std::size_t>(decimals_));
        return std::move(text_);
    }

    const Date date;

private:
    std::string text_;
    std::int64_t units_;
    int decimals_;
    std::int64_t unitsPerSecond_;
};

Fields toTheMillisecond(double time) { return Fields(rounded(time, kMillisecond), 3, kMillisecond); }

std::string isoText(const RoundedTime& time, int decimals, std::int64_t unitsPerSecond) {
    Fields text(time, decimals, unitsPerSecond);
    text.year(4).character('-').number(text.date.month, 2).character('-').number(text.date.day, 2).character('T');
    return text.clock(':');
}

// The time with the fewest decimals, six or more, that reads back to the same double.
struct ExactTime {
    RoundedTime time;
    int decimals;
    std::int64_t unitsPerSecond;
};
ExactTime exactly(double time) {
    ExactTime result{rounded(time, kMicrosecond), 6, kMicrosecond};
    while (readBack(result.time, result.unitsPerSecond) != time && result.decimals < kMostDecimals) {
        ++result.decimals;
        result.unitsPerSecond *= 10;
        result.time = rounded(time, result.unitsPerSecond);
    }
    return result;
}

constexpr std::chrono::sys_days kFirst{std::chrono::year{1950} / 1 / 1};
constexpr std::chrono::sys_days kEnd{std::chrono::year{2200} / 1 / 1};

}  // namespace

bool hasText(double time) {
    return time >= static_cast<double>((kFirst - kDay0).count()) && time < static_cast<double>((kEnd - kDay0).count());
}

CalendarTime calendarTime(double time) {
    const RoundedTime moment = rounded(time, kMillisecond);
    const Date date = dateOf(moment.day);
    const auto milliseconds = static_cast<unsigned>(moment.units);
    return {date.year,
            date.month,
            date.day,
            date.dayOfYear,
            milliseconds / 3600000,
            milliseconds / 60000 % 60,
            milliseconds % 60000 / 1000.0};
}

std::string dayOfYearText15(double time) {
    Fields text = toTheMillisecond(time);
    return text.year(2).number(text.date.dayOfYear, 3).clock('\0');
}

std::string dayOfYearText17(double time) {
    Fields text = toTheMillisecond(time);
    return text.year(4).number(text.date.dayOfYear, 3).clock('\0');
}

std::string slashText23(double time) {
    Fields text = toTheMillisecond(time);
    text.year(4).character('/').number(text.date.month, 2).character('/').number(text.date.day, 2).character(' ');
    return text.clock(':');
}

std::string monthNameText24(double time) {
    constexpr std::array<std::string_view, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    Fields text = toTheMillisecond(time);
    text.number(text.date.day, 2).character(' ');
    for (const char c : kMonths.at(text.date.month - 1))
        text.character(c);
    return text.character(' ').year(4).character(' ').clock(':');
}

std::string spacedGroupsText19(double time) {
    Fields text = toTheMillisecond(time);
    return text.year(2).character(' ').number(text.date.dayOfYear, 3).character(' ').clock(' ');
}

std::string isoText19(double time) { return isoText(rounded(time, 1), 0, 1); }

std::string isoText26(double time) { return isoText(rounded(time, kMicrosecond), 6, kMicrosecond); }

std::string exactIsoText(double time) {
    const ExactTime exact = exactly(time);
    return isoText(exact.time, exact.decimals, exact.unitsPerSecond);
}

std::string exactText26(double time) {
    const ExactTime exact = exactly(time);
    if (exact.decimals == 6) return isoText(exact.time, exact.decimals, exact.unitsPerSecond);
    Fields text(exact.time, exact.decimals, exact.unitsPerSecond);
    return fmt::format("{:<26}", text.year(4).number(text.date.dayOfYear, 3).clock('\0'));
}

std::int64_t roundedToMilliseconds(double time) {
    const RoundedTime moment = rounded(time, kMillisecond);
    return (moment.day - kDay0Of1970 - 1) * kSecondsOfDay * kMillisecond + moment.units;
}

double timeOfMilliseconds(std::int64_t milliseconds) {
    const std::int64_t sinceDay0 = milliseconds + (kDay0Of1970 + 1) * kSecondsOfDay * kMillisecond;
    return static_cast<double>(sinceDay0) / static_cast<double>(kSecondsOfDay * kMillisecond);
}

double daysSince1970(double time) { return time - static_cast<double>(kDay0Of1970); }
double timeSince1970(double days) { return days + static_cast<double>(kDay0Of1970); }

double ElapsedSeconds::operator()(double time) const {
    double leap_s = 0.0;
    for (const LeapStep& step : leapSteps_)
        if (time >= step.day) leap_s = step.inserted;
    const double seconds = (time - epoch_) * kSecondsPerDay + leap_s;
    const auto readsBack = [&](double candidate) { return epoch_ + (candidate - leap_s) / kSecondsPerDay == time; };
    for (const double scale : {1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12}) {
        const double candidate = std::round(seconds * scale) / scale;
        if (readsBack(candidate)) return candidate;
    }
    return seconds;
}

}  // namespace vorlandi::writers
