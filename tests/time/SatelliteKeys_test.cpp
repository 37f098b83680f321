// Satellite keys: their range and order, which epochs share one, and the key after a key.
#include "TimeLibrary/SatelliteKeys.hpp"

#include <cmath>
#include <random>

#include "CoreServices/DmaObjects.hpp"
#include "TestSupport.hpp"
#include "TimeLibrary/DateTexts.hpp"

namespace vorlandi::testing {
namespace {

std::int64_t keyOf(std::int32_t satNum, double epoch) { return createsatkey(satNum, kVorlanElsetType, epoch); }

TEST(SatelliteKeys, GoFromZeroToTheEndOf2199AndAreOrdinaryKeysBelowTheNextSatellites) {
    constexpr double kBehind2199 = 91312.0;
    for (const double epoch : {-1e-9, kBehind2199, 1e300, double(NAN)})
        EXPECT_EQ(keyOf(1, epoch), kNoKey) << epoch;
    EXPECT_EQ(keyOf(-1, 27000.0), kNoKey);
    EXPECT_EQ(keyOf(1'000'000'000, 27000.0), kNoKey);
    for (const std::int32_t satNum : {0, 12345, 999'999'998}) {
        for (std::int64_t k = 0, key = keyOf(satNum, std::nextafter(kBehind2199, 0.0)), next = 0; k < 1000; ++k) {
            next = nextsatkey(key);
            ASSERT_TRUE(key > 0 && next > key && !isdma(next) && next < keyOf(satNum + 1, 0.0)) << key;
            key = next;
        }
    }
}

TEST(SatelliteKeys, TellTenSecondsApartAndAreTheSameFromATextOfTheEpoch) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    std::uniform_real_distribution<double> day(2558.0, 39000.0), second(0.0, 86400.0);
    for (int k = 0; k < 50000; ++k) {
        // Epochs of files: multiples of ten seconds, whole seconds, milliseconds.
        const double unit = k % 3 == 0 ? 10.0 : k % 3 == 1 ? 1.0 : 0.001;
        const double epoch = std::floor(day(random)) + std::floor(second(random) / unit) * unit / 86400.0;
        const auto text = ds50todate15(epoch);
        const std::int64_t key = createsatkey(5, kVorlanElsetType, std::string_view(text.data(), text.size()));
        for (const double near : {epoch, std::nextafter(epoch, 0.0), std::nextafter(epoch, 1e9)})
            ASSERT_EQ(keyOf(5, near), key) << std::hexfloat << epoch;
        ASSERT_LE(key, keyOf(5, epoch + 1e-5)) << std::hexfloat << epoch;
        ASSERT_LT(key, keyOf(5, epoch + (10.0 + 1e-5) / 86400.0)) << std::hexfloat << epoch;
    }
}

}  // namespace
}  // namespace vorlandi::testing
