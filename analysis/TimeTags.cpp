#include "analysis/TimeTags.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>

#include "analysis/Steps.hpp"

namespace vorlandi::analysis {
namespace {

using std::chrono::sys_days;
using std::chrono::year;

constexpr double kResolution_s = 2e-6;  // of times near the end of the range, with what arithmetic adds

double secondsOfDay(Ds50 time) { return (time.days - std::floor(time.days)) * kSecondsPerDay; }

double offMultipleOf(double step_s, double seconds) {
    return std::abs(seconds - step_s * std::round(seconds / step_s));
}

}  // namespace

bool isOutsideSpaceAge(const Ephemeris& ephemeris) {
    static const Ds50 kFirst = ds50(sys_days{year{1957} / 10 / 4});
    static const Ds50 kEnd = ds50(sys_days{year{2057} / 1 / 1});
    return ephemeris.size() > 0 && (ephemeris.times.front() < kFirst || ephemeris.times.back() >= kEnd);
}

const char* likelyTimeScale(const Ephemeris& ephemeris) {
    constexpr std::size_t kLeastPoints = 4;
    constexpr double kTolerance_s = 0.0006;  // files keep milliseconds
    if (ephemeris.size() < kLeastPoints) return nullptr;
    const double step_s = std::round(medianOf(stepsOf(ephemeris)));
    if (!(step_s >= 1.0) || offMultipleOf(step_s, 3600.0) > 0.0) return nullptr;
    const auto allOn = [&](double sinceTai_s, double shareOfTai) {
        return std::all_of(ephemeris.times.begin(), ephemeris.times.end(), [&](Ds50 time) {
            const double seconds = secondsOfDay(time) + shareOfTai * tai_minus_utc_s(time) + sinceTai_s;
            return offMultipleOf(step_s, seconds) <= kTolerance_s;
        });
    };
    if (allOn(0.0, 0.0)) return nullptr;
    if (allOn(-kTaiMinusGps_s, 1.0)) return "GPS";
    if (allOn(0.0, 1.0)) return "TAI";
    if (allOn(kTtMinusTai_s, 1.0)) return "TT";
    return nullptr;
}

double offWholeMilliseconds(const Ephemeris& ephemeris) {
    double largest_s = 0.0;
    for (const Ds50 time : ephemeris.times)
        largest_s = std::max(largest_s, offMultipleOf(0.001, secondsOfDay(time)));
    return largest_s > kResolution_s ? largest_s : 0.0;
}

}  // namespace vorlandi::analysis
