// Points appended one by one, and the memory that points take, measured in a process of its own.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "BenchData.hpp"

namespace vorlandi::bench {
namespace {

// The time per point is constant if growth costs no more than the points themselves.
void appendPoints(benchmark::State& state, bool withCovariance) {
    const std::int64_t points = state.range(0);
    const Vorlanpoint point = orbitPoint(0);
    emptyStore();
    for (auto _ : state) {
        const std::int64_t key = VorlanAddSat(1, 1, kEpoch, 6378.135, 0.0743669161);
        for (std::int64_t index = 0; index < points; ++index) {
            const double time = kEpoch + static_cast<double>(index) * kSpacing_days;
            withCovariance ? VorlanAddSatEphemCovMtx(key, time, point.pos, point.vel, 0, point.cov)
                           : VorlanAddSatEphem(key, time, point.pos, point.vel, 0);
        }
        state.PauseTiming();
        const bool complete = pointsInStore() == points;
        emptyStore();
        state.ResumeTiming();
        if (!complete) {
            state.SkipWithError("not appended");
            break;
        }
    }
    countNanoseconds(state, "ns_per_point", static_cast<double>(points));
}

// The limit of appending: copying the stored bytes, point by point, to memory that was written before. A new satellite
// also has to take memory from the system.
void copyPoints(benchmark::State& state, bool withCovariance) {
    const auto size = static_cast<std::size_t>(storedBytes(1, withCovariance));
    const auto points = static_cast<std::size_t>(state.range(0));
    const Vorlanpoint point = orbitPoint(0);
    std::vector<char> place(points * size, '\1');
    for (auto _ : state) {
        for (std::size_t at = 0; at < place.size(); at += size)
            std::memcpy(place.data() + at, &point, size);
        benchmark::DoNotOptimize(place.data());
        benchmark::ClobberMemory();
    }
    countNanoseconds(state, "ns_per_point", static_cast<double>(points));
}

// Runs vorlandi_memory, which prints its growth in bytes at the end and at its peak, and the number of points.
struct Memory {
    double held = 0.0, most = 0.0;
    std::int64_t points = -1;
};
Memory memoryOf(const std::string& arguments) {
    Memory memory;
    const std::string command = "'" VORLANDI_MEMORY_PROGRAM "' " + arguments;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(popen(command.c_str(), "r"), pclose);
    if (!output || std::fscanf(output.get(), "%lf %lf %ld", &memory.held, &memory.most, &memory.points) != 3)
        memory.points = -1;
    return memory;
}

void measureMemory(benchmark::State& state, const std::string& arguments, std::int64_t points, bool withCovariance) {
    Memory memory;
    for (auto _ : state) {
        memory = memoryOf(arguments);
        if (memory.points != points) {
            state.SkipWithError("not stored");
            break;
        }
    }
    state.counters["held_bytes"] = memory.held;
    state.counters["most_bytes"] = memory.most;
    state.counters["stored_bytes"] = storedBytes(points, withCovariance);
    state.counters["bytes_per_point"] = memory.held / static_cast<double>(points);
    state.counters["stored_bytes_per_point"] = storedBytes(1, withCovariance);
}

constexpr std::int64_t kMillion = 1'000'000;

void memoryOfPoints(benchmark::State& state, bool withCovariance) {
    measureMemory(state, withCovariance ? "covariance 1000000" : "state 1000000", kMillion, withCovariance);
}

void memoryOfLoad(benchmark::State& state) {
    measureMemory(state, "load '" + ephemerisFile("STK", kMillion).string() + "'", kMillion, false);
}

void memoryOfDelivery(benchmark::State& state) {
    measureMemory(state, "delivery '" + deliveryFolder().string() + "'", kDeliveryFiles * kDeliveryPoints, true);
}

BENCHMARK_CAPTURE(appendPoints, state, false)->Arg(10'000)->Arg(kMillion);
BENCHMARK_CAPTURE(appendPoints, covariance, true)->Arg(10'000)->Arg(kMillion);
BENCHMARK_CAPTURE(copyPoints, state, false)->Arg(10'000)->Arg(kMillion);
BENCHMARK_CAPTURE(copyPoints, covariance, true)->Arg(10'000)->Arg(kMillion);
BENCHMARK_CAPTURE(memoryOfPoints, state, false)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(memoryOfPoints, covariance, true)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(memoryOfLoad)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(memoryOfDelivery)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorlandi::bench
