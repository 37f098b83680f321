#include "Extraction.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <span>

#include "TimeGrid.hpp"
#include "vorlandi/vorlandi.h"
#include "writers/Times.hpp"

namespace vorlandi::cli {
namespace {

constexpr std::size_t kPointsAtOnce = 1024;

static_assert(sizeof(writers::State) == 6 * sizeof(double));

writers::Covariance lowerTriangleOf(const Matrix6& matrix) {
    writers::Covariance triangle;
    auto element = triangle.begin();
    for (std::size_t row = 0; row < 6; ++row)
        element = std::copy_n(matrix[row].begin(), row + 1, element);
    return triangle;
}

// The leap seconds between two times. Days are looked at one by one if there is a difference.
std::vector<writers::LeapStep> leapStepsBetween(double first, double last) {
    std::vector<writers::LeapStep> steps;
    const double atFirst_s = tai_minus_utc_s({first});
    double before_s = atFirst_s;
    if (!writers::hasText(first) || !writers::hasText(last) || atFirst_s == tai_minus_utc_s({last})) return steps;
    for (auto dayNumber = static_cast<std::int64_t>(first) + 1; dayNumber <= static_cast<std::int64_t>(last);
         ++dayNumber) {
        const auto day = static_cast<double>(dayNumber);
        const double here_s = tai_minus_utc_s({day});
        if (here_s != before_s) steps.push_back({day, static_cast<int>(here_s - atFirst_s)});
        before_s = here_s;
    }
    return steps;
}

// Puts points into an ephemeris one after the other, and begins a segment where there is a cut between two of them.
class Extractor {
public:
    Extractor(const SatelliteRecord& satellite, const ExtractionRequest& request)
        : satellite_(satellite), request_(request), storedTimes_(storedTimes(satellite.satellite)) {
        cuts_ = cutsOf(satellite.satellite, storedTimes_, request.tolerance_m);
        result_.ephemeris.number = satellite.number;
        result_.ephemeris.frame = static_cast<writers::Frame>(satellite.frame);
        const Fields fields = satellite.satellite.try_fields().value;
        result_.ephemeris.ke = fields.ke;
        result_.ephemeris.earthRadius_km = fields.earth_radius_km;
    }

    Extraction run() {
        const TimeSpan range = {satellite_.span.snapped(request_.range.from.value_or(satellite_.span.start)),
                                satellite_.span.snapped(request_.range.to.value_or(satellite_.span.end))};
        if (range.start <= range.end && !storedTimes_.empty()) {
            if (request_.step_s)
                takeGrid(range);
            else
                takeStored(range);
        }
        writers::Ephemeris& ephemeris = result_.ephemeris;
        if (!ephemeris.times.empty())
            ephemeris.leapSteps = leapStepsBetween(ephemeris.times.front(), ephemeris.times.back());
        if (!request_.withCovariances || !result_.hasCovariances) ephemeris.covariances.clear();
        return std::move(result_);
    }

private:
    void takeStored(const TimeSpan& range) {
        const auto first =
            std::lower_bound(storedTimes_.begin(), storedTimes_.end(), range.start - kTimeTolerance_days);
        const auto last = std::upper_bound(first, storedTimes_.end(), range.end + kTimeTolerance_days);
        const auto count = static_cast<std::size_t>(last - first);
        writers::Ephemeris& ephemeris = result_.ephemeris;
        ephemeris.times.assign(first, last);
        ephemeris.states.resize(count);
        const auto firstIndex = static_cast<std::size_t>(first - storedTimes_.begin()) + 1;
        for (std::size_t read = 0; read < count; read += kPointsAtOnce)
            readStored(firstIndex, read, std::min(kPointsAtOnce, count - read));
        for (std::size_t i = 0; i < count; ++i)
            addToSegment(i, i > 0 && isCutBetween(cuts_, ephemeris.times[i - 1], ephemeris.times[i]));
    }

    void readStored(std::size_t firstIndex, std::size_t read, std::size_t count) {
        auto* const states = reinterpret_cast<double(*)[6]>(result_.ephemeris.states.data() + read);
        VorlanGetEphemerisArr(satellite_.key(), static_cast<std::int64_t>(firstIndex + read),
                              static_cast<std::int64_t>(count), nullptr, states, revolutions_.data(),
                              readsMatrices() ? detail::raw(matrices_.data()) : nullptr, nullptr);
        takeMatrices(count);
    }

    bool readsMatrices() const { return request_.withCovariances || request_.namesLosses; }

    void takeMatrices(std::size_t count) {
        if (!readsMatrices()) return;
        for (std::size_t i = 0; i < count; ++i) {
            const bool isGiven = isCovariance(matrices_[i]);
            result_.hasCovariances = result_.hasCovariances || isGiven;
            result_.hasRevolutions = result_.hasRevolutions || revolutions_[i] != 0;
            if (request_.withCovariances)
                result_.ephemeris.covariances.push_back(isGiven ? lowerTriangleOf(matrices_[i])
                                                                : writers::Covariance{});
        }
    }

    void takeGrid(const TimeSpan& range) {
        const TimeGrid grid(range.start, range.end, *request_.step_s);
        const TimeSpan& span = satellite_.span;
        const double before = std::floor((span.start - range.start) * kSecondsPerDay / *request_.step_s) - 1.0;
        std::vector<Ds50> times;
        for (auto i = static_cast<std::int64_t>(std::max(before, 0.0)); i < grid.size(); ++i) {
            const double time = grid[i];
            if (time > span.end) break;
            if (time >= span.start) times.push_back({time});
            if (times.size() == kPointsAtOnce) takeAnswers(times);
        }
        takeAnswers(times);
    }

    void takeAnswers(std::vector<Ds50>& times) {
        std::array<std::int32_t, kPointsAtOnce> codes;
        const std::size_t count = times.size();
        satellite_.satellite.try_states(times, std::span(answers_).first(count), std::span(codes).first(count),
                                        std::span(matrices_).first(readsMatrices() ? count : 0),
                                        std::span(revolutions_).first(count));
        writers::Ephemeris& ephemeris = result_.ephemeris;
        std::size_t kept = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const double time = times[i].days;
            const bool isInGap = isInCut(cuts_, time);
            if (codes[i] != 0 || isInGap) {
                auto& [leftOut, first] = isInGap ? result_.inGaps : result_.unanswered;
                if (leftOut++ == 0) first = time;
                broken_ = true;
                continue;
            }
            const bool isCut =
                !ephemeris.times.empty() && (broken_ || isCutBetween(cuts_, ephemeris.times.back(), time));
            addToSegment(ephemeris.times.size(), isCut);
            broken_ = false;
            ephemeris.times.push_back(time);
            ephemeris.states.push_back({answers_[i].position_km, answers_[i].velocity_km_s});
            matrices_[kept] = matrices_[i];
            revolutions_[kept++] = revolutions_[i];
        }
        takeMatrices(kept);
        times.clear();
    }

    void addToSegment(std::size_t index, bool beginsSegment) {
        std::vector<writers::Segment>& segments = result_.ephemeris.segments;
        if (segments.empty() || beginsSegment) segments.push_back({index, 0});
        ++segments.back().count;
    }

    const SatelliteRecord& satellite_;
    const ExtractionRequest& request_;
    const std::vector<double> storedTimes_;
    std::vector<Cut> cuts_;
    Extraction result_;
    bool broken_ = false;  // the last time had no answer
    std::vector<State> answers_ = std::vector<State>(kPointsAtOnce);
    std::vector<Matrix6> matrices_ = std::vector<Matrix6>(kPointsAtOnce);
    std::vector<std::int32_t> revolutions_ = std::vector<std::int32_t>(kPointsAtOnce);
};

}  // namespace

Extraction extract(const SatelliteRecord& satellite, const ExtractionRequest& request) {
    return Extractor(satellite, request).run();
}

}  // namespace vorlandi::cli
