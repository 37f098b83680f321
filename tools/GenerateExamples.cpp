// Writes one example file of every format from one low orbit, the integrated truth between its points, and a
// card file that names three of the files. The files are the same, byte by byte, wherever this runs.
#include <exception>
#include <filesystem>
#include <ostream>
#include <vector>

#include "EphemerisFormats.hpp"
#include "writers/Times.hpp"

namespace vorlandi::tools {
namespace {

constexpr std::int32_t kSatelliteNumber = 81001;
constexpr UtcTime kEpoch{std::chrono::sys_days{std::chrono::year{2026} / 1 / 31}};
constexpr std::int64_t kPointCount = 361;
constexpr std::chrono::milliseconds kSpacing{60000};

// 582 to 591 km high, inclined by 43.5 degrees.
constexpr State kInitialState{{-2380.0, 6050.0, 2510.0}, {-4.845, -3.747, 4.437}};

// 1/512 of a day. Any multiple of it is a whole number of integration steps, and a time that a double of days
// holds exactly, so that rounding the time adds no error to the truth.
constexpr std::chrono::milliseconds kTruthUnit{168750};
constexpr int kUnitsInSpan = 128;
constexpr int kUnitsOnPoints = 16;  // every 16 units a truth time would fall on a point
constexpr int kTruthCount = 41;

UtcTime truthTime(int index) {
    int units = index * kUnitsInSpan / (kTruthCount - 1);
    const bool isEnd = index == 0 || index == kTruthCount - 1;
    if (!isEnd && units % kUnitsOnPoints == 0) ++units;
    return kEpoch + units * kTruthUnit;
}

void writeTruth(std::ostream& stream) {
    writers::Lines out = linesOf(stream);
    OrbitIntegration orbit(kInitialState);
    out.line("time_utc,ds50_utc,x_km,y_km,z_km,vx_km_s,vy_km_s,vz_km_s");
    for (int i = 0; i < kTruthCount; ++i) {
        const UtcTime time = truthTime(i);
        const State state = orbit.at(secondsBetween(kEpoch, time));
        const auto& [x, y, z] = state.position_km;
        const auto& [vx, vy, vz] = state.velocity_km_s;
        const double ds50 = daysSince1950(time);
        out.line("{},{:.12f},{:.16e},{:.16e},{:.16e},{:.16e},{:.16e},{:.16e}", writers::isoText26(ds50), ds50, x, y, z,
                 vx, vy, vz);
    }
    out.handOn();
}

std::string exampleName(std::string_view formatName) {
    return ephemerisFileName(*findEphemerisFormat(formatName), kSatelliteNumber);
}

void writeFleet(std::ostream& stream) {
    const std::vector<CardGroup> groups{{"keyword file", {exampleName("STK")}},
                                        {"universal files", {exampleName("UNIVERSAL"), exampleName("UNIVERSAL_CSV")}}};
    writeCards("Names are relative to the directory in which this file is loaded.", groups, stream);
}

void writeExamples(const std::filesystem::path& directory) {
    std::filesystem::create_directories(directory);
    const Ephemeris ephemeris = integrateEphemeris(
        {kSatelliteNumber, kEpoch, kInitialState, kPointCount, kSpacing, true}, OrbitIntegration::kAccurateStep_s);
    for (const auto& format : ephemerisFormats()) {
        if (format.isVariant) continue;
        writeFile(directory / ephemerisFileName(format, kSatelliteNumber),
                  [&](std::ostream& stream) { format.write(ephemeris, stream); });
    }
    writeFile(directory / fmt::format("{}_truth.csv", kSatelliteNumber), writeTruth);
    writeFile(directory / "fleet.card", writeFleet);
}

}  // namespace
}  // namespace vorlandi::tools

int main(int argc, char** argv) {
    if (argc != 2 || std::string_view(argv[1]).starts_with("-")) {
        fmt::print(stderr, "usage: generate_examples DIR\n");
        return 2;
    }
    try {
        vorlandi::tools::writeExamples(argv[1]);
    } catch (const std::exception& error) {
        fmt::print(stderr, "generate_examples: {}\n", error.what());
        return 1;
    }
    return 0;
}
