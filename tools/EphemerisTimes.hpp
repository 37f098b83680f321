// Times of generated ephemerides, and the texts in which the formats write them.
#pragma once

#include <chrono>
#include <string>

namespace vorlandi::tools {

// Every format can write whole milliseconds exactly. Every day has 86400 s, so a span must not
// contain a leap second.
using UtcTime = std::chrono::sys_time<std::chrono::milliseconds>;

// Days since a day 0.0 that lies one day before 00:00 of the calendar date: 1950 Jan 1 00:00 is 1.0, and
// likewise for 1970. The exact value, rounded once.
double daysSince1950(UtcTime time);
double daysSince1970(UtcTime time);

double secondsBetween(UtcTime from, UtcTime to);

// Year, month, day, hour, minute and seconds apart, for formats that write them as numbers.
struct CalendarTime {
    int year;
    unsigned month;
    unsigned day;
    unsigned dayOfYear;
    unsigned hour;
    unsigned minute;
    double second;
};
CalendarTime calendarTime(UtcTime time);

std::string dayOfYearText15(UtcTime time);     // YYDDDHHMMSS.SSS
std::string dayOfYearText17(UtcTime time);     // YYYYDDDHHMMSS.SSS
std::string isoText26(UtcTime time);           // YYYY-MM-DDTHH:MM:SS.ffffff
std::string slashText23(UtcTime time);         // YYYY/MM/DD HH:MM:SS.SSS
std::string monthNameText24(UtcTime time);     // DD Mon YYYY HH:MM:SS.SSS
std::string spacedGroupsText19(UtcTime time);  // YY DDD HH MM SS.SSS

}  // namespace vorlandi::tools
