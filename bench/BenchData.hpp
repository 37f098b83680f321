// Data for the benchmarks: satellites on circular orbits in the store, and ephemeris files.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "PointsInStore.hpp"
#include "Vorlandi/PointArray.hpp"
#include "vorlandi/vorlandi.h"

namespace vorlandi::bench {

constexpr double kEpoch = 27790.0;  // Ds50UTC, 2026 Jan 31
constexpr double kSpacing_days = 60.0 / 86400.0;

// How points are spaced in time.
enum class Spacing {
    Even,    // one a minute
    Random,  // half a minute to one and a half apart
    Passes,  // 30 points ten seconds apart, then 25 minutes without any: also one a minute on average
};

// The time of a point, in minutes since the first.
double minuteOf(Spacing spacing, std::int64_t index);

// A point of a low circular orbit, with a covariance.
Vorlanpoint orbitPoint(double minute);

// The bytes that the store holds for this many points.
constexpr double storedBytes(std::int64_t points, bool withCovariance) {
    return static_cast<double>(points) *
           static_cast<double>(sizeof(Vorlanstate) + (withCovariance ? sizeof(PointCovariance) : 0));
}

// Empties the store.
void emptyStore();

// Fills the store with satellites of `points` points each, and nothing else. Returns their keys in the order of adding.
// The store stays filled for repetitions; the keys are valid until it is emptied or filled otherwise.
const std::vector<std::int64_t>& fillStore(std::int32_t satellites, std::int32_t points, bool withCovariance = true,
                                           Spacing spacing = Spacing::Even);

// Times inside the span of `points` points, in random order; always the same ones.
std::vector<double> randomTimes(std::int32_t points, std::size_t count = 65536, Spacing spacing = Spacing::Even);

// A folder for files, removed at the end.
const std::filesystem::path& temporaryFolder();

// A file of a low orbit with this many points, one per minute, written on first use. The format is one of
// tools::ephemerisFormats.
const std::filesystem::path& ephemerisFile(std::string_view format, std::int64_t points,
                                           std::int32_t satellite = 81001);

// A folder of files of one format, all with the same number of points, written on first use. It holds no others as long
// as nobody requests a single file of the same format and length.
std::filesystem::path fleetFolder(std::string_view format, std::int64_t satellites, std::int64_t points);

// A folder of files of modified ITC, with covariance, written on first use.
constexpr std::int64_t kDeliveryFiles = 200;
constexpr std::int64_t kDeliveryPoints = 4321;  // of each: three days
const std::filesystem::path& deliveryFolder();

// The contents of a file.
std::string contentOf(const std::filesystem::path& path);

// Adds a counter: nanoseconds per item.
void countNanoseconds(benchmark::State& state, const char* name, double thingsPerRound);

}  // namespace vorlandi::bench
