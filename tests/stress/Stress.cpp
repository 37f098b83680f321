// The stress program: many threads call all functions at once, through the public headers. Each answer must be one that
// some order of the calls can produce.
//
//     vorlandi_stress SECONDS [safe|fixed] [SEED]
//
// In the safe guard mode all actors run freely; in the fixed mode an actor that changes the store excludes the others
// meanwhile. Prints how often each actor acted. Exit status 1 if anything was wrong.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <mutex>
#include <span>
#include <thread>

#include "World.hpp"
#include "vorlandi/services.h"
#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

namespace vorlandi::stress {
namespace {

bool isDmaKey(std::int64_t key) { return key % 10 == 0; }

std::size_t below(Random& random, std::size_t limit) { return random() % limit; }

// ---- Queries ----

void queryMover(World& world, Random& random) {
    const std::size_t k = below(random, World::kMovers);
    const std::int64_t key = world.moverKeys[k];
    Answer answer;
    const auto index = static_cast<std::int32_t>(1 + below(random, 5));
    if (VorlanGetEphemeris(key, index, &answer.time, answer.pos, answer.vel, &answer.rev) != 0) return;
    world.expect(isPointOf(World::kFirstMover + static_cast<std::int32_t>(k), answer),
                 "a mover answers with its own data");
    std::int32_t number = 0, points = 0;
    double first[3] = {};
    if (VorlanGetAllFields(key, &number, {}, {}, {}, {}, {}, first, {}, {}, &points, {}) != 0) return;
    world.expect(number == World::kFirstMover + static_cast<std::int32_t>(k), "a mover has its own number");
    world.expect(points == 0 || first[2] == 1000.0 * number, "a mover's fields are of one satellite");
}

void queryDma(World& world, Random& random) {
    const auto& keys = below(random, 4) == 0 ? world.staleDmaKeys : world.dmaKeys;
    const std::int64_t key = keys[below(random, keys.size())];
    if (key == 0) return;
    Answer answer;
    if (VorlanGetEphemeris(key, 1, &answer.time, answer.pos, answer.vel, &answer.rev) == 0)
        world.expect(isPointOfAny(answer), "a DMA key answers with the data of one satellite");
    std::int32_t number = 0, points = 0;
    double first[3] = {};
    if (VorlanGetAllFields(key, &number, {}, {}, {}, {}, {}, first, {}, {}, &points, {}) == 0)
        world.expect(points == 0 || first[2] == 1000.0 * number, "fields by a DMA key are of one satellite");
}

bool isResidentAnswer(const World& world, std::size_t resident, std::size_t time, const double* state) {
    const auto& tables = world.residentAnswers[resident];
    return std::any_of(tables.begin(), tables.end(), [=](const auto& answers) {
        // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): the bits are compared
        return std::memcmp(answers[time].data(), state, sizeof answers[time]) == 0;
    });
}

void queryResident(World& world, Random& random) {
    const std::size_t k = below(random, World::kResidents), at = below(random, world.times.size());
    double state[6] = {};
    const auto status = VorlanDs50UTC(world.residents[k], world.times[at], nullptr, state, state + 3, nullptr);
    world.expect(status == 0 && isResidentAnswer(world, k, at, state), "a resident answers with its bits");
}

void batchOfTimes(World& world, Random& random) {
    const std::size_t k = below(random, World::kResidents), n = world.times.size();
    std::vector<double> states(6 * n);
    auto* const rows = reinterpret_cast<double(*)[6]>(states.data());
    const auto count = static_cast<std::int64_t>(n);
    const auto status = VorlanDs50UTCArr(world.residents[k], count, world.times.data(), rows, {}, {}, {});
    for (std::size_t at = 0; at < n; ++at)
        world.expect(status == 0 && isResidentAnswer(world, k, at, rows[at]), "a batch has the bits of single queries");
}

void batchOfSatellites(World& world, Random& random) {
    std::vector<std::int64_t> keys = world.residents;
    keys.insert(keys.end(), world.moverKeys.begin(), world.moverKeys.end());
    const std::size_t at = below(random, world.times.size());
    std::vector<double> states(6 * keys.size());
    std::vector<std::int32_t> codes(keys.size());
    auto* const rows = reinterpret_cast<double(*)[6]>(states.data());
    VorlanSatsDs50UTC(static_cast<std::int64_t>(keys.size()), keys.data(), world.times[at], rows, {}, {}, codes.data());
    for (std::size_t k = 0; k < World::kResidents; ++k)
        world.expect(codes[k] == 0 && isResidentAnswer(world, k, at, rows[k]), "residents answer in a batch");
    for (std::size_t k = World::kResidents; k < keys.size(); ++k) {
        const double z_km = 1000.0 * (World::kFirstMover + static_cast<double>(k - World::kResidents));
        world.expect(codes[k] != 0 || std::abs(rows[k][2] - z_km) < 1e-6,
                     "a mover answers with its own data in a batch");
    }
}

void queryGrowing(World& world, Random& random) {
    const std::size_t k = below(random, World::kGrowing);
    const std::uint64_t before = world.growing[k].state;
    const auto points = static_cast<std::int32_t>(before & 0xffffffffU);
    if (points == 0) return;
    Answer last;
    double start = 0.0, end = 0.0;
    const std::int64_t key = world.growing[k].key;
    const bool found = VorlanGetEphemeris(key, points, &last.time, last.pos, last.vel, &last.rev) == 0 &&
                       VorlanStartEndTime(key, &start, &end) == 0;
    if ((world.growing[k].state >> 32) != (before >> 32)) return;  // begun again meanwhile
    world.expect(found && isPointOf(World::kFirstGrowing + static_cast<std::int32_t>(k), last) && end >= last.time,
                 "a stored point stays while others are appended");
}

void list(World& world, Random& random) {
    const auto order = static_cast<std::int32_t>(below(random, 4));
    std::vector<std::int64_t> keys(below(random, 2) == 0 ? 1000 : 20, -1);
    std::int64_t count = 0;
    VorlanGetLoadedExt(order, static_cast<std::int64_t>(keys.size()), keys.data(), &count);
    world.expect(count >= World::kResidents && count < 1000, "the count of a listing is possible");
    keys.resize(std::min(keys.size(), static_cast<std::size_t>(count)));
    if (order == 3) world.expect(std::is_sorted(keys.begin(), keys.end()), "keys are listed in order");
    const bool whole = static_cast<std::int64_t>(keys.size()) == count;
    std::sort(keys.begin(), keys.end());
    world.expect(std::adjacent_find(keys.begin(), keys.end()) == keys.end(), "no key is listed twice");
    if (!whole) return;
    for (const std::int64_t key : world.residents)
        world.expect(std::binary_search(keys.begin(), keys.end(), key), "every resident is listed");
}

void countAndFind(World& world, Random& random) {
    world.expect(VorlanGetCount() >= World::kResidents, "the count is possible");
    const std::size_t k = below(random, World::kResidents);
    const auto number = World::kFirstResident + static_cast<std::int32_t>(k);
    world.expect(VorlanGetSatKey(number) == world.residents[k], "a resident is found by its number");
}

void save(World& world, Random& random) {
    const auto path = (world.folder / ("saved-" + std::to_string(below(random, 1000000)))).string();
    world.expect(VorlanSaveFile(path.c_str(), 0) == 0, "saving succeeds");
    std::int32_t cards = 0;
    bool whole = true;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("EPHFIL = ")) ++cards;
        whole = whole && (line.empty() || line.starts_with("EPHFIL = ") || line.starts_with("#VORLANDI = ") ||
                          line.starts_with("*** "));
    }
    world.expect(whole && cards >= World::kResidents, "a saved file has whole lines and a card for each satellite");
    std::filesystem::remove(path);
}

void readFields(World& world, Random& random) {
    char text8[8], tag[128];
    VorlanGetAllFields(world.residents[below(random, 4)], {}, text8, tag, {}, {}, {}, {}, {}, {}, {}, {});
    const auto uniform = [](const char* text, std::size_t size) {
        return std::count(text, text + size, *text) == static_cast<std::ptrdiff_t>(size);
    };
    world.expect(uniform(text8, sizeof text8) && uniform(tag, sizeof tag), "a field is read as it was written");
}

// ---- Changes ----

void writeFields(World& world, Random& random) {
    const std::int64_t key = world.residents[below(random, 4)];
    const std::string value(128, static_cast<char>('A' + below(random, 26)));
    world.expect(VorlanSetField(key, 14, value.c_str()) == 0 && VorlanSetField(key, 15, value.c_str()) == 0,
                 "a field can be written");
}

// Puts a satellite into a slot, and removes the one that was there.
void keepDma(World& world, Random& random, std::int64_t key) {
    const std::int64_t before = world.dmaKeys[below(random, world.dmaKeys.size())].exchange(key);
    if (before == 0) return;
    world.expect(VorlanRemoveSat(before) == 0, "a DMA key can be removed once");
    world.staleDmaKeys[below(random, world.staleDmaKeys.size())] = before;
}

void changeMover(World& world, Random& random) {
    const std::size_t k = below(random, World::kMovers);
    const auto number = World::kFirstMover + static_cast<std::int32_t>(k);
    if (below(random, 2) == 0) {
        VorlanRemoveSat(world.moverKeys[k]);
        return;
    }
    const std::int64_t key = addSatellite(number);
    if (key == 0) return;  // there already
    world.expect(key == world.moverKeys[k] || isDmaKey(key), "a mover gets its own key, or a DMA key");
    for (std::int32_t index = 0; index < 6; ++index) {
        const std::int32_t status = append(key, number, index);
        world.expect(status == 0 || !isDmaKey(key), "points can be appended to a satellite that nobody knows");
    }
    if (isDmaKey(key)) keepDma(world, random, key);
}

void changeDma(World& world, Random& random) {
    if (below(random, 4) == 0) return keepDma(world, random, 0);
    VorlanSetAllKeyMode(1, 1);
    changeMover(world, random);
    VorlanSetAllKeyMode(0, 0);
}

void grow(World& world, Random& random) {
    const std::size_t k = below(random, World::kGrowing);
    static std::mutex owner[World::kGrowing];
    const std::unique_lock lock(owner[k], std::try_to_lock);
    if (!lock) return;
    const auto number = World::kFirstGrowing + static_cast<std::int32_t>(k);
    World::Growing& satellite = world.growing[k];
    std::uint64_t state = satellite.state;
    if ((state & 0xffffffffU) >= 20'000) {
        state = ((state >> 32) + 1) << 32;
        satellite.state = state;
        world.expect(VorlanRemoveSat(satellite.key) == 0, "a growing satellite can be removed");
        satellite.key = addSatellite(number);
    }
    for (int added = 0; added < 10; ++added, ++state) {
        const auto index = static_cast<std::int32_t>(state & 0xffffffffU);
        world.expect(append(satellite.key, number, index) == 0, "a growing satellite grows");
        satellite.state = state + 1;
    }
}

// Not too often: a mode or a table should stay for some calls.
void pause() { std::this_thread::sleep_for(std::chrono::microseconds(200)); }

void exchangeLeapSeconds(World& world, Random& random) {
    pause();
    const auto& list = world.leapLists[below(random, world.leapLists.size())];
    world.expect(VorlanTimeLoadLeapSeconds(list.c_str()) == 0, "a list of leap seconds loads");
}

void switchModes(World&, Random& random) {
    pause();
    VorlanSetDupKeyMode(static_cast<std::int32_t>(below(random, 2)));
    VorlanSetElsetKeyMode(static_cast<std::int32_t>(below(random, 2)));
}

// Where phases keep changes and queries apart, either mode holds.
void switchGuard(World& world, Random& random) {
    pause();
    const bool fixed = world.hasPhases() && below(random, 2) == 0;
    world.expect(VorlanSetGuardMode(fixed ? VORLAN_GUARD_FIXED : VORLAN_GUARD_SAFE) == 0, "a guard mode can be chosen");
}

// ---- Loading ----

std::string universalFile(std::int32_t number) {
    char header[80];
    std::snprintf(header, sizeof header, "%-29s%10d%-10sCSV \n", "KQ_UNIVERSAL_VORLANDI_V1.0", number, "HCSRL");
    std::string text = header;
    for (std::int32_t index = 0; index < 5; ++index) {
        const Point point = pointOf(number, index);
        char time[27] = {}, line[200];
        VorlanTimeToIso(point.time, time);
        std::snprintf(line, sizeof line, "%.26s,%.17g,%.17g,%.17g,%.17g,%.17g,%.17g\n", time, point.pos[0],
                      point.pos[1], point.pos[2], point.vel[0], point.vel[1], point.vel[2]);
        text += line;
    }
    return text;
}

// Receives the keys of what a load stores.
void hearKey(std::int32_t event, const char*, std::int32_t, std::int64_t, const char* text, std::int32_t length,
             void* keys) {
    if (event != VORLAN_READ_STORED) return;
    static_cast<std::vector<std::int64_t>*>(keys)->push_back(
        std::stoll(std::string(text, static_cast<std::size_t>(length))));
}

std::int32_t anyOptions(Random& random) {
    return static_cast<std::int32_t>(below(random, (VORLAN_LOAD_PRACTICAL | VORLAN_LOAD_DMA_KEYS) + 1));
}

// Loads files that only this thread knows, through a card, and removes what they held.
void load(World& world, Random& random) {
    static std::atomic<std::int32_t> threads{0};
    thread_local const std::int32_t own = 5000 + 2 * threads++;
    thread_local const std::string card = [&] {
        const auto path = [&](const std::string& name) { return (world.folder / name).string(); };
        const std::string name = path("card-" + std::to_string(own));
        std::ofstream cards(name);
        for (const std::int32_t number : {own, own + 1}) {
            const std::string file = path("file-" + std::to_string(number));
            std::ofstream(file) << universalFile(number);
            cards << "EPHFIL = " << file << '\n';
        }
        return name;
    }();
    std::vector<std::int64_t> keys;
    VorlanSetReadObserver(hearKey, &keys);
    std::int64_t told[2] = {}, count = 0;
    const std::int32_t options = anyOptions(random);
    const std::int32_t status = VorlanLoadFileExt(card.c_str(), options, 2, told, &count);
    if (below(random, 2) == 0) VorlanSetReadObserver(nullptr, nullptr);
    world.expect(status == 0 && count == 2 && std::equal(keys.begin(), keys.end(), told, told + count),
                 "both files of a card are stored and told");
    world.expect((options & VORLAN_LOAD_DMA_KEYS) == 0 || (isDmaKey(told[0]) && isDmaKey(told[1])),
                 "a load has the keys that it asked for");
    for (std::size_t k = 0; k < keys.size(); ++k) {
        Answer last;
        const auto found = VorlanGetEphemeris(keys[k], 5, &last.time, last.pos, last.vel, &last.rev);
        const double z_km = 1000.0 * (own + static_cast<double>(k));
        world.expect(found == 0 && last.pos[2] == z_km && last.pos[1] == -4.0, "a loaded file holds its points");
        world.expect(VorlanRemoveSat(keys[k]) == 0, "a loaded satellite can be removed");
    }
    VorlanSetReadObserver(nullptr, nullptr);
}

// ---- While the store is emptied all the time ----

// Loads from memory a satellite that only this thread knows, and finds it whole or gone.
void loadBytes(World& world, Random& random) {
    static std::atomic<std::int32_t> threads{0};
    thread_local const std::int32_t own = 8000 + threads++;
    thread_local const std::string file = universalFile(own);
    std::int64_t key = 0, count = 0;
    const std::int32_t status = VorlanLoadBytes(file.data(), static_cast<std::int64_t>(file.size()), "memory",
                                                anyOptions(random), 1, &key, &count);
    world.expect(status == 0 && count == 1, "bytes are stored during removals");
    Answer last;
    const auto found = VorlanGetEphemeris(key, 5, &last.time, last.pos, last.vel, &last.rev);
    const bool isOwn = last.pos[2] == 1000.0 * own || isDmaKey(key);  // a DMA key may name another one by now
    world.expect(found != 0 || (isOwn && last.pos[1] == -4.0), "a loaded satellite is whole or gone");
    VorlanRemoveSat(key);  // else the next one with an ordinary key would be a duplicate
}

void removeAll(World& world, Random&) {
    pause();
    world.expect(VorlanRemoveAllSats() == 0, "all satellites can be removed");
}

void listAny(World& world, Random& random) {
    std::int64_t keys[16] = {}, count = -1;
    VorlanGetLoadedExt(static_cast<std::int32_t>(below(random, 4)), 16, keys, &count);
    world.expect(count >= 0, "a store that is emptied can be listed");
    if (count > 0) VorlanGetAllFields(keys[0], {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {});
}

// ---- The stage ----

struct Actor {
    const char* name;
    bool changes;  // needs a phase of its own in the fixed mode
    int threads;
    void (*act)(World&, Random&);
};

constexpr Actor kActors[] = {
    {"query movers", false, 2, queryMover},
    {"query by DMA keys", false, 2, queryDma},
    {"query residents", false, 1, queryResident},
    {"query many times", false, 1, batchOfTimes},
    {"query many satellites", false, 1, batchOfSatellites},
    {"query growing satellites", false, 1, queryGrowing},
    {"list", false, 1, list},
    {"count and find", false, 1, countAndFind},
    {"save", false, 1, save},
    {"read fields", false, 1, readFields},
    {"write fields", true, 1, writeFields},
    {"add and remove", true, 2, changeMover},
    {"add and remove DMA keys", true, 1, changeDma},
    {"append", true, 2, grow},
    {"exchange leap seconds", false, 1, exchangeLeapSeconds},
    {"switch key modes", false, 1, switchModes},
    {"switch guard modes", false, 1, switchGuard},
    {"load files", true, 2, load},
};

// The second part of the time.
constexpr Actor kEmptyingActors[] = {
    {"load from memory", true, 3, loadBytes},
    {"remove all satellites", true, 1, removeAll},
    {"list what is left", false, 1, listAny},
    {"switch key modes then", false, 1, switchModes},
};

// Calls the library back from time to time.
void answerMessage(std::int32_t, const char*, std::int32_t length, void* world) {
    thread_local int heard = 0;
    if (++heard % 64 != 0) return;
    auto& shared = *static_cast<World*>(world);
    shared.expect(length > 0 && VorlanGetCount() >= World::kResidents, "a handler may call the library");
}

void run(const Actor& actor, World& world, unsigned seed, std::atomic<std::int64_t>& acts) {
    Random random(seed);
    std::int64_t done = 0;
    for (; !world.done; ++done)
        world.act(actor.changes, [&] { actor.act(world, random); });
    acts += done;
}

// Lets actors act for a time, and prints how often each did.
void play(std::span<const Actor> actors, World& world, double seconds, unsigned seed) {
    world.done = false;
    std::vector<std::atomic<std::int64_t>> acts(actors.size());
    std::vector<std::jthread> threads;
    for (std::size_t k = 0; k < actors.size(); ++k) {
        for (int thread = 0; thread < actors[k].threads; ++thread) {
            const unsigned own = seed + static_cast<unsigned>(threads.size());
            threads.emplace_back([&, k, own] { run(actors[k], world, own, acts[k]); });
        }
    }
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    world.done = true;
    threads.clear();
    for (std::size_t k = 0; k < actors.size(); ++k)
        std::printf("%12lld  %s\n", static_cast<long long>(acts[k]), actors[k].name);
}

int stress(double seconds, bool fixed, unsigned seed) {
    constexpr double kShareOfEmptying = 0.1;
    std::string folder = (std::filesystem::temp_directory_path() / "vorlandi-stress-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) return 1;
    std::int64_t faults = 0;
    {
        World world(fixed, folder);
        VorlanTraceSetHandler(answerMessage, &world);
        std::printf("%s mode, %.0f s, seed %u\n", fixed ? "fixed" : "safe", seconds, seed);
        play(kActors, world, (1.0 - kShareOfEmptying) * seconds, seed);
        VorlanTraceSetHandler(nullptr, nullptr);
        world.checkWhatIsLeft();
        play(kEmptyingActors, world, kShareOfEmptying * seconds, seed);
        VorlanRemoveAllSats();
        world.expect(VorlanGetCount() == 0, "nothing is left after all have been removed");
        faults = world.faults();
        std::printf("%12lld  faults\n", static_cast<long long>(faults));
    }
    std::filesystem::remove_all(folder);
    return faults == 0 ? 0 : 1;
}

}  // namespace
}  // namespace vorlandi::stress

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? std::atof(argv[1]) : 0.0;
    const std::string mode = argc > 2 ? argv[2] : "safe";
    if (!(seconds > 0.0) || (mode != "safe" && mode != "fixed")) {
        std::fprintf(stderr, "usage: vorlandi_stress SECONDS [safe|fixed] [SEED]\n");
        return 2;
    }
    const auto seed = static_cast<unsigned>(argc > 3 ? std::atoi(argv[3]) : 1);
    return vorlandi::stress::stress(seconds, mode == "fixed", seed);
}
