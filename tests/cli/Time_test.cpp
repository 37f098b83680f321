// The forms that `time` shows, compared with results of other programs.
#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

class Time : public CommandLine {
protected:
    // The fields of csv, without the title line.
    Lines formsOf(const std::string& text) const {
        return split(split(run("time --format csv '" + text + "'").output).at(1), ',');
    }
};

TEST_F(Time, IsShownInEveryForm) {
    EXPECT_THAT(formsOf("2026-01-31T13:30:05.25"),
                testing::ElementsAre("2026-01-31T13:30:05.250000", "2026-031T13:30:05.250000", "26031133005.250",
                                     "2026031133005.250", "2026/031 1330 05.250", "2026Jan31133005.250",
                                     "31 Jan 2026 13:30:05.250", "2026/01/31 13:30:05.250", "27790.56256076389",
                                     "2461072.062560763890", "61071.562560763890", "2026-01-31T13:30:42.250000", "37",
                                     "2403", "567023.250000", "1769866205.250000"));
    // Rounded up into the next year; the last GPS second before a leap second.
    const Lines yearsEnd = formsOf("2016-12-31T23:59:59.9999");
    EXPECT_EQ(yearsEnd.at(0), "2016-12-31T23:59:59.999900");
    EXPECT_EQ(yearsEnd.at(2), "17001000000.000");
    EXPECT_EQ(yearsEnd.at(6), "01 Jan 2017 00:00:00.000");
    EXPECT_EQ(yearsEnd.at(11), "2017-01-01T00:00:35.999900");
    const Lines early = formsOf("1956-06-30T06:00:00");
    EXPECT_EQ(early.at(2), "") << "two digits can't say 1956";
    EXPECT_EQ(early.at(9), "2435654.750000000000");
    EXPECT_EQ(early.at(13), "") << "before the first GPS week";
    EXPECT_EQ(early.at(15), "-426189600.000000");
}

TEST_F(Time, InALeapSecondIsNotTheOneAfter) {
    for (const char* const text : {"2016-12-31T23:59:60.25Z", "31 Dec 2016 23:59:60.25", "16366235960.25"}) {
        const Lines leap = formsOf(text);
        EXPECT_EQ(leap.at(0) + " " + leap.at(2), "2016-12-31T23:59:60.250000 16366235960.250") << text;
        EXPECT_EQ(leap.at(11) + " " + leap.at(12), "2017-01-01T00:00:36.250000 36");
        EXPECT_EQ(leap.at(14), "17.250000");
    }
    EXPECT_EQ(formsOf("2017-01-01T00:00:00.25").at(14), "18.250000");
    EXPECT_EQ(formsOf("2016-12-31T23:59:60.9999996Z").at(0), "2016-12-31T23:59:60.999999");
    write("none.list", "#$ 1\n#@ 9999999999\n2272060800 10\n");
    EXPECT_THAT(run("time --leap-seconds none.list 2026-01-31 --format csv").output, HasSubstr("T00:00:10.000000,10,"));
}

TEST_F(Time, ThatLooksLikeAModifiedJulianDateIsWarnedOf) {
    EXPECT_THAT(
        run("time 61071.5625").messages,
        HasSubstr("61071.5625 is read as YYDDD.DDD, 1961-03-12T13:30:00.000000; it looks like a modified Julian "
                  "date, which means 2026-01-31T13:30:00.000000"));
    EXPECT_THAT(run("time 60700.5").messages, HasSubstr("is not a time: it looks like a modified Julian date"));
    EXPECT_EQ(run("time 26031.5 1961071.5").messages, "");
}

TEST_F(Time, CanBeSeveral) {
    EXPECT_THAT(run("time --format json 1956-06-30 2026-01-31").output,
                testing::MatchesRegex("\\{\"schema\":\"vorlandi.time/1\",\"times\":\\[\n\\{\"utc\":\"1956-06-30T.*"
                                      "\"gps_week\":null,.*\\},\n\\{\"utc\":\"2026-.*\\}\n\\]\\}\n"));
    EXPECT_THAT(run("time 1956-06-30 2026-01-31").output, HasSubstr("\nGPS week                    -\n"));
}

}  // namespace
}  // namespace vorlandi::cli_tests
