// Date texts: every form in both directions, how loosely real files write them, and what is not a date.
#include "TimeLibrary/DateTexts.hpp"

#include <chrono>
#include <cmath>
#include <random>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

using namespace std::chrono;

// With the calendar of the standard library.
double ds50(int ofYear, int month, int day, double seconds = 0.0) {
    const auto number = sys_days{year{ofYear} / month / 1} + days{day - 1} - sys_days{1949y / December / 31};
    return static_cast<double>(number.count()) + seconds / 86400.0;
}

enum Readers { kAllReaders, kEpochAndDtg, kDtgOnly, kEpochOnly };

TEST(DateTexts, AreReadInEveryFormByTheReadersOfTheForm) {
    const double noon = ds50(2024, 3, 1, 43230.5), morning = ds50(2024, 3, 1, 32707.25);
    const double decimal = ds50(2024, 3, 1) + 0.50035301;
    // clang-format off
    const std::tuple<const char*, Readers, double> cases[] = {
        {"24061120030.500", kAllReaders, noon}, {"2024061120030.500", kAllReaders, noon},
        {" \t 24061120030.5 \t ", kAllReaders, noon}, {"24061120030.500000000000000000000", kAllReaders, noon},
        {"24061120030.", kAllReaders, ds50(2024, 3, 1, 43230.0)}, {"24 61 9 5 7.250", kAllReaders, morning},
        {"2024 61 9 5 7.25", kAllReaders, morning}, {"57001000000.000", kAllReaders, ds50(1957, 1, 1)},
        {"56366235959.999", kAllReaders, ds50(2056, 12, 31, 86399.999)},
        {" 4061120030.5", kAllReaders, ds50(2004, 3, 1, 43230.5)}, {"\t 4061.5", kEpochAndDtg, ds50(2004, 3, 1, 43200)},
        {"24061.50035301", kEpochAndDtg, decimal},
        {"2024061.50035301", kEpochAndDtg, decimal}, {"24 61.5", kEpochAndDtg, ds50(2024, 3, 1, 43200.0)},
        {"2024/061 1200 30.500", kEpochAndDtg, noon}, {"2024/ 61  9 5  7.25", kEpochAndDtg, morning},
        {"2024/06101200030.500", kEpochOnly, noon}, {"1949365.0", kEpochOnly, 0.0},
        {"2024Mar01120030.500", kEpochAndDtg, noon}, {"2024mAr 1 9 5 7.2500", kEpochAndDtg, morning},
        {"01 Mar 2024 12:00:30.500", kDtgOnly, noon}, {"1\t mar   2024\t09: 05:  7.25", kDtgOnly, morning},
        {"2024/03/01 12:00:30.500", kDtgOnly, noon}, {"2024/3/ 1  9:05: 7.25", kDtgOnly, morning},
        {"2024-03-01T12:00:30.5Z", kDtgOnly, noon}, {"2024- 3- 1  9: 5: 7.25", kDtgOnly, morning},
        {"2024-061T12:00:30.5", kDtgOnly, noon}, {"2024-366T23:59:59", kDtgOnly, ds50(2024, 12, 31, 86399.0)},
        // A second 60 only where there is a leap second; digits without end round to the next day.
        {"16366235960.500", kAllReaders, ds50(2017, 1, 1, 0.5)},
        {"2016-12-31T23:59:60.000", kDtgOnly, ds50(2017, 1, 1)},
        {"2017-12-31T23:59:59.99999999999999999999", kDtgOnly, ds50(2018, 1, 1)},
    };
    // clang-format on
    for (const auto& [text, readers, value] : cases) {
        EXPECT_EQ(date_in(text), readers == kAllReaders ? value : 0.0) << text;
        EXPECT_EQ(dtg2ds50utc(text), readers != kEpochOnly ? value : 0.0) << text;
        EXPECT_EQ(epochTextToDs50(text), readers != kDtgOnly ? std::optional(value) : std::nullopt) << text;
    }
}

TEST(DateTexts, ReturnZeroForWhatIsNotADate) {
    // Wrong lengths, ranges, signs, separators; one in each text.
    // clang-format off
    for (const char* const text : {
             "", "   ", "x", ".", "0.0", "24061120030", "24061", "24000120030.5", "23366120030.5",
             "24061240000.0", "24061126000.0", "24061120060.0", "24061120030.5x", "24061120030.-5",
             "24   120030.5", "24061120030.5.1", "2406112003.5", "x4061120030.5", "24061-20030.5",
             "4061120030.500", "\t4061120030.500", "4061.5", "061120030.5", "024061.5",
             "+4061120030.5", "2461 120030.5", "2024/061 1200 30", "2024/06/1 1200 30.5",
             "2024/061T1200 30.5", "2023/366 1200 30.5", "2024Mxr01120030.5", "2100Feb29120030.5",
             "2024Mar  120030.5", "24061.5e1", "24061.-5", "24061. 5", "24000.5", "1 Mar 24 12:00:30",
             "1 March 2024 12:00:30", "1 Mar 2024 12:00", "1 Mar 2024 24:00:00", "1 Mar 202412:00:30",
             "1Mar 2024 12:00:30", "0 Mar 2024 12:00:30", "2024/13/01 12:00:30", "2024/03/01 12:60:30",
             "2024/03/01", "2024-04-31T12:00:30", "2024-003-01T12:00:30", "2023-366T12:00:30",
             "2024-03T12:00:00", "2024- 61T12:00:00", "2024-61 12:00:00", "2024-0061T12:00:00",
             "2024-000T12:00:30", "2024-03-01X12:00:30", "2024-03-01T12:00:30ZZ", "2024-03-01T12:00:030",
             "2024-03-01T-1:00:30", "2024-03-01T12:00:30,5", "2024-03-01T12:00:1e1",
             "2016-12-31T23:59:61", "2016-12-31T23:58:60", "2016-12-31T22:59:60", "2017-12-31T23:59:60"}) {
        // clang-format on
        EXPECT_EQ(date_in(text), 0.0) << text;
        EXPECT_EQ(dtg2ds50utc(text), 0.0) << text;
        EXPECT_EQ(epochTextToDs50(text), std::nullopt) << text;
    }
}

std::string date15(double time) { return {ds50todate15(time).data(), 15}; }
std::string iso(double time) { return {ds50toiso(time).data(), 26}; }

TEST(DateTexts, AreWrittenRoundedToTheLastDigitWithTheCarry) {
    // clang-format off
    const std::tuple<double, std::string, std::string> cases[] = {
        {ds50(2024, 3, 1, 43259.9996), "24061120100.000", "2024-03-01T12:00:59.999600"},
        {ds50(2024, 12, 31, 86399.9999996), "25001000000.000", "2025-01-01T00:00:00.000000"},
        {ds50(1949, 12, 31, 1.25), "49365000001.250", "1949-12-31T00:00:01.250000"},
        {std::nextafter(ds50(1900, 1, 1), -1e9), std::string(15, ' '), std::string(26, ' ')},
        {ds50(2200, 1, 1), std::string(15, ' '), std::string(26, ' ')},
        {double(NAN), std::string(15, ' '), std::string(26, ' ')},
    };
    // clang-format on
    for (const auto& [time, text15, textIso] : cases) {
        EXPECT_EQ(date15(time), text15);
        EXPECT_EQ(iso(time), textIso);
    }
}

TEST(DateTexts, AgreeWithTheCalendarOfTheStandardLibraryOnEveryDayAndRoundTrip) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    for (sys_days day = 1900y / January / 1; day < sys_days{2200y / January / 1}; day += days{1}) {
        const year_month_day date{day};
        const int y = static_cast<int>(date.year());
        const auto month = static_cast<unsigned>(date.month()), ofMonth = static_cast<unsigned>(date.day());
        const auto dayOfYear = static_cast<int>((day - sys_days{date.year() / January / 0}).count());
        const double time = ds50(y, 1, dayOfYear, static_cast<double>(random() % 86'400'000) / 1000.0);
        char text[40];
        std::snprintf(text, sizeof text, "%04d-%02u-%02uT", y, month, ofMonth);
        ASSERT_EQ(iso(time).substr(0, 11), text);
        // Beyond the resolution of a double of days.
        ASSERT_NEAR(dtg2ds50utc(iso(time)), time, 2e-6 / 86400.0) << text;
        std::snprintf(text, sizeof text, "%04d%03d", y, dayOfYear);
        ASSERT_EQ(date15(time).substr(0, 5), text + 2);
        const std::string compact = text + date15(time).substr(5);
        ASSERT_NEAR(date_in(compact), time, 1e-6 / 86400.0) << text;
        // A leading blank takes another path.
        ASSERT_EQ(date_in(compact), date_in("\t" + compact)) << text;
        ASSERT_EQ(date_in(compact.substr(2)), date_in("\t" + compact.substr(2))) << text;
    }
}

}  // namespace
}  // namespace vorlandi::testing
