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
    if (ds50UTC < span.start || ds50UTC > span.end) return fmt::format("outside its span, {}", nameOf(span));
    return lastLibraryError();
}

// Queries the states of one satellite at single times and writes them. Counts the failures and the times in gaps.
class TimesQuery {
public:
    TimesQuery(const Satellite& satellite, WithCovariance withCovariance, StateWriter& writer, Console& console)
        : satellite_(satellite),
          withCovariance_(withCovariance),
          writer_(writer),
          console_(console),
          gaps_(storedTimes(satellite)),
          failures_(console) {}

    void answer(double ds50UTC) {
        const auto state = interpolatedState(satellite_, ds50UTC, withCovariance_);
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
                             fmt::format("{} of {} states are interpolated across gaps between its points and can be "
                                         "far off, the first at {}",
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
    WithCovariance withCovariance_;
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
    TimesQuery query(satellite, request.withCovariance, writer, console);
    for (const double time : request.at)
        query.answer(satellite.span.snapped(time));
    return query.finish();
}

bool answerGrid(const StateRequest& request, const TimeSpan& range, const Satellite& satellite, StateWriter& writer,
                Console& console) {
    TimesQuery query(satellite, request.withCovariance, writer, console);
    const TimeGrid grid(range.start, range.end, *request.step_s);
    for (std::int64_t i = 0; i < grid.size(); ++i)
        query.answer(grid[i]);
    return query.finish();
}

// Index of the first stored point that is not earlier; pointCount + 1 if all are.
std::int32_t firstPointFrom(double ds50UTC, const Satellite& satellite) {
    std::int32_t first = 1;
    std::int32_t last = satellite.pointCount;
    while (first <= last) {
        const std::int32_t middle = first + (last - first) / 2;
        const auto point = storedState(satellite, middle, WithCovariance::No);
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
        const auto point = storedState(satellite, index, request.withCovariance);
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
        console.error(nameOf(satellite), fmt::format("the requested range is outside its span, {}", nameOf(span)));
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
