// The store: points appended one by one, satellites added and removed, keys listed.
#include <benchmark/benchmark.h>

#include <algorithm>

#include "BenchData.hpp"

namespace vorlandi::bench {
namespace {

// The time per point is flat when growth costs no more than the points themselves.
void appendPoints(benchmark::State& state) {
    const std::int64_t points = state.range(0);
    const Vorlanpoint point = orbitPoint(0);
    for (auto _ : state) {
        const std::int64_t key = VorlanAddSat(1, 1, kEpoch, 6378.135, 0.0743669161);
        for (std::int64_t index = 0; index < points; ++index) {
            VorlanAddSatEphem(key, kEpoch + static_cast<double>(index) * kSpacing_days, point.pos, point.vel,
                              0);
        }
        state.PauseTiming();
        VorlanRemoveAllSats();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * points);
    state.counters["ns_per_point"] =
        benchmark::Counter(static_cast<double>(state.iterations() * points) * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void addAndRemoveSatellites(benchmark::State& state) {
    const auto count = static_cast<std::int32_t>(state.range(0));
    for (auto _ : state) {
        std::vector<std::int64_t> keys;
        keys.reserve(static_cast<std::size_t>(count));
        for (std::int32_t k = 0; k < count; ++k)
            keys.push_back(VorlanAddSat(k, 1, kEpoch, 6378.135, 0.07));
        std::shuffle(keys.begin(), keys.end(), std::mt19937_64(1));
        for (const std::int64_t key : keys)
            VorlanRemoveSat(key);
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void listKeys(benchmark::State& state) {
    const auto order = static_cast<std::int32_t>(state.range(0));
    std::vector<std::int64_t> keys = fillStore(10000, 1);
    for (auto _ : state)
        VorlanGetLoaded(order, keys.data());
    VorlanRemoveAllSats();
}

BENCHMARK(appendPoints)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(addAndRemoveSatellites)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(listKeys)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorlandi::bench
