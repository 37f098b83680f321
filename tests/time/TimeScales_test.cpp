// Time scales: UTC to TAI and back around every leap second, split TAI differences against exact arithmetic, and the
// leap-second table that a file replaces.
#include "TimeLibrary/TimeScales.hpp"

#include <cerrno>
#include <cmath>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr const char* kInstalledList = "/usr/share/zoneinfo/leap-seconds.list";
constexpr double kDay1972 = 8036.0, kDay2017 = 24473.0;

// The table is put back after the test.
class TimeScales : public ::testing::Test {
protected:
    ~TimeScales() override { currentLeapTable = before_; }

    static double taiMinusUtc(double ds50UTC) { return leapTable().atUtc(ds50UTC).taiMinusUtc; }

    // Days and offsets of every step of a list, read in a way of its own.
    static std::vector<std::pair<double, double>> stepsOf(const std::string& list) {
        std::vector<std::pair<double, double>> steps;
        std::istringstream text(list);
        for (std::string line; std::getline(text, line);) {
            double seconds = 0.0, offset = 0.0;
            std::istringstream numbers(line);
            if (numbers >> seconds >> offset) steps.emplace_back(seconds / 86400.0 - 18261.0, offset);
        }
        return steps;
    }

private:
    const LeapTable* before_ = currentLeapTable;
};

double below(double value) { return std::nextafter(value, -INFINITY); }
double above(double value) { return std::nextafter(value, INFINITY); }

// A unit in the last place of the larger of the two: a conversion can't keep more.
double ulpOf(double a, double b) {
    const double larger = std::max(std::abs(a), std::abs(b));
    return above(larger) - larger;
}

TEST_F(TimeScales, CountTenSecondsBefore1972AndThirtySevenFrom2017) {
    for (const double early : {-20000.0, 0.0, 1.0, 512.0, below(kDay1972), kDay1972})
        EXPECT_EQ(taiMinusUtc(early), 10.0) << early;
    for (const double late : {kDay2017, 27000.0, 91000.0})
        EXPECT_EQ(taiMinusUtc(late), 37.0) << late;
    EXPECT_EQ(taiMinusUtc(below(kDay2017)), 36.0);
    EXPECT_EQ(utc2tai(27000.0), 27000.0 + 37.0 / 86400.0);
}

TEST_F(TimeScales, StepAsTheInstalledListSaysAndTheSameAfterLoadingIt) {
    const std::string list = readFile(kInstalledList);
    if (list.empty()) GTEST_SKIP() << "no " << kInstalledList;
    const auto steps = stepsOf(list);
    ASSERT_GE(steps.size(), 28u);
    for (const bool loaded : {false, true}) {
        SCOPED_TRACE(loaded ? "the list" : "the built-in table");
        ASSERT_EQ(loaded ? loadLeapSeconds(kInstalledList) : 0, 0);
        double last = steps.front().second;
        for (const auto& [day, offset] : steps) {
            EXPECT_EQ(taiMinusUtc(below(day)), last) << day;
            EXPECT_EQ(taiMinusUtc(day), offset) << day;
            EXPECT_EQ(leapTable().endsWithLeapSecond(day - 1.0), offset > last) << day;
            EXPECT_FALSE(leapTable().endsWithLeapSecond(day));
            last = offset;
        }
    }
}

TEST_F(TimeScales, ComeBackToTheSameTimeOnBothSidesOfEveryStepAndAnywhere) {
    std::vector<double> times{0.0, -1.0, 511.9, 512.0, 16384.0, 32768.0, 91310.9};
    for (const auto& [day, offset] : stepsOf(readFile(kInstalledList))) {
        for (const double seconds : {-40.0, -1.0, -1e-3, 0.0, 1e-3, 1.0, 36.0, 40.0}) {
            const double time = day + seconds / 86400.0;
            times.insert(times.end(),
                         {below(time), time, above(time), below(below(time)), above(above(time))});
        }
    }
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> anywhere(-20000.0, 92000.0);
    for (int k = 0; k < 200000; ++k)
        times.push_back(anywhere(random));
    for (const double time : times) {
        const double tai = utc2tai(time);
        ASSERT_LE(std::abs(tai2utc(tai) - time), ulpOf(time, tai)) << std::hexfloat << time;
    }
}

TEST_F(TimeScales, ContinueTheOldDayInsideALeapSecond) {
    const double midnight = utc2tai(kDay2017);
    EXPECT_EQ(tai2utc(midnight), kDay2017);
    EXPECT_NEAR(tai2utc(midnight - 0.5 / 86400.0), kDay2017 + 0.5 / 86400.0, 4e-12);
    EXPECT_NEAR(tai2utc(midnight - 1.5 / 86400.0), kDay2017 - 0.5 / 86400.0, 4e-12);
}

// The difference of two times at most some days apart. The 64 bits of a long double hold every step of it exactly from day
// 512 on; nearer to day 0 they leave less than 1e-14 s.
double exactDifference(double a, double b, double leapSeconds) {
    static_assert(std::numeric_limits<long double>::digits >= 64);
    const long double days = static_cast<long double>(a) - static_cast<long double>(b);
    return static_cast<double>(days * 86400.0L + static_cast<long double>(leapSeconds));
}

TEST_F(TimeScales, KeepSplitDifferencesExactFromDay512AndToTwentyPicosecondsBefore) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> anywhere(513.0, 73000.0), recent(26000.0, 29000.0),
        early(2.0, 511.0);
    std::uniform_real_distribution<double> apart(-1.0, 1.0);
    for (int k = 0; k < 300000; ++k) {
        const double a = k % 3 == 0 ? early(random) : k % 3 == 1 ? recent(random) : anywhere(random);
        const double b = a + std::pow(apart(random), 3);
        const double leap = taiMinusUtc(a) - taiMinusUtc(b);
        const double error = std::abs(minus(tosplittai(a), tosplittai(b)) - exactDifference(a, b, leap));
        // Early, each of the two is rounded once, to half of 1.46e-11 s at the most.
        ASSERT_LE(error, k % 3 == 0 ? 2e-11 : 0.0) << std::hexfloat << a << " " << b;
        ASSERT_EQ(minus(tosplittai(b), tosplittai(a)), -minus(tosplittai(a), tosplittai(b)));
    }
}

TEST_F(TimeScales, CountTheLeapSecondBetweenTwoSplitTimes) {
    std::mt19937_64 random(testSeed());
    std::uniform_real_distribution<double> seconds(0.0, 3600.0);
    for (int k = 0; k < 20000; ++k) {
        const double before = kDay2017 - seconds(random) / 86400.0;
        const double after = kDay2017 + seconds(random) / 86400.0;
        const double error = minus(tosplittai(after), tosplittai(before)) -
                             exactDifference(after, before, before < kDay2017 ? 1.0 : 0.0);
        ASSERT_EQ(error, 0.0) << std::hexfloat << before << " " << after;
    }
    EXPECT_EQ(minus(tosplittai(kDay2017), tosplittai(kDay2017 - 0.5)), 43201.0);
    // Early times have more bits than a day of seconds can keep; the fused operation rounds them once.
    EXPECT_EQ(minus(tosplittai(1.0 / 3.0), tosplittai(0.0)), std::fma(1.0 / 3.0, 86400.0, 10.0) - 10.0);
}

TEST_F(TimeScales, TakeAnyWellFormedList) {
    const TemporaryFolder folder;
    const std::string list =
        folder.write("list",
                     "\xEF\xBB\xBF#comment\r\n\r\n  2272060800\t10 # 1 Jan 1972\r\n\t# indented\r\n"
                     "2287785600 11\r\n2303683200    10");
    ASSERT_EQ(loadLeapSeconds(list), 0);
    EXPECT_EQ(taiMinusUtc(kDay1972), 10.0);
    EXPECT_EQ(taiMinusUtc(8218.0), 11.0);  // 1972 Jul 1
    EXPECT_EQ(taiMinusUtc(27000.0), 10.0);
    EXPECT_TRUE(leapTable().endsWithLeapSecond(8217.0));
    EXPECT_FALSE(leapTable().endsWithLeapSecond(8401.0));  // a second less is no leap second
}

TEST_F(TimeScales, RefuseABadListAsAWholeAndNameTheLine) {
    struct Case {
        const char* list;
        const char* where;
    };
    const Case cases[] = {
        {"", "no leap seconds"},
        {"# nothing\n", "no leap seconds"},
        {"2272060800 10\nhello\n", "line 2"},
        {"#\n\n2272060800\n", "line 3"},
        {"2272060800 \n", "line 1"},
        {"2272060800 ,\n", "line 1"},
        {"2272060800 /\n", "line 1"},
        {"2272060800 10.5\n", "line 1"},
        {"2272060800 ten\n", "line 1"},
        {"2272060800.0 10\n", "line 1"},
        {"2272060800 10\n2287785601 11\n", "line 2"},
        {"2272060800 10\n2287785600 12\n", "line 2"},
        {"2272060800 10\n2287785600 10\n", "line 2"},
        {"2287785600 11\n2272060800 10\n", "line 2"},
        {"2272060800 10\n2272060800 11\n", "line 2"},
        {"99999999999999999999 10\n", "line 1"},
    };
    const TemporaryFolder folder;
    LogCapture log;
    const LeapTable* const table = currentLeapTable;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.list);
        log.clear();
        EXPECT_EQ(loadLeapSeconds(folder.write("bad.list", c.list)), 2);
        EXPECT_THAT(log.errors(),
                    ::testing::ElementsAre(::testing::AllOf(
                        ::testing::StartsWith("VorlanTimeLoadLeapSeconds: " + folder.path("bad.list")),
                        ::testing::HasSubstr(c.where))));
        EXPECT_EQ(currentLeapTable, table);
        currentLeapTable = table;
    }
    EXPECT_EQ(loadLeapSeconds(folder.path("absent")), ENOENT);
    EXPECT_EQ(loadLeapSeconds(folder.path("")), EISDIR);
    EXPECT_EQ(loadLeapSeconds("   "), ENOENT);
    EXPECT_EQ(loadLeapSeconds(folder.write("huge.list", std::string(3 << 20, '#'))), 2);
    EXPECT_EQ(currentLeapTable, table);
}

}  // namespace
}  // namespace vorlandi::testing
