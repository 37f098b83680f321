// What the commands know about a loaded satellite.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "analysis/Ephemeris.hpp"
#include "vorlandi/vorlandi.hpp"

namespace vorlandi::cli {

using analysis::kSecondsPerDay;
inline constexpr double kMicrosecondsPerSecond = 1e6;

// Times are printed to the microsecond: times that differ by less are equal.
inline constexpr double kTimeTolerance_s = 1e-6;
inline constexpr double kTimeTolerance_days = kTimeTolerance_s / kSecondsPerDay;

// First and last time of a satellite or of a request, days since 1950, UTC.
struct TimeSpan {
    double start = 0.0;
    double end = 0.0;

    // Moves a time that misses the span only by rounding to the near end of the span, so that the first and last times
    // that this tool prints can be used in a query.
    double snapped(double ds50UTC) const;
};

struct SatelliteRecord {
    Satellite satellite;
    std::int32_t number = 0;
    Frame frame{};
    std::int32_t pointCount = 0;
    TimeSpan span;  // zero if there are no points
    std::string file;
    std::string tag;

    std::int64_t key() const { return satellite.key(); }

    // Average seconds between neighbouring points; none if there are fewer than two.
    std::optional<double> meanSpacing_s() const;
};

// Number 0 and no points if there is no such satellite.
SatelliteRecord recordOf(Satellite satellite);

// All satellites in the order of loading.
std::vector<SatelliteRecord> loadedSatellites();

// A satellite, and its number within its file, from 1.
struct RecordOfFile {
    SatelliteRecord record;
    std::int32_t inFile = 1;
};

// "satellite 81001 (a.e)", with the number of the record if it is not the first of its file.
std::string nameOf(const RecordOfFile& satellite);

// "81001", "81001-2" for the second of its file.
std::string shortNameOf(const RecordOfFile& satellite);

// The times of all stored points, days since 1950, UTC.
std::vector<double> storedTimes(Satellite satellite);

using analysis::isCovariance;

// Whether any point has a velocity other than zero.
bool hasVelocities(const SatelliteRecord& record);

// Whether all, some or no points of a satellite have a property.
enum class Share { None, Some, All };

// Points with a velocity other than zero, and points with a covariance.
struct Contents {
    Share velocities = Share::None;
    Share covariances = Share::None;
};
Contents contentsOf(const SatelliteRecord& record);

// Empty for a time without a calendar date.
inline std::string isoTime(double ds50UTC) { return try_iso({ds50UTC}).value_or(""); }

}  // namespace vorlandi::cli
