#include "faults/Calls.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "vorlandi/services.h"
#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

namespace vorlandi::faults {

std::int64_t control = 0;

namespace {

std::int64_t other = 0;  // a satellite for the calls

constexpr double kMinute = 1.0 / 1440.0;
constexpr std::array<double, 21> kCovariance{1.0, 2.0, 3.0};

// Enough points for a mapping of their own with spare room, which is cut; and enough, with covariances, to make it
// grow.
constexpr int kMappedPoints = 33'500;
constexpr int kManyPoints = 101'000;

// ---- What the calls work on ----

std::int64_t addSatellite(int satNum) { return VorlanAddSat(satNum, 1, kEpoch, 6378.135, 0.0743669161); }

std::int32_t addPoints(std::int64_t key, int points) {
    std::int32_t status = 0;
    for (int i = 0; i < points && status == 0; ++i)
        status = VorlanAddSatEphemCovMtx(key, kEpoch + i * kMinute, kPosition, kVelocity, i, kCovariance.data());
    return status;
}

void nothing() {}

void addEmptySatellite() { other = addSatellite(7); }

void fillPools() {
    for (int satNum = 100; VorlanGetCount() < kFirstPoolBlock; ++satNum)
        addSatellite(satNum);
}

void fillPoolsAndUseDmaKeys() {
    fillPools();
    VorlanSetAllKeyMode(1, 1);
}

void addDmaSatellite() {
    VorlanSetAllKeyMode(1, 1);
    other = addSatellite(7);
    addPoints(other, 6);
}

std::string universalFile(int points) {
    std::string text = "KQ_UNIVERSAL_VORLANDI_V1.0        81002HCSRL     CSV \n";
    std::array<char, 26> time{};
    for (int i = 0; i < points; ++i) {
        VorlanTimeToIso(kEpoch + i * kMinute, time.data());
        text.append(time.data(), time.size()).append(",7000.0,1.0,2.0,0.0,7.5,0.0\n");
    }
    return text;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

// ---- Calls of several functions ----

std::int64_t query(std::int64_t key, double minutes, Outputs& out) {
    double(*matrix)[6] = reinterpret_cast<double(*)[6]>(out.numbers + 16);
    const double time = kEpoch + minutes * kMinute;
    const int index = static_cast<int>(minutes);
    double* const n = out.numbers;
    std::int64_t failed = 0;
    failed += VorlanMse(key, minutes, n, n + 1, n + 4, out.integers);
    failed += VorlanMseCovMtx(key, minutes, n, n + 1, n + 4, out.integers, matrix);
    failed += VorlanDs50UTC(key, time, n, n + 1, n + 4, out.integers);
    failed += VorlanDs50UTCCovMtx(key, time, n, n + 1, n + 4, out.integers, matrix);
    failed += VorlanGetEphemeris(key, index, n, n + 1, n + 4, out.integers);
    failed += VorlanGetCovMtx(key, index, n, n + 1, n + 4, out.integers, matrix);
    failed += VorlanXten(key, 2, time, n) + VorlanXten(key, 4, time, n);
    failed += VorlanStartEndTime(key, n, n + 1) + VorlanGetLine(key, out.text);
    failed += VorlanGetSatKey(index) > 0 ? 0 : 2;
    const double times[2] = {time, time + 1000.0};
    const std::int64_t keys[3] = {key, kUnknownKey, control};
    double states[3][6];
    failed += VorlanDs50UTCArr(key, 2, times, states, out.integers, nullptr, out.integers + 4);
    failed += VorlanSatsDs50UTC(3, keys, time, states, out.integers, nullptr, out.integers + 4);
    failed += VorlanGetEphemerisArr(key, index, 3, n, states, out.integers, nullptr, out.integers + 4);
    return failed;
}

std::int64_t runQueries(Outputs& out) {
    std::int64_t failed = 0;
    for (const std::int64_t key : {control, other, kUnknownKey, std::int64_t{-10}, std::int64_t{123450}}) {
        for (const double minutes : {2.5, -1.0, 400.0})  // inside, before, and in a gap
            failed += query(key, minutes, out);
    }
    return failed;
}

std::int64_t runFields(Outputs& out) {
    std::int64_t failed = 0;
    double* const n = out.numbers;
    for (const std::int64_t key : {control, other, kUnknownKey}) {
        for (int field = 0; field <= 16; ++field)
            failed += VorlanGetField(key, field, out.text);
        failed += VorlanSetField(key, 14, "eight") + VorlanSetField(key, 15, "tag");
        failed += VorlanGetAllFields(key, out.integers, out.text, out.text, n, n + 1, n + 2, n + 3, n + 6,
                                     out.integers + 1, out.integers + 2, out.text);
    }
    return failed;
}

std::int64_t runTimes(Outputs& out) {
    for (const char* const text : {"24061120030.500", "2024061.50035301", "2024/061 1200 30.500", "1 Jan 2018 0:00:00",
                                   "2024-03-01T12:00:30.5Z", "2024-061T12:00:30.5", "24 61120030.5", "no date"})
        out.numbers[0] += VorlanTimeFromText(text, 40);
    VorlanTimeToText15(kEpoch, out.text);
    VorlanTimeToIso(kEpoch, out.text + 20);
    out.numbers[1] = VorlanTimeTaiToUtc(VorlanTimeUtcToTai(kEpoch));
    return VorlanFieldsToSatKey(81001, "2024/061 1200 30.500");
}

std::int64_t runServices(const std::string& log, Outputs& out) {
    std::int32_t* const n = out.integers;
    VorlanTraceHandler handler = nullptr;
    VorlanReadObserver observer = nullptr;
    VorlanInit();
    VorlanGetInfo(out.text);
    VorlanSetElsetKeyMode(0);
    VorlanSetDupKeyMode(0);
    VorlanGetKeyModes(n, n + 1, n + 2, n + 3);
    VorlanTraceGetHandler(&handler, nullptr);
    VorlanTraceSetHandler(handler, nullptr);
    VorlanGetReadObserver(&observer, nullptr);
    VorlanSetReadObserver(observer, nullptr);
    VorlanTraceLastError(out.text);
    VorlanTraceClose();
    return VorlanTraceOpen(log.c_str()) + VorlanTraceOpen("no/such/folder") + VorlanSetGuardMode(VorlanGetGuardMode());
}

std::int64_t runRemoving(Outputs&) {
    const std::int64_t failed = VorlanRemoveSat(other) + VorlanRemoveSat(other) + VorlanRemoveSat(kUnknownKey) +
                                VorlanRemoveSat(-10) + VorlanRemoveSat(123450);
    return failed * 10 + VorlanRemoveAllSats();
}

std::int64_t loadFromPipe(const std::string& text) {
    int ends[2];
    if (::pipe(ends) != 0 || ::write(ends[1], text.data(), text.size()) < 0) return -1;
    ::close(ends[1]);
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "/dev/fd/%d", ends[0]);
    const std::int64_t status = VorlanLoadFile(name.data());
    ::close(ends[0]);
    return status;
}

// ---- Kinds of calls ----

const std::vector<std::string> kNotStored = {"AddRecToMem: Cannot allocate memory for a new dma.",
                                             "AddRecToMem: Cannot allocate memory for a new rec.",
                                             "AddRecToMem: Unable to allocate memory for key "};

// A load also goes on after a record that can't be stored, by the fixed rules.
std::vector<std::string> messagesOfLoads() {
    std::vector<std::string> messages = kNotStored;
    messages.emplace_back("Out of memory.");
    messages.emplace_back("VorlanLoadFileExt: /");  // of a refused record, its place
    return messages;
}

Call listing(int order, Ending ending) {
    return {"VorlanGetLoadedExt, order " + std::to_string(order), ending, fillPools, [=](Outputs& out) {
                return VorlanGetLoadedExt(order, kFirstPoolBlock, out.keys, out.keys + kFirstPoolBlock);
            }};
}

// A load of a file, which stores one record after another.
Call load(const std::string& what, Ending ending, std::function<std::int64_t()> run, void (*prepare)() = nothing) {
    const std::int64_t failed = what.starts_with("VorlanAddSatFrFile") ? -1 : 2;
    return {what, ending, prepare, [=](Outputs&) { return run(); }, failed, messagesOfLoads(), true};
}

Call loading(const std::string& what, const std::string& path, void (*prepare)() = nothing) {
    const auto run = [=] { return VorlanLoadFile(path.c_str()); };
    return load("VorlanLoadFile, " + what, Ending::MayStop, run, prepare);
}

Call loadingPractically(const std::string& what, const std::string& path, void (*prepare)()) {
    constexpr std::int32_t kOptions = VORLAN_LOAD_PRACTICAL | VORLAN_LOAD_DMA_KEYS;
    const auto run = [=] { return VorlanLoadFileExt(path.c_str(), kOptions, 0, nullptr, nullptr); };
    return load("VorlanLoadFileExt, " + what, Ending::Survives, run, prepare);
}

Call addingFrom(const std::string& what, const std::string& path) {
    const auto run = [=] { return VorlanAddSatFrFile(path.c_str()); };
    return load("VorlanAddSatFrFile, " + what, Ending::MayStop, run);
}

Call leapSeconds(const std::string& what, const std::string& path) {
    return {"VorlanTimeLoadLeapSeconds, " + what, Ending::Survives, nothing,
            [=](Outputs&) { return VorlanTimeLoadLeapSeconds(path.c_str()); }};
}

}  // namespace

bool Call::isMessage(const std::string& text) const {
    return std::any_of(messages.begin(), messages.end(), [&](const std::string& message) {
        const bool namesProcedure = message.find(": ") != std::string::npos;
        return text.starts_with(namesProcedure ? message : what.substr(0, what.find(',')) + ": " + message);
    });
}

void addControlSatellite() {
    control = addSatellite(5);
    addPoints(control, 6);
    VorlanAddSatEphem(control, kEpoch + 1.0, kPosition, kVelocity, 0);
}

std::string savedFile(const std::string& folder) { return folder + "/saved.card"; }

std::vector<Call> allCalls(const std::string& examples, const std::string& folder) {
    using enum Ending;
    const auto written = [&](const std::string& name, const std::string& text) {
        std::string path = folder + "/" + name;
        std::ofstream(path) << text;
        return path;
    };
    const std::string few = universalFile(8);
    const std::string bad = written("bad.txt", few + "bad line\n\n");
    const std::string block = contentOf(examples + "/81001_v31.txt");
    const std::string large = written("large.txt", universalFile(kMappedPoints));
    const std::string card = "#VORLANDI = tag\nEPHFIL = ";
    const std::string saved = savedFile(folder);
    const std::string log = folder + "/trace.log";
    std::vector<Call> calls = {
        {"VorlanMse VorlanMseCovMtx VorlanDs50UTC VorlanDs50UTCCovMtx VorlanGetEphemeris VorlanGetCovMtx VorlanXten "
         "VorlanStartEndTime VorlanGetLine VorlanGetSatKey VorlanDs50UTCArr VorlanSatsDs50UTC VorlanGetEphemerisArr",
         AllocatesNothing, addDmaSatellite, runQueries},
        {"VorlanSetField VorlanGetField VorlanGetAllFields", AllocatesNothing, addDmaSatellite, runFields},
        {"VorlanTimeFromText VorlanTimeToText15 VorlanTimeToIso VorlanTimeUtcToTai VorlanTimeTaiToUtc "
         "VorlanFieldsToSatKey",
         AllocatesNothing, nothing, runTimes},
        {"VorlanInit VorlanGetInfo VorlanTraceOpen VorlanTraceClose VorlanTraceSetHandler VorlanTraceGetHandler "
         "VorlanTraceLastError VorlanSetElsetKeyMode VorlanSetDupKeyMode VorlanGetKeyModes VorlanSetGuardMode "
         "VorlanGetGuardMode VorlanSetReadObserver VorlanGetReadObserver",
         AllocatesNothing, nothing, [=](Outputs& out) { return runServices(log, out); }},
        {"VorlanRemoveSat VorlanRemoveAllSats VorlanGetCount VorlanSetAllKeyMode", AllocatesNothing, addDmaSatellite,
         runRemoving},
        {"VorlanAddSat", MayStop, fillPools, [](Outputs&) { return addSatellite(7); }, -1, {kNotStored.back()}},
        {"VorlanAddSat, DMA keys", Survives, fillPoolsAndUseDmaKeys, [](Outputs&) { return addSatellite(7); }, -1,
         kNotStored},
        {"VorlanAddSatEphem", MayStop, addEmptySatellite,
         [](Outputs&) { return VorlanAddSatEphem(other, kEpoch, kPosition, kVelocity, 1); }},
        {"VorlanAddSatEphemCovMtx", MayStop, addEmptySatellite, [](Outputs&) { return addPoints(other, kManyPoints); }},
        {"VorlanAddSatEphemExt, a DMA key in the fixed mode", MayStop,
         [] {
             VorlanSetAllKeyMode(1, 1);
             VorlanSetGuardMode(VORLAN_GUARD_FIXED);
             addEmptySatellite();
         },
         [](Outputs&) { return VorlanAddSatEphemExt(other, kEpoch, kPosition, kVelocity, 1, kCovariance.data()); }},
        {"VorlanGetLoaded", MayStop, fillPools,
         [](Outputs& out) {
             VorlanGetLoaded(0, out.keys);
             return 0;
         }},
        listing(0, Survives),
        listing(1, Survives),
        listing(2, Survives),
        listing(3, AllocatesNothing),
        loading("a bad line", bad),
        loading("two blocks", written("two.txt", block + block)),
        loading("many points", large),
        loading("a card file", written("two.card", card + bad + "\nVORLAN = " + large + "\n"), fillPools),
        loading("a card file that names itself",
                written("self.card", card + folder + "/self.card\nVORLAN = " + folder + "/self.card\n")),
        loading("DMA keys", bad, fillPoolsAndUseDmaKeys),
        loadingPractically("a card file", written("three.card", card + few + "\nVORLAN = " + large + "\n"), fillPools),
        load("VorlanLoadBytes", MayStop,
             [=] { return VorlanLoadBytes(block.data(), int64_t(block.size()), "b", 0, 0, nullptr, nullptr); }),
        load("VorlanLoadFile, a pipe", MayStop, [=] { return loadFromPipe(few); }),
        {"VorlanSaveFile", Survives, addDmaSatellite, [=](Outputs&) { return VorlanSaveFile(saved.c_str(), 0); }},
        leapSeconds("a list", written("leap.list", "2272060800 10\n2287785600 11\n")),
        leapSeconds("a bad list", written("bad.list", "2272060800 10\n2287785600 13\n")),
    };
    for (const auto& entry : std::filesystem::directory_iterator(examples)) {
        const std::string path = entry.path().string();
        const std::string name = entry.path().filename().string();
        if (name.ends_with(".csv") || name.ends_with(".card")) continue;
        calls.push_back(loading(name, path));
        calls.push_back(loading("a card with " + name, written(name + ".card", card + path + "\n")));
        calls.push_back(addingFrom(name, path));
    }
    return calls;
}

}  // namespace vorlandi::faults
