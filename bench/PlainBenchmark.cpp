// The limits of queries: the plain kernel at random times, on the points in the store's own memory.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>

#include "BenchData.hpp"
#include "PlainKernel.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi::bench {
namespace {

PlainPoints pointsOf(std::int64_t key) {
    std::string_view message;
    const Vorlanrecord* const record = FindRecPtr(key, message, true);
    if (record == nullptr) return {nullptr, 0, 0.0, 0.0};
    const PointArray& points = record->points;
    return {points.states(), points.count(), points.firstTime(), points.lastTime()};
}

// To a millimetre: different orders of operations.
bool agrees(PlainKernel* kernel, std::int64_t key, double time) {
    double posVel[6] = {}, mse, pos[3], vel[3];
    std::int32_t revNum;
    const PlainPoints points = pointsOf(key);
    if (points.states == nullptr || !kernel(points, time, posVel)) return false;
    if (VorlanDs50UTC(key, time, &mse, pos, vel, &revNum) != 0) return false;
    double largest = 0.0;
    for (int axis = 0; axis < 3; ++axis)
        largest = std::max({largest, std::abs(posVel[axis] - pos[axis]), std::abs(posVel[axis + 3] - vel[axis])});
    return largest < 1e-6;
}

// One satellite, one request at a time.
void plain(benchmark::State& state, PlainKernel* kernel, std::int32_t count) {
    if (kernel == plainAvx2 && !hasAvx2()) return state.SkipWithError("the processor has no AVX2");
    const std::int64_t key = fillStore(1, count).front();
    const std::vector<double> times = randomTimes(count);
    for (std::size_t k = 0; k < times.size(); k += 1000) {
        if (!agrees(kernel, key, times[k])) return state.SkipWithError("another answer than the library's");
    }
    const PlainPoints points = pointsOf(key);
    std::size_t next = 0;
    for (auto _ : state) {
        double posVel[6];
        benchmark::DoNotOptimize(kernel(points, times[next++ & (times.size() - 1)], posVel));
        benchmark::DoNotOptimize(posVel);
    }
}

// One time for many satellites, in order, with the points of the satellite eight ahead prefetched. Each round has
// another time, so that few points are still in the cache.
void plainFleet(benchmark::State& state, PlainKernel* kernel) {
    constexpr std::size_t kSatellites = 10000, kAhead = 8;
    constexpr std::int32_t kPoints = 1440;
    if (kernel == plainAvx2 && !hasAvx2()) return state.SkipWithError("the processor has no AVX2");
    std::vector<PlainPoints> fleet;
    for (const std::int64_t key : fillStore(kSatellites, kPoints))
        fleet.push_back(pointsOf(key));
    const std::vector<double> times = randomTimes(kPoints);
    std::vector<double[6]> posVels(kSatellites);
    std::size_t next = 0;
    bool found = true;
    for (auto _ : state) {
        const double time = times[next++ & (times.size() - 1)];
        const auto minute = static_cast<std::int32_t>((time - kEpoch) / kSpacing_days);
        const std::int32_t first = std::clamp(minute - 1, 0, kPoints - 4);
        for (std::size_t k = 0; k < kSatellites; ++k) {
            for (std::int32_t node = 0; node < 4 && k + kAhead < kSatellites; ++node)
                __builtin_prefetch(fleet[k + kAhead].states + first + node);
            found &= kernel(fleet[k], time, posVels[k]);
        }
        benchmark::DoNotOptimize(posVels.data());
        benchmark::ClobberMemory();
    }
    if (!found) state.SkipWithError("a query failed");
    countNanoseconds(state, "ns_per_state", kSatellites);
}

BENCHMARK_CAPTURE(plain, scalar_1441, plainScalar, 1441);
BENCHMARK_CAPTURE(plain, avx2_1441, plainAvx2, 1441);
BENCHMARK_CAPTURE(plain, scalar_100000, plainScalar, 100000);
BENCHMARK_CAPTURE(plain, avx2_100000, plainAvx2, 100000);
BENCHMARK_CAPTURE(plain, avx2_1000000, plainAvx2, 1000000);
BENCHMARK_CAPTURE(plainFleet, scalar, plainScalar)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(plainFleet, avx2, plainAvx2)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorlandi::bench
