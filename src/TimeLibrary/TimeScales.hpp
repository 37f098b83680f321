// Time scales: UTC and TAI in days since 1950, and the split TAI time in which differences keep their
// precision.
#pragma once

#include <cmath>
#include <cstdint>

#include "TimeLibrary/LeapSeconds.hpp"

namespace vorlandi {

// A calculation of several steps takes the table once, so that all its steps see the same one.
inline double utc2tai(double ds50UTC, const LeapTable& table = leapTable()) noexcept {
    return ds50UTC + table.atUtc(ds50UTC).daysOffset;
}

// The inverse of utc2tai to within one unit in the last place of the TAI time: utc2tai is monotonic, so a UTC
// time before a step never reaches the step's rounded TAI time, and one from the step on never stays below
// it. A time inside a leap second continues the old day.
inline double tai2utc(double ds50TAI, const LeapTable& table = leapTable()) noexcept {
    return ds50TAI - table.atTai(ds50TAI).daysOffset;
}

// Whole TAI days and the seconds of the day, 0 to 86400. Seconds are exact but for one rounding.
struct SplitTai {
    double days;
    double seconds;
};

// floor, without a call for every time of interest.
inline double wholeDays(double time) noexcept {
    if (!(std::abs(time) < 1e9)) return std::floor(time);
    const auto cut = static_cast<double>(static_cast<std::int32_t>(time));
    return cut > time ? cut - 1.0 : cut;
}

inline SplitTai splitTai(double ds50UTC, double taiMinusUtc) noexcept {
    const double days = wholeDays(ds50UTC);
    const double fraction = ds50UTC - days;
    // From day 512 on the fraction has at most 43 bits and 86400 = 2^7 x 675, so that the product is exact
    // and the sum rounds once, if at all. Earlier the fused operation is needed for that.
    const double seconds =
        std::abs(ds50UTC) >= 512.0 ? fraction * 86400.0 + taiMinusUtc : std::fma(fraction, 86400.0, taiMinusUtc);
    if (seconds >= 86400.0) return {days + 1.0, seconds - 86400.0};
    return {days, seconds};
}

inline SplitTai tosplittai(double ds50UTC, const LeapTable& table = leapTable()) noexcept {
    return splitTai(ds50UTC, table.atUtc(ds50UTC).taiMinusUtc);
}

// a minus b in seconds; good to 2e-11 s for times less than a few days apart.
inline double minus(const SplitTai& a, const SplitTai& b) noexcept {
    return (a.days - b.days) * 86400.0 + (a.seconds - b.seconds);
}

}  // namespace vorlandi
