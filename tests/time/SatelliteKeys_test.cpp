// Satellite keys: their range and order, which epochs share one, and the key after a key.
#include "TimeLibrary/SatelliteKeys.hpp"

#include <cmath>
#include <random>

#include "CoreServices/DmaObjects.hpp"
#include "TestSupport.hpp"
#include "TimeLibrary/DateTexts.hpp"

namespace vorlandi::testing {
namespace {

constexpr std::int32_t kLargest = 999'999'999;
constexpr double kBehind2199 = 91312.0;  // 2200 Jan 1

std::int64_t keyOf(std::int32_t satNum, double epoch) {
    return createsatkey(satNum, kVorlanElsetType, epoch);
}

TEST(SatelliteKeys, TakeNumbersOfNineDigitsAndEpochsToTheEndOf2199) {
    for (const std::int32_t satNum : {0, 1, 99999, kLargest}) {
        for (const double epoch : {0.0, 1e-9, 27000.5, std::nextafter(kBehind2199, 0.0)}) {
            EXPECT_GT(keyOf(satNum, epoch), 0) << satNum << " " << epoch;
            EXPECT_FALSE(isdma(keyOf(satNum, epoch))) << satNum << " " << epoch;
        }
    }
    for (const double epoch : {-1e-9, kBehind2199, 1e300, double(INFINITY), double(NAN)})
        EXPECT_EQ(keyOf(1, epoch), kNoKey) << epoch;
    for (const std::int32_t satNum : {-1, INT32_MIN, kLargest + 1, INT32_MAX})
        EXPECT_EQ(keyOf(satNum, 27000.0), kNoKey) << satNum;
    for (const char* const text :
         {"", "1 Jan 2018 0:00:00", "0.0", "49365", "2200001000000.0", "1949364235959.9"})
        EXPECT_EQ(createsatkey(1, kVorlanElsetType, text), kNoKey) << text;
    EXPECT_EQ(createsatkey(1, kVorlanElsetType, "1949365000000.0"), keyOf(1, 0.0));
}

TEST(SatelliteKeys, SortByNumberThenByEpochAndTellTenSecondsApart) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<std::int32_t> number(0, kLargest - 1);
    std::uniform_real_distribution<double> time(0.0, kBehind2199 - 1.0), apart(0.0, 1.0);
    for (int k = 0; k < 100000; ++k) {
        const std::int32_t satNum = number(random);
        const double epoch = time(random), later = epoch + apart(random) * apart(random);
        const std::int64_t key = keyOf(satNum, epoch);
        ASSERT_GT(key, 0);
        ASSERT_FALSE(isdma(key));
        ASSERT_LE(key, keyOf(satNum, later));
        // Ten seconds, and the rounding of the epochs.
        ASSERT_LT(key, keyOf(satNum, epoch + (10.0 + 1e-5) / 86400.0)) << std::hexfloat << epoch;
        ASSERT_LT(keyOf(satNum, time(random)), keyOf(satNum + 1, time(random)));
    }
    EXPECT_LT(nextsatkey(keyOf(7, std::nextafter(kBehind2199, 0.0))), keyOf(8, 0.0));
}

TEST(SatelliteKeys, AreTheSameFromATextAndFromTheTimeOfTheInstant) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> time(2558.0, 39000.0);  // years of two digits
    std::uniform_int_distribution<int> tens(0, 8639);
    for (int k = 0; k < 50000; ++k) {
        // Epochs of files: whole seconds, multiples of ten seconds, milliseconds.
        const double day = std::floor(time(random));
        const int second = k % 2 == 0 ? tens(random) * 10 : tens(random);
        const double epoch = day + (second + (k % 3 == 0 ? tens(random) % 1000 / 1000.0 : 0.0)) / 86400.0;
        const auto text = ds50todate15(epoch);
        const std::int64_t key =
            createsatkey(5, kVorlanElsetType, std::string_view(text.data(), text.size()));
        for (const double near : {epoch, std::nextafter(epoch, 0.0), std::nextafter(epoch, 1e9)})
            ASSERT_EQ(keyOf(5, near), key) << std::string_view(text.data(), text.size());
    }
    for (const char* const text :
         {"24061120030.500", "2024061120030.500", "24061.50035301", "2024061.50035301",
          "2024/061 1200 30.500", "2024/06101200030.500", "2024Mar01120030.500"})
        EXPECT_EQ(createsatkey(5, kVorlanElsetType, text), keyOf(5, dtg2ds50utc("2024-03-01T12:00:30.5")))
            << text;
}

TEST(SatelliteKeys, GoOnToKeysThatAreOrdinaryNewAndOfTheSameSatellite) {
    for (const std::int32_t satNum : {0, 12345, kLargest}) {
        for (const double epoch : {0.0, 27000.25, std::nextafter(kBehind2199, 0.0)}) {
            std::int64_t key = keyOf(satNum, epoch);
            for (int k = 0; k < 1000; ++k) {
                const std::int64_t next = nextsatkey(key);
                ASSERT_GT(next, key);
                ASSERT_LE(next, key + 2);
                ASSERT_FALSE(isdma(next));
                ASSERT_TRUE(satNum == kLargest || next < keyOf(satNum + 1, 0.0));
                key = next;
            }
        }
    }
}

}  // namespace
}  // namespace vorlandi::testing
