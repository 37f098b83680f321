// Listing the keys in each order, compared with copying or sorting the same number of keys.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <tuple>

#include "BenchData.hpp"
#include "vorlandi/services.h"

namespace vorlandi::bench {
namespace {

constexpr std::int32_t kListed = 10'000;

// Fills the store with satellites in a random order of numbers. Returns the numbers.
std::vector<std::int64_t> addInRandomOrder() {
    std::vector<std::int64_t> numbers(kListed);
    for (std::size_t k = 0; k < numbers.size(); ++k)
        numbers[k] = static_cast<std::int64_t>(k) + 10000;
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937_64(1));
    emptyStore();
    for (const std::int64_t number : numbers)
        VorlanAddSat(static_cast<std::int32_t>(number), 1, kEpoch, 6378.135, 0.07);
    return numbers;
}

void listKeys(benchmark::State& state) {
    const auto order = static_cast<std::int32_t>(state.range(0));
    addInRandomOrder();
    std::vector<std::int64_t> keys(kListed, 0);
    for (auto _ : state)
        VorlanGetLoaded(order, keys.data());
    if (std::ranges::count(keys, 0) > 0) state.SkipWithError("not listed");
}

// By number, under DMA keys, whose order has nothing to do with the numbers.
void listDmaKeys(benchmark::State& state) {
    VorlanSetElsetKeyMode(1);
    addInRandomOrder();
    std::vector<std::int64_t> keys(kListed, 0);
    for (auto _ : state)
        VorlanGetLoaded(0, keys.data());
    if (std::ranges::count(keys, 0) > 0) state.SkipWithError("not listed");
    emptyStore();
    VorlanSetElsetKeyMode(0);
}

// The limit of a listing by key: copying the same number of keys.
void copyKeys(benchmark::State& state) {
    const std::vector<std::int64_t> keys = fillStore(kListed, 1);
    std::vector<std::int64_t> copy(keys.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), keys.data(), keys.size() * sizeof(std::int64_t));
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
}

// The limit of a listing that has to be sorted: copying the compared numbers and the keys from an array in the order of
// the tree, and sorting them.
template <typename Compared>
void sortPairs(benchmark::State& state, Compared (*comparedOf)(std::int64_t number, std::int64_t sequence),
               bool inRandomOrder) {
    const std::vector<std::int64_t> numbers = addInRandomOrder();
    std::vector<std::pair<Compared, std::int64_t>> given;
    for (std::size_t k = 0; k < numbers.size(); ++k)
        given.emplace_back(comparedOf(numbers[k], static_cast<std::int64_t>(k)),
                           VorlanGetSatKey(static_cast<std::int32_t>(numbers[k])));
    std::ranges::sort(given, std::greater(), &std::pair<Compared, std::int64_t>::second);
    if (inRandomOrder) std::shuffle(given.begin(), given.end(), std::mt19937_64(2));
    for (auto _ : state) {
        auto pairs = given;
        std::sort(pairs.begin(), pairs.end());
        benchmark::DoNotOptimize(pairs.data());
    }
}

using NumberFrameEpoch = std::tuple<std::int32_t, std::int32_t, double>;
NumberFrameEpoch byNumber(std::int64_t number, std::int64_t) { return {static_cast<std::int32_t>(number), 1, kEpoch}; }
std::int32_t bySequence(std::int64_t, std::int64_t sequence) { return static_cast<std::int32_t>(sequence); }

BENCHMARK(listKeys)->DenseRange(0, 3)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(sortPairs, by_number, byNumber, false)->Unit(benchmark::kMicrosecond);
BENCHMARK(listDmaKeys)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(sortPairs, by_number_shuffled, byNumber, true)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(sortPairs, by_sequence, bySequence, false)->Unit(benchmark::kMicrosecond);
BENCHMARK(copyKeys)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace vorlandi::bench
