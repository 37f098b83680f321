// Single queries as the store grows: over the points of one satellite, and over satellites of a few points each.
#include <benchmark/benchmark.h>

#include <algorithm>

#include "BenchData.hpp"

namespace vorlandi::bench {
namespace {

// So many that the requests touch nearly all points of the largest store, more than any cache holds.
constexpr std::size_t kRequests = std::size_t{1} << 20;

// Queries the next key at the next time, over and over. The number of times is a power of two.
void queryInTurn(benchmark::State& state, const std::vector<std::int64_t>& keys, const std::vector<double>& times) {
    double mse, pos[3], vel[3];
    std::int32_t revNum;
    std::int32_t failures = 0;
    std::size_t key = 0;
    std::size_t next = 0;
    for (auto _ : state) {
        failures += VorlanDs50UTC(keys[key], times[next++ & (times.size() - 1)], &mse, pos, vel, &revNum);
        if (++key == keys.size()) key = 0;
        benchmark::DoNotOptimize(pos);
        benchmark::DoNotOptimize(vel);
    }
    if (failures != 0) state.SkipWithError("a query failed");
}

void queryOverPoints(benchmark::State& state) {
    const auto points = static_cast<std::int32_t>(state.range(0));
    queryInTurn(state, fillStore(1, points, false), randomTimes(points, kRequests));
}

void queryOverSatellites(benchmark::State& state) {
    constexpr std::int32_t kPoints = 8;
    std::vector<std::int64_t> keys = fillStore(static_cast<std::int32_t>(state.range(0)), kPoints, false);
    std::shuffle(keys.begin(), keys.end(), std::mt19937_64(1));
    queryInTurn(state, keys, randomTimes(kPoints, kRequests));
}

BENCHMARK(queryOverPoints)->RangeMultiplier(10)->Range(100, 10'000'000);
BENCHMARK(queryOverSatellites)->RangeMultiplier(10)->Range(1, 100'000);

}  // namespace
}  // namespace vorlandi::bench
