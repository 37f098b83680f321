// Times in vorlandi.hpp: the system clock, texts, TAI.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "vorlandi/vorlandi.hpp"

namespace {

using namespace std::chrono_literals;
using namespace vorlandi;
using ::testing::HasSubstr;

TEST(VorlandiHppTimes, GoToTheSystemClockAndBack) {
    const SysTime epoch{};
    EXPECT_EQ(ds50(epoch).days, 7306.0);
    EXPECT_EQ(ds50(epoch - 6h).days, 7305.75);
    EXPECT_EQ(sys_time({7306.5}), epoch + 12h);
    EXPECT_EQ(sys_time({7305.25}), epoch - 18h);
    // The resolution of a double for a time in 2026: 0.31 us.
    const SysTime now = epoch + std::chrono::days(20484) + 86399s + 999'999'600ns;
    EXPECT_LE(std::abs((sys_time(ds50(now)) - now).count()), 160);
    for (const double days : {-99000.0, 114000.0, std::nan(""), HUGE_VAL})
        EXPECT_FALSE(try_sys_time({days})) << days;
    EXPECT_THROW(sys_time({1e9}), Error);
}

TEST(VorlandiHppTimes, AreReadInMoreFormsThanTheLibraryKnows) {
    const double day = parse("2026-01-31T00:00:00").days;
    const double hour = day + 1.0 / 24.0;
    const std::vector<std::pair<const char*, double>> texts{
        {"2026-01-31", day},
        {" 2026/01/31\t", day},
        {"2026-031", day},
        {"2026-01-31Z", day},
        {"2026-01-31T01:00", hour},
        {"2026/01/31 01:00", hour},
        {"2026-031 01:00", hour},
        {"2026-01-31T01:00:00.000+00:00", hour},
        {"2026-01-31T01:00+00:00", hour},
        {"2026-01-31T01:00:00+0000", hour},
        {"2026-01-31T01:00Z", hour},
        {"26031010000.000", hour},
        {"31 Jan 2026 01:00:00", hour},
    };
    for (const auto& [text, days] : texts)
        EXPECT_EQ(parse(text).days, days) << text;
    for (const char* text :
         {"", " ", "2026-02-30", "2026-01-31T", "2026-01-31T01", "2026-01-31T1:00", "2026-01-31T25:00",
          "2026-01-31T01:00+01:00", "2026-01-31x01:00", "2026-1-31", "tomorrow", "+00:00",
          "2026-01-31T01:00:00.00000000000000000000000000000000000000000000000000000000000000x"})
        EXPECT_FALSE(try_parse(text)) << text;
}

TEST(VorlandiHppTimes, OfOtherClocksAreRefusedByName) {
    const std::vector<std::pair<const char*, const char*>> texts{{"2461071.5", "a Julian date"},
                                                                 {"2461072", "a Julian date"},
                                                                 {"1769821200", "seconds since 1970"},
                                                                 {"1769821200.25", "seconds since 1970"},
                                                                 {"1769821200000", "milliseconds since 1970"},
                                                                 {"tomorrow", "\"tomorrow\" is not a time: wanted"}};
    for (const auto& [text, clock] : texts) {
        EXPECT_FALSE(try_parse(text)) << text;
        try {
            parse(text);
        } catch (const Error& error) {
            EXPECT_THAT(error.what(), HasSubstr(clock));
        }
    }
}

TEST(VorlandiHppTimes, AreWrittenAndConvertedToTai) {
    const Ds50 time = parse("2016-12-31T23:59:59.5");
    EXPECT_EQ(iso(time), "2016-12-31T23:59:59.500000");
    EXPECT_EQ(tai_minus_utc_s(time), 36.0);
    EXPECT_EQ(tai_minus_utc_s({time.days + 1.0}), 37.0);
    EXPECT_NEAR((from_tai_days(tai_days(time)).days - time.days) * 86400.0, 0.0, 1e-6);
    EXPECT_FALSE(try_iso({1e9}));
    EXPECT_THROW(iso({std::nan("")}), Error);
    EXPECT_THROW(load_leap_seconds("/nowhere/leap-seconds.list"), Error);
}

}  // namespace
