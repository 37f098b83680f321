// What every exported function that takes a key has in common.
#include <cstdio>
#include <cstdlib>
#include <future>
#include <span>
#include <utility>

#include "Vorlandi/VorlandiTree.hpp"
#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr double kZeros[21] = {};

struct KeyedCall {
    const char* name;
    std::int32_t (*call)(std::int64_t key);
};
const KeyedCall kKeyedCalls[] = {
    {"VorlanMse", [](auto key) { return VorlanMse(key, -1.0, {}, {}, {}, {}); }},
    {"VorlanMseCovMtx", [](auto key) { return VorlanMseCovMtx(key, -1.0, {}, {}, {}, {}, {}); }},
    {"VorlanDs50UTC", [](auto key) { return VorlanDs50UTC(key, 0.0, {}, {}, {}, {}); }},
    {"VorlanDs50UTCCovMtx", [](auto key) { return VorlanDs50UTCCovMtx(key, 0.0, {}, {}, {}, {}, {}); }},
    {"VorlanGetEphemeris", [](auto key) { return VorlanGetEphemeris(key, 0, {}, {}, {}, {}); }},
    {"VorlanGetCovMtx", [](auto key) { return VorlanGetCovMtx(key, 0, {}, {}, {}, {}, {}); }},
    {"VorlanXten", [](auto key) { return VorlanXten(key, 3, 0.0, {}); }},
    {"VorlanStartEndTime", [](auto key) { return VorlanStartEndTime(key, {}, {}); }},
    {"VorlanGetField", [](auto key) { return VorlanGetField(key, 1, {}); }},
    {"VorlanGetLine", [](auto key) { return VorlanGetLine(key, {}); }},
    {"VorlanSetField", [](auto key) { return VorlanSetField(key, 99, {}); }},
    {"VorlanGetAllFields",
     [](auto key) { return VorlanGetAllFields(key, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}); }},
    {"VorlanAddSatEphem", [](auto key) { return VorlanAddSatEphem(key, kEpoch, kZeros, kZeros, 0); }},
    {"VorlanAddSatEphemCovMtx",
     [](auto key) { return VorlanAddSatEphemCovMtx(key, kEpoch, kZeros, kZeros, 0, kZeros); }},
    {"VorlanAddSatEphemExt",
     [](auto key) { return VorlanAddSatEphemExt(key, kEpoch, kZeros, kZeros, 0, kZeros); }},
};
constexpr std::size_t kNeedPoints = 9;  // so many, the first ones, fail without points

class KeyedCalls : public InterfaceTest {
protected:
    void allSay(std::int64_t key, const char* message) {
        for (const KeyedCall& each : kKeyedCalls) {
            SCOPED_TRACE(std::string(each.name) + " of " + std::to_string(key));
            log.clear();
            EXPECT_EQ(each.call(key), 2);
            EXPECT_EQ(log.errors(), Messages{message});
            leftTheGuard();
        }
    }
};

TEST_F(KeyedCalls, SayWhyThereIsNoRecord) {
    allSay(kUnknownKey, "FindRecPtr: Search tree is empty.");
    const std::int64_t key = addSatellite(5);
    for (const std::int64_t unknown : {key + 1, std::int64_t{-1}, INT64_MIN, INT64_MAX})
        allSay(unknown, "FindRecPtr: search key doens't exist.");
    for (const std::int64_t notPositive : {std::int64_t{0}, std::int64_t{-10}})
        allSay(notPositive, "FindRecPtr: Invalid DMA key (<=0).");
    const std::int64_t removed = addDmaSatellite(6);
    VorlanRemoveSat(removed);
    for (const std::int64_t noObject : {std::int64_t{10}, removed})
        allSay(noObject, "FindRecPtr: Invalid DMA key.");
}

// A handler that adds, queries and removes a satellite at each message, but for those that it causes itself.
struct MeddlingHandler {
    Messages heard{};
    bool busy = false;

    static void receive(std::int32_t, const char* text, std::int32_t size, void* given) {
        auto& self = *static_cast<MeddlingHandler*>(given);
        if (std::exchange(self.busy, true)) return;
        self.heard.emplace_back(text, static_cast<std::size_t>(size));
        TextOutput<512> lastError;
        VorlanTraceLastError(lastError);
        EXPECT_EQ(lastError.text(), padded(self.heard.back(), 512));
        const std::int64_t key = VorlanAddSat(999, 1, kEpoch, 6378.135, 0.07);
        EXPECT_EQ(VorlanAddSatEphem(key, kEpoch, kZeros, kZeros, 0), 0);
        EXPECT_EQ(VorlanDs50UTC(key, kEpoch, nullptr, nullptr, nullptr, nullptr), 0);
        EXPECT_EQ(VorlanRemoveSat(key), 0);
        EXPECT_EQ(VorlanRemoveSat(key), 2);
        self.busy = false;
    }
};

TEST_F(KeyedCalls, MayFailWithAHandlerThatCallsTheLibrary) {
    const std::int64_t known = addSatellite(5);
    addLine(known, 2);
    const std::int64_t empty = addSatellite(6);
    const std::int64_t gone = addDmaSatellite(7);
    ASSERT_EQ(RemoveDMA(gone), "");
    MeddlingHandler handler;
    VorlanTraceSetHandler(MeddlingHandler::receive, &handler);
    const auto done = std::async(std::launch::async, [&] {
        for (const KeyedCall& each : kKeyedCalls)
            EXPECT_EQ(each.call(kUnknownKey), 2) << each.name;
        for (const KeyedCall& each : std::span(kKeyedCalls).first(kNeedPoints))
            EXPECT_EQ(each.call(empty), 2) << each.name;
        for (const KeyedCall& each : std::span(kKeyedCalls).first(kNeedPoints - 2))
            EXPECT_EQ(each.call(known), 2) << each.name << " outside of the points";
        EXPECT_EQ(VorlanDs50UTC(known, kEpoch + 1e-5, nullptr, nullptr, nullptr, nullptr), 2);
        EXPECT_EQ(VorlanXten(known, 4, 0.0, nullptr), 2);
        EXPECT_EQ(VorlanRemoveSat(kUnknownKey), 2);
        EXPECT_EQ(VorlanRemoveSat(gone), 2);
        EXPECT_EQ(VorlanAddSat(6, 1, kEpoch, 6378.135, 0.07), 0);
        EXPECT_EQ(VorlanGetSatKey(42), -1);
        EXPECT_EQ(VorlanRemoveAllSats(), 0);  // meets the DMA object that is gone
    });
    if (done.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
        std::fputs("A call from inside a message handler hangs.\n", stderr);
        std::abort();
    }
    VorlanTraceSetHandler(nullptr, nullptr);
    EXPECT_EQ(handler.heard.size(), std::size(kKeyedCalls) + kNeedPoints + kNeedPoints - 2 + 7);
}

}  // namespace
}  // namespace vorlandi::testing
