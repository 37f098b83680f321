// Time scales: UTC and TAI in days since 1950, and split TAI times, whose differences keep full precision.
#pragma once

#include <cmath>
#include <cstdint>

#include "CoreServices/Units.hpp"
#include "TimeLibrary/LeapSeconds.hpp"

namespace vorlandi {

// A calculation of several steps takes the table once and passes it, so that all steps use the same table.
inline double utc2tai(double ds50UTC, const LeapTable& table = leapTable()) noexcept {
    return ds50UTC + table.atUtc(ds50UTC).daysOffset;
}

// The inverse of utc2tai to within one unit in the last place of the TAI time. utc2tai is monotonic: only UTC times
// from a step on reach the step's rounded TAI time. A time inside a leap second continues the old day.
inline double tai2utc(double ds50TAI, const LeapTable& table = leapTable()) noexcept {
    return ds50TAI - table.atTai(ds50TAI).daysOffset;
}

// Whole TAI days and the seconds of the day, 0 to 86400. The seconds are rounded once.
struct SplitTai {
    double days;
    double seconds;
};

// std::floor, without a call for usual times.
constexpr double kWholeDaysBelow = 1e9;
inline double wholeDays(double time) noexcept {
    if (!(std::abs(time) < kWholeDaysBelow)) return std::floor(time);
    const auto cut = static_cast<double>(static_cast<std::int32_t>(time));
    return cut > time ? cut - 1.0 : cut;
}

// From day 512 on the fraction has at most 43 bits and 86400 = 2^7 x 675, so the product is exact and only the
// sum rounds. Earlier days need the fused operation to round once.
constexpr double kExactFractionFrom = 512.0;
inline SplitTai splitTai(double ds50UTC, double taiMinusUtc) noexcept {
    const double days = wholeDays(ds50UTC);
    const double fraction = ds50UTC - days;
    const double seconds = std::abs(ds50UTC) >= kExactFractionFrom ? fraction * kSecondsPerDay + taiMinusUtc
                                                                   : std::fma(fraction, kSecondsPerDay, taiMinusUtc);
    if (seconds >= kSecondsPerDay) return {days + 1.0, seconds - kSecondsPerDay};
    return {days, seconds};
}

inline SplitTai tosplittai(double ds50UTC, const LeapTable& table = leapTable()) noexcept {
    return splitTai(ds50UTC, table.atUtc(ds50UTC).taiMinusUtc);
}

// a minus b in seconds; good to 2e-11 s for times less than a few days apart.
inline double minus(const SplitTai& a, const SplitTai& b) noexcept {
    return (a.days - b.days) * kSecondsPerDay + (a.seconds - b.seconds);
}

}  // namespace vorlandi
