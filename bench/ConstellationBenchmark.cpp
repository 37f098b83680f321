// A constellation: a day of many satellites with covariance, loaded through one card file and queried at
// one time.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "BenchData.hpp"

namespace vorlandi::bench {
namespace {

constexpr std::int32_t kFiles = 2000;
constexpr std::int32_t kPoints = 1440;

// Files in a format that carries covariance, and their card file.
struct Constellation {
    std::filesystem::path card;
    std::int64_t bytes = 0;  // of the ephemeris files
};

const Constellation& constellation() {
    static const Constellation made = [] {
        const auto folder = temporaryFolder() / "constellation";
        const std::string command = "'" VORLANDI_CONSTELLATION_PROGRAM "' --format ITC --count " +
                                    std::to_string(kFiles) + " --points " + std::to_string(kPoints) + " --out '" +
                                    folder.string() + "'";
        Constellation result{folder / "constellation.card", 0};
        if (std::system(command.c_str()) != 0) return result;
        for (const auto& file : std::filesystem::directory_iterator(folder)) {
            if (file.path() != result.card) result.bytes += static_cast<std::int64_t>(file.file_size());
        }
        return result;
    }();
    return made;
}

bool allLoaded() { return VorlanGetCount() == kFiles && pointsInStore() == std::int64_t{kFiles} * kPoints; }

void loadConstellation(benchmark::State& state) {
    const Constellation& files = constellation();
    for (auto _ : state) {
        state.PauseTiming();
        emptyStore();
        state.ResumeTiming();
        if (VorlanLoadFile(files.card.c_str()) != 0) break;
    }
    if (!allLoaded()) state.SkipWithError("not loaded");
    state.SetBytesProcessed(state.iterations() * files.bytes);
    state.SetItemsProcessed(state.iterations() * kFiles * kPoints);
}

// Positions, velocities and optionally covariances of all satellites at one time in the middle of the day.
void statesOfConstellation(benchmark::State& state, bool withCovariance) {
    if (!allLoaded()) {
        emptyStore();
        VorlanLoadFile(constellation().card.c_str());
    }
    if (!allLoaded()) {
        state.SkipWithError("not loaded");
        return;
    }
    std::vector<std::int64_t> keys(kFiles);
    VorlanGetLoaded(0, keys.data());
    std::vector<double> posVel(std::size_t{kFiles} * 6), covMtx(std::size_t{kFiles} * 36);
    std::vector<std::int32_t> revNums(kFiles), errCodes(kFiles);
    const std::vector<double> times = randomTimes(kPoints);
    std::size_t next = 0;
    for (auto _ : state) {
        if (VorlanSatsDs50UTC(kFiles, keys.data(), times[next++ & (times.size() - 1)],
                              reinterpret_cast<double(*)[6]>(posVel.data()), revNums.data(),
                              withCovariance ? reinterpret_cast<double(*)[6][6]>(covMtx.data()) : nullptr,
                              errCodes.data()) != 0) {
            state.SkipWithError("a query failed");
            break;
        }
    }
    if (withCovariance && covMtx.back() == 0.0) state.SkipWithError("no covariance");
    countNanoseconds(state, "ns_per_state", kFiles);
}

BENCHMARK(loadConstellation)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(statesOfConstellation, state, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(statesOfConstellation, covariance, true)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorlandi::bench
