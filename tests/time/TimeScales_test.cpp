// Time scales: UTC to TAI and back around every leap second, split TAI differences against exact arithmetic,
// and the leap-second table that a file replaces.
#include "TimeLibrary/TimeScales.hpp"

#include <cerrno>
#include <cmath>
#include <random>
#include <sstream>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr const char* kInstalledList = "/usr/share/zoneinfo/leap-seconds.list";
constexpr double kDay2017 = 24473.0;

// The table is restored after the test.
struct TimeScales : ::testing::Test {
    ~TimeScales() override { currentLeapTable = before; }
    static double taiMinusUtc(double ds50UTC) { return leapTable().atUtc(ds50UTC).taiMinusUtc; }
    const LeapTable* const before = currentLeapTable;
};

double below(double value) { return std::nextafter(value, -INFINITY); }

TEST_F(TimeScales, StepAsTheInstalledListSaysAndTheSameAfterLoadingIt) {
    for (const double early : {-20000.0, 0.0, 8036.0})
        EXPECT_EQ(taiMinusUtc(early), 10.0) << early;
    EXPECT_EQ(utc2tai(27000.0), 27000.0 + 37.0 / 86400.0);
    const std::string list = readFile(kInstalledList);
    if (list.empty()) GTEST_SKIP() << "no " << kInstalledList;
    for (const bool loaded : {false, true}) {
        ASSERT_EQ(loaded ? loadLeapSeconds(kInstalledList) : 0, 0);
        std::istringstream lines(list);
        double last = 10.0, seconds = 0.0, offset = 0.0;
        for (std::string line; std::getline(lines, line);) {
            if (!(std::istringstream(line) >> seconds >> offset)) continue;
            const double day = seconds / 86400.0 - 18261.0;
            EXPECT_EQ(taiMinusUtc(below(day)), last) << day;
            EXPECT_EQ(taiMinusUtc(day), offset) << day;
            EXPECT_EQ(leapTable().endsWithLeapSecond(day - 1.0), offset > last) << day;
            EXPECT_EQ(tai2utc(utc2tai(day)), day);
            last = offset;
        }
        EXPECT_EQ(last, 37.0);
    }
}

// The 64 bits of a long double hold every step of the difference of two near times exactly from day 512 on;
// nearer to day 0 they leave less than 1e-14 s.
TEST_F(TimeScales, RoundTripAndKeepSplitDifferencesExact) {
    static_assert(std::numeric_limits<long double>::digits >= 64);
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    std::uniform_real_distribution<double> any(513.0, 73000.0), early(2.0, 511.0), apart(-1.0, 1.0);
    for (int k = 0; k < 300000; ++k) {
        const double a = k % 3 == 0 ? early(random) : k % 3 == 1 ? kDay2017 + apart(random) / 1000.0 : any(random);
        const double b = a + std::pow(apart(random), 3), tai = utc2tai(a);
        ASSERT_LE(std::abs(tai2utc(tai) - a), tai - below(tai)) << std::hexfloat << a;
        const long double days = static_cast<long double>(a) - static_cast<long double>(b);
        const auto leap = static_cast<long double>(taiMinusUtc(a) - taiMinusUtc(b));
        const double error = minus(tosplittai(a), tosplittai(b)) - static_cast<double>(days * 86400.0L + leap);
        // Early, each of the two is rounded once, to half of 1.46e-11 s at the most.
        ASSERT_LE(std::abs(error), k % 3 == 0 ? 2e-11 : 0.0) << std::hexfloat << a << " " << b;
    }
    // Early times have more bits than seconds of a day can hold; the fused operation rounds them once.
    EXPECT_EQ(minus(tosplittai(1.0 / 3.0), tosplittai(0.0)), std::fma(1.0 / 3.0, 86400.0, 10.0) - 10.0);
    // A time inside a leap second continues the old day.
    EXPECT_NEAR(tai2utc(utc2tai(kDay2017) - 0.5 / 86400.0), kDay2017 + 0.5 / 86400.0, 4e-12);
}

TEST_F(TimeScales, AcceptAnyWellFormedListAndRefuseABadOneAsAWholeAndNameTheLine) {
    // clang-format off
    const std::pair<std::string, const char*> bad[] = {
        {"# nothing\n", "no leap seconds"}, {std::string(3 << 20, '#'), "the file is too large"},
        {"#\n\n2272060800\n", "line 3"}, {"2272060800 \n", "line 1"}, {"2272060800 ,\n", "line 1"},
        {"2272060800 10.5\n", "line 1"}, {"2272060800.0 10\n", "line 1"},
        {"99999999999999999999 10\n", "line 1"}, {"2272060800 10\nhello\n", "line 2"},
        {"2272060800 10\n2287785601 11\n", "line 2"}, {"2272060800 10\n2287785600 12\n", "line 2"},
        {"2272060800 10\n2287785600 10\n", "line 2"}, {"2287785600 11\n2272060800 10\n", "line 2"},
        {"2272060800 10\n2272060800 11\n", "line 2"},
    };
    // clang-format on
    const TemporaryFolder folder;
    const std::string path = folder.path("list");
    for (const auto& [list, where] : bad) {
        const LogCapture log;
        EXPECT_EQ(loadLeapSeconds(folder.write("list", list)), 2);
        ASSERT_EQ(log.errors().size(), 1u);
        EXPECT_TRUE(log.errors()[0].starts_with("VorlanTimeLoadLeapSeconds: " + path + ": " + where));
    }
    EXPECT_EQ(loadLeapSeconds(folder.path("absent")), ENOENT);
    EXPECT_EQ(loadLeapSeconds(folder.path("")), EISDIR);
    EXPECT_EQ(currentLeapTable, before);
    folder.write("list",
                 "\xEF\xBB\xBF#comment\r\n\r\n  2272060800\t10 # 1 Jan 1972\r\n\t# indented\r\n"
                 "2287785600 11\r\n2303683200    10");
    ASSERT_EQ(loadLeapSeconds(path), 0);
    EXPECT_EQ(taiMinusUtc(8218.0), 11.0);  // 1972 Jul 1
    EXPECT_EQ(taiMinusUtc(27000.0), 10.0);
    EXPECT_FALSE(leapTable().endsWithLeapSecond(8401.0));  // one second less is not a leap second
}

}  // namespace
}  // namespace vorlandi::testing
