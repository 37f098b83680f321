// State queries: one at a time, from one satellite or from many, beside the bare kernel on a window that is given.
#include <benchmark/benchmark.h>

#include <algorithm>

#include "BenchData.hpp"
#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"

namespace vorlandi::bench {
namespace {

void kernel(benchmark::State& state, Covariance covariance) {
    Vorlanpoint window[4];
    for (int k = 0; k < 4; ++k)
        window[k] = orbitPoint(k);
    std::vector<double> times = randomTimes(2);
    for (double& time : times)
        time += kSpacing_days;  // in the middle of the window
    std::size_t next = 0;
    for (auto _ : state) {
        Vorlanpoint result;
        hermitevorlan(std::span<const Vorlanpoint, 4>(window), times[next++ & 65535], result, covariance);
        benchmark::DoNotOptimize(result);
    }
}

struct Outputs {
    double mse, pos[3], vel[3], covMtx[6][6];
    std::int32_t revNum;
};

void query(benchmark::State& state, bool withCovariance, std::int32_t satellites, std::int32_t points) {
    std::vector<std::int64_t> keys = fillStore(satellites, points);
    std::shuffle(keys.begin(), keys.end(), std::mt19937_64(1));
    const std::vector<double> times = randomTimes(points);
    Outputs out;
    std::size_t next = 0;
    std::size_t key = 0;
    std::int32_t failures = 0;
    for (auto _ : state) {
        const double time = times[next++ & 65535];
        if (++key == keys.size()) key = 0;
        failures += withCovariance ? VorlanDs50UTCCovMtx(keys[key], time, &out.mse, out.pos, out.vel,
                                                         &out.revNum, out.covMtx)
                                   : VorlanDs50UTC(keys[key], time, &out.mse, out.pos, out.vel, &out.revNum);
        benchmark::DoNotOptimize(out);
    }
    if (failures != 0) state.SkipWithError("a query failed");
    VorlanRemoveAllSats();
}

constexpr std::int32_t kDay = 1441;

BENCHMARK_CAPTURE(kernel, state, Covariance::NotWanted);
BENCHMARK_CAPTURE(kernel, covariance, Covariance::Wanted);
BENCHMARK_CAPTURE(query, one_satellite_day, false, 1, kDay);
BENCHMARK_CAPTURE(query, one_satellite_day_covariance, true, 1, kDay);
BENCHMARK_CAPTURE(query, one_satellite_100000_points, false, 1, 100000);
BENCHMARK_CAPTURE(query, one_satellite_100000_points_covariance, true, 1, 100000);
BENCHMARK_CAPTURE(query, satellites_10000_random_keys, false, 10000, 60);
BENCHMARK_CAPTURE(query, satellites_10000_random_keys_covariance, true, 10000, 60);

}  // namespace
}  // namespace vorlandi::bench
