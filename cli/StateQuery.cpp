#include "StateQuery.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <span>

#include "Spacing.hpp"
#include "TimeGrid.hpp"
#include "analysis/Covariances.hpp"
#include "analysis/InterpolationErrors.hpp"
#include "analysis/Steps.hpp"
#include "analysis/Texts.hpp"

namespace vorlandi::cli {
namespace {

// A time without a calendar date is shown as a number.
std::string timeName(double ds50UTC) {
    const std::string iso = isoTime(ds50UTC);
    return iso.empty() ? fmt::format("day {} since 1950", ds50UTC) : iso;
}

std::string nameOf(const SatelliteRecord& satellite) { return fmt::format("satellite {}", satellite.number); }

std::string nameOf(const TimeSpan& span) { return fmt::format("{} to {}", timeName(span.start), timeName(span.end)); }

std::string reasonAgainst(double ds50UTC, const SatelliteRecord& record) {
    const TimeSpan& span = record.span;
    if (ds50UTC < span.start || ds50UTC > span.end) return fmt::format("outside its span, {}", nameOf(span));
    record.satellite.try_state({ds50UTC});  // a batch logs only its first failure
    return last_error();
}

// Adds the requested columns to the states of a satellite.
class StateRows {
public:
    StateRows(const SatelliteRecord& satellite, const StateColumns& columns)
        : satellite_(satellite), columns_(columns) {
        if (!columns.error) return;
        ephemeris_ = analysis::ephemerisOf(satellite.satellite);
        if (ephemeris_.size() >= analysis::kWindow) errors_ = analysis::estimatedErrors(ephemeris_);
    }

    bool needsCovariances() const { return columns_.covariance || columns_.sigma; }

    StateRow rowOf(const Point& point) const {
        StateRow row{point, {}, {}};
        if (columns_.sigma) row.sigma_m = analysis::orbitSigmas_m(point.covariance, point.state, satellite_.frame);
        if (columns_.error) row.error_m = analysis::errorAt(ephemeris_, errors_, point.time);
        return row;
    }

private:
    const SatelliteRecord& satellite_;
    StateColumns columns_;
    analysis::Ephemeris ephemeris_;
    analysis::InterpolationErrors errors_;
};

// Queries the states of one satellite at single times and writes them. Counts the failures and the times in gaps.
class TimesQuery {
public:
    TimesQuery(const SatelliteRecord& satellite, const StateColumns& columns, StateWriter& writer, Console& console)
        : satellite_(satellite),
          rows_(satellite, columns),
          writer_(writer),
          console_(console),
          gaps_(satellite.satellite),
          states_(kTimesAtOnce),
          codes_(kTimesAtOnce),
          revolutions_(kTimesAtOnce),
          covariances_(rows_.needsCovariances() ? kTimesAtOnce : 0),
          failures_(console) {}

    // The times are answered in batches.
    void answer(double ds50UTC) {
        times_.push_back({satellite_.span.snapped(ds50UTC)});
        if (times_.size() == kTimesAtOnce) answerAll();
    }

    // True if every time was answered.
    bool finish() {
        answerAll();
        if (failures_.heldBack() > 0)
            console_.error(nameOf(satellite_),
                           fmt::format("{} without a state, the last {}",
                                       analysis::countText(failures_.heldBack(), "more time"), timeName(lastFailure_)));
        if (answersInGaps_ > 0)
            console_.warning(nameOf(satellite_),
                             fmt::format("{} of {} {} interpolated across gaps between its points and can be far off, "
                                         "the first at {}",
                                         answersInGaps_, analysis::countText(answers_, "state"),
                                         analysis::isOrAre(answersInGaps_), timeName(firstInGap_)));
        return allAnswered_;
    }

private:
    static constexpr std::size_t kTimesAtOnce = 1024;

    void answerAll() {
        const std::size_t count = times_.size();
        const auto covariances = std::span(covariances_).first(rows_.needsCovariances() ? count : 0);
        satellite_.satellite.try_states(times_, std::span(states_).first(count), std::span(codes_).first(count),
                                        covariances, std::span(revolutions_).first(count));
        for (std::size_t i = 0; i < count; ++i) {
            if (codes_[i] != 0) {
                fail(times_[i].days);
                continue;
            }
            const Matrix6 covariance = covariances.empty() ? Matrix6{} : covariances[i];
            writer_.state(rows_.rowOf({times_[i], states_[i], revolutions_[i], covariance}));
            ++answers_;
            if (!gaps_.contains(times_[i].days)) continue;
            if (answersInGaps_++ == 0) firstInGap_ = times_[i].days;
        }
        times_.clear();
    }

    void fail(double ds50UTC) {
        allAnswered_ = false;
        lastFailure_ = ds50UTC;
        if (!failures_.admits()) return;
        console_.error(nameOf(satellite_),
                       fmt::format("no state at {}: {}", timeName(ds50UTC), reasonAgainst(ds50UTC, satellite_)));
    }

    const SatelliteRecord& satellite_;
    StateRows rows_;
    StateWriter& writer_;
    Console& console_;
    Gaps gaps_;
    std::vector<Ds50> times_;
    std::vector<State> states_;
    std::vector<std::int32_t> codes_;
    std::vector<std::int32_t> revolutions_;
    std::vector<Matrix6> covariances_;
    Quota failures_;
    bool allAnswered_ = true;
    double lastFailure_ = 0.0;
    std::size_t answers_ = 0;
    std::size_t answersInGaps_ = 0;
    double firstInGap_ = 0.0;
};

bool answerTimes(const StateRequest& request, const SatelliteRecord& satellite, StateWriter& writer, Console& console) {
    TimesQuery query(satellite, request.columns, writer, console);
    for (const double time : request.at)
        query.answer(time);
    return query.finish();
}

bool answerGrid(const StateRequest& request, const TimeSpan& range, const SatelliteRecord& satellite,
                StateWriter& writer, Console& console) {
    TimesQuery query(satellite, request.columns, writer, console);
    const TimeGrid grid(range.start, range.end, *request.step_s);
    for (std::int64_t i = 0; i < grid.size(); ++i)
        query.answer(grid[i]);
    return query.finish();
}

bool answerStored(const StateRequest& request, const TimeSpan& range, const SatelliteRecord& satellite,
                  StateWriter& writer, Console& console) {
    const StateRows rows(satellite, request.columns);
    const std::vector<double> times = storedTimes(satellite.satellite);
    const auto begin = std::lower_bound(times.begin(), times.end(), range.start - kTimeTolerance_days);
    const auto first = static_cast<std::int32_t>(begin - times.begin()) + 1;
    std::int32_t index = first;
    for (; index <= satellite.pointCount; ++index) {
        const auto point = satellite.satellite.try_point(index);
        if (!point) {
            console.error(nameOf(satellite), fmt::format("point {}: {}", index, last_error()));
            return false;
        }
        if (point.value.time.days > range.end + kTimeTolerance_days) break;
        writer.state(rows.rowOf(point.value));
    }
    if (index > first) return true;
    console.error(nameOf(satellite), fmt::format("no stored point from {}", nameOf(range)));
    return false;
}

bool answerRange(const StateRequest& request, const SatelliteRecord& satellite, StateWriter& writer, Console& console) {
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

bool answer(const StateRequest& request, const SatelliteRecord& satellite, StateWriter& writer, Console& console) {
    writer.beginSatellite(satellite);
    const bool allWell = request.at.empty() ? answerRange(request, satellite, writer, console)
                                            : answerTimes(request, satellite, writer, console);
    writer.endSatellite();
    return allWell;
}

}  // namespace vorlandi::cli
