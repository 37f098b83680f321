#include <random>

#include "Vorlandi/VorlandiTree.hpp"
#include "interface/InterfaceSupport.hpp"
#include "vorlandi/time.h"

namespace vorlandi::testing {
namespace {

class Satellites : public InterfaceTest {};

TEST_F(Satellites, StartsAndSaysWhatItIs) {
    EXPECT_EQ(VorlanInit(), 0);
    TextOutput<128> info;
    VorlanGetInfo(info);
    EXPECT_EQ(info.text(), padded("Vorlandi " VORLANDI_VERSION, 128));
    VorlanGetInfo(nullptr);
}

TEST_F(Satellites, SplitsTheCombinedCodeTruncatingTowardsZero) {
    const std::tuple<std::int32_t, std::int32_t, std::int32_t> cases[] = {
        {4, 4, 0},
        {13, 3, 10},
        {21, 1, 20},
        {0, 0, 0},
        {30, 0, 30},
        {-13, -3, -10},
        {INT32_MIN, -8, INT32_MIN + 8},
        {INT32_MAX, 7, INT32_MAX - 7},
    };
    for (const auto& [code, coordSys, codeTens] : cases) {
        SCOPED_TRACE(code);
        const std::int64_t key = VorlanAddSat(5, code, kEpoch, 6378.137, 0.074);
        std::string_view message;
        const Vorlanrecord stored = FindRec(key, message);
        EXPECT_EQ(stored.coordSys, coordSys);
        EXPECT_EQ(stored.codeTens, codeTens);
        EXPECT_EQ(stored.satNum, 5);
        EXPECT_EQ(stored.epoch, kEpoch);
        EXPECT_EQ(stored.earthRadius, 6378.137);
        EXPECT_EQ(stored.ke, 0.074);
        EXPECT_EQ(stored.numberOfPoints(), 0);
        EXPECT_EQ(VorlanRemoveSat(key), 0);
    }
}

TEST_F(Satellites, RefusesADuplicateWithZeroAndABadRequestWithMinusOne) {
    const std::int64_t key = addSatellite(5);
    EXPECT_EQ(addSatellite(5), 0);
    EXPECT_EQ(log.errors(), Messages{"AddRecToMem: Duplicated record/key " + columns19(key) + " found."});
    for (const double epoch : {kNaN, kInfinity, -kInfinity, -1e-9, 1e300})
        EXPECT_EQ(addSatellite(6, epoch), -1) << epoch;
    for (const std::int32_t satNum : {-1, INT32_MIN, 1'000'000'000, INT32_MAX})
        EXPECT_EQ(addSatellite(satNum), -1) << satNum;
    EXPECT_EQ(VorlanGetCount(), 1);
    EXPECT_EQ(log.errors().size(), 1U);
    // The first point moves the epoch: the record has become another one, its key stays taken.
    const double state[3] = {};
    ASSERT_EQ(VorlanAddSatEphem(key, kEpoch + 1.0, state, state, 0), 0);
    EXPECT_GT(addSatellite(5), key);
    EXPECT_EQ(VorlanGetCount(), 2);
}

TEST_F(Satellites, RemovesOneOrAll) {
    EXPECT_EQ(VorlanRemoveAllSats(), 0);
    for (const std::int64_t key : {addSatellite(5), addDmaSatellite(6)}) {
        EXPECT_EQ(VorlanRemoveSat(key), 0);
        EXPECT_EQ(VorlanRemoveSat(key), 2);
        leftTheGuard();
    }
    addSatellite(7);
    EXPECT_EQ(VorlanGetCount(), 1);
    EXPECT_EQ(VorlanRemoveAllSats(), 0);
    EXPECT_EQ(VorlanGetCount(), 0);
}

TEST_F(Satellites, ListsWhatIsLoaded) {
    std::array<std::int64_t, 3> keys{-7, -7, -7};
    VorlanGetLoaded(0, keys.data());
    EXPECT_EQ(keys, (std::array<std::int64_t, 3>{-7, -7, -7}));
    EXPECT_EQ(log.infos(), Messages{"Warning-VorlanGetLoaded: The binary tree is empty. No satKey returns."});
    const std::int64_t c = addSatellite(30);
    const std::int64_t a = addSatellite(10);
    VorlanGetLoaded(0, keys.data());
    EXPECT_EQ(keys, (std::array<std::int64_t, 3>{a, c, -7})) << "from the first element on, and no more";
    VorlanGetLoaded(2, keys.data());
    EXPECT_EQ(keys, (std::array<std::int64_t, 3>{c, a, -7}));
    VorlanGetLoaded(0, nullptr);
    leftTheGuard();
    EXPECT_EQ(log.infos().size(), 1U);
    EXPECT_EQ(log.errors(), Messages{});
}

TEST_F(Satellites, FindsTheKeyOfASatelliteNumber) {
    EXPECT_EQ(VorlanGetSatKey(5), -1);
    const std::int64_t key = addSatellite(5);
    const std::int64_t dma = addDmaSatellite(6);
    EXPECT_EQ(VorlanGetSatKey(5), key);
    EXPECT_EQ(VorlanGetSatKey(6), dma);
    for (const std::int32_t unknown : {999'999'999, -5, INT32_MIN})
        EXPECT_EQ(VorlanGetSatKey(unknown), -1);
    Messages messages;
    for (const char* const columns9 : {"        5", "999999999", "       -5", "*********"}) {
        messages.push_back(std::string("GetSatKey: Unable to locate satellite number ") + columns9 +
                           " in the Vorlan binary tree.");
    }
    EXPECT_EQ(log.errors(), messages);
    leftTheGuard();
}

TEST_F(Satellites, MakesTheKeyThatASatelliteGetsFromAnEpochText) {
    const double noon = VorlanTimeFromText("24061120030.500", 15);
    ASSERT_GT(noon, 0.0);
    const std::int64_t key = addSatellite(25544, noon);
    for (const char* const text :
         {"24061120030.500", "  24061120030.500", "2024061120030.500", "24061.50035301", "2024061.50035301",
          "2024/061 1200 30.500", "2024/06101200030.500", "2024Mar01120030.500", "24 61120030.500"}) {
        EXPECT_EQ(VorlanFieldsToSatKey(25544, text), key) << text;
    }
    for (const char* const text :
         {"", "                    ", "24000120030.500", "23366120030.500", "24061240030.500", "no date"}) {
        EXPECT_EQ(VorlanFieldsToSatKey(25544, text), -1) << text;
    }
    EXPECT_EQ(VorlanFieldsToSatKey(25544, nullptr), -1);
    EXPECT_EQ(VorlanFieldsToSatKey(-1, "24061120030.500"), -1);
    EXPECT_EQ(VorlanGetCount(), 1);
}

TEST_F(Satellites, MakesTheSameKeyFromATimeAndFromItsText) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    for (int count = 0; count < 500; ++count) {
        const auto satNum = static_cast<std::int32_t>(random() % 1'000'000'000);
        const double day = 5000.0 + static_cast<double>(random() % 30000);
        std::array<char, 20> text;
        text.fill(' ');
        VorlanTimeToText15(day + static_cast<double>(random() % 86400) / 86400.0, text.data());
        const std::int64_t key = addSatellite(satNum, VorlanTimeFromText(text.data(), 15));
        ASSERT_GT(key, 0);
        ASSERT_EQ(VorlanFieldsToSatKey(satNum, text.data()), key) << std::string(text.data(), 20);
    }
}

}  // namespace
}  // namespace vorlandi::testing
