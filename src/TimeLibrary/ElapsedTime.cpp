#include "TimeLibrary/ElapsedTime.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorlandi {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// An epoch in days has lost up to 0.2 microseconds: offsets that reach a step to within this are at it.
constexpr double kRoundingOfEpoch = 5e-7;  // s

const LeapStep& stepBefore(const LeapStep& step, const LeapTable& table) noexcept {
    return table.atUtc(std::nextafter(step.day, -kInfinity));
}

}  // namespace

ElapsedTime::ElapsedTime(double epochUTC, bool inLeapSecond, const LeapTable& table) noexcept
    : epoch_(epochUTC),
      epochOffset_(inLeapSecond ? 1.0 : 0.0),
      table_(table),
      taiMinusUtc_(table.atUtc(epochUTC).taiMinusUtc) {
    enter(table.atUtc(epochUTC));
}

void ElapsedTime::enter(const LeapStep& step) noexcept {
    const auto secondsTo = [this](const LeapStep& next) {
        return (next.day - epoch_) * kSecondsPerDay + (next.taiMinusUtc - taiMinusUtc_) - kRoundingOfEpoch;
    };
    step_ = &step;
    leapSeconds_ = step.taiMinusUtc - taiMinusUtc_;
    // The value of the first step also holds before it.
    from_ = &stepBefore(step, table_) == &step ? -kInfinity : secondsTo(step);
    leapSecond_ = end_ = kInfinity;
    if (step.nextDay == kInfinity) return;
    const LeapStep& next = table_.atUtc(step.nextDay);
    end_ = secondsTo(next);
    leapSecond_ = end_ - std::max(next.taiMinusUtc - step.taiMinusUtc, 0.0);
}

void ElapsedTime::moveTo(double seconds) noexcept {
    while (seconds < from_)
        enter(stepBefore(*step_, table_));
    while (seconds >= end_)
        enter(table_.atUtc(step_->nextDay));
}

}  // namespace vorlandi
