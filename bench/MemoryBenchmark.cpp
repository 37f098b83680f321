// The memory that points and fleets take, each measured in a process of its own.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <functional>
#include <memory>

#include "BenchData.hpp"

namespace vorlandi::bench {
namespace {

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

// ---- Fleets ----

// So many that the memory of the process itself hardly counts.
struct Fleet {
    std::int64_t satellites;
    std::int64_t points;  // of each
};
constexpr Fleet kFleets[] = {{20'000, 1}, {5'000, 100}, {500, 1440}, {kDeliveryFiles, kDeliveryPoints}};

constexpr double kBytesOfSatellite = 512.0;
constexpr double kBytesOfProcess = 4 << 20;
constexpr double kBytesOfPage = 4096.0;

// Adds the most that the fleet may take: a multiple of what it stores plus an allowance per satellite, and a fixed sum.
void measureFleet(benchmark::State& state, const std::string& arguments, const Fleet& fleet, bool withCovariance,
                  double allowance, double times) {
    const std::int64_t points = fleet.satellites * fleet.points;
    measureMemory(state, arguments, points, withCovariance);
    const double needed = storedBytes(points, withCovariance) + static_cast<double>(fleet.satellites) * allowance;
    state.counters["allowed_bytes"] = times * needed + kBytesOfProcess;
}

// Each file in the format of deliveries, or in STK without covariances.
void loadedFleet(benchmark::State& state, const Fleet& fleet, bool withCovariance) {
    const auto folder = fleetFolder(withCovariance ? "MODIFIED_ITC" : "STK", fleet.satellites, fleet.points);
    measureFleet(state, "delivery '" + folder.string() + "'", fleet, withCovariance, kBytesOfSatellite, 1.05);
}

// Point by point: one satellite after another, or one point to each in turn.
void addedFleet(benchmark::State& state, const Fleet& fleet, bool withCovariance, bool inTurn) {
    const std::string arguments = (withCovariance ? "covariance " : "state ") + std::to_string(fleet.points) + " " +
                                  std::to_string(fleet.satellites) + (inTurn ? " in_turn" : "");
    measureFleet(state, arguments, fleet, withCovariance, kBytesOfSatellite + kBytesOfPage, 1.0);
}

void addFleet(const std::string& way, const Fleet& fleet, bool withCovariance,
              const std::function<void(benchmark::State&)>& measure) {
    const std::string title =
        "memoryOfFleet/" + way + "/" + (withCovariance ? "covariance/" : "state/") + std::to_string(fleet.points);
    benchmark::RegisterBenchmark(title.c_str(), measure)->Iterations(1)->Unit(benchmark::kMillisecond);
}

const bool kAdded = [] {
    for (const Fleet& fleet : kFleets) {
        for (const bool withCovariance : {false, true}) {
            addFleet("loaded", fleet, withCovariance,
                     [=](benchmark::State& state) { loadedFleet(state, fleet, withCovariance); });
            addFleet("added", fleet, withCovariance,
                     [=](benchmark::State& state) { addedFleet(state, fleet, withCovariance, false); });
            addFleet("addedInTurn", fleet, withCovariance,
                     [=](benchmark::State& state) { addedFleet(state, fleet, withCovariance, true); });
        }
    }
    return true;
}();

BENCHMARK_CAPTURE(memoryOfPoints, state, false)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(memoryOfPoints, covariance, true)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(memoryOfLoad)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(memoryOfDelivery)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorlandi::bench
