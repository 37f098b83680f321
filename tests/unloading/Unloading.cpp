// Loads the library, uses it and unloads it, again and again: nothing of it may stay mapped or on the heap.
//
//     vorlandi_unloading LIBRARY EPHEMERIS_FILE
#include <dlfcn.h>
#include <malloc.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

namespace {

// A symbol of the library as a function of a type.
template <class Function>
Function* symbol(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

// Satellites with both kinds of keys, a message for the last-error slot, and a query.
bool use(void* library, const char* file) {
    auto* const load = symbol<std::int64_t(const char*)>(library, "VorlanAddSatFrFile");
    auto* const setMode = symbol<void(std::int32_t)>(library, "VorlanSetElsetKeyMode");
    auto* const startEnd = symbol<std::int32_t(std::int64_t, double*, double*)>(library, "VorlanStartEndTime");
    const std::int64_t ordinary = load(file);
    setMode(1);
    const std::int64_t dma = load(file);
    return ordinary > 0 && dma > 0 && startEnd(ordinary, nullptr, nullptr) == 0 && startEnd(11, nullptr, nullptr) == 2;
}

bool isMapped(const std::string& library) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.ends_with(library.substr(library.rfind('/')))) return true;
    }
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    constexpr int kWarmUp = 5, kRounds = 50;
    std::size_t before = 0;
    for (int round = 0; round < kWarmUp + kRounds; ++round) {
        if (round == kWarmUp) before = mallinfo2().uordblks;
        void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr || !use(library, argv[2]) || dlclose(library) != 0) {
            std::fprintf(stderr, "round %d failed\n", round);
            return 1;
        }
    }
    const auto grown = static_cast<double>(mallinfo2().uordblks) - static_cast<double>(before);
    const bool mapped = isMapped(argv[1]);
    std::printf("%.1f bytes a round%s\n", grown / kRounds, mapped ? ", and the library is still mapped" : "");
    return mapped || grown / kRounds > 64.0 ? 1 : 0;
}
