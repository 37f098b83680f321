// The Gregorian calendar in whole days since 1950 Jan 0.0: 1950 Jan 1 is day 1. Years from 1 on.
#pragma once

#include <cstdint>

#include "CoreServices/Units.hpp"

namespace vorlandi {

// The first year of texts, whose years of two digits have become years of four before they are compared with it.
constexpr int kFirstYear = 100;

constexpr bool isLeapYear(std::int64_t year) noexcept { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

constexpr int daysInYear(std::int64_t year) noexcept { return isLeapYear(year) ? 366 : 365; }

constexpr int daysInMonth(std::int64_t year, int month) noexcept {
    constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// The rule of two-line element sets: 57 to 99 are 1957 to 1999, 0 to 56 are 2000 to 2056. Other years stay.
constexpr std::int64_t fullYear(std::int64_t year) noexcept {
    if (year < 0 || year > 99) return year;
    return year >= 57 ? 1900 + year : 2000 + year;
}

// Day number of the day before January 1.
constexpr std::int64_t dayZeroOfYear(std::int64_t year) noexcept {
    const auto leapDaysBefore = [](std::int64_t y) { return (y - 1) / 4 - (y - 1) / 100 + (y - 1) / 400; };
    return (year - 1950) * 365 + leapDaysBefore(year) - leapDaysBefore(1950);
}

// Day of the year, 1 for January 1; a year below 100 follows fullYear. 0 for a month or day that doesn't
// exist.
constexpr int mmdd2jul(std::int64_t year, int month, int day) noexcept {
    year = fullYear(year);
    if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month)) return 0;
    int dayOfYear = day;
    for (int earlier = 1; earlier < month; ++earlier)
        dayOfYear += daysInMonth(year, earlier);
    return dayOfYear;
}

struct CalendarDay {
    std::int64_t year;
    int month, day, dayOfYear;
};

// The calendar day of a day number of the years 1 and later.
constexpr CalendarDay calendarDay(std::int64_t dayNumber) noexcept {
    std::int64_t year = 1950 + dayNumber / 366;
    while (dayNumber <= dayZeroOfYear(year))
        --year;
    while (dayNumber > dayZeroOfYear(year + 1))
        ++year;
    const auto dayOfYear = static_cast<int>(dayNumber - dayZeroOfYear(year));
    int month = 1;
    int day = dayOfYear;
    for (; day > daysInMonth(year, month); ++month)
        day -= daysInMonth(year, month);
    return {year, month, day, dayOfYear};
}

// Ds50UTC of a day of the year, a real, 1.0 being January 1 00:00; a year below 100 follows fullYear.
constexpr double clocka(double dayOfYear, std::int64_t year) noexcept {
    return static_cast<double>(dayZeroOfYear(fullYear(year))) + dayOfYear;
}

// Ds50UTC of day 0.0 of times that are counted in days from 1970 on.
constexpr double kDayZeroOf1970 = clocka(0.0, 1970);

// Ds50UTC of a day of the year and a time of day; the year as above.
constexpr double tcomps2utc(int dayOfYear, int hour, int minute, double seconds, std::int64_t year) noexcept {
    const double secondOfDay = hour * 3600.0 + minute * 60.0 + seconds;
    return clocka(dayOfYear, year) + secondOfDay / kSecondsPerDay;
}

}  // namespace vorlandi
