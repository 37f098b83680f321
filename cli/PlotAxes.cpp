#include "PlotAxes.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>

#include "SatelliteRecord.hpp"

namespace vorlandi::cli {
namespace {

// Steps in seconds.
constexpr double kHour = 3600.0;
constexpr double kRoundTimes[] = {1,   2,   5,    10,    15,        30,        60,        120,        300,
                                  600, 900, 1800, kHour, 2 * kHour, 3 * kHour, 6 * kHour, 12 * kHour, 24 * kHour};

double roundStep(double wanted) {
    const double power = std::pow(10.0, std::floor(std::log10(wanted)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= wanted) return factor * power;
    return 10.0 * power;
}

double roundTimeStep_s(double wanted) {
    for (const double step : kRoundTimes)
        if (step >= wanted) return step;
    return kSecondsPerDay * roundStep(wanted / kSecondsPerDay);
}

// The part of "2026-01-31T06:00:00.000000" that tells one tick from the next.
std::string textOf(double days, double step_s) {
    const std::string text = isoTime(days);
    if (text.size() < 19) return "";
    const bool isMidnight = text.substr(11, 8) == "00:00:00";
    if (isMidnight || step_s >= kSecondsPerDay) return text.substr(0, 10);
    return text.substr(11, step_s < 60.0 ? 8 : 5);
}

}  // namespace

std::vector<Tick> evenTicks(double least, double largest, int count) {
    std::vector<Tick> ticks;
    const double step = roundStep((largest - least) / count);
    const double first = std::ceil(least / step);
    for (int i = 0; i <= count; ++i)
        if (const double value = (first + i) * step; value <= largest)
            ticks.push_back({value, fmt::format("{:.9g}", value)});
    return ticks;
}

std::vector<Tick> decadeTicks(double least, double largest) {
    std::vector<Tick> ticks;
    const auto first = static_cast<int>(std::ceil(std::log10(least) - 1e-9));
    const auto last = static_cast<int>(std::floor(std::log10(largest) + 1e-9));
    const int step = std::max(1, (last - first + 3) / 4);
    for (int power = first; power <= last; power += step)
        ticks.push_back({std::pow(10.0, power), fmt::format("{:g}", std::pow(10.0, power))});
    return ticks;
}

std::vector<Tick> timeTicks(const Span& span, int count) {
    std::vector<Tick> ticks;
    const double step_s = roundTimeStep_s((span.last.days - span.first.days) * kSecondsPerDay / count);
    const double step_days = step_s / kSecondsPerDay;
    for (auto k = static_cast<std::int64_t>(std::ceil(span.first.days / step_days));; ++k) {
        const double tick_days = static_cast<double>(k) * step_days;
        if (!(tick_days <= span.last.days)) break;
        // Times between two microseconds would show as the one before.
        const double days = std::round(tick_days * kSecondsPerDay) / kSecondsPerDay;
        ticks.push_back({days, textOf(days + 1e-7 / kSecondsPerDay, step_s)});
    }
    return ticks;
}

}  // namespace vorlandi::cli
