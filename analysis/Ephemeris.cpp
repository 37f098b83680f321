#include "analysis/Ephemeris.hpp"

#include <algorithm>
#include <cmath>

#include "analysis/PointRange.hpp"

namespace vorlandi::analysis {
namespace {

void fillElapsedTimes(Ephemeris& ephemeris) {
    constexpr double kMicroseconds = 1e6;
    ephemeris.elapsed_s.reserve(ephemeris.size());
    ephemeris.stored_s.reserve(ephemeris.size());
    for (const Ds50 time : ephemeris.times) {
        const double seconds = elapsed_s(ephemeris.times.front(), time);
        ephemeris.stored_s.push_back(seconds);
        ephemeris.elapsed_s.push_back(std::round(seconds * kMicroseconds) / kMicroseconds);
    }
}

std::vector<Matrix6> covariancesIn(const Satellite& satellite, std::int64_t first, std::size_t count) {
    constexpr std::size_t kChunk = 4096;
    std::vector<Matrix6> chunk;
    std::vector<Matrix6> result;
    for (std::size_t done = 0; done < count; done += chunk.size()) {
        chunk.resize(std::min(kChunk, count - done));
        detail::require(VorlanGetEphemerisArr(satellite.key(), first + static_cast<std::int64_t>(done),
                                              static_cast<std::int64_t>(chunk.size()), nullptr, nullptr, nullptr,
                                              detail::raw(chunk.data()), nullptr));
        // Most satellites have none, and need no memory for them.
        if (result.empty() && std::none_of(chunk.begin(), chunk.end(), isCovariance)) continue;
        result.resize(done);
        result.insert(result.end(), chunk.begin(), chunk.end());
    }
    if (!result.empty()) result.resize(count);
    return result;
}

}  // namespace

bool isCovariance(const Matrix6& matrix) noexcept {
    bool any = false;
    for (std::size_t row = 0; row < 6; ++row) {
        any = any || matrix[row][row] != 0.0;
        for (std::size_t column = 0; column < row; ++column) {
            const bool hasVariances = matrix[row][row] != 0.0 && matrix[column][column] != 0.0;
            if (matrix[row][column] != 0.0 && !hasVariances) return false;
        }
    }
    return any;
}

Ephemeris makeEphemeris(std::int32_t number, Frame frame, std::vector<Ds50> times, std::vector<State> states,
                        std::vector<Matrix6> covariances) {
    Ephemeris ephemeris{number, frame, std::move(times), {}, {}, std::move(states), std::move(covariances)};
    fillElapsedTimes(ephemeris);
    return ephemeris;
}

PointRange pointsWithin(const std::vector<Ds50>& times, const Span& range) {
    // Times are written to the microsecond: a time that is off by no more is the same.
    const Ds50 first_days{range.first.days - kMicrosecond_days}, last_days{range.last.days + kMicrosecond_days};
    const auto end = std::upper_bound(times.begin(), times.end(), last_days);
    const auto begin = std::lower_bound(times.begin(), end, first_days);
    return {static_cast<std::size_t>(begin - times.begin()), static_cast<std::size_t>(end - times.begin())};
}

Ephemeris ephemerisOf(const Satellite& satellite, const Span& range) {
    const Fields fields = satellite.fields();
    if (fields.points == 0) return makeEphemeris(fields.number, fields.frame, {}, {});
    std::vector<Ds50> times(static_cast<std::size_t>(fields.points));
    detail::require(VorlanGetEphemerisArr(satellite.key(), 1, fields.points, detail::raw(times.data()), nullptr,
                                          nullptr, nullptr, nullptr));
    const PointRange within = pointsWithin(times, range);
    const auto first = static_cast<std::int64_t>(within.first) + 1;
    times.resize(within.last);
    times.erase(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(within.first));
    if (times.empty()) return makeEphemeris(fields.number, fields.frame, {}, {});

    std::vector<State> states(times.size());
    detail::require(VorlanGetEphemerisArr(satellite.key(), first, static_cast<std::int64_t>(times.size()), nullptr,
                                          detail::raw(states.data()), nullptr, nullptr, nullptr));
    std::vector<Matrix6> covariances = covariancesIn(satellite, first, times.size());
    return makeEphemeris(fields.number, fields.frame, std::move(times), std::move(states), std::move(covariances));
}

}  // namespace vorlandi::analysis
