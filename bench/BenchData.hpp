// Data for the benchmarks: satellites on circular orbits in the store, and ephemeris files.
#pragma once

#include <cstdint>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "Vorlandi/PointArray.hpp"
#include "vorlandi/vorlandi.h"

namespace vorlandi::bench {

constexpr double kEpoch = 27790.0;  // Ds50UTC, 2026 Jan 31
constexpr double kSpacing_days = 60.0 / 86400.0;

// A point of a low circular orbit, with a covariance.
Vorlanpoint orbitPoint(std::int64_t index);

// Empties the store and adds satellites of `points` points each, one a minute; their keys.
std::vector<std::int64_t> fillStore(std::int32_t satellites, std::int32_t points);

// Times inside the span of `points` points, in random order; always the same ones.
std::vector<double> randomTimes(std::int32_t points, std::size_t count = 65536);

// A file of a low orbit with this many points at one a minute, written on first use and kept until the end. The format
// is one of tools::ephemerisFormats.
const std::filesystem::path& ephemerisFile(std::string_view format, std::int64_t points);

// All of a file.
std::string contentOf(const std::filesystem::path& path);

}  // namespace vorlandi::bench
