// Loading a file of every format, compared with only reading its bytes and with only parsing its numbers;
// and loading in two threads at once.
#include <benchmark/benchmark.h>
#include <sys/mman.h>

#include <charconv>
#include <cstdio>
#include <thread>

#include "BenchData.hpp"
#include "EphemerisWriters.hpp"
#include "Vorlandi/VorlandiCardReading/CardPass.hpp"

namespace vorlandi::bench {
namespace {

using Path = std::filesystem::path;

void loadBy(benchmark::State& state, const Path& path, std::int64_t points, std::int32_t options) {
    emptyStore();
    for (auto _ : state) {
        const std::int32_t status = VorlanLoadFileExt(path.c_str(), options, 0, nullptr, nullptr);
        state.PauseTiming();
        const bool loaded = status == 0 && pointsInStore() == points;
        emptyStore();
        state.ResumeTiming();
        if (!loaded) {
            state.SkipWithError("not loaded");
            break;
        }
    }
}

void load(benchmark::State& state, const Path& path, std::int64_t points) { loadBy(state, path, points, 0); }

void loadPractical(benchmark::State& state, const Path& path, std::int64_t points) {
    loadBy(state, path, points, VORLAN_LOAD_PRACTICAL);
}

// The pass that looks for cards, over a file that has none.
void cardPass(benchmark::State& state, const Path& path, std::int64_t) {
    for (auto _ : state) {
        InputUnit unit;
        if (fileopenmt(path.native(), unit) != 0) state.SkipWithError("not opened");
        InputTag tag;
        Load load;
        CardPass(unit, {path.native()}, tag, load).run();
    }
}

void readBytes(benchmark::State& state, const Path& path, std::int64_t) {
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

// The same into memory as large as the file that is new to the process, like the memory of loaded points.
void readIntoMemory(benchmark::State& state, const Path& path, std::int64_t) {
    const std::size_t size = std::filesystem::file_size(path);
    for (auto _ : state) {
        void* const memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        madvise(memory, size, MADV_HUGEPAGE);
        std::FILE* const file = std::fopen(path.c_str(), "rb");
        std::setvbuf(file, nullptr, _IONBF, 0);
        const std::size_t total = std::fread(memory, 1, size, file);
        std::fclose(file);
        state.PauseTiming();
        munmap(memory, size);
        state.ResumeTiming();
        if (total != size) {
            state.SkipWithError("not read");
            break;
        }
    }
}

// Parses every number of a text in memory and skips what can't begin one.
void sumOfNumbers(const std::string& text) {
    double sum = 0.0;
    const char* at = text.data();
    const char* const end = text.data() + text.size();
    for (;;) {
        while (at != end && *at <= ',')
            ++at;
        if (at == end) break;
        double value = 0.0;
        const auto [next, error] = std::from_chars(at, end, value);
        if (error == std::errc{}) sum += value;
        at = next == at ? at + 1 : next;
    }
    benchmark::DoNotOptimize(sum);
}

void fromChars(benchmark::State& state, const Path& path, std::int64_t) {
    const std::string text = contentOf(path);
    for (auto _ : state)
        sumOfNumbers(text);
}

// One thread for each file, timed from the start of the first to the end of the last.
void loadInThreads(benchmark::State& state) {
    constexpr std::int64_t kPoints = 200'000;
    const std::int64_t count = state.range(0);
    std::vector<Path> paths(static_cast<std::size_t>(count));
    std::int32_t satellite = 81001;
    for (Path& path : paths)
        path = ephemerisFile("STK", kPoints, satellite++);
    emptyStore();
    for (auto _ : state) {
        {
            std::vector<std::jthread> threads(paths.size());
            for (std::size_t k = 0; k < paths.size(); ++k)
                threads[k] = std::jthread([&path = paths[k]] { VorlanLoadFile(path.c_str()); });
        }
        state.PauseTiming();
        const bool loaded = pointsInStore() == count * kPoints;
        emptyStore();
        state.ResumeTiming();
        if (!loaded) {
            state.SkipWithError("not loaded");
            break;
        }
    }
    state.SetBytesProcessed(state.iterations() * count *
                            static_cast<std::int64_t>(std::filesystem::file_size(paths[0])));
}

// The most that two threads can gain on this machine: they share nothing and allocate nothing.
void fromCharsInThreads(benchmark::State& state) {
    const std::string text = contentOf(ephemerisFile("STK", 200'000));
    for (auto _ : state) {
        std::vector<std::jthread> threads(static_cast<std::size_t>(state.range(0)));
        for (std::jthread& thread : threads)
            thread = std::jthread([&text] { sumOfNumbers(text); });
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * static_cast<std::int64_t>(text.size()));
}

using Pass = void (*)(benchmark::State&, const Path&, std::int64_t points);

void add(const char* name, Pass pass, std::string_view format, std::int64_t points) {
    const std::string title = std::string(name) + "/" + std::string(format) + "/" + std::to_string(points);
    benchmark::RegisterBenchmark(title.c_str(), [=](benchmark::State& state) {
        const Path& path = ephemerisFile(format, points);
        pass(state, path, points);
        state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(std::filesystem::file_size(path)));
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
    add("readIntoMemory", readIntoMemory, "DCE_BINARY", 100'000);
    add("cardPass", cardPass, "STK", 100'000);
    add("loadPractical", loadPractical, "STK", 100'000);
    const std::pair<const char*, Pass> passes[] = {{"load", load},
                                                   {"loadPractical", loadPractical},
                                                   {"cardPass", cardPass},
                                                   {"readBytes", readBytes},
                                                   {"fromChars", fromChars}};
    for (const auto& [name, pass] : passes) {
        add(name, pass, "STK", 1'000'000);
    }
    return true;
}();

BENCHMARK(loadInThreads)->DenseRange(1, 2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(fromCharsInThreads)->DenseRange(1, 2)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorlandi::bench
