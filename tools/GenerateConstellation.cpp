// Writes many ephemeris files of one format, each satellite on an orbit of its own, and a card file that
// names them.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <numbers>
#include <ostream>
#include <vector>

#include "EphemerisFormats.hpp"
#include "OrbitPlane.hpp"

namespace vorlandi::tools {
namespace {

constexpr UtcTime kEpoch{std::chrono::sys_days{std::chrono::year{2026} / 1 / 31}};
constexpr double kIntegrationStep_s = 10.0;  // 0.3 m off after a day: enough for speed tests

// Two-digit years end in 2056.
constexpr double kLongestSpan_s = 30.0 * 365.0 * 86400.0;

struct Options {
    std::int64_t count = 10;
    std::string format = "UNIVERSAL";
    std::int64_t points = 1440;
    double step_s = 60.0;
    std::filesystem::path directory;
    std::int64_t firstSatellite = 10001;
};

// The fractional part of multiples of an irrational number spreads values evenly over 0 to 1 for any count.
double spread(std::int64_t index, double irrational) {
    const double multiple = static_cast<double>(index) * irrational;
    return multiple - std::floor(multiple);
}

// A circular orbit 500 to 1500 km high, inclined by 20 to 100 degrees.
State initialState(std::int64_t index) {
    constexpr double kTurn = 2.0 * std::numbers::pi;
    const double radius_km = kEarthRadius_km + 500.0 + 1000.0 * spread(index, std::numbers::sqrt2);
    const double speed_km_s = std::sqrt(kEarthGm_km3_s2 / radius_km);
    const double inclination = std::numbers::pi * (20.0 + 80.0 * spread(index, std::numbers::sqrt3)) / 180.0;
    const double node = kTurn * spread(index, std::numbers::phi);
    const double latitude = kTurn * spread(index, std::numbers::e);
    return {inOrbitPlane(radius_km, latitude, inclination, node),
            inOrbitPlane(speed_km_s, latitude + kTurn / 4.0, inclination, node)};
}

std::chrono::milliseconds spacing(const Options& options) {
    return std::chrono::milliseconds(std::llround(options.step_s * 1000.0));
}

std::string writeSatellite(const Options& options, const EphemerisFormat& format, std::int64_t index) {
    const auto number = static_cast<std::int32_t>(options.firstSatellite + index);
    const auto path = options.directory / ephemerisFileName(format, number);
    Ephemeris ephemeris = integrateEphemeris(
        {number, kEpoch, initialState(index), options.points, spacing(options), format.withCovariance},
        kIntegrationStep_s);
    writeFile(path, [&](std::ostream& stream) { format.write(std::move(ephemeris), stream); });
    return path.string();
}

void writeConstellation(const Options& options) {
    const EphemerisFormat& format = *findEphemerisFormat(options.format);
    std::filesystem::create_directories(options.directory);
    CardGroup group;
    for (std::int64_t i = 0; i < options.count; ++i)
        group.fileNames.push_back(writeSatellite(options, format, i));
    const auto title = fmt::format("{} satellites, {}", options.count, options.format);
    writeFile(options.directory / "constellation.card", [&](std::ostream& stream) {
        writeCards(title, {&group, 1}, stream);
    });
}

void checkTogether(const Options& options) {
    const EphemerisFormat& format = *findEphemerisFormat(options.format);
    if (options.firstSatellite + options.count - 1 > format.largestSatelliteNumber) {
        throw CLI::ValidationError("--first-satellite", fmt::format("{} files hold satellite numbers up to {}",
                                                                    format.name, format.largestSatelliteNumber));
    }
    // Written so that a NaN, which passes every range check, fails here.
    if (!(std::abs(options.step_s * 1000.0 - std::round(options.step_s * 1000.0)) <= 1e-6))
        throw CLI::ValidationError("--step", "must be a whole number of milliseconds");
    if (static_cast<double>(options.points - 1) * options.step_s > kLongestSpan_s)
        throw CLI::ValidationError("--points", "times --step must not exceed 30 years of 365 days");
}

std::vector<std::string> formatNames() {
    std::vector<std::string> names;
    for (const auto& format : ephemerisFormats())
        names.emplace_back(format.name);
    return names;
}

void declare(CLI::App& app, Options& options) {
    constexpr std::int64_t kMost = 999999999;
    constexpr std::int64_t kMostPoints = 20000000;  // they are held in memory, 56 bytes each
    app.add_option("--count", options.count, "number of satellites")
        ->check(CLI::Range(std::int64_t{1}, kMost))
        ->capture_default_str();
    app.add_option("--format", options.format, "format of the files")
        ->check(CLI::IsMember(formatNames()))
        ->capture_default_str();
    app.add_option("--points", options.points, "points of each satellite")
        ->check(CLI::Range(std::int64_t{1}, kMostPoints))
        ->capture_default_str();
    app.add_option("--step", options.step_s, "seconds between points, to the millisecond")
        ->check(CLI::Range(0.001, kLongestSpan_s))
        ->capture_default_str();
    app.add_option("--out", options.directory, "directory for the files, created if missing")->required();
    app.add_option("--first-satellite", options.firstSatellite, "number of the first satellite")
        ->check(CLI::Range(std::int64_t{1}, kMost))
        ->capture_default_str();
    app.footer(
        "Example: a day of 2000 satellites, to be loaded from /tmp/fleet/constellation.card\n"
        "  generate_constellation --count 2000 --format STK --points 1440 --step 60 --out /tmp/fleet");
    app.callback([&options] { checkTogether(options); });
}

}  // namespace
}  // namespace vorlandi::tools

int main(int argc, char** argv) {
    using namespace vorlandi::tools;
    Options options;
    CLI::App app("Writes ephemeris files of many satellites and a card file that names them all.");
    declare(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    try {
        writeConstellation(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "generate_constellation: {}\n", error.what());
        return 1;
    }
    return 0;
}
