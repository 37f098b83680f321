// State queries: one at a time, of one satellite or of many, compared with the bare kernel on a given window.
#include <benchmark/benchmark.h>

#include <algorithm>

#include "BenchData.hpp"
#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"

namespace vorlandi::bench {
namespace {

struct Window {
    Window() {
        for (int k = 0; k < 4; ++k) {
            nodes[k] = orbitPoint(k);
            covariances[k] = orbitPoint(k);
        }
    }

    Vorlanstate nodes[4];
    PointCovariance covariances[4];
};

void kernel(benchmark::State& state, WithCovariance covariance) {
    const Window window;
    std::vector<double> times = randomTimes(2);
    for (double& time : times)
        time += kSpacing_days;  // in the middle of the window
    std::size_t next = 0;
    Vorlanpoint result;
    for (auto _ : state) {
        hermitevorlan(HermiteWindow(window.nodes, window.covariances), times[next++ & 65535], result, covariance);
        benchmark::DoNotOptimize(result);
    }
}

// The cost of each of many requests inside a window, whose common part is done once.
void kernelInSharedWindow(benchmark::State& state, WithCovariance covariance) {
    const Window nodes;
    std::vector<double> times = randomTimes(2);
    for (double& time : times)
        time += kSpacing_days;
    const HermiteWindow window(nodes.nodes, nodes.covariances);
    std::size_t next = 0;
    Vorlanpoint result;
    for (auto _ : state) {
        hermitevorlan(window, times[next++ & 65535], result, covariance);
        benchmark::DoNotOptimize(result);
    }
}

struct Outputs {
    double mse, pos[3], vel[3], covMtx[6][6];
    std::int32_t revNum;
};

constexpr std::size_t kBatch = 65536;

void query(benchmark::State& state, bool withCovariance, std::int32_t satellites, std::int32_t points,
           Spacing spacing = Spacing::Even) {
    std::vector<std::int64_t> keys = fillStore(satellites, points, withCovariance || spacing == Spacing::Even, spacing);
    std::shuffle(keys.begin(), keys.end(), std::mt19937_64(1));
    const std::vector<double> times = randomTimes(points, kBatch, spacing);
    Outputs out;
    std::size_t next = 0;
    std::size_t key = 0;
    std::int32_t failures = 0;
    for (auto _ : state) {
        const double time = times[next++ & 65535];
        if (++key == keys.size()) key = 0;
        failures += withCovariance
                        ? VorlanDs50UTCCovMtx(keys[key], time, &out.mse, out.pos, out.vel, &out.revNum, out.covMtx)
                        : VorlanDs50UTC(keys[key], time, &out.mse, out.pos, out.vel, &out.revNum);
        benchmark::DoNotOptimize(out);
    }
    if (failures != 0) state.SkipWithError("a query failed");
}

constexpr std::int32_t kDay = 1441;
constexpr std::int32_t kMillion = 1'000'000;

// The answers of a batch, with or without covariance.
struct BatchOutputs {
    explicit BatchOutputs(std::size_t n, bool withCovariance)
        : posVel(n * 6), revNums(n), covMtx(withCovariance ? n * 36 : 0), errCodes(n) {}

    auto* posVels() { return reinterpret_cast<double(*)[6]>(posVel.data()); }
    auto* covariances() { return covMtx.empty() ? nullptr : reinterpret_cast<double(*)[6][6]>(covMtx.data()); }

    std::vector<double> posVel;
    std::vector<std::int32_t> revNums;
    std::vector<double> covMtx;
    std::vector<std::int32_t> errCodes;
};

// Many times of one satellite, of a day unless said otherwise; when sorted, 45.5 requests fall between two points of a
// day.
void manyTimes(benchmark::State& state, bool sorted, bool withCovariance, std::int32_t points = kDay) {
    const std::int64_t key = fillStore(1, points).front();
    std::vector<double> times = randomTimes(points, kBatch);
    if (sorted) std::sort(times.begin(), times.end());
    BatchOutputs out(kBatch, withCovariance);
    for (auto _ : state) {
        if (VorlanDs50UTCArr(key, kBatch, times.data(), out.posVels(), out.revNums.data(), out.covariances(),
                             out.errCodes.data()) != 0) {
            state.SkipWithError("a query failed");
            break;
        }
    }
    countNanoseconds(state, "ns_per_state", kBatch);
}

// One time for many satellites, each of a day.
void manySatellites(benchmark::State& state, bool inOrder, bool withCovariance) {
    constexpr std::size_t kSatellites = 10000;
    std::vector<std::int64_t> keys = fillStore(kSatellites, 1440);
    if (!inOrder) std::shuffle(keys.begin(), keys.end(), std::mt19937_64(1));
    BatchOutputs out(kSatellites, withCovariance);
    const std::vector<double> times = randomTimes(1440);
    std::size_t next = 0;
    for (auto _ : state) {
        if (VorlanSatsDs50UTC(kSatellites, keys.data(), times[next++ & 65535], out.posVels(), out.revNums.data(),
                              out.covariances(), out.errCodes.data()) != 0) {
            state.SkipWithError("a query failed");
            break;
        }
    }
    countNanoseconds(state, "ns_per_state", kSatellites);
}

BENCHMARK_CAPTURE(kernel, state, WithCovariance::No);
BENCHMARK_CAPTURE(kernel, covariance, WithCovariance::Yes);
BENCHMARK_CAPTURE(kernelInSharedWindow, state, WithCovariance::No);
BENCHMARK_CAPTURE(kernelInSharedWindow, covariance, WithCovariance::Yes);
BENCHMARK_CAPTURE(query, one_satellite_day, false, 1, kDay);
BENCHMARK_CAPTURE(query, one_satellite_day_covariance, true, 1, kDay);
BENCHMARK_CAPTURE(query, one_satellite_100000_points, false, 1, 100000);
BENCHMARK_CAPTURE(query, one_satellite_100000_points_covariance, true, 1, 100000);
BENCHMARK_CAPTURE(query, random_steps_100000_points, false, 1, 100000, Spacing::Random);
BENCHMARK_CAPTURE(query, random_steps_1000000_points, false, 1, kMillion, Spacing::Random);
BENCHMARK_CAPTURE(query, passes_100000_points, false, 1, 100000, Spacing::Passes);
BENCHMARK_CAPTURE(query, passes_1000000_points, false, 1, kMillion, Spacing::Passes);
BENCHMARK_CAPTURE(query, satellites_10000_random_keys, false, 10000, 60);
BENCHMARK_CAPTURE(query, satellites_10000_random_keys_covariance, true, 10000, 60);

BENCHMARK_CAPTURE(manyTimes, sorted, true, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manyTimes, sorted_covariance, true, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manyTimes, sorted_60_a_window, true, false, 1093)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manyTimes, sorted_2_a_window, true, false, 32769)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manyTimes, sorted_0_2_a_window, true, false, 327681)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manyTimes, random, false, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manyTimes, random_covariance, false, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manyTimes, random_100000_points, false, false, 100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manyTimes, random_100000_points_covariance, false, true, 100000)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manyTimes, random_1000000_points, false, false, kMillion)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manyTimes, random_1000000_points_covariance, false, true, kMillion)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manySatellites, state, true, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manySatellites, covariance, true, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manySatellites, shuffled, false, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(manySatellites, shuffled_covariance, false, true)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorlandi::bench
