#include <cmath>

#include "interface/InterfaceSupport.hpp"
#include "vorlandi/time.h"

namespace vorlandi::testing {
namespace {

using Satellites = InterfaceTest;

TEST_F(Satellites, SplitTheCombinedCodeAndAreRefusedTwiceOrOutsideTheRangeOfKeys) {
    const std::int64_t key = VorlanAddSat(5, INT32_MIN, kEpoch, 6378.137, 0.074);
    EXPECT_EQ(stored(key).coordSys, -8) << "truncated towards zero";
    EXPECT_EQ(stored(key).codeTens, INT32_MIN + 8);
    EXPECT_EQ(std::pair(stored(key).earthRadius, stored(key).ke), std::pair(6378.137, 0.074));
    EXPECT_EQ(addSatellite(5, kEpoch, 12), key + 1) << stored(key + 1).coordSys;
    EXPECT_EQ(addSatellite(5, kEpoch, 12), 0);
    EXPECT_EQ(errorOf(2), withKey("AddRecToMem: Duplicated record/key ", key, " found."));
    for (const double epoch : {kNaN, kInfinity, -1e-9})
        EXPECT_EQ(addSatellite(6, epoch), -1) << epoch;
    EXPECT_EQ(addSatellite(-1), -1);
    EXPECT_EQ(addSatellite(1'000'000'000), -1);
    // The first point moves the epoch: the record has become another one, its key stays taken.
    const std::int64_t moved = addSatellite(7);
    ASSERT_EQ(VorlanAddSatEphem(moved, kEpoch + 1.0, kPos, kVel, 0), 0);
    EXPECT_GT(addSatellite(7), moved);
    EXPECT_EQ(VorlanGetCount(), 4);
    EXPECT_EQ(VorlanRemoveAllSats(), 0);
    EXPECT_EQ(VorlanGetCount(), 0);
}

TEST_F(Satellites, HaveKeysOfTheModesThatWereSet) {
    const std::array<std::int32_t, 4> before{0, 0, 0, 0}, set{0, 1, 1, 1};
    for (const auto& [use, all, elset, dup] : {set, before}) {
        VorlanSetAllKeyMode(use, all);
        VorlanSetElsetKeyMode(elset);
        VorlanSetDupKeyMode(dup);
        std::array<std::int32_t, 4> modes{-1, -1, -1, -1};
        VorlanGetKeyModes(&modes[0], &modes[1], &modes[2], &modes[3]);
        EXPECT_EQ(modes, (std::array{use, all, elset, dup}));
    }
}

TEST_F(Satellites, AreListedFromTheFirstElementOnAndFoundByTheirNumber) {
    std::int64_t keys[3] = {-7, -7, -7};
    VorlanGetLoaded(0, keys);
    EXPECT_THAT(keys, ::testing::Each(-7));
    EXPECT_EQ(errorOf(2), "Warning-VorlanGetLoaded: The binary tree is empty. No satKey returns.");
    const std::int64_t c = addSatellite(30), a = addDmaSatellite(10);
    VorlanGetLoaded(0, keys);
    EXPECT_THAT(keys, ::testing::ElementsAre(a, c, -7));
    VorlanGetLoaded(0, nullptr);
    for (const std::int64_t capacity : {0, 1, 2, 3}) {
        std::int64_t listed[4] = {-7, -7, -7, -7}, count = -7;
        const std::vector<std::int64_t> expected{capacity > 0 ? a : -7, capacity > 1 ? c : -7, -7, -7};
        EXPECT_EQ(VorlanGetLoadedExt(0, capacity, listed, &count), 0);
        EXPECT_THAT(listed, ::testing::ElementsAreArray(expected));
        EXPECT_EQ(count, 2);
        EXPECT_EQ(VorlanGetLoadedExt(3, capacity, listed, nullptr), 0);
        EXPECT_EQ(listed[0], capacity > 0 ? std::min(a, c) : -7);
        EXPECT_EQ(listed[std::min<std::int64_t>(capacity, 2)], -7);
        EXPECT_EQ(VorlanGetLoadedExt(0, capacity, nullptr, &count), 0);
        EXPECT_EQ(VorlanGetLoadedExt(0, -1 - capacity, listed, &count), 2);
        EXPECT_EQ(count, 0);
    }
    VorlanGetInfo(nullptr);
    EXPECT_EQ(textOf<128>(VorlanGetInfo), padded("Vorlandi " VORLANDI_VERSION, 128));
    EXPECT_EQ(VorlanGetSatKey(30), c);
    EXPECT_EQ(VorlanGetSatKey(10), a);
    const char* const tail = " in the Vorlan binary tree.";
    EXPECT_EQ(VorlanGetSatKey(-5), -1);
    EXPECT_EQ(errorOf(2), std::string("GetSatKey: Unable to locate satellite number        -5") + tail);
    EXPECT_EQ(VorlanGetSatKey(INT32_MIN), -1);
    EXPECT_EQ(errorOf(2), std::string("GetSatKey: Unable to locate satellite number *********") + tail);
}

TEST_F(Satellites, HaveTheKeyThatIsMadeFromAnEpochText) {
    const std::int64_t key = addSatellite(25544, VorlanTimeFromText("24061120030.500", 15));
    for (const char* const text : {"24061120030.500", "  24061120030.500", "2024/061 1200 30.500", "24 61120030.500"})
        EXPECT_EQ(VorlanFieldsToSatKey(25544, text), key) << text;
    for (const char* const text : {"", "                    ", "24000120030.500", "no date"})
        EXPECT_EQ(VorlanFieldsToSatKey(25544, text), -1) << text;
    EXPECT_EQ(VorlanFieldsToSatKey(25544, nullptr), -1);
    EXPECT_EQ(VorlanFieldsToSatKey(-1, "24061120030.500"), -1);
}

using Add = decltype(&VorlanAddSatEphemCovMtx);
const Add kAdds[] = {[](auto key, double time, auto pos, auto vel, auto rev, const double*) {
                         return VorlanAddSatEphem(key, time, pos, vel, rev);
                     },
                     VorlanAddSatEphemCovMtx, VorlanAddSatEphemExt};

TEST_F(Satellites, TakeLaterPointsUnchangedAndNoneWithAMissingArray) {
    for (const Add& add : kAdds) {
        const bool takesCovariance = &add != kAdds;
        for (const std::int64_t key : {addSatellite(5), addDmaSatellite(5)}) {
            double cov[21] = {-0.0, -0.0};
            const double time = kEpoch + 0.5, later = std::nextafter(time, kInfinity);
            EXPECT_EQ(add(key, later, nullptr, kVel, 0, cov), 2);
            EXPECT_EQ(add(key, later, kPos, nullptr, 0, cov), 2);
            EXPECT_EQ(add(key, time, kPos, kVel, -123456, cov), 0);
            cov[0] = kNaN;  // not zero
            EXPECT_EQ(add(key, later, kVel, kPos, 9, cov), 0);
            EXPECT_EQ(add(key, time, kPos, kVel, 7, cov), 0) << "dropped silently";
            EXPECT_EQ(add(key, time, kPos, kVel, 0, nullptr), takesCovariance ? 2 : 0);
            const Vorlanrecord record = stored(key);
            ASSERT_EQ(record.numberOfPoints(), 2);
            EXPECT_EQ(record.epoch, time) << "the first point sets the epoch";
            const Vorlanpoint first = record.points[0], last = record.points[1];
            EXPECT_EQ(std::tuple(first.time, first.rev, last.time), std::tuple(time, -123456, later));
            EXPECT_THAT(first.pos, ::testing::ElementsAreArray(kPos));
            EXPECT_THAT(first.vel, ::testing::ElementsAreArray(kVel));
            EXPECT_FALSE(std::signbit(first.cov[1])) << "zeros count as none";
            EXPECT_EQ(std::isnan(last.cov[0]) && std::signbit(last.cov[1]), takesCovariance);
            EXPECT_EQ(VorlanRemoveSat(key), 0);
        }
    }
    EXPECT_THAT(messages, ::testing::IsEmpty());
}

}  // namespace
}  // namespace vorlandi::testing
