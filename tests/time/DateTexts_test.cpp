// Date texts: every form in both directions, how loosely real files write them, and what is no date.
#include "TimeLibrary/DateTexts.hpp"

#include <chrono>
#include <cmath>
#include <random>
#include <sstream>

#include "TestSupport.hpp"
#include "TimeLibrary/Calendar.hpp"
#include "TimeLibrary/TimeScales.hpp"

namespace vorlandi::testing {
namespace {

// By the calendar of the standard library.
double ds50(int year, unsigned month, unsigned day, double seconds = 0.0) {
    using namespace std::chrono;
    const auto days = sys_days{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}} -
                      sys_days{1949y / December / 31};
    return static_cast<double>(days.count()) + seconds / 86400.0;
}

template <std::size_t N>
std::string str(const std::array<char, N>& text) {
    return {text.data(), N};
}

double epoch(std::string_view text) { return epochTextToDs50(text).value_or(0.0); }

// The parts of a text between bars.
std::vector<std::string> partsOf(const char* text) {
    std::vector<std::string> parts;
    std::istringstream rest(text);
    for (std::string part; std::getline(rest, part, '|');)
        parts.push_back(part);
    return parts;
}

TEST(Calendar, AgreesWithTheStandardLibraryOnEveryDayFrom1850To2250) {
    using namespace std::chrono;
    for (sys_days day = 1850y / January / 1; day < sys_days{2250y / January / 1}; day += days{1}) {
        const year_month_day date{day};
        const auto number = (day - sys_days{1949y / December / 31}).count();
        const CalendarDay found = calendarDay(number);
        ASSERT_EQ(found.year, static_cast<int>(date.year()));
        ASSERT_EQ(static_cast<unsigned>(found.month), static_cast<unsigned>(date.month()));
        ASSERT_EQ(static_cast<unsigned>(found.day), static_cast<unsigned>(date.day()));
        ASSERT_EQ(mmdd2jul(found.year, found.month, found.day), found.dayOfYear);
        ASSERT_EQ(clocka(found.dayOfYear, found.year), static_cast<double>(number));
    }
    for (const auto& [year, month, day] :
         {std::array{2023, 2, 29}, {2100, 2, 29}, {2024, 13, 1}, {2024, 0, 1}, {2024, 4, 31}, {2024, 1, 0}})
        EXPECT_EQ(mmdd2jul(year, month, day), 0) << year << " " << month << " " << day;
    EXPECT_EQ(clocka(1.0, 57), ds50(1957, 1, 1));
    EXPECT_EQ(tcomps2utc(1, 6, 0, 0.0, 56), ds50(2056, 1, 1, 21600.0));
    EXPECT_EQ(mmdd2jul(0, 2, 29), 60);  // 2000 is a leap year
}

enum Readers { kAll, kEpochAndDtg, kDtgOnly, kEpochOnly };

TEST(DateTexts, AreReadInEveryFormByTheReadersOfTheForm) {
    const double noon = ds50(2024, 3, 1, 43230.5);
    const double morning = ds50(2024, 3, 1, 9 * 3600.0 + 5 * 60.0 + 7.25);
    struct Case {
        const char* text;
        Readers readers;
        double value;
    };
    const Case cases[] = {
        {"24061120030.500", kAll, noon},
        {"2024061120030.500", kAll, noon},
        {" \t 24061120030.5 \t ", kAll, noon},
        {"24061120030.5000000000000000000000000", kAll, noon},
        {"24061120030.", kAll, ds50(2024, 3, 1, 43230.0)},
        {"24 61 9 5 7.250", kAll, morning},
        {"2024 61 9 5 7.25", kAll, morning},
        {"57001000000.000", kAll, ds50(1957, 1, 1)},
        {"56366235959.999", kAll, ds50(2056, 12, 31, 86399.999)},
        {"99365000000.000", kAll, ds50(1999, 12, 31)},
        {"00366000000.000", kAll, ds50(2000, 12, 31)},
        {" 4061120030.5", kAll, ds50(2004, 3, 1, 43230.5)},
        {"24061.50035301", kEpochAndDtg, ds50(2024, 3, 1) + 0.50035301},
        {"2024061.50035301", kEpochAndDtg, ds50(2024, 3, 1) + 0.50035301},
        {"24 61.5", kEpochAndDtg, ds50(2024, 3, 1, 43200.0)},
        {"24061.", kEpochAndDtg, ds50(2024, 3, 1)},
        {"2024/061 1200 30.500", kEpochAndDtg, noon},
        {"2024/ 61  9 5  7.25", kEpochAndDtg, morning},
        {"2024/06101200030.500", kEpochOnly, noon},
        {"2024Mar01120030.500", kEpochAndDtg, noon},
        {"2024mAr 1 9 5 7.2500", kEpochAndDtg, morning},
        {"01 Mar 2024 12:00:30.500", kDtgOnly, noon},
        {"1 MAR 2024 9:5:7.25", kDtgOnly, morning},
        {"1\t mar   2024\t09: 05:  7.25", kDtgOnly, morning},
        {"1 Jan 2018 0:00:00", kDtgOnly, ds50(2018, 1, 1)},
        {"1 Jan 2018 19: 0: 0.000268", kDtgOnly, ds50(2018, 1, 1, 68400.000268)},
        {"2024/03/01 12:00:30.500", kDtgOnly, noon},
        {"2024/3/ 1  9:05: 7.25", kDtgOnly, morning},
        {"2024/03/01 12:00:30", kDtgOnly, ds50(2024, 3, 1, 43230.0)},
        {"2024-03-01T12:00:30.5Z", kDtgOnly, noon},
        {"2024-03-01 12:00:30.5", kDtgOnly, noon},
        {"2024- 3- 1T 9: 5: 7.25", kDtgOnly, morning},
        {"2024-061T12:00:30.5", kDtgOnly, noon},
        {"2024-061 12:00:30.500000Z", kDtgOnly, noon},
        {"2024-366T23:59:59", kDtgOnly, ds50(2024, 12, 31, 86399.0)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(date_in(c.text), c.readers == kAll ? c.value : 0.0);
        EXPECT_EQ(datestr2ds50(c.text), date_in(c.text));
        EXPECT_EQ(dtg2ds50utc(c.text), c.readers != kEpochOnly ? c.value : 0.0);
        EXPECT_EQ(epoch(c.text), c.readers != kDtgOnly ? c.value : 0.0);
    }
}

// Wrong lengths, ranges, signs, separators; one in each text.
constexpr const char* kNoDates =
    "|   |x|.|24061120030|24061|24000120030.5|23366120030.5|24367120030.5|24061240000.0|24061126000.0|"
    "24061120060.0|24061120030.5x|24061120030.-5|24   120030.5|24061  0030.5|24061120030.5.1|"
    "2406112003.5|x4061120030.5|24061-20030.5|+4061120030.5|2461 120030.5|2024/06/1 1200 30.5|"
    "2024/061 1200 30|2024/061T1200 30.5|2024/366x1200 30.5|2023/366 1200 30.5|2024/061 2400 00.0|"
    "2024/061 1260 00.0|2024Mxr01120030.5|2024Mar32120030.5|2023Feb29120030.5|2024Mar  120030.5|"
    "2024Mar01120030|24061.5e1|24061.-5|24061. 5|24000.5|1 Mar 24 12:00:30|1 March 2024 12:00:30|"
    "Mar 1 2024 12:00:30|1 Mar 2024 12:00|1 Mar 2024 24:00:00|1 Mar 202412:00:30|1Mar 2024 12:00:30|"
    "0 Mar 2024 12:00:30|2024/13/01 12:00:30|2024/00/01 12:00:30|2024/03/01 12:60:30|2024/03/01|"
    "2024-13-01T12:00:30|2024-02-30T12:00:30|2024-003-01T12:00:30|2024-03-001T12:00:30|"
    "2023-366T12:00:30|2024-000T12:00:30|2024-03-01X12:00:30|2024-03-01T12:00:30ZZ|"
    "2024-03-01T12:00:30.5+00|2024-03-01T12:00:61|2024-03-01T012:00:30|2024-03-01T12:00:030|"
    "2024-03-01T-1:00:30|2024-03-01T12:00:30,5|2024-03-01T12:00:1e1|nan|inf";

TEST(DateTexts, GiveZeroForWhatIsNoDate) {
    for (const std::string& text : partsOf(kNoDates)) {
        SCOPED_TRACE(text);
        EXPECT_EQ(date_in(text), 0.0);
        EXPECT_EQ(dtg2ds50utc(text), 0.0);
        EXPECT_EQ(epochTextToDs50(text), std::nullopt);
    }
}

TEST(DateTexts, KnowTheEpochOfDayZeroFromNoDate) {
    EXPECT_EQ(epochTextToDs50("1949365000000.000"), 0.0);
    EXPECT_EQ(epochTextToDs50("1949365.0"), 0.0);
    EXPECT_EQ(epochTextToDs50("0.0"), std::nullopt);
}

TEST(DateTexts, AdmitSecondSixtyOnlyWhereThereIsALeapSecond) {
    const double next = ds50(2017, 1, 1);
    EXPECT_EQ(dtg2ds50utc("2016-12-31T23:59:60.000"), next);
    EXPECT_EQ(dtg2ds50utc("31 Dec 2016 23:59:60.5"), next + 0.5 / 86400.0);
    EXPECT_EQ(date_in("16366235960.500"), next + 0.5 / 86400.0);
    EXPECT_EQ(date_in("72182235960.000"), ds50(1972, 7, 1));
    // Digits without end round to the next day; they are no second 60.
    EXPECT_EQ(dtg2ds50utc("2017-12-31T23:59:59.99999999999999999999"), ds50(2018, 1, 1));
    for (const char* const text :
         {"2016-12-31T23:59:61", "2016-12-31T23:58:60", "2016-12-31T22:59:60", "2016-12-30T23:59:60",
          "2017-12-31T23:59:60", "1971-12-31T23:59:60", "2015-12-31T23:59:60.5"})
        EXPECT_EQ(dtg2ds50utc(text), 0.0) << text;
}

TEST(DateTexts, AreWrittenRoundedToTheLastDigitWithTheCarry) {
    struct Case {
        double time;
        const char* text15;
        const char* iso;
    };
    const Case cases[] = {
        {ds50(2024, 3, 1, 43230.5), "24061120030.500", "2024-03-01T12:00:30.500000"},
        {ds50(2024, 3, 1, 43259.9996), "24061120100.000", "2024-03-01T12:00:59.999600"},
        {ds50(2024, 3, 1, 43259.9994), "24061120059.999", "2024-03-01T12:00:59.999400"},
        {ds50(2024, 12, 31, 86399.9999996), "25001000000.000", "2025-01-01T00:00:00.000000"},
        {ds50(2023, 2, 28, 86399.9996), "23060000000.000", "2023-02-28T23:59:59.999600"},
        {ds50(1900, 1, 1), "00001000000.000", "1900-01-01T00:00:00.000000"},
        {ds50(1949, 12, 31, 1.25), "49365000001.250", "1949-12-31T00:00:01.250000"},
        {ds50(2199, 12, 31, 86399.5), "99365235959.500", "2199-12-31T23:59:59.500000"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(str(ds50todate15(c.time)), c.text15);
        EXPECT_EQ(str(ds50toiso(c.time)), c.iso);
    }
    for (const double outside : {ds50(2200, 1, 1), std::nextafter(ds50(1900, 1, 1), -1e9), 1e300, -1e300,
                                 double(INFINITY), double(NAN)}) {
        EXPECT_EQ(str(ds50todate15(outside)), std::string(15, ' ')) << outside;
        EXPECT_EQ(str(ds50toiso(outside)), std::string(26, ' ')) << outside;
    }
}

TEST(DateTexts, ComeBackFromRandomTimes) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> twoDigitYears(ds50(1957, 1, 1), ds50(2056, 12, 31)),
        allYears(ds50(1900, 1, 1), ds50(2199, 12, 31));
    for (int k = 0; k < 50000; ++k) {
        // Half of the last digit, and what a double of a date can't hold.
        const double time = twoDigitYears(random), any = allYears(random);
        const std::string text15 = str(ds50todate15(time)), iso = str(ds50toiso(any));
        ASSERT_NEAR(date_in(text15), time, (0.5e-3 + 1e-6) / 86400.0) << text15;
        ASSERT_NEAR(dtg2ds50utc(iso), any, (0.5e-6 + 2e-6) / 86400.0) << iso;
        ASSERT_EQ(str(ds50todate15(date_in(text15))), text15);
    }
}

}  // namespace
}  // namespace vorlandi::testing
