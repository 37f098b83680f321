// The memory of points, in a process that does nothing else, so that nothing earlier counts:
//   vorlandi_memory load FILE | delivery FOLDER
//   vorlandi_memory state|covariance POINTS [SATELLITES [in_turn]]
// prints the growth of the process in bytes, at the end (VmRSS) and at its peak (VmHWM), and the number of points
// stored. The kernel counts whole pages. ru_maxrss would not do: it includes the memory of the starting process before
// exec.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "PointsInStore.hpp"
#include "vorlandi/vorlandi.h"

namespace {

// A line of /proc/self/status, in bytes.
double statusBytes(std::string_view name) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with(name)) return 1024.0 * std::strtod(line.c_str() + name.size() + 1, nullptr);
    }
    return 0.0;
}

void append(std::int64_t points, bool withCovariance, std::int64_t satellites, bool inTurn) {
    constexpr double kEpoch = 27790.0;
    constexpr double kMinute_days = 1.0 / 1440.0;
    const double pos[3] = {7000.0, 1.0, 2.0};
    const double vel[3] = {0.001, 7.5, 0.002};
    double cov[21];
    for (double& value : cov)
        value = 1e-6;
    const auto add = [&](std::int64_t satellite) {
        return VorlanAddSat(static_cast<std::int32_t>(10001 + satellite), 1, kEpoch, 6378.135, 0.0743669161);
    };
    const auto addPoint = [&](std::int64_t key, std::int64_t index) {
        const double time = kEpoch + static_cast<double>(index) * kMinute_days;
        withCovariance ? VorlanAddSatEphemCovMtx(key, time, pos, vel, 0, cov)
                       : VorlanAddSatEphem(key, time, pos, vel, 0);
    };
    const std::int64_t atOnce = inTurn ? satellites : 1;
    for (std::int64_t first = 0; first < satellites; first += atOnce) {
        std::vector<std::int64_t> keys;
        for (std::int64_t k = 0; k < atOnce; ++k)
            keys.push_back(add(first + k));
        for (std::int64_t index = 0; index < points; ++index) {
            for (const std::int64_t key : keys)
                addPoint(key, index);
        }
    }
}

// Loads every file of a folder by the practical rules.
bool loadDelivery(const char* folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::int64_t count = 0;
        if (VorlanLoadFileExt(entry.path().c_str(), VORLAN_LOAD_PRACTICAL, 0, nullptr, &count) != 0) return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3 || argc > 5) return 2;
    const std::string_view what = argv[1];
    const double before = statusBytes("VmRSS");
    if (what == "load") {
        if (VorlanLoadFile(argv[2]) != 0) return 1;
    } else if (what == "delivery") {
        if (!loadDelivery(argv[2])) return 1;
    } else {
        append(std::strtoll(argv[2], nullptr, 10), what == "covariance",
               argc > 3 ? std::strtoll(argv[3], nullptr, 10) : 1, argc > 4);
    }
    const double held = statusBytes("VmRSS") - before;
    const double most = statusBytes("VmHWM") - before;
    std::printf("%.0f %.0f %lld\n", held, most, static_cast<long long>(vorlandi::bench::pointsInStore()));
    return 0;
}
