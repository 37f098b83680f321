// Loading a file of every format, beside just reading its bytes and just turning its numbers into doubles.
#include <benchmark/benchmark.h>

#include <charconv>
#include <cstdio>

#include "BenchData.hpp"
#include "EphemerisWriters.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"

namespace vorlandi::bench {
namespace {

using Path = std::filesystem::path;

void load(benchmark::State& state, const Path& path) {
    for (auto _ : state) {
        if (VorlanLoadFile(path.c_str()) != 0 || VorlanGetCount() != 1) state.SkipWithError("not loaded");
        state.PauseTiming();
        VorlanRemoveAllSats();
        state.ResumeTiming();
    }
}

// The pass that looks for cards, over a file that has none.
void cardPass(benchmark::State& state, const Path& path) {
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
}

void readBytes(benchmark::State& state, const Path& path) {
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
}

// Every number of a text that is in memory already.
void fromChars(benchmark::State& state, const Path& path) {
    const std::string text = contentOf(path);
    for (auto _ : state) {
        double sum = 0.0;
        const char* at = text.data();
        const char* const end = text.data() + text.size();
        while (at != end) {
            double value = 0.0;
            const auto [next, error] = std::from_chars(at, end, value);
            if (error == std::errc{}) sum += value;
            at = next == at ? at + 1 : next;
        }
        benchmark::DoNotOptimize(sum);
    }
}

using Pass = void (*)(benchmark::State&, const Path&);

void add(const char* name, Pass pass, std::string_view format, std::int64_t points) {
    const std::string title = std::string(name) + "/" + std::string(format) + "/" + std::to_string(points);
    benchmark::RegisterBenchmark(title.c_str(), [=](benchmark::State& state) {
        const Path& path = ephemerisFile(format, points);
        pass(state, path);
        state.SetBytesProcessed(state.iterations() *
                                static_cast<std::int64_t>(std::filesystem::file_size(path)));
        state.SetItemsProcessed(state.iterations() * points);
    })->Unit(benchmark::kMillisecond);
}

// Every format at 100,000 points, STK with its further passes also at a million.
const bool added = [] {
    for (const tools::EphemerisFormat& format : tools::ephemerisFormats()) {
        add("load", load, format.name, 100'000);
        add("readBytes", readBytes, format.name, 100'000);
        if (format.name != "DCE_BINARY") add("fromChars", fromChars, format.name, 100'000);
    }
    add("cardPass", cardPass, "STK", 100'000);
    const std::pair<const char*, Pass> passes[] = {
        {"load", load}, {"cardPass", cardPass}, {"readBytes", readBytes}, {"fromChars", fromChars}};
    for (const auto& [name, pass] : passes) {
        add(name, pass, "STK", 1'000'000);
    }
    return true;
}();

}  // namespace
}  // namespace vorlandi::bench
