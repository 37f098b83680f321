#include "EphemerisTimes.hpp"

#include <fmt/format.h>

#include <array>
#include <string_view>

namespace vorlandi::tools {
namespace {

constexpr UtcTime kDay0Of1950{std::chrono::sys_days{std::chrono::year{1949} / 12 / 31}};
constexpr UtcTime kDay0Of1970{std::chrono::sys_days{std::chrono::year{1969} / 12 / 31}};

double daysBetween(UtcTime from, UtcTime to) { return static_cast<double>((to - from).count()) / 86400000.0; }

}  // namespace

double daysSince1950(UtcTime time) { return daysBetween(kDay0Of1950, time); }

double daysSince1970(UtcTime time) { return daysBetween(kDay0Of1970, time); }

double secondsBetween(UtcTime from, UtcTime to) { return static_cast<double>((to - from).count()) / 1000.0; }

CalendarTime calendarTime(UtcTime time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date{day};
    const auto newYear = std::chrono::sys_days{date.year() / 1 / 1};
    const auto millisecond = static_cast<unsigned>((time - day).count());
    return {static_cast<int>(date.year()),
            static_cast<unsigned>(date.month()),
            static_cast<unsigned>(date.day()),
            static_cast<unsigned>((day - newYear).count()) + 1,
            millisecond / 3600000,
            millisecond / 60000 % 60,
            millisecond % 60000 / 1000.0};
}

std::string dayOfYearText15(UtcTime time) {
    const auto t = calendarTime(time);
    return fmt::format("{:02}{:03}{:02}{:02}{:06.3f}", t.year % 100, t.dayOfYear, t.hour, t.minute, t.second);
}

std::string dayOfYearText17(UtcTime time) {
    const auto t = calendarTime(time);
    return fmt::format("{:04}{:03}{:02}{:02}{:06.3f}", t.year, t.dayOfYear, t.hour, t.minute, t.second);
}

std::string isoText26(UtcTime time) {
    const auto t = calendarTime(time);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:09.6f}", t.year, t.month, t.day, t.hour, t.minute, t.second);
}

std::string slashText23(UtcTime time) {
    const auto t = calendarTime(time);
    return fmt::format("{:04}/{:02}/{:02} {:02}:{:02}:{:06.3f}", t.year, t.month, t.day, t.hour, t.minute, t.second);
}

std::string monthNameText24(UtcTime time) {
    constexpr std::array<std::string_view, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const auto t = calendarTime(time);
    return fmt::format("{:02} {} {:04} {:02}:{:02}:{:06.3f}", t.day, kMonths.at(t.month - 1), t.year, t.hour, t.minute,
                       t.second);
}

std::string spacedGroupsText19(UtcTime time) {
    const auto t = calendarTime(time);
    return fmt::format("{:02} {:03} {:02} {:02} {:06.3f}", t.year % 100, t.dayOfYear, t.hour, t.minute, t.second);
}

}  // namespace vorlandi::tools
