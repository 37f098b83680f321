// Times that a file counts in elapsed seconds from an epoch: UTC of (TAI of the epoch plus the offset). Where no leap
// second lies between, that is epoch + offset / 86400 to the last bit.
#pragma once

#include "CoreServices/Units.hpp"
#include "TimeLibrary/LeapSeconds.hpp"

namespace vorlandi {

class ElapsedTime {
public:
    // `inLeapSecond`: the epoch is in second 60, which has the Ds50UTC of the second after it.
    explicit ElapsedTime(double epochUTC, bool inLeapSecond = false, const LeapTable& table = leapTable()) noexcept;

    // Ds50UTC. A time inside a leap second continues the old day: it equals the time a second later.
    double utcAt(double seconds) noexcept {
        seconds -= epochOffset_;
        if (!(seconds >= from_ && seconds < end_)) [[unlikely]]
            moveTo(seconds);
        return epoch_ + (seconds - leapSeconds_) / kSecondsPerDay;
    }

    // Is a time inside a leap second?
    bool isInLeapSecond(double seconds) noexcept {
        seconds -= epochOffset_;
        if (!(seconds >= from_ && seconds < end_)) [[unlikely]]
            moveTo(seconds);
        return seconds >= leapSecond_;
    }

private:
    void enter(const LeapStep& step) noexcept;
    void moveTo(double seconds) noexcept;

    double epoch_;
    double epochOffset_;  // elapsed seconds of epoch_, 0 or 1
    const LeapTable& table_;
    double taiMinusUtc_;        // at the epoch
    const LeapStep* step_;      // the step in force from from_ to end_
    double from_, end_;         // seconds since epoch_
    double leapSecond_;         // where the one before end_ begins, end_ if there is none
    double leapSeconds_ = 0.0;  // between the epoch and this span
};

}  // namespace vorlandi
