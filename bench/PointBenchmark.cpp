// Points appended one by one.
#include <benchmark/benchmark.h>

#include <cstring>

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
// also has to get memory from the system.
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

constexpr std::int64_t kMillion = 1'000'000;

BENCHMARK_CAPTURE(appendPoints, state, false)->Arg(10'000)->Arg(kMillion);
BENCHMARK_CAPTURE(appendPoints, covariance, true)->Arg(10'000)->Arg(kMillion);
BENCHMARK_CAPTURE(copyPoints, state, false)->Arg(10'000)->Arg(kMillion);
BENCHMARK_CAPTURE(copyPoints, covariance, true)->Arg(10'000)->Arg(kMillion);

}  // namespace
}  // namespace vorlandi::bench
