#include "StateQuery.hpp"

#include <fmt/format.h>

#include <limits>

#include "TimeGrid.hpp"

namespace vorlandi::cli {
namespace {

constexpr std::int64_t kReportAll = std::numeric_limits<std::int64_t>::max();

// A range may fail at a thousand million times; after so many failures of a satellite only their number is
// told.
constexpr std::int64_t kReportedOfRange = 10;

constexpr double kTolerance_days = kTimeTolerance_s / kSecondsPerDay;

// A time that has no calendar date is told as it is.
std::string timeName(double ds50_utc) {
    const std::string iso = isoTime(ds50_utc);
    return iso.empty() ? fmt::format("day {} since 1950", ds50_utc) : iso;
}

std::string nameOf(const Satellite& satellite) { return fmt::format("satellite {}", satellite.number); }

// Asks for the states of one satellite, passes the answers on and keeps count of the failures.
class Inquiry {
public:
    Inquiry(const Satellite& satellite, StateWriter& writer, Console& console, std::int64_t reported)
        : satellite_(satellite), writer_(writer), console_(console), reported_(reported) {}

    void ask(double ds50_utc, Covariance covariance) {
        if (const auto state = stateAt(satellite_, ds50_utc, covariance)) return writer_.state(*state);
        if (++failures_ <= reported_)
            console_.error(nameOf(satellite_), fmt::format("{}: {}", timeName(ds50_utc), lastLibraryError()));
        last_failure_ = ds50_utc;
    }

    bool finish() {
        if (failures_ > reported_)
            console_.error(nameOf(satellite_), fmt::format("{} more times without a state, the last {}",
                                                           failures_ - reported_, timeName(last_failure_)));
        return failures_ == 0;
    }

private:
    const Satellite& satellite_;
    StateWriter& writer_;
    Console& console_;
    std::int64_t reported_;
    std::int64_t failures_ = 0;
    double last_failure_ = 0.0;
};

bool answerTimes(const StateRequest& request, const Satellite& satellite, StateWriter& writer,
                 Console& console) {
    Inquiry inquiry(satellite, writer, console, kReportAll);
    for (const double time : request.at)
        inquiry.ask(satellite.span.snapped(time), request.covariance);
    return inquiry.finish();
}

bool answerGrid(const StateRequest& request, const TimeSpan& range, const Satellite& satellite,
                StateWriter& writer, Console& console) {
    Inquiry inquiry(satellite, writer, console, kReportedOfRange);
    const TimeGrid grid(range.start, range.end, *request.step_s);
    for (std::int64_t i = 0; i < grid.size(); ++i)
        inquiry.ask(grid[i], request.covariance);
    return inquiry.finish();
}

// Index of the first stored point that is not earlier; one more than there are if all are.
std::int32_t firstPointFrom(double ds50_utc, const Satellite& satellite) {
    std::int32_t first = 1;
    std::int32_t last = satellite.point_count;
    while (first <= last) {
        const std::int32_t middle = first + (last - first) / 2;
        const auto point = storedState(satellite, middle, Covariance::kLeftOut);
        if (point && point->ds50_utc < ds50_utc) {
            first = middle + 1;
        } else {
            last = middle - 1;
        }
    }
    return first;
}

bool answerStored(const StateRequest& request, const TimeSpan& range, const Satellite& satellite,
                  StateWriter& writer, Console& console) {
    const std::int32_t first = firstPointFrom(range.start - kTolerance_days, satellite);
    std::int32_t index = first;
    for (; index <= satellite.point_count; ++index) {
        const auto point = storedState(satellite, index, request.covariance);
        if (!point) {
            console.error(nameOf(satellite), fmt::format("point {}: {}", index, lastLibraryError()));
            return false;
        }
        if (point->ds50_utc > range.end + kTolerance_days) break;
        writer.state(*point);
    }
    if (index > first) return true;
    console.error(nameOf(satellite),
                  fmt::format("no stored point from {} to {}", timeName(range.start), timeName(range.end)));
    return false;
}

bool answerRange(const StateRequest& request, const Satellite& satellite, StateWriter& writer,
                 Console& console) {
    const TimeSpan& span = satellite.span;
    const TimeSpan range = {span.snapped(request.from.value_or(span.start)),
                            span.snapped(request.to.value_or(span.end))};
    if (range.start > range.end) {
        console.error(nameOf(satellite),
                      fmt::format("its points, from {} to {}, lie outside the requested range",
                                  timeName(span.start), timeName(span.end)));
        return false;
    }
    return request.step_s ? answerGrid(request, range, satellite, writer, console)
                          : answerStored(request, range, satellite, writer, console);
}

}  // namespace

bool answer(const StateRequest& request, const Satellite& satellite, StateWriter& writer, Console& console) {
    writer.beginSatellite(satellite);
    const bool all_well = request.at.empty() ? answerRange(request, satellite, writer, console)
                                             : answerTimes(request, satellite, writer, console);
    writer.endSatellite();
    return all_well;
}

}  // namespace vorlandi::cli
