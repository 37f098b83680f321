#include "TimeLibrary/EpochTexts.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "TestSupport.hpp"
#include "TimeLibrary/DateTexts.hpp"

namespace vorlandi::testing {
namespace {

constexpr TimeScale kScales[] = {TimeScale::Utc, TimeScale::Tai, TimeScale::Gps, TimeScale::Tt};

double utc(std::string_view text) { return epochToDs50utc(text, TimeScale::Utc).value_or(0.0); }

TEST(EpochTexts, HaveTheBitsOfDateTextsInUtc) {
    std::mt19937_64 random(testSeed());
    const auto upTo = [&](int most) { return static_cast<int>(random() % static_cast<unsigned>(most + 1)); };
    for (int k = 0; k < 20000; ++k) {
        char text[80];
        const int year = 1950 + upTo(249), hour = upTo(23), minute = upTo(59), second = upTo(59);
        const int size = k % 2 == 0 ? std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", year,
                                                    1 + upTo(12), 1 + upTo(30), hour, minute, second)
                                    : std::snprintf(text, sizeof text, "%04d-%03dT%02d:%02d:%02d", year, upTo(367),
                                                    hour, minute, second);
        std::string epoch(text, static_cast<std::size_t>(size));
        if (k % 5 != 0) {
            epoch += '.';
            for (int digits = upTo(17); digits > 0; --digits)
                epoch += k % 7 == 0 ? '9' : static_cast<char>('0' + upTo(9));
        }
        if (k % 3 == 0) epoch += 'Z';
        ASSERT_EQ(utc(epoch), dtg2ds50utc(epoch)) << epoch;
    }
}

TEST(EpochTexts, AreConvertedToUtcExactly) {
    struct Row {
        TimeScale scale;
        const char* text;
        const char* inUtc;
    };
    const Row rows[] = {
        {TimeScale::Tai, "2026-01-31T00:00:37.000", "2026-01-31T00:00:00"},
        {TimeScale::Gps, "2026-031T12:00:18.123456Z", "2026-01-31T12:00:00.123456"},
        {TimeScale::Tt, "2026-01-31T00:01:09.184", "2026-01-31T00:00:00"},
        {TimeScale::Tt, "2026-01-31T00:00:00", "2026-01-30T23:58:50.816"},
        {TimeScale::Tai, "2026-1-31T00:00:37", "2026-01-31T00:00:00"},
        {TimeScale::Tai, "2026-01-31T00:00:37.00000000000000000", "2026-01-31T00:00:00"},
        // Around the leap second at the end of 2016, which continues the old day
        {TimeScale::Tai, "2017-01-01T00:00:35.75", "2016-12-31T23:59:59.75"},
        {TimeScale::Tai, "2017-01-01T00:00:36.5", "2016-12-31T23:59:60.5"},
        {TimeScale::Tai, "2017-01-01T00:00:37", "2017-01-01T00:00:00"},
        {TimeScale::Gps, "2017-01-01T00:00:17.5", "2016-12-31T23:59:60.5"},
        {TimeScale::Gps, "2017-01-01T00:00:18.5", "2017-01-01T00:00:00.5"},
        {TimeScale::Tt, "2017-01-01T00:01:09.184", "2017-01-01T00:00:00"},
    };
    for (const auto& [scale, text, inUtc] : rows)
        EXPECT_EQ(epochToDs50utc(text, scale), dtg2ds50utc(inUtc)) << text;
}

TEST(EpochTexts, AreReadOneAfterTheOther) {
    LastDay lastDay;
    bool inLeapSecond = true;
    for (const char* const text :
         {"1950-01-01T12:00:00", "2026-01-31T00:00:00", "2026-01-31T06:00:00Z", "2026-01-30T00:00:00",
          "2026-02-30T00:00:00", "2026-061T00:00:00", "2026-01-30T23:59:59.5", "2025-01-30T00:00:00"})
        EXPECT_EQ(epochToDs50utc(text, TimeScale::Utc, lastDay, inLeapSecond).value_or(0.0), dtg2ds50utc(text)) << text;
}

TEST(EpochTexts, AreRefusedWhereThereIsNoSuchTime) {
    for (const TimeScale scale : kScales) {
        for (const char* const text :
             {"", "2026", "2026-01-31", "2026-02-29T00:00:00", "2026-366T00:00:00", "2026-000T00:00:00",
              "2026-13-01T00:00:00", "2026-01-31T24:00:00", "2026-01-31T00:60:00", "2026-01-31T00:00:61",
              "2026-01-31T00:00:60", "2026-01-31T00:00:0x", "2026-01-31T00:00:00.1x", "2026-01-31T00:00:00ZZ",
              "2026-01-31T00:00", "0026-01-31T00:00:00", "26031000000.000", "2026/01/31T00:00:00"})
            EXPECT_FALSE(epochToDs50utc(text, scale)) << text;
        for (const char* const leap : {"2016-12-31T23:59:60.5", "2016-366T23:59:60"})
            EXPECT_EQ(epochToDs50utc(leap, scale).has_value(), scale == TimeScale::Utc) << leap;
    }
}

}  // namespace
}  // namespace vorlandi::testing
