// The universal reader: a header and point lines in both layouts, and edits of them.
#include <gtest/gtest.h>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr double kDay = 27790.0;  // 31 Jan 2026
constexpr double kMinute = 1.0 / 1440.0;

// "KQ_UNIVERSAL_VORLANDI_V1.0", then satellite number, coordinate system and layout in columns 30, 40 and 50.
std::string header(std::string satNum = "81001", std::string system = "HCSRL",
                   const std::string& layout = "") {
    satNum.resize(10, ' ');
    system.resize(10, ' ');
    return "KQ_UNIVERSAL_VORLANDI_V1.0   " + satNum + system + layout + "\n";
}

// A point line in fixed columns: 26 columns of time, then 19 for each number with one before it.
std::string fixedLine(std::string time, const std::vector<std::string>& numbers) {
    time.resize(26, ' ');
    for (const std::string& number : numbers)
        time += " " + std::string(19 - number.size(), ' ') + number;
    return time + "\n";
}

const std::string kFixedPoint =
    fixedLine("2026-01-31T00:00:00.000000", {"7000.5", "1", "2", "0.5", "7.5", "0.25"});
const std::string kCsvPoint = "26031000000.000,7000.5,1,2,0.5 7.5,0.25\n";

std::vector<std::string> bad(const std::string& text) {
    return {"*** ReadKQUniversalVorlan : Bad ephemeris data. ***", text};
}

TEST(ReadKQUniversalVorlan, ReadsBothLayouts) {
    for (const std::string& text : {
             header() + "* comment\n\n" + kFixedPoint + fixedLine("26031000100.000", {"7001", "", "2"}),
             header("81001", "HCSRL", "CSV") + "* comment\n\n" + kCsvPoint +
                 "26031000100.000,7001,,2/ 5 6 7\n",
         }) {
        SCOPED_TRACE(text);
        const Loaded loaded = load(text, "u.txt");
        EXPECT_EQ(loaded.status, 0);
        EXPECT_TRUE(loaded.errors.empty());
        EXPECT_EQ(loaded.infos,
                  std::vector<std::string>{"Total ephemeris points = 2, Start = 26031000000.000, "
                                           "End = 26031000100.000, Coord ="});
        ASSERT_EQ(loaded.records.size(), 1U);
        const Vorlanrecord& record = loaded.records[0];
        EXPECT_EQ(record.satNum, 81001);
        EXPECT_EQ(record.coordSys, 17);
        EXPECT_EQ(record.epoch, kDay);
        EXPECT_EQ(record.fileName.view(), "u.txt");
        ASSERT_EQ(record.numberOfPoints(), 2);
        EXPECT_THAT(record.points[0].pos, ::testing::ElementsAre(7000.5, 1.0, 2.0));
        EXPECT_THAT(record.points[0].vel, ::testing::ElementsAre(0.5, 7.5, 0.25));
        EXPECT_EQ(record.points[1].time, kDay + kMinute);
        EXPECT_THAT(record.points[1].pos, ::testing::ElementsAre(7001.0, 0.0, 2.0));
        EXPECT_THAT(record.points[1].vel, ::testing::Each(0.0)) << "nothing stays from the line before";
        EXPECT_EQ(record.points[1].rev, 0);
    }
}

TEST(ReadKQUniversalVorlan, TakesSatelliteSystemAndLayoutFromTheHeader) {
    struct Case {
        const char* what;
        std::string header;
        bool commas;
        std::int32_t satNum, coordSys;
    };
    const Case cases[] = {
        {"right-aligned number", header("     81001"), false, 81001, 17},
        {"signed number", header("+7"), false, 7, 17},
        {"lower case name", "kq_universal_vorlandi_v" + header("5", "wptrl").substr(23), false, 5, 18},
        {"five letters and more", header("5", "HcsGcxyz"), false, 5, 19},
        {"the fourth name", header("5", "WPTGC"), false, 5, 20},
        {"commas", header("5", "WPTGC", "CSV"), true, 5, 20},
        {"more behind the layout", header("5", "WPTGC", "CSV x"), true, 5, 20},
        {"a longer layout", header("5", "WPTGC", "CSVX"), false, 5, 20},
        {"a layout in lower case", header("5", "WPTGC", "csv"), false, 5, 20},
        {"a layout one column late", header("5", "WPTGC", " CSV"), false, 5, 20},
        {"anything as the version", header("5").replace(23, 6, "qqqqqq"), false, 5, 17},
        {"nothing behind the system", header("5", "HCSRL").substr(0, 44) + "\n", false, 5, 17},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Loaded loaded = load(c.header + (c.commas ? kCsvPoint : kFixedPoint));
        EXPECT_EQ(loaded.status, 0);
        EXPECT_TRUE(loaded.errors.empty());
        ASSERT_EQ(loaded.records.size(), 1U);
        EXPECT_EQ(loaded.records[0].satNum, c.satNum);
        EXPECT_EQ(loaded.records[0].coordSys, c.coordSys);
        EXPECT_EQ(loaded.records[0].points[0].pos[0], 7000.5);
    }
}

TEST(ReadKQUniversalVorlan, RefusesAHeaderWithoutSystemOrNumber) {
    const std::string noSystem = "*** ReadKQUniversalVorlan: Invalid coordinate system. ***";
    const std::string noNumber = "*** ReadKQUniversalVorlan: Invalid satellite number. ***";
    const std::string noData =
        "ReadOnlyVorlans: Input ephemeris does not contain any ephemeris data. It will not be stored.";
    struct Case {
        std::string text, error;
    };
    const Case cases[] = {
        {header("5", "ECI"), noSystem},    {header("5", "J2K"), noSystem},
        {header("5", " HCSRL"), noSystem}, {header("5", ""), noSystem},
        {header("x", "ECI"), noSystem},    {"KQ_UNIVERSAL_VORLANDI_V\n", noSystem},
        {header("x"), noNumber},           {header(""), noNumber},
        {header("-123"), noNumber},        {header("5.0"), noNumber},
        {header("3000000000"), noNumber},  {header("8 1"), noNumber},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const Loaded loaded = load(c.text + kFixedPoint);
        EXPECT_EQ(loaded.status, 2);
        EXPECT_EQ(loaded.errors, std::vector<std::string>{c.error});
        EXPECT_TRUE(loaded.records.empty() && loaded.infos.empty());
    }
    const Loaded empty = load(header());
    EXPECT_EQ(empty.status, 2);
    EXPECT_EQ(empty.errors, std::vector<std::string>{noData});
}

// A line in front of a good point: what is logged, and x of the point it gives.
struct LineCase {
    const char* what;
    std::string line;
    std::vector<std::string> errors;
    std::vector<double> x = {};
};

void expectLine(const std::string& header, const std::string& goodPoint, const LineCase& c) {
    SCOPED_TRACE(c.what);
    const Loaded loaded = load(header + c.line + goodPoint);
    EXPECT_EQ(loaded.status, 0);
    EXPECT_EQ(loaded.errors, c.errors);
    ASSERT_EQ(loaded.records.size(), 1U);
    std::vector<double> x;
    for (std::int32_t k = 0; k < loaded.records[0].numberOfPoints(); ++k)
        x.push_back(loaded.records[0].points[k].pos[0]);
    std::vector<double> expected = c.x;
    expected.push_back(7000.5);
    EXPECT_EQ(x, expected);
}

TEST(ReadKQUniversalVorlan, ReadsFixedColumnsOrReportsTheLine) {
    const std::string time = "2026-01-30T23:00:00.000000";
    const auto line = [&](const std::string& x) { return fixedLine(time, {x, "0", "0", "0", "0", "0"}); };
    const auto badX = [&](const char* what, const std::string& x) {
        return LineCase{what, line(x), bad(line(x).substr(0, line(x).size() - 1))};
    };
    std::string column27 = line("5");
    column27[26] = 'x';
    const LineCase cases[] = {
        {"no decimal point", line("12345"), {}, {12345.0}},
        {"blank", line(""), {}, {0.0}},
        {"blanks inside", line("1 2 .5"), {}, {12.5}},
        {"an exponent", line("-1.5E3"), {}, {-1500.0}},
        {"a D exponent in lower case", line("+15d-1"), {}, {1.5}},
        {"all 19 columns", line("1234567890123456.25"), {}, {1234567890123456.25}},
        {"column 27 is not read", column27, {}, {5.0}},
        {"text behind column 146", line("5").substr(0, 146) + "xyz\n", {}, {5.0}},
        {"nothing behind the time", time + "\n", {}, {0.0}},
        badX("a letter", "12a45"),
        badX("two points", "1.2.3"),
        badX("two signs", "--5"),
        badX("two signs apart", "+ -5"),
        badX("infinity", "Infinity"),
        badX("beyond a double", "1E400"),
        badX("a comma", "1,5"),
        {"no time", fixedLine("yesterday", {"1"}), bad("yesterday")},
        {"a time before 1950", fixedLine("1949-12-30T00:00:00", {"1"}), bad("1949-12-30T00:00:00")},
        {"both bad: the time is named", fixedLine("never", {"x"}), bad("never")},
        {"a second header", header(), bad("KQ_UNIVERSAL_VORLANDI_V1.0")},
    };
    for (const LineCase& c : cases)
        expectLine(header(), kFixedPoint, c);
}

TEST(ReadKQUniversalVorlan, ReadsCommaSeparatedLinesOrReportsTheirPart) {
    const std::string time = "2026-01-30T23:00:00.000000";
    const LineCase cases[] = {
        {"the comma in column 27", time + ",5 0 0 0 0 0\n", {}, {5.0}},
        {"the comma in column 28", time + "0,5 0 0 0 0 0\n", bad("")},
        {"no comma", "26030230000.000 5 0 0 0 0 0\n", bad("")},
        {"a null first value", time + ",,1,2,3,4,5\n", {}, {0.0}},
        {"blanks and tabs around", "  26030230000.000 ,\t5 , 0,0,0,0,0\n", {}, {5.0}},
        {"a D exponent", time + ",-5D2,0,0,0,0,0\n", {}, {-500.0}},
        {"more than six", time + ",5,0,0,0,0,0,x\n", {}, {5.0}},
        {"five numbers", time + ",5,0,0,0,0\n", bad(time + ",5,0,0,0,0")},
        {"five numbers and a comma", time + ",5,0,0,0,0,\n", bad(time + ",5,0,0,0,0,")},
        {"a letter", time + ",5,0,o,0,0,0\n", bad(time + ",5,0,o,0,0,0")},
        {"a repeat count", time + ",6*5\n", bad(time + ",6*5")},
        {"no time", "never,5,0,0,0,0,0\n", bad("never")},
        {"both bad: the time is named", "never,x\n", bad("never")},
        {"a comma first", ",5,0,0,0,0,0\n", bad("")},
        {"a second header", header("5", "HCSRL", "CSV"), bad("")},
    };
    for (const LineCase& c : cases)
        expectLine(header("5", "HCSRL", "CSV"), kCsvPoint, c);
}

TEST(ReadKQUniversalVorlan, DropsPointsThatAreNotLaterWithoutAMessage) {
    const auto line = [](const char* time, const char* x) { return fixedLine(time, {x}); };
    const Loaded loaded = load(header() + line("26031000100.000", "1") + line("26031000100.000", "2") +
                               line("26031000000.000", "3") + line("26031000100.001", "4"));
    EXPECT_TRUE(loaded.errors.empty());
    ASSERT_EQ(loaded.records.size(), 1U);
    ASSERT_EQ(loaded.records[0].numberOfPoints(), 2);
    EXPECT_EQ(loaded.records[0].points[0].pos[0], 1.0);
    EXPECT_EQ(loaded.records[0].points[1].pos[0], 4.0);
}

TEST(ReadKQUniversalVorlan, CutsLinesAt512ColumnsAndEndsThemInEveryWay) {
    const std::string commas = header("5", "HCSRL", "CSV");
    const Loaded loaded =
        load("\xEF\xBB\xBF" + commas + "26031000100.000,1,2,3,4,5,6\r\n26031000200.000,1,2,3,4,5,6" +
             std::string(1, '\0') + "\n26031000300.000,1,2,3,4,5,6");
    EXPECT_TRUE(loaded.errors.empty());
    ASSERT_EQ(loaded.records.size(), 1U);
    EXPECT_EQ(loaded.records[0].numberOfPoints(), 3);
    // The last digit of the sixth number stands in column 512, or behind it.
    const std::string time = "26031000000.000,";
    EXPECT_EQ(load(commas + time + std::string(485, ' ') + "1 2 3 4 5 699\n").records.at(0).points[0].vel[2],
              6.0);
    EXPECT_EQ(load(commas + time + std::string(486, ' ') + "1 2 3 4 5 6\n").status, 2);
}

}  // namespace
}  // namespace vorlandi::testing
