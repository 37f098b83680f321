#include "TimeLibrary/EpochTexts.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "CoreServices/Texts.hpp"
#include "CoreServices/Units.hpp"
#include "TimeLibrary/Calendar.hpp"
#include "TimeLibrary/DateTexts.hpp"
#include "TimeLibrary/TimeScales.hpp"

namespace vorlandi {
namespace {

constexpr std::size_t kDateEnd = LastDay::kDateSize, kDayOfYearEnd = 8;

// A day number and the seconds of that day, in the scale of the text.
struct DayTime {
    double day;
    double second;
};

// Up to this many decimals the digits of a second and the power of ten are exact, so that their quotient is rounded as
// the decimal number would be.
constexpr std::size_t kMostDecimals = 13;
constexpr double kPowersOfTen[kMostDecimals + 1] = {1e0, 1e1, 1e2, 1e3,  1e4,  1e5,  1e6,
                                                    1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13};

// A field of digits; negative if anything else is in it.
template <std::size_t Width>
int digitsAt(std::string_view text, std::size_t at) noexcept {
    unsigned value = 0;
    bool good = true;
    for (std::size_t k = at; k < at + Width; ++k) {
        good &= isDigit(text[k]);
        value = value * 10 + static_cast<unsigned>(text[k] - '0');
    }
    return good ? static_cast<int>(value) : -1;
}

// Whole seconds and what follows them; negative if that is not a point and at most kMostDecimals digits.
double secondsWith(int whole, std::string_view rest) noexcept {
    if (rest.empty()) return whole;
    const std::size_t decimals = rest.size() - 1;
    if (rest[0] != '.' || decimals > kMostDecimals) return -1.0;
    std::int64_t digits = whole;
    for (const char c : rest.substr(1)) {
        if (!isDigit(c)) return -1.0;
        digits = digits * 10 + (c - '0');
    }
    return static_cast<double>(digits) / kPowersOfTen[decimals];
}

// The day number of YYYY-MM-DD or YYYY-DDD.
std::optional<double> dayOf(std::string_view date) noexcept {
    const bool hasDayOfYear = date.size() == kDayOfYearEnd;
    if (date[4] != '-' || (!hasDayOfYear && date[7] != '-')) return std::nullopt;
    const int year = digitsAt<4>(date, 0);
    if (year < kFirstYear) return std::nullopt;
    const int dayOfYear =
        hasDayOfYear ? digitsAt<3>(date, 5) : mmdd2jul(year, digitsAt<2>(date, 5), digitsAt<2>(date, 8));
    if (dayOfYear < 1 || dayOfYear > daysInYear(year)) return std::nullopt;
    return static_cast<double>(dayZeroOfYear(year) + dayOfYear);
}

}  // namespace

std::optional<double> LastDay::of(std::string_view text) noexcept {
    if (std::memcmp(text.data(), date_.data(), kDateEnd) == 0) return day_;
    const auto day = dayOf(text.substr(0, kDateEnd));
    if (day) {
        std::copy_n(text.begin(), kDateEnd, date_.begin());
        day_ = *day;
    }
    return day;
}

namespace {

// The usual form: every field has its full width. Second 60 is left to the other one.
std::optional<DayTime> usualForm(std::string_view text, LastDay& lastDay) noexcept {
    constexpr std::size_t kTimeWidth = 8;
    if (text.ends_with('Z')) text.remove_suffix(1);
    const bool hasDayOfYear = text.size() > kDayOfYearEnd && text[kDayOfYearEnd] == 'T';
    const std::size_t dateEnd = hasDayOfYear ? kDayOfYearEnd : kDateEnd;
    if (text.size() < dateEnd + 1 + kTimeWidth || text[dateEnd] != 'T') return std::nullopt;
    const std::string_view time = text.substr(dateEnd + 1);
    if (time[2] != ':' || time[5] != ':') return std::nullopt;
    const auto day = hasDayOfYear ? dayOf(text.substr(0, kDayOfYearEnd)) : lastDay.of(text);
    if (!day) return std::nullopt;
    const int hour = digitsAt<2>(time, 0), minute = digitsAt<2>(time, 3), whole = digitsAt<2>(time, 6);
    if ((hour | minute | whole) < 0) return std::nullopt;
    if (hour > 23 || minute > 59 || whole > 59) return std::nullopt;
    const double second = secondsWith(whole, time.substr(kTimeWidth));
    if (second < 0.0) return std::nullopt;
    return DayTime{*day, hour * 3600.0 + minute * 60.0 + second};
}

// The other forms with dashes that dtg2ds50utc accepts. It knows leap seconds, which exist only in UTC.
std::optional<double> looseForm(std::string_view text, TimeScale scale) noexcept {
    if (text.size() < 5 || text[4] != '-') return std::nullopt;
    if (scale != TimeScale::Utc && isSecond60(text)) return std::nullopt;
    const double time = dtg2ds50utc(text);
    return time != 0.0 ? std::optional(time) : std::nullopt;
}

// TAI minus the scale, in seconds.
double taiMinus(TimeScale scale) noexcept {
    switch (scale) {
        case TimeScale::Gps:
            return 19.0;
        case TimeScale::Tt:
            return -32.184;
        default:
            return 0.0;
    }
}

double inUtc(DayTime time, TimeScale scale, bool& inLeapSecond) noexcept {
    if (scale != TimeScale::Utc) {
        const double toTai = taiMinus(scale);
        const double tai = time.day + (time.second + toTai) / kSecondsPerDay;
        const LeapStep& step = leapTable().atTai(tai);
        time.second -= step.taiMinusUtc - toTai;
        if (time.second < 0.0) {
            time.day -= 1.0;
            time.second += kSecondsPerDay;
        }
        inLeapSecond = time.day >= step.nextDay;
    }
    return time.day + time.second / kSecondsPerDay;
}

}  // namespace

std::optional<double> epochToDs50utc(std::string_view text, TimeScale scale, LastDay& lastDay,
                                     bool& inLeapSecond) noexcept {
    inLeapSecond = false;
    if (const auto time = usualForm(text, lastDay)) return inUtc(*time, scale, inLeapSecond);
    const auto time = looseForm(text, scale);
    if (time && scale == TimeScale::Utc) inLeapSecond = isSecond60(text);
    if (!time || scale == TimeScale::Utc) return time;
    const double day = wholeDays(*time);
    return inUtc({day, (*time - day) * kSecondsPerDay}, scale, inLeapSecond);
}

}  // namespace vorlandi
