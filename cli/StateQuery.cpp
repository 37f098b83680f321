#include "StateQuery.hpp"

#include <fmt/format.h>

#include "Spacing.hpp"
#include "TimeGrid.hpp"

namespace vorlandi::cli {
namespace {

// A time without a calendar date is shown as a number.
std::string timeName(double ds50UTC) {
    const std::string iso = isoTime(ds50UTC);
    return iso.empty() ? fmt::format("day {} since 1950", ds50UTC) : iso;
}

std::string nameOf(const Satellite& satellite) { return fmt::format("satellite {}", satellite.number); }

std::string nameOf(const TimeSpan& span) { return fmt::format("{} to {}", timeName(span.start), timeName(span.end)); }

std::string reasonAgainst(double ds50UTC, const TimeSpan& span) {
    if (ds50UTC < span.start || ds50UTC > span.end) return fmt::format("outside of its span, {}", nameOf(span));
    return lastLibraryError();
}

// Asks for the states of one satellite at single times and passes the answers on. Counts the failures and the times in
// gaps.
class Inquiry {
public:
    Inquiry(const Satellite& satellite, Covariance covariance, StateWriter& writer, Console& console)
        : satellite_(satellite),
          covariance_(covariance),
          writer_(writer),
          console_(console),
          gaps_(storedTimes(satellite)),
          failures_(console) {}

    void ask(double ds50UTC) {
        const auto state = stateAt(satellite_, ds50UTC, covariance_);
        if (!state) return fail(ds50UTC);
        writer_.state(*state);
        ++answers_;
        if (!gaps_.contains(ds50UTC)) return;
        if (answersInGaps_++ == 0) firstInGap_ = ds50UTC;
    }

    // True if every time was answered.
    bool finish() {
        if (failures_.heldBack() > 0)
            console_.error(nameOf(satellite_), fmt::format("{} more times without a state, the last {}",
                                                           failures_.heldBack(), timeName(lastFailure_)));
        if (answersInGaps_ > 0)
            console_.warning(nameOf(satellite_),
                             fmt::format("interpolated across gaps between its points, and possibly far off: "
                                         "{} of {} states, the first at {}",
                                         answersInGaps_, answers_, timeName(firstInGap_)));
        return allAnswered_;
    }

private:
    void fail(double ds50UTC) {
        allAnswered_ = false;
        lastFailure_ = ds50UTC;
        if (!failures_.admits()) return;
        console_.error(nameOf(satellite_),
                       fmt::format("no state at {}: {}", timeName(ds50UTC), reasonAgainst(ds50UTC, satellite_.span)));
    }

    const Satellite& satellite_;
    Covariance covariance_;
    StateWriter& writer_;
    Console& console_;
    Gaps gaps_;
    Quota failures_;
    bool allAnswered_ = true;
    double lastFailure_ = 0.0;
    std::int64_t answers_ = 0;
    std::int64_t answersInGaps_ = 0;
    double firstInGap_ = 0.0;
};

bool answerTimes(const StateRequest& request, const Satellite& satellite, StateWriter& writer, Console& console) {
    Inquiry inquiry(satellite, request.covariance, writer, console);
    for (const double time : request.at)
        inquiry.ask(satellite.span.snapped(time));
    return inquiry.finish();
}

bool answerGrid(const StateRequest& request, const TimeSpan& range, const Satellite& satellite, StateWriter& writer,
                Console& console) {
    Inquiry inquiry(satellite, request.covariance, writer, console);
    const TimeGrid grid(range.start, range.end, *request.step_s);
    for (std::int64_t i = 0; i < grid.size(); ++i)
        inquiry.ask(grid[i]);
    return inquiry.finish();
}

// Index of the first stored point that is not earlier; one more than there are if all are.
std::int32_t firstPointFrom(double ds50UTC, const Satellite& satellite) {
    std::int32_t first = 1;
    std::int32_t last = satellite.pointCount;
    while (first <= last) {
        const std::int32_t middle = first + (last - first) / 2;
        const auto point = storedState(satellite, middle, Covariance::LeftOut);
        if (point && point->ds50UTC < ds50UTC) {
            first = middle + 1;
        } else {
            last = middle - 1;
        }
    }
    return first;
}

bool answerStored(const StateRequest& request, const TimeSpan& range, const Satellite& satellite, StateWriter& writer,
                  Console& console) {
    const std::int32_t first = firstPointFrom(range.start - kTimeTolerance_days, satellite);
    std::int32_t index = first;
    for (; index <= satellite.pointCount; ++index) {
        const auto point = storedState(satellite, index, request.covariance);
        if (!point) {
            console.error(nameOf(satellite), fmt::format("point {}: {}", index, lastLibraryError()));
            return false;
        }
        if (point->ds50UTC > range.end + kTimeTolerance_days) break;
        writer.state(*point);
    }
    if (index > first) return true;
    console.error(nameOf(satellite), fmt::format("no stored point from {}", nameOf(range)));
    return false;
}

bool answerRange(const StateRequest& request, const Satellite& satellite, StateWriter& writer, Console& console) {
    const TimeSpan& span = satellite.span;
    const TimeSpan range = {span.snapped(request.from.value_or(span.start)),
                            span.snapped(request.to.value_or(span.end))};
    if (range.start > range.end) {
        console.error(nameOf(satellite), fmt::format("the requested range is outside of its span, {}", nameOf(span)));
        return false;
    }
    return request.step_s ? answerGrid(request, range, satellite, writer, console)
                          : answerStored(request, range, satellite, writer, console);
}

}  // namespace

bool answer(const StateRequest& request, const Satellite& satellite, StateWriter& writer, Console& console) {
    writer.beginSatellite(satellite);
    const bool allWell = request.at.empty() ? answerRange(request, satellite, writer, console)
                                            : answerTimes(request, satellite, writer, console);
    writer.endSatellite();
    return allWell;
}

}  // namespace vorlandi::cli
