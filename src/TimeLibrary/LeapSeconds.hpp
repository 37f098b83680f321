// The leap-second table: TAI - UTC as a step function of UTC. A step takes effect at 0h UTC of its day;
// before the first step its value holds (10 s before 1972).
//
// Tables are immutable. A new one replaces the old one as a whole; the old ones are kept, since another thread may be
// reading them.
#pragma once

#include <atomic>
#include <string_view>
#include <vector>

#include "CoreServices/BoundedText.hpp"

namespace vorlandi {

struct LeapStep {
    double day;          // Ds50UTC at which the step takes effect
    double taiMinusUtc;  // seconds, from then on
    double daysOffset;   // the same in days
    double dayTai;       // the step's day on the TAI scale, rounded exactly as utc2tai rounds it
    double nextDay;      // day of the next step, infinity for the last

    bool operator==(const LeapStep&) const = default;
};

class LeapTable {
public:
    // Steps in ascending order, at least one; `day` and `taiMinusUtc` of each given.
    explicit LeapTable(std::vector<LeapStep> steps);

    bool operator==(const LeapTable& other) const noexcept { return steps_ == other.steps_; }

    // The step in force at a UTC time, or at a TAI time.
    const LeapStep& atUtc(double ds50UTC) const noexcept { return at<&LeapStep::day>(ds50UTC); }
    const LeapStep& atTai(double ds50TAI) const noexcept { return at<&LeapStep::dayTai>(ds50TAI); }

    // Does the day that begins at this day number end with a leap second?
    bool endsWithLeapSecond(double day) const noexcept;

private:
    // Recent times are the common ones: searched from the latest step on.
    template <double LeapStep::*Begin>
    const LeapStep& at(double time) const noexcept {
        const LeapStep* step = last_;
        while (step != first_ && !(time >= step->*Begin))
            --step;
        return *step;
    }

    std::vector<LeapStep> steps_;
    const LeapStep* first_;
    const LeapStep* last_;
};

// The table in force.
extern std::atomic<const LeapTable*> currentLeapTable;
inline const LeapTable& leapTable() noexcept { return *currentLeapTable.load(std::memory_order_acquire); }

// Reads the text of a leap-seconds.list; the table, or null with `problem` saying where and why it is bad.
const LeapTable* parseLeapSeconds(std::string_view text, MessageText& problem);

// Replaces the table in force by a file's. 0, the errno of a failed open, or 2 with a logged message.
int loadLeapSeconds(std::string_view fileName);

// Deletes all tables, including the one in force: for unloading.
void freeLeapTables() noexcept;

}  // namespace vorlandi
