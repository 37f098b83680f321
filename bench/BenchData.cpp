#include "BenchData.hpp"

#include <cmath>
#include <fstream>
#include <iterator>
#include <map>

#include "EphemerisWriters.hpp"

namespace vorlandi::bench {
namespace {

// Files of the benchmarks, removed at the end.
class Files {
public:
    Files() {
        std::string name = (std::filesystem::temp_directory_path() / "vorlandi-bench-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        folder_ = name;
    }
    ~Files() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    const std::filesystem::path& file(std::string_view name, std::int64_t points) {
        const tools::EphemerisFormat& format = *tools::findEphemerisFormat(name);
        const std::string base = std::to_string(points) + std::string(format.fileSuffix);
        const auto [place, isNew] = files_.try_emplace(base, folder_ / base);
        if (isNew)
            tools::writeFile(place->second, [&](std::ostream& stream) { write(format, points, stream); });
        return place->second;
    }

private:
    static void write(const tools::EphemerisFormat& format, std::int64_t points, std::ostream& stream) {
        constexpr double kStep_s = 60.0;  // an orbit of no great accuracy does
        const tools::UtcTime epoch{std::chrono::sys_days{std::chrono::year{2026} / 1 / 31}};
        const tools::State initial{{-2380.0, 6050.0, 2510.0}, {-4.845, -3.747, 4.437}};
        format.write(tools::integrateEphemeris(
                         {81001, epoch, initial, points, std::chrono::milliseconds(60000)}, kStep_s),
                     stream);
    }

    std::filesystem::path folder_;
    std::map<std::string, std::filesystem::path> files_;
};

}  // namespace

Vorlanpoint orbitPoint(std::int64_t index) {
    constexpr double kRadius_km = 6978.0;
    constexpr double kRate_s = 1.083e-3;  // radians per second
    const double angle = kRate_s * 60.0 * static_cast<double>(index);
    const double speed = kRadius_km * kRate_s;
    Vorlanpoint point;
    point.time = kEpoch + static_cast<double>(index) * kSpacing_days;
    point.pos[0] = kRadius_km * std::cos(angle);
    point.pos[1] = kRadius_km * std::sin(angle) * 0.8;
    point.pos[2] = kRadius_km * std::sin(angle) * 0.6;
    point.vel[0] = -speed * std::sin(angle);
    point.vel[1] = speed * std::cos(angle) * 0.8;
    point.vel[2] = speed * std::cos(angle) * 0.6;
    for (std::size_t k = 0; k < kCovarianceSize; ++k)
        point.cov[k] = 1e-6 * static_cast<double>(k + 1);
    return point;
}

std::vector<std::int64_t> fillStore(std::int32_t satellites, std::int32_t points) {
    VorlanRemoveAllSats();
    std::vector<std::int64_t> keys;
    for (std::int32_t satellite = 0; satellite < satellites; ++satellite) {
        keys.push_back(VorlanAddSat(10000 + satellite, 1, kEpoch, 6378.135, 0.0743669161));
        for (std::int32_t index = 0; index < points; ++index) {
            const Vorlanpoint point = orbitPoint(index + satellite);
            VorlanAddSatEphemCovMtx(keys.back(), kEpoch + index * kSpacing_days, point.pos, point.vel, 0,
                                    point.cov);
        }
    }
    return keys;
}

std::vector<double> randomTimes(std::int32_t points, std::size_t count) {
    std::mt19937_64 random(20260131);
    std::uniform_real_distribution<double> inside(kEpoch, kEpoch + (points - 1) * kSpacing_days);
    std::vector<double> times(count);
    for (double& time : times)
        time = inside(random);
    return times;
}

const std::filesystem::path& ephemerisFile(std::string_view format, std::int64_t points) {
    static Files files;
    return files.file(format, points);
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace vorlandi::bench
