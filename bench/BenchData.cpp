#include "BenchData.hpp"

#include <cmath>
#include <fstream>
#include <iterator>
#include <set>

#include "EphemerisFormats.hpp"

namespace vorlandi::bench {
namespace {

// A temporary folder, removed at the end.
class Folder {
public:
    Folder() {
        std::string name = (std::filesystem::temp_directory_path() / "vorlandi-bench-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path = name;
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::filesystem::path path;
};

void writeEphemeris(const tools::EphemerisFormat& format, std::int64_t points, std::int32_t satellite,
                    std::ostream& stream) {
    constexpr double kStep_s = 60.0;  // a benchmark doesn't need an accurate orbit
    const tools::UtcTime epoch{std::chrono::sys_days{std::chrono::year{2026} / 1 / 31}};
    const tools::State initial{{-2380.0, 6050.0, 2510.0}, {-4.845, -3.747, 4.437}};
    const tools::EphemerisPlan plan{
        satellite, epoch, initial, points, std::chrono::milliseconds(60000), format.withCovariance};
    format.write(tools::integrateEphemeris(plan, kStep_s), stream);
}

// What fillStore left in the store.
struct Filling {
    std::int32_t satellites = 0;
    std::int32_t points = 0;
    bool withCovariance = false;
    Spacing spacing = Spacing::Even;
    bool operator==(const Filling&) const = default;
};
Filling filling;
std::vector<std::int64_t> filledKeys;

// Adds the machine and the compiler to the results.
const bool kContextAdded = [] {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line)) {
        if (!line.starts_with("model name")) continue;
        benchmark::AddCustomContext("processor", line.substr(line.find(':') + 2));
        break;
    }
#ifdef __clang__
    benchmark::AddCustomContext("compiler", "Clang " __clang_version__);
#else
    benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
#endif
    return true;
}();

}  // namespace

double minuteOf(Spacing spacing, std::int64_t index) {
    const auto minute = static_cast<double>(index);
    switch (spacing) {
        case Spacing::Even:
            break;
        case Spacing::Random: {
            // The sum of the steps so far, so that each is drawn once.
            static std::vector<double> minutes{0.0};
            static std::mt19937_64 random(20260131);
            while (minutes.size() <= static_cast<std::size_t>(index))
                minutes.push_back(minutes.back() + std::uniform_real_distribution(0.5, 1.5)(random));
            return minutes[static_cast<std::size_t>(index)];
        }
        case Spacing::Passes:
            return static_cast<double>(index - index % 30) + static_cast<double>(index % 30) / 6.0;
    }
    return minute;
}

Vorlanpoint orbitPoint(double minute) {
    constexpr double kRadius_km = 6978.0;
    constexpr double kRate_s = 1.083e-3;  // radians per second
    const double angle = kRate_s * 60.0 * minute;
    const double speed = kRadius_km * kRate_s;
    Vorlanpoint point;
    point.time = kEpoch + minute * kSpacing_days;
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

void emptyStore() {
    VorlanRemoveAllSats();
    filling = {};
    filledKeys.clear();
}

const std::vector<std::int64_t>& fillStore(std::int32_t satellites, std::int32_t points, bool withCovariance,
                                           Spacing spacing) {
    const Filling wanted{satellites, points, withCovariance, spacing};
    if (filling == wanted) return filledKeys;
    emptyStore();
    for (std::int32_t satellite = 0; satellite < satellites; ++satellite) {
        const std::int64_t key = VorlanAddSat(10000 + satellite, 1, kEpoch, 6378.135, 0.0743669161);
        for (std::int32_t index = 0; index < points; ++index) {
            const double minute = minuteOf(spacing, index);
            const Vorlanpoint point = orbitPoint(minute + satellite);
            const double time = kEpoch + minute * kSpacing_days;
            if (withCovariance) {
                VorlanAddSatEphemCovMtx(key, time, point.pos, point.vel, 0, point.cov);
            } else {
                VorlanAddSatEphem(key, time, point.pos, point.vel, 0);
            }
        }
        filledKeys.push_back(key);
    }
    filling = wanted;
    return filledKeys;
}

std::vector<double> randomTimes(std::int32_t points, std::size_t count, Spacing spacing) {
    std::mt19937_64 random(20260131);
    std::uniform_real_distribution<double> inside(kEpoch, kEpoch + minuteOf(spacing, points - 1) * kSpacing_days);
    std::vector<double> times(count);
    for (double& time : times)
        time = inside(random);
    return times;
}

const std::filesystem::path& temporaryFolder() {
    static const Folder folder;
    return folder.path;
}

const std::filesystem::path& ephemerisFile(std::string_view format, std::int64_t points, std::int32_t satellite) {
    static std::set<std::filesystem::path> files;
    const tools::EphemerisFormat& writer = *tools::findEphemerisFormat(format);
    const auto folder = temporaryFolder() / format / std::to_string(points);
    const auto name = folder / tools::ephemerisFileName(writer, satellite);
    const auto [place, isNew] = files.insert(name);
    if (isNew) {
        std::filesystem::create_directories(folder);
        tools::writeFile(name, [&](std::ostream& stream) { writeEphemeris(writer, points, satellite, stream); });
    }
    return *place;
}

std::filesystem::path fleetFolder(std::string_view format, std::int64_t satellites, std::int64_t points) {
    constexpr std::int32_t kFirstNumber = 70001;
    std::filesystem::path last;
    for (std::int64_t k = 0; k < satellites; ++k)
        last = ephemerisFile(format, points, kFirstNumber + static_cast<std::int32_t>(k));
    return last.parent_path();
}

const std::filesystem::path& deliveryFolder() {
    static const std::filesystem::path folder = fleetFolder("MODIFIED_ITC", kDeliveryFiles, kDeliveryPoints);
    return folder;
}

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void countNanoseconds(benchmark::State& state, const char* name, double thingsPerRound) {
    state.counters[name] = benchmark::Counter(static_cast<double>(state.iterations()) * thingsPerRound * 1e-9,
                                              benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

}  // namespace vorlandi::bench
