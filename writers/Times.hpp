// The texts in which formats write times, each of which a reader turns back into the same double where it can hold it.
// Times are Ds50, days since 1950 Jan 0.0 UTC, of the years 1950 to 2199.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "writers/Ephemeris.hpp"

namespace vorlandi::writers {

inline constexpr double kSecondsPerDay = 86400.0;

// Whether a time is in those years. The other functions take no other times.
bool hasText(double time);

// Year, month, day, hour, minute and seconds apart, to the millisecond.
struct CalendarTime {
    int year;
    unsigned month;
    unsigned day;
    unsigned dayOfYear;
    unsigned hour;
    unsigned minute;
    double second;
};
CalendarTime calendarTime(double time);

// To the millisecond.
std::string dayOfYearText15(double time);     // YYDDDHHMMSS.SSS
std::string dayOfYearText17(double time);     // YYYYDDDHHMMSS.SSS
std::string slashText23(double time);         // YYYY/MM/DD HH:MM:SS.SSS
std::string monthNameText24(double time);     // DD Mon YYYY HH:MM:SS.SSS
std::string spacedGroupsText19(double time);  // YY DDD HH MM SS.SSS

std::string isoText19(double time);  // YYYY-MM-DDTHH:MM:SS
std::string isoText26(double time);  // YYYY-MM-DDTHH:MM:SS.ffffff

// As isoText26 if that reads back to the same double; else with as many decimals as needed.
std::string exactIsoText(double time);

// The same in 26 columns; with more decimals than fit there, as YYYYDDDHHMMSS.ddddddd.
std::string exactText26(double time);

// Milliseconds since 1970, to the nearest.
std::int64_t roundedToMilliseconds(double time);
double timeOfMilliseconds(std::int64_t milliseconds);

// Days since 1970 Jan 0.0, and back.
double daysSince1970(double time);
double timeSince1970(double days);

// The shortest number of seconds since an epoch, leap seconds counted, that a reader turns back into the same time: to
// the microsecond, or with as many decimals as needed. The leap steps are those after the epoch.
class ElapsedSeconds {
public:
    ElapsedSeconds(double epoch, std::span<const LeapStep> leapSteps) : epoch_(epoch), leapSteps_(leapSteps) {}

    double operator()(double time) const;

private:
    double epoch_;
    std::span<const LeapStep> leapSteps_;
};

}  // namespace vorlandi::writers
