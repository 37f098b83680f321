// Loading an STK file, beside just reading its bytes and just turning its numbers into doubles.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>

#include "BenchData.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"

namespace vorlandi::bench {
namespace {

void countBytes(benchmark::State& state, const std::filesystem::path& path) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(std::filesystem::file_size(path)));
}

void loadStk(benchmark::State& state) {
    const auto& path = stkFile(state.range(0));
    for (auto _ : state) {
        if (VorlanLoadFile(path.c_str()) != 0 || VorlanGetCount() != 1) state.SkipWithError("not loaded");
        state.PauseTiming();
        VorlanRemoveAllSats();
        state.ResumeTiming();
    }
    countBytes(state, path);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The pass that looks for cards, over a file that has none.
void cardPass(benchmark::State& state) {
    const auto& path = stkFile(state.range(0));
    for (auto _ : state) {
        InputUnit unit;
        if (fileopenmt(path.native(), unit) != 0) state.SkipWithError("not opened");
        std::string_view line;
        std::int64_t length = 0;
        while (unit.readLine(InputUnit::kLongestLine, line) == ReadOutcome::Success) {
            length += static_cast<std::int64_t>(line.size());
        }
        benchmark::DoNotOptimize(length);
    }
    countBytes(state, path);
}

void readBytes(benchmark::State& state) {
    const auto& path = stkFile(state.range(0));
    std::vector<char> buffer(65536);
    for (auto _ : state) {
        std::FILE* const file = std::fopen(path.c_str(), "rb");
        std::setvbuf(file, nullptr, _IONBF, 0);
        std::size_t total = 0;
        while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file))
            total += count;
        benchmark::DoNotOptimize(total);
        std::fclose(file);
    }
    countBytes(state, path);
}

// Every number of a text that is in memory already.
void fromChars(benchmark::State& state) {
    const auto& path = stkFile(state.range(0));
    const std::string text = contentOf(path);
    const std::size_t first = text.find("PosVel\n") + 7;
    for (auto _ : state) {
        double sum = 0.0;
        const char* at = text.data() + first;
        const char* const end = text.data() + text.size();
        while (at != end) {
            double value = 0.0;
            const auto [next, error] = std::from_chars(at, end, value);
            if (error == std::errc{}) sum += value;
            at = next == at ? at + 1 : next;
        }
        benchmark::DoNotOptimize(sum);
    }
    countBytes(state, path);
}

#define VORLANDI_LOAD_BENCHMARK(function) \
    BENCHMARK(function)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond)
VORLANDI_LOAD_BENCHMARK(loadStk);
VORLANDI_LOAD_BENCHMARK(cardPass);
VORLANDI_LOAD_BENCHMARK(readBytes);
VORLANDI_LOAD_BENCHMARK(fromChars);

}  // namespace
}  // namespace vorlandi::bench
