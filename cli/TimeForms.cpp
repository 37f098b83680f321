#include "TimeForms.hpp"
#include "analysis/Ephemeris.hpp"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace vorlandi::cli {
namespace {

namespace chrono = std::chrono;

constexpr std::array kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// GPS time is TAI - 19 s; its weeks count from 1980-01-06, and here they don't roll over.
constexpr chrono::seconds kTaiMinusGps{static_cast<int>(analysis::kTaiMinusGps_s)};
constexpr SysTime kGpsBegin = chrono::sys_days{chrono::year{1980} / 1 / 6};

constexpr std::int64_t kJulianDayOf1950 = 2433281;  // and a half
constexpr std::int64_t kModifiedJulianDayOf1950 = 33281;

// A time of day in parts, rounded to Resolution.
template <typename Resolution>
struct Calendar {
    // A leap second is the one after 23:59:59. It is not rounded up: the next second is another day's.
    explicit Calendar(SysTime time, bool isInLeapSecond = false) {
        const SysTime shown = isInLeapSecond ? time - chrono::seconds(1) : time;
        auto rounded = chrono::round<Resolution>(shown);
        if (isInLeapSecond && rounded >= chrono::ceil<chrono::days>(shown)) rounded -= Resolution(1);
        const auto day = chrono::floor<chrono::days>(rounded);
        const chrono::year_month_day date(day);
        const chrono::hh_mm_ss clock(rounded - day);
        year = static_cast<int>(date.year());
        month = static_cast<unsigned>(date.month());
        dayOfMonth = static_cast<unsigned>(date.day());
        dayOfYear = static_cast<int>((day - chrono::sys_days(date.year() / 1 / 1)).count()) + 1;
        hour = static_cast<int>(clock.hours().count());
        minute = static_cast<int>(clock.minutes().count());
        second = static_cast<int>(clock.seconds().count()) + (isInLeapSecond ? 1 : 0);
        fraction = clock.subseconds().count();
    }
    int year;
    unsigned month;
    unsigned dayOfMonth;
    int dayOfYear;
    int hour;
    int minute;
    int second;
    std::int64_t fraction;
};

// A whole number and a fraction of a day, to 1e-12 days: a double would keep 4e-10 of a Julian date.
std::string dayText(std::int64_t whole, double fraction) {
    constexpr double kParts = 1e12;
    auto parts = static_cast<std::int64_t>(std::round(fraction * kParts));
    whole += parts / static_cast<std::int64_t>(kParts);
    parts %= static_cast<std::int64_t>(kParts);
    return fmt::format("{}.{:012}", whole, parts);
}

std::string isoText(SysTime time, bool isInLeapSecond = false) {
    const Calendar<chrono::microseconds> c(time, isInLeapSecond);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:06}", c.year, c.month, c.dayOfMonth, c.hour, c.minute,
                       c.second, c.fraction);
}

void addDates(SysTime time, bool isInLeapSecond, std::vector<TimeForm>& forms) {
    const Calendar<chrono::microseconds> c(time, isInLeapSecond);
    const Calendar<chrono::milliseconds> m(time, isInLeapSecond);
    const char* const month = kMonths[m.month - 1];
    const int yearInCentury = m.year % 100;
    // Two digits mean the years 1957 to 2056.
    const bool hasShortYear = m.year >= 1957 && m.year <= 2056;
    const std::string clock = fmt::format("{:02}{:02}{:02}.{:03}", m.hour, m.minute, m.second, m.fraction);
    const std::string colons = fmt::format("{:02}:{:02}:{:02}.{:03}", m.hour, m.minute, m.second, m.fraction);
    const auto add = [&forms](const char* name, const char* title, std::string text) {
        forms.push_back({name, title, std::move(text), false});
    };
    add("utc", "UTC", isoText(time, isInLeapSecond));
    add("utc_day_of_year", "UTC, day of year",
        fmt::format("{:04}-{:03}T{:02}:{:02}:{:02}.{:06}", c.year, c.dayOfYear, c.hour, c.minute, c.second,
                    c.fraction));
    add("yydddhhmmss", "YYDDDHHMMSS.SSS",
        hasShortYear ? fmt::format("{:02}{:03}{}", yearInCentury, m.dayOfYear, clock) : "");
    add("yyyydddhhmmss", "YYYYDDDHHMMSS.SSS", fmt::format("{:04}{:03}{}", m.year, m.dayOfYear, clock));
    add("yyyy_ddd_hhmm_ss", "YYYY/DDD HHMM SS.SSS",
        fmt::format("{:04}/{:03} {:02}{:02} {:02}.{:03}", m.year, m.dayOfYear, m.hour, m.minute, m.second, m.fraction));
    add("yyyymondd", "YYYYMonDDHHMMSS.SSS", fmt::format("{:04}{}{:02}{}", m.year, month, m.dayOfMonth, clock));
    add("dd_mon_yyyy", "DD Mon YYYY HH:MM:SS.SSS",
        fmt::format("{:02} {} {:04} {}", m.dayOfMonth, month, m.year, colons));
    add("yyyy_mm_dd", "YYYY/MM/DD HH:MM:SS.SSS",
        fmt::format("{:04}/{:02}/{:02} {}", m.year, m.month, m.dayOfMonth, colons));
}

void addDays(Ds50 time, std::vector<TimeForm>& forms) {
    const double wholeDays = std::floor(time.days);
    const auto day = static_cast<std::int64_t>(wholeDays);
    const double fraction = time.days - wholeDays;
    const bool afternoon = fraction >= 0.5;
    forms.push_back({"ds50_utc", "Ds50UTC (days since 1950)", fmt::format("{}", time.days), true});
    forms.push_back({"julian_date_utc", "Julian date (UTC)",
                     dayText(day + kJulianDayOf1950 + (afternoon ? 1 : 0), afternoon ? fraction - 0.5 : fraction + 0.5),
                     true});
    forms.push_back({"modified_julian_date_utc", "modified Julian date (UTC)",
                     dayText(day + kModifiedJulianDayOf1950, fraction), true});
}

}  // namespace

bool hasSecond60(std::string_view text, Ds50 time) {
    constexpr double kSecond_days = 1.0 / analysis::kSecondsPerDay;
    const double midnight = std::floor(time.days);
    const bool followsLeapSecond =
        time.days - midnight < kSecond_days && tai_minus_utc_s(time) > tai_minus_utc_s({midnight - kSecond_days});
    if (!followsLeapSecond) return false;
    // The last digits before a fraction or a zone are the seconds.
    const std::size_t fraction = std::min(text.find('.'), text.find('+'));
    const std::string_view clock = text.substr(0, fraction);
    const std::size_t end = clock.find_last_of("0123456789");
    return end != std::string_view::npos && end > 0 && clock.substr(end - 1, 2) == "60";
}

std::vector<TimeForm> formsOf(Ds50 time, bool isInLeapSecond) {
    std::vector<TimeForm> forms;
    const SysTime utc = sys_time(time);
    addDates(utc, isInLeapSecond, forms);
    addDays(time, forms);

    const chrono::seconds taiMinusUtc{static_cast<std::int64_t>(tai_minus_utc_s(time)) - (isInLeapSecond ? 1 : 0)};
    const SysTime tai = utc + taiMinusUtc;
    forms.push_back({"tai", "TAI", isoText(tai), false});
    forms.push_back({"tai_minus_utc_s", "TAI - UTC (s)", fmt::format("{}", taiMinusUtc.count()), true});
    const auto gps = tai - kTaiMinusGps - kGpsBegin;
    const auto week = chrono::floor<chrono::weeks>(gps);
    const bool hasGps = gps.count() >= 0;
    const auto second = chrono::round<chrono::microseconds>(gps - week).count();
    forms.push_back({"gps_week", "GPS week", hasGps ? std::to_string(week.count()) : "", true});
    forms.push_back({"gps_s", "GPS seconds of the week",
                     hasGps ? fmt::format("{}.{:06}", second / 1000000, second % 1000000) : "", true});
    const auto unix = chrono::round<chrono::microseconds>(utc).time_since_epoch().count();
    forms.push_back({"unix_s", "Unix seconds",
                     fmt::format("{}{}.{:06}", unix < 0 ? "-" : "", std::abs(unix) / 1000000, std::abs(unix) % 1000000),
                     true});
    return forms;
}

}  // namespace vorlandi::cli
