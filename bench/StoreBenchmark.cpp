// The store: satellites added, removed and saved, each compared with a lower limit of its cost.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>

#include "BenchData.hpp"

namespace vorlandi::bench {
namespace {

constexpr const char* kPerSatellite = "ns_per_satellite";

void addSatellites(std::vector<std::int64_t>& keys) {
    std::int32_t number = 0;
    for (std::int64_t& key : keys)
        key = VorlanAddSat(number++, 1, kEpoch, 6378.135, 0.07);
}

std::vector<std::int64_t> shuffled(std::vector<std::int64_t> keys) {
    std::shuffle(keys.begin(), keys.end(), std::mt19937_64(1));
    return keys;
}

// In the order of their numbers.
void addSatellites(benchmark::State& state) {
    std::vector<std::int64_t> keys(static_cast<std::size_t>(state.range(0)));
    emptyStore();
    for (auto _ : state) {
        addSatellites(keys);
        state.PauseTiming();
        const std::int32_t count = VorlanGetCount();
        emptyStore();
        state.ResumeTiming();
        if (count != state.range(0)) {
            state.SkipWithError("not added");
            break;
        }
    }
    countNanoseconds(state, kPerSatellite, static_cast<double>(keys.size()));
}

// In random order.
bool removeAll(const std::vector<std::int64_t>& keys, benchmark::State& state) {
    for (const std::int64_t key : keys)
        VorlanRemoveSat(key);
    const bool isEmpty = VorlanGetCount() == 0;
    if (!isEmpty) state.SkipWithError("not removed");
    return isEmpty;
}

void removeSatellites(benchmark::State& state) {
    std::vector<std::int64_t> keys(static_cast<std::size_t>(state.range(0)));
    emptyStore();
    for (auto _ : state) {
        state.PauseTiming();
        addSatellites(keys);
        const std::vector<std::int64_t> order = shuffled(keys);
        state.ResumeTiming();
        if (!removeAll(order, state)) break;
    }
    countNanoseconds(state, kPerSatellite, static_cast<double>(keys.size()));
}

// All with the same number of points, with covariance: filled outside the measured time.
void removeFilledSatellites(benchmark::State& state) {
    const auto satellites = static_cast<std::int32_t>(state.range(0));
    const auto points = static_cast<std::int32_t>(state.range(1));
    for (auto _ : state) {
        state.PauseTiming();
        emptyStore();
        const std::vector<std::int64_t> order = shuffled(fillStore(satellites, points));
        state.ResumeTiming();
        if (!removeAll(order, state)) break;
    }
    emptyStore();
    countNanoseconds(state, kPerSatellite, satellites);
}

// The limit of adding and removing: a map with the same keys in the same orders and one integer for each; no record, no
// lock, no check of the arguments.
using KeyMap = std::map<std::int64_t, std::int64_t>;

std::vector<std::int64_t> satelliteKeys(std::int64_t count) {
    std::vector<std::int64_t> keys(static_cast<std::size_t>(count));
    emptyStore();
    addSatellites(keys);
    emptyStore();
    return keys;
}

void mapInsert(benchmark::State& state) {
    const std::vector<std::int64_t> keys = satelliteKeys(state.range(0));
    KeyMap map;
    for (auto _ : state) {
        for (const std::int64_t key : keys)
            map.emplace(key, key);
        benchmark::ClobberMemory();
        state.PauseTiming();
        map.clear();
        state.ResumeTiming();
    }
    countNanoseconds(state, kPerSatellite, static_cast<double>(keys.size()));
}

void mapErase(benchmark::State& state) {
    const std::vector<std::int64_t> keys = satelliteKeys(state.range(0));
    const std::vector<std::int64_t> order = shuffled(keys);
    KeyMap map;
    for (auto _ : state) {
        state.PauseTiming();
        for (const std::int64_t key : keys)
            map.emplace(key, key);
        state.ResumeTiming();
        for (const std::int64_t key : order)
            map.erase(key);
        benchmark::ClobberMemory();
    }
    countNanoseconds(state, kPerSatellite, static_cast<double>(keys.size()));
}

void saveFile(benchmark::State& state) {
    fillStore(10000, 1);
    const auto path = temporaryFolder() / "saved.card";
    for (auto _ : state) {
        if (VorlanSaveFile(path.c_str(), 0) != 0) {
            state.SkipWithError("not saved");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(file_size(path)));
}

// The limit of saving: the same lines, ready in memory, written through a stream of the same kind.
void writeLines(benchmark::State& state) {
    fillStore(10000, 1);
    const auto path = temporaryFolder() / "saved.card";
    VorlanSaveFile(path.c_str(), 0);
    const std::string text = contentOf(path);
    for (auto _ : state) {
        std::FILE* const file = std::fopen(path.c_str(), "w");
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = text.find('\n', at) + 1;
            std::fwrite(text.data() + at, 1, end - at, file);
            at = end;
        }
        std::fclose(file);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

BENCHMARK(addSatellites)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(mapInsert)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(removeSatellites)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(removeFilledSatellites)
    ->Args({10'000, 1})
    ->Args({10'000, 100})
    ->Args({2'000, 1440})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(mapErase)->Arg(2'000)->Arg(10'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(saveFile)->Unit(benchmark::kMillisecond);
BENCHMARK(writeLines)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorlandi::bench
