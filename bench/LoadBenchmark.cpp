// Loading a file of every format, compared with only reading its bytes and with only parsing its numbers;
// and loading in two threads at once.
#include <benchmark/benchmark.h>
#include <sys/mman.h>

#include <atomic>
#include <charconv>
#include <cstdio>
#include <thread>

#include "BenchData.hpp"
#include "EphemerisFormats.hpp"
#include "Vorlandi/VorlandiCardReading/CardPass.hpp"
#include "Vorlandi/VorlandiProcessing/CovarianceAxes.hpp"

namespace vorlandi::bench {
namespace {

using Path = std::filesystem::path;

std::int32_t loadPractically(const Path& path) {
    std::int64_t count = 0;
    return VorlanLoadFileExt(path.c_str(), VORLAN_LOAD_PRACTICAL, 0, nullptr, &count);
}

std::int32_t loadByFixedRules(const Path& path) { return VorlanLoadFile(path.c_str()); }

using LoadFunction = std::int32_t (*)(const Path&);

// Empties the store, outside the measured time. False, with an error, if it doesn't hold this many points.
bool emptyAfter(benchmark::State& state, std::int64_t points) {
    state.PauseTiming();
    const bool loaded = pointsInStore() == points;
    emptyStore();
    state.ResumeTiming();
    if (!loaded) state.SkipWithError("not loaded");
    return loaded;
}

template <LoadFunction Function>
void load(benchmark::State& state, const Path& path, std::int64_t points) {
    emptyStore();
    for (auto _ : state) {
        const std::int32_t status = Function(path);
        if (!emptyAfter(state, status == 0 ? points : -1)) break;
    }
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

// The same, into memory as large as the file and new to the process, like the memory of loaded points.
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

// Parses every number of a text in memory and skips everything that can't begin one.
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
        if (!emptyAfter(state, count * kPoints)) break;
    }
    state.SetBytesProcessed(state.iterations() * count *
                            static_cast<std::int64_t>(std::filesystem::file_size(paths[0])));
}

// One large file, by one thread or, from 2 on, by as many as the process may run on.
void loadOneFile(benchmark::State& state, std::string_view format, std::int64_t points) {
    const Path path = ephemerisFile(format, points);
    const std::int32_t options = VORLAN_LOAD_PRACTICAL | (state.range(0) > 1 ? VORLAN_LOAD_THREADS : 0);
    emptyStore();
    for (auto _ : state) {
        const std::int32_t status = VorlanLoadFileExt(path.c_str(), options, 0, nullptr, nullptr);
        if (!emptyAfter(state, status == 0 ? points : -1)) break;
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(std::filesystem::file_size(path)));
}

// Files of modified ITC, each three days at one point per minute, which threads take one by one.
void loadDelivery(benchmark::State& state) {
    std::vector<Path> paths;
    std::int64_t bytes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(deliveryFolder())) {
        paths.push_back(entry.path());
        bytes += static_cast<std::int64_t>(entry.file_size());
    }
    emptyStore();
    for (auto _ : state) {
        {
            std::atomic<std::size_t> next = 0;
            std::vector<std::jthread> threads(static_cast<std::size_t>(state.range(0)));
            for (std::jthread& thread : threads) {
                thread = std::jthread([&] {
                    for (std::size_t k = next++; k < paths.size(); k = next++)
                        loadPractically(paths[k]);
                });
            }
        }
        if (!emptyAfter(state, kDeliveryFiles * kDeliveryPoints)) break;
    }
    state.SetBytesProcessed(state.iterations() * bytes);
    state.SetItemsProcessed(state.iterations() * kDeliveryFiles * kDeliveryPoints);
}

// Covariances in the axes of their states, turned into the frame.
void turnCovariance(benchmark::State& state) {
    constexpr std::int64_t kPoints = 1000;
    std::vector<Vorlanpoint> points;
    for (std::int64_t index = 0; index < kPoints; ++index)
        points.push_back(orbitPoint(static_cast<double>(index)));
    for (auto _ : state) {
        for (Vorlanpoint& point : points)
            benchmark::DoNotOptimize(turnToFrame(point, false, CovarianceAxes::Uvw, point));
    }
    state.SetItemsProcessed(state.iterations() * kPoints);
    countNanoseconds(state, "ns_per_covariance", static_cast<double>(kPoints));
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
const bool kAdded = [] {
    for (const tools::EphemerisFormat& format : tools::ephemerisFormats()) {
        add("load", format.isPractical ? load<loadPractically> : load<loadByFixedRules>, format.name, 100'000);
        add("readBytes", readBytes, format.name, 100'000);
        if (format.name != "DCE_BINARY") add("fromChars", fromChars, format.name, 100'000);
    }
    add("readIntoMemory", readIntoMemory, "DCE_BINARY", 100'000);
    add("cardPass", cardPass, "STK", 100'000);
    add("loadPractical", load<loadPractically>, "STK", 100'000);
    const std::pair<const char*, Pass> passes[] = {{"load", load<loadByFixedRules>},
                                                   {"loadPractical", load<loadPractically>},
                                                   {"cardPass", cardPass},
                                                   {"readBytes", readBytes},
                                                   {"fromChars", fromChars}};
    for (const auto& [name, pass] : passes) {
        add(name, pass, "STK", 1'000'000);
    }
    return true;
}();

BENCHMARK(loadInThreads)->DenseRange(1, 2)->UseRealTime()->Unit(benchmark::kMillisecond);
#define VORLANDI_LOAD_ONE(format, points)                              \
    BENCHMARK_CAPTURE(loadOneFile, format##_##points, #format, points) \
        ->DenseRange(1, 2)                                             \
        ->UseRealTime()                                                \
        ->Unit(benchmark::kMillisecond)
VORLANDI_LOAD_ONE(STK, 1000000);
VORLANDI_LOAD_ONE(STK, 110000);
VORLANDI_LOAD_ONE(ITC, 28000);
VORLANDI_LOAD_ONE(MODIFIED_ITC, 26000);
BENCHMARK(loadDelivery)->DenseRange(1, 2)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(turnCovariance)->Unit(benchmark::kMicrosecond);
BENCHMARK(fromCharsInThreads)->DenseRange(1, 2)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorlandi::bench
