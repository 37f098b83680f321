// The store's guard in its two modes: the cost of entering and leaving, the gain of several threads with single
// queries, and how long a change waits for many readers.
#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "BenchData.hpp"
#include "vorlandi/services.h"

namespace vorlandi::bench {
namespace {

constexpr std::int32_t kFixed = VORLAN_GUARD_FIXED;
constexpr std::int32_t kSafe = VORLAN_GUARD_SAFE;
constexpr std::int32_t kDay = 1441;

// The guard mode for as long as the object lives.
class InMode {
public:
    explicit InMode(std::int32_t mode) { VorlanSetGuardMode(mode); }
    ~InMode() { VorlanSetGuardMode(VORLAN_GUARD_FIXED); }
    InMode(const InMode&) = delete;
    InMode& operator=(const InMode&) = delete;
};

enum class Keys { Ordinary, Dma };

std::int64_t storedSatellite(Keys kind) {
    emptyStore();
    VorlanSetAllKeyMode(1, kind == Keys::Dma ? 1 : 0);
    const std::int64_t key = fillStore(1, kDay).front();
    VorlanSetAllKeyMode(0, 0);
    return key;
}

// Enters, reads two times, leaves.
void startEndTime(benchmark::State& state, std::int32_t mode, Keys kind) {
    const std::int64_t key = storedSatellite(kind);
    const InMode inMode(mode);
    double start = 0.0, end = 0.0;
    for (auto _ : state) {
        VorlanStartEndTime(key, &start, &end);
        benchmark::DoNotOptimize(end);
    }
    emptyStore();
}

void query(benchmark::State& state, std::int32_t mode, Keys kind) {
    const std::int64_t key = storedSatellite(kind);
    const InMode inMode(mode);
    const std::vector<double> times = randomTimes(kDay);
    double mse = 0.0, pos[3], vel[3];
    std::int32_t revNum = 0;
    std::size_t next = 0;
    for (auto _ : state) {
        VorlanDs50UTC(key, times[next++ & 65535], &mse, pos, vel, &revNum);
        benchmark::DoNotOptimize(pos);
    }
    emptyStore();
}

// Single queries of one satellite each by two threads.
void queryInThreads(benchmark::State& state, std::int32_t mode) {
    static std::vector<std::int64_t> keys;
    if (state.thread_index() == 0) {
        keys = fillStore(2, kDay);
        VorlanSetGuardMode(mode);
    }
    const std::vector<double> times = randomTimes(kDay);
    double mse = 0.0, pos[3], vel[3];
    std::int32_t revNum = 0;
    std::size_t next = 0;
    for (auto _ : state) {
        VorlanDs50UTC(keys[static_cast<std::size_t>(state.thread_index())], times[next++ & 65535], &mse, pos, vel,
                      &revNum);
        benchmark::DoNotOptimize(pos);
    }
    state.SetItemsProcessed(state.iterations());
    if (state.thread_index() == 0) VorlanSetGuardMode(kFixed);
}

// Points appended one by one to a stored satellite, by key.
void appendByKey(benchmark::State& state, std::int32_t mode) {
    constexpr int kPoints = 10'000;
    const Vorlanpoint point = orbitPoint(0);
    emptyStore();
    const InMode inMode(mode);
    for (auto _ : state) {
        const std::int64_t key = VorlanAddSat(5, 1, kEpoch, 6378.135, 0.07);
        for (int k = 0; k < kPoints; ++k)
            VorlanAddSatEphem(key, kEpoch + k * kSpacing_days, point.pos, point.vel, 0);
        state.PauseTiming();
        VorlanRemoveSat(key);
        state.ResumeTiming();
    }
    countNanoseconds(state, "ns_per_point", kPoints);
}

// A satellite added while 32 threads query without a pause.
void addBesideReaders(benchmark::State& state, std::int32_t mode) {
    constexpr int kReaders = 32;
    const std::int64_t key = storedSatellite(Keys::Ordinary);
    const InMode inMode(mode);
    std::atomic<bool> done{false};
    std::vector<std::jthread> readers;
    readers.reserve(kReaders);
    for (int k = 0; k < kReaders; ++k) {
        readers.emplace_back([&] {
            double start = 0.0;
            while (!done.load(std::memory_order_relaxed))
                VorlanStartEndTime(key, &start, nullptr);
        });
    }
    for (auto _ : state) {
        const std::int64_t added = VorlanAddSat(1'000'000, 1, kEpoch, 6378.135, 0.07);
        state.PauseTiming();
        VorlanRemoveSat(added);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));  // let the readers start
        state.ResumeTiming();
    }
    done = true;
    readers.clear();
    emptyStore();
}

BENCHMARK_CAPTURE(startEndTime, fixed, kFixed, Keys::Ordinary);
BENCHMARK_CAPTURE(startEndTime, safe, kSafe, Keys::Ordinary);
BENCHMARK_CAPTURE(startEndTime, fixed_dma, kFixed, Keys::Dma);
BENCHMARK_CAPTURE(startEndTime, safe_dma, kSafe, Keys::Dma);
BENCHMARK_CAPTURE(query, guard_fixed, kFixed, Keys::Ordinary);
BENCHMARK_CAPTURE(query, guard_safe, kSafe, Keys::Ordinary);
BENCHMARK_CAPTURE(query, guard_fixed_dma, kFixed, Keys::Dma);
BENCHMARK_CAPTURE(query, guard_safe_dma, kSafe, Keys::Dma);
BENCHMARK_CAPTURE(queryInThreads, fixed, kFixed)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK_CAPTURE(queryInThreads, safe, kSafe)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK_CAPTURE(appendByKey, fixed, kFixed)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(appendByKey, safe, kSafe)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(addBesideReaders, fixed, kFixed)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20);
BENCHMARK_CAPTURE(addBesideReaders, safe, kSafe)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(100);

}  // namespace
}  // namespace vorlandi::bench
