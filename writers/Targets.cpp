#include "writers/Targets.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "writers/Times.hpp"

namespace vorlandi::writers {
namespace {

constexpr std::int32_t kFiveDigits = 99999;
constexpr std::int32_t kNineDigits = 999999999;

constexpr int kFirstOfTwoDigits = 1957;  // the first year that two digits can mean
constexpr int kLastOfTwoDigits = 2056;
constexpr double kSameTime_s = 0.5e-6;

using enum TimesKept;
using enum Years;
using enum CovariancesKept;
using enum NameHolds;

// clang-format off
constexpr std::array kTargets{
    Target{"stk", ".e", kStkFrames, false, kNineDigits, Exactly, All,
           "exact", OnRequest, Number, {}, writeStk},
    Target{"universal", ".txt", kUniversalFrames, false, kNineDigits, Exactly, All,
           "9 decimals", No, Nothing, {19, 9, 1.0}, writeUniversal},
    Target{"itc", ".itc", kEciAlone, false, kFiveDigits, ToTheMillisecond, OfTwoDigits,
           "16 columns", Yes, Nothing, {16, 1, 1.0}, writeItc},
    Target{"v31", ".txt", kV31Frames, false, kFiveDigits, ToTheMillisecond, OfTwoDigits,
           "19 columns", No, Nothing, {19, 1, 1000.0}, writeV31},
    Target{"vector", ".txt", kFourFrames, false, kFiveDigits, ToTheMillisecond, OfTwoDigits,
           "16 columns", No, Nothing, {16, 1, 1.0}, writeVector},
    Target{"simobs", ".txt", kFourFrames, false, kFiveDigits, ToTheMillisecond, OfTwoDigits,
           "22 columns", No, Nothing, {22, 1, 1.0}, writeSimObs},
    Target{"dce-text", ".txt", kEciAlone, false, kNineDigits, ExactlySince1970, All,
           "exact", No, Nothing, {}, writeDceText},
    Target{"ecr", ".txt", kEcrAlone, false, kFiveDigits, ToTheMillisecond, OfTwoDigits,
           "exact", No, Nothing, {}, writeEcr},
    Target{"oasys", ".txt", kJ2kAlone, false, kNineDigits, ToTheMillisecond, All,
           "exact", No, Nothing, {}, writeOasys},
    Target{"owner", ".txt", kJ2kAlone, false, kNineDigits, ToTheMillisecond, OfTwoDigits,
           "exact", No, Number, {}, writeOwner},
    Target{"dce-binary", ".DCE", kEciAlone, false, kNineDigits, ExactlySince1970, All,
           "exact", No, Suffix, {}, writeDceBinary},
    Target{"modified-itc", ".txt", kModifiedItcFrames, false, kNineDigits, ToTheMillisecond, All,
           "10 decimals", Yes, FrameAndNumber, {}, writeModifiedItc},
    Target{"oem", ".oem", kOemFrames, true, kNineDigits, Exactly, All,
           "exact", Yes, Nothing, {}, writeOem, beginOem},
    Target{"czml", ".czml", kCzmlFrames, true, kNineDigits, Exactly, All,
           "0.1 mm", No, Nothing, {}, writeCzml, beginCzml, endCzml},
};
// clang-format on

bool isFinite(const Vector3& vector) {
    return std::ranges::all_of(vector, [](double value) { return std::isfinite(value); });
}

bool isFinite(const State& state) { return isFinite(state.position_km) && isFinite(state.velocity_km_s); }

std::string problemOfFrame(const Target& target, Frame frame, const Options& options) {
    const bool isOem = target.write == writeOem;
    const bool isUniversal = target.write == writeUniversal;
    if (isOem && !options.refFrame.empty()) return {};
    if (isUniversal && !options.universalFrame.empty()) return {};
    const FrameNames names = isOem ? oemFrames(options.oemVersion) : target.frames;
    if (!nameIn(names, frame).empty()) return {};
    return fmt::format("its frame is {}, and {} files{} hold {}{}", nameOf(frame), target.name,
                       isOem ? " of version " + options.oemVersion : "", namesOf(names),
                       isUniversal ? "; the option frame-label writes one of these names"
                       : isOem     ? "; the option ref-frame writes a name of your choice"
                                   : "");
}

// A time as messages show it, valid or not.
std::string shown(double time) { return hasText(time) ? isoText26(time) : fmt::format("day {} since 1950", time); }

std::string problemOfTimes(const Target& target, const std::vector<double>& times) {
    for (const double time : {times.front(), times.back()})
        if (!hasText(time)) return fmt::format("the time {} is not in the years 1950 to 2199", shown(time));
    if (target.years == All) return {};
    for (const double time : {times.front(), times.back()}) {
        const int year = calendarTime(time).year;
        if (year < kFirstOfTwoDigits || year > kLastOfTwoDigits)
            return fmt::format("the time {} can't be written: {} files have years of two digits, {} to {}", shown(time),
                               target.name, kFirstOfTwoDigits, kLastOfTwoDigits);
    }
    return {};
}

std::string problemOfNumbers(const Target& target, const Ephemeris& ephemeris) {
    double position = 0.0;
    double velocity = 0.0;
    for (std::size_t i = 0; i < ephemeris.states.size(); ++i) {
        const State& state = ephemeris.states[i];
        if (!isFinite(state)) return fmt::format("the state at {} is not finite", shown(ephemeris.times[i]));
        for (std::size_t k = 0; k < 3; ++k) {
            position = std::max(position, std::abs(state.position_km[k]));
            velocity = std::max(velocity, std::abs(state.velocity_km_s[k]));
        }
    }
    for (std::size_t i = 0; i < ephemeris.covariances.size(); ++i)
        if (!std::ranges::all_of(ephemeris.covariances[i], [](double value) { return std::isfinite(value); }))
            return fmt::format("the covariance at {} is not finite", shown(ephemeris.times[i]));
    if (target.write == writeCzml && !std::isfinite(kMetersPerKilometer * std::max(position, velocity)))
        return fmt::format("the number {:g} is too large in metres", std::max(position, velocity));
    const auto& [width, decimals, velocityScale] = target.columns;
    const double largest = std::max(position, velocity * velocityScale);
    const auto needed = fmt::formatted_size("{:.{}f}", -largest, decimals);
    if (width == 0 || needed <= static_cast<std::size_t>(width)) return {};
    return fmt::format("the number {:g} doesn't fit into {} columns", largest, width);
}

double speed_km_s(const State& state) {
    const auto& [x, y, z] = state.velocity_km_s;
    return std::sqrt(x * x + y * y + z * z);
}

}  // namespace

std::span<const Target> targets() { return kTargets; }

const Target* findTarget(std::string_view name) {
    const auto found = std::ranges::find(kTargets, name, &Target::name);
    return found == kTargets.end() ? nullptr : &*found;
}

std::string nameOf(Frame frame) {
    for (const FrameNames names : {FrameNames(kFourFrames), FrameNames(kUniversalFrames)})
        if (const std::string_view name = nameIn(names, frame); !name.empty()) return std::string(name);
    return fmt::to_string(static_cast<std::int32_t>(frame));
}

std::string namesOf(FrameNames frames) {
    std::string list;
    for (const FrameName& row : frames)
        list += (list.empty() ? "" : ", ") + nameOf(row.frame);
    return list;
}

std::string fileName(const Target& target, const Ephemeris& ephemeris) {
    const std::string record = ephemeris.record == 1 ? "" : fmt::format("_{}", ephemeris.record);
    if (target.nameHolds != FrameAndNumber) return fmt::format("{:05}{}{}", ephemeris.number, record, target.suffix);
    // TYPE_NUMBER_NAME_DAYTIME: the name is the number again, the daytime DDDHHMM.
    const std::string start = dayOfYearText17(ephemeris.times.front()).substr(4, 7);
    return fmt::format("{0}_{1:05}_{1:05}_{2}{3}{4}", nameIn(target.frames, ephemeris.frame), ephemeris.number, start,
                       record, target.suffix);
}

std::string problemOf(const Target& target, const Ephemeris& ephemeris, const Options& options) {
    if (ephemeris.times.empty()) return "it has no points";
    if (std::string problem = problemOfFrame(target, ephemeris.frame, options); !problem.empty()) return problem;
    if (ephemeris.number > target.largestNumber)
        return fmt::format("its number has more than five digits, which {} files can't hold", target.name);
    if (std::string problem = problemOfTimes(target, ephemeris.times); !problem.empty()) return problem;
    return problemOfNumbers(target, ephemeris);
}

TimeRounding roundingOf(const Target& target, const Ephemeris& ephemeris) {
    TimeRounding rounding;
    if (target.times == Exactly) return rounding;
    const bool isSince1970 = target.times == ExactlySince1970;
    const auto kept = [=](double time) {
        return isSince1970 ? timeSince1970(daysSince1970(time)) : timeOfMilliseconds(roundedToMilliseconds(time));
    };
    double before = -std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        const double time = kept(ephemeris.times[i]);
        const double change_s = std::abs(time - ephemeris.times[i]) * kSecondsPerDay;
        rounding.joinsPoints = rounding.joinsPoints || time <= before;
        before = time;
        if (change_s <= (isSince1970 ? 0.0 : kSameTime_s)) continue;
        if (rounding.count++ == 0) rounding.firstTime = ephemeris.times[i];
        rounding.largest_s = std::max(rounding.largest_s, change_s);
        rounding.largest_m = std::max(rounding.largest_m, change_s * speed_km_s(ephemeris.states[i]) * 1000.0);
    }
    return rounding;
}

}  // namespace vorlandi::writers
