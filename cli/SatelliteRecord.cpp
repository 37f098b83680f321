#include "SatelliteRecord.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace vorlandi::cli {
namespace {

bool hasVelocity(const State& state) {
    return std::any_of(state.velocity_km_s.begin(), state.velocity_km_s.end(), [](double v) { return v != 0.0; });
}

Share shareOf(std::int64_t count, std::int64_t all) {
    if (count == 0) return Share::None;
    return count == all ? Share::All : Share::Some;
}

}  // namespace

double TimeSpan::snapped(double ds50UTC) const {
    if (ds50UTC < start && start - ds50UTC <= kTimeTolerance_days) return start;
    if (ds50UTC > end && ds50UTC - end <= kTimeTolerance_days) return end;
    return ds50UTC;
}

std::optional<double> SatelliteRecord::meanSpacing_s() const {
    const double spacing_s = (span.end - span.start) * kSecondsPerDay / (pointCount - 1);
    if (pointCount < 2 || !std::isfinite(spacing_s)) return std::nullopt;
    return spacing_s;
}

SatelliteRecord recordOf(Satellite satellite) {
    Fields fields = satellite.try_fields().value;
    const Span span = fields.points > 0 ? satellite.try_span().value : Span{};
    return {satellite,
            fields.number,
            fields.frame,
            fields.points,
            {span.first.days, span.last.days},
            std::move(fields.file),
            std::move(fields.tag)};
}

std::vector<SatelliteRecord> loadedSatellites() {
    std::vector<SatelliteRecord> records;
    for (const Satellite satellite : satellites())
        records.push_back(recordOf(satellite));
    return records;
}

std::string nameOf(const RecordOfFile& satellite) {
    const std::string record = satellite.inFile > 1 ? fmt::format(", record {}", satellite.inFile) : "";
    return fmt::format("satellite {} ({}{})", satellite.record.number, satellite.record.file, record);
}

std::string shortNameOf(const RecordOfFile& satellite) {
    return satellite.inFile == 1 ? std::to_string(satellite.record.number)
                                 : fmt::format("{}-{}", satellite.record.number, satellite.inFile);
}

std::vector<double> storedTimes(Satellite satellite) {
    std::vector<double> times;
    for (const Ds50 time : satellite.try_times().value)
        times.push_back(time.days);
    return times;
}

bool hasVelocities(const SatelliteRecord& record) {
    constexpr std::int64_t kStatesAtOnce = 1024;
    std::vector<State> states(kStatesAtOnce);
    for (std::int64_t done = 0; done < record.pointCount; done += kStatesAtOnce) {
        const std::int64_t count = std::min(kStatesAtOnce, record.pointCount - done);
        VorlanGetEphemerisArr(record.key(), done + 1, count, nullptr, detail::raw(states.data()), nullptr, nullptr,
                              nullptr);
        if (std::any_of(states.begin(), states.begin() + count, hasVelocity)) return true;
    }
    return false;
}

Contents contentsOf(const SatelliteRecord& record) {
    std::int64_t velocities = 0;
    std::int64_t covariances = 0;
    for (std::int32_t index = 1; index <= record.pointCount; ++index) {
        const Point point = record.satellite.try_point(index).value;
        velocities += hasVelocity(point.state) ? 1 : 0;
        covariances += isCovariance(point.covariance) ? 1 : 0;
    }
    return {shareOf(velocities, record.pointCount), shareOf(covariances, record.pointCount)};
}

}  // namespace vorlandi::cli
