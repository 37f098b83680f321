// The states that `states` prints, and what it says about states that it can't compute.
#include <algorithm>
#include <cmath>

#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

class States : public CommandLine {
protected:
    // x of each state minus 7000: in the files of these tests, its seconds after midnight.
    std::vector<double> secondsOf(const std::string& arguments) const {
        const Lines lines = split(run("states --format csv " + arguments).output);
        std::vector<double> seconds;
        for (std::size_t i = 1; i < lines.size(); ++i)
            seconds.push_back(std::stod(split(lines[i], ',').at(5)) - 7000.0);
        return seconds;
    }
};

TEST_F(States, AreTheStoredPointsExactlyWithTheirCovariance) {
    const Lines lines = split(run("states 81002.itc --cov --format csv").output);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(lines[0], HasSubstr(",vz_km_s,revolution,cov_x_x,cov_y_x,cov_y_y,cov_z_x,"));
    EXPECT_THAT(lines[1],
                HasSubstr(",ECI,2026-01-31T00:00:00.000000,27790,7000.5,-1234.25,0.125,1.5,7.25,-0.125,0,,,"));
    EXPECT_THAT(lines[2], HasSubstr(",27790.015625,7000.5,-1234.25,0.125,1.5,7.25,-0.125,0,1,2,3,4,5,6,7,8,9,"
                                    "10,11,12,13,14,15,16,17,18,19,20,21"));
    EXPECT_THAT(run("states 81002.itc --cov --format json").output,
                HasSubstr("\"ds50_utc\":27790.015625,\"position_km\":[7000.5,-1234.25,0.125],\"velocity_km_"
                          "s\":[1.5,7.25,-0.125],\"revolution\":0,"
                          "\"covariance\":[[1,2,4,7,11,16],[2,3,5,8,12,17],[4,5,6,9,13,18],[7,8,9,10,14,19],["
                          "11,12,13,14,15,20],[16,17,18,19,20,21]]}]}\n]}\n"));
    const std::string table = run("states 81002.itc --cov").output;
    EXPECT_THAT(table, HasSubstr("\n           vz   1.600000e+01   1.700000e+01"));
    EXPECT_THAT(table, HasSubstr("\n           no covariance\n"));
    EXPECT_THAT(run("states 81002.itc 81001.e --format json").output,
                HasSubstr("\"revolution\":0}]},\n{\"satellite\":81001,"));
    // Some formats store other numbers there: a covariance of x and y without a variance of y.
    write("81002.itc", covarianceEphemeris("5.5 12345 0 0 0 0 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n"));
    EXPECT_THAT(run("states 81002.itc --cov").output, Not(HasSubstr("12345")));
}

TEST_F(States, AreALineOfJsonEachAndInTheTableWithoutRevolutionsThatAreAllZero) {
    const Lines lines = split(run("states 81002.itc 81001.e --format jsonl").output);
    ASSERT_EQ(lines.size(), 12U);
    EXPECT_THAT(lines[2],
                testing::MatchesRegex("\\{\"schema\":\"vorlandi.states/1\",\"satellite\":81001,\"key\":\"[0-9]+\","
                                      "\"frame\":\"J2K\",\"time_utc\":\"2026-01-31T00:00:00.000000\",.*"
                                      "\"revolution\":0\\}"));
    EXPECT_THAT(run("states 81001.e").output, Not(HasSubstr("revolution")));
}

TEST_F(States, AnswerTimesFromFilesAndSeveralAfterOneOption) {
    write("times", "# a comment\n\n2026-01-31T00:01\r\n  2026/01/31 00:02:00 \n");
    EXPECT_THAT(secondsOf("81001.e --times times"), testing::ElementsAre(60.0, 120.0));
    EXPECT_THAT(secondsOf("81001.e --times - <times"), testing::ElementsAre(60.0, 120.0));
    EXPECT_THAT(secondsOf("81001.e --at 2026-01-31T00:03 2026-01-31T00:04Z"), testing::ElementsAre(180.0, 240.0));
}

TEST_F(States, HaveSigmasAndErrorsBesideThem) {
    // Of a position and a velocity along z and x, with variances of 9, 4 and 1 km^2.
    const std::string itc = covarianceEphemeris("9 0 4 0 0 1 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n");
    write("81002.itc", itc);
    const Lines lines = split(run("states 81002.itc --sigma --error --format csv").output);
    EXPECT_THAT(lines.at(0), HasSubstr(",revolution,sigma_radial_m,sigma_in_track_m,sigma_cross_track_m,error_m"));
    EXPECT_THAT(lines.at(1), HasSubstr(",0,,,,0")) << "it has no covariance";
    double squares = 0.0;
    for (std::size_t column = 12; column < 15; ++column)
        squares += std::pow(std::stod(split(lines.at(2), ',').at(column)), 2);
    EXPECT_NEAR(squares, 14e6, 1e-3) << "the trace";
    EXPECT_THAT(run("states 81002.itc --sigma").output, HasSubstr("   sigma C (m)\n"));

    const std::string example = "states " VORLANDI_EXAMPLES "/81001_stk.e --error --format jsonl --at 2026-01-31T01:0";
    EXPECT_THAT(run(example + "0").output, testing::EndsWith(",\"error_m\":0}\n"));
    const std::string between = run(example + "0:30").output;
    const double error_m = std::stod(between.substr(between.rfind(':') + 1));
    EXPECT_GT(error_m, 0.0);
    EXPECT_LT(error_m, 0.1);
    EXPECT_THAT(run("states 81002.itc --error --at 2026-01-31T00:00:00 2>&1").output, HasSubstr("  error (m)\n"));
}

TEST_F(States, StartAtTheBeginAndReachTheEnd) {
    EXPECT_EQ(secondsOf("81001.e --step 0.1").size(), 5401U);
    const std::string day = "2026-01-31T00:";
    // clang-format off
    for (const auto& [range, seconds] : std::initializer_list<std::pair<std::string, std::vector<double>>>{
        {"--from " + day + "07:00 --step 70", {420, 490}}, {"--to " + day + "02:20 --step 70", {0, 70, 140}},
        {"--from 26031000130.000 --to '2026/01/31 00:04:00'", {120, 180, 240}},
        {"--from " + day + "02:00.0000005 --to " + day + "03:59.9999995", {120, 180, 240}},
        {"--from " + day + "02:00.000002 --to " + day + "03:59.999998", {180}},
        {"--step 180.0000002", {0, 180, 360, 540}}, {"--at " + day + "00:07 --at " + day + "08:00", {7, 480}},
        {"--from " + day + "09:00 --to " + day + "09:00 --step 1", {540}},
        {"--from " + day + "08:59.999997 --step 1e-6", {539.999997, 539.999998, 539.999999, 540}},
        {"--to " + day + "00:00.0000005", {0}}, {"--from " + day + "09:00.0000005", {540}}}) {
        // clang-format on
        EXPECT_THAT(secondsOf("81001.e " + range), testing::Pointwise(testing::DoubleNear(1e-6), seconds)) << range;
    }
}

// A printed time can be up to half a microsecond off the stored one, and outside the span.
TEST_F(States, CanBeRequestedAtTheTimesThatInfoPrints) {
    for (const double first_s : {0.3333336, 0.6666664, 59.9999996, 59.9999994}) {
        for (const double spacing_s : {33.3333331, 33.3333334}) {
            write("81001.e", ephemeris(5, first_s, spacing_s));
            const Lines info = split(split(run("info 81001.e --format csv").output).at(1), ',');
            for (const auto& times :
                 {"--at " + info.at(4) + " --at " + info.at(5),
                  "--from " + info.at(4) + " --to " + info.at(5) + " --step 1000", "--from " + info.at(5)})
                EXPECT_EQ(run("states 81001.e " + times).messages, "") << times;
        }
    }
    for (const char* const outside : {"00:00:59.999998", "00:03:13.3333345"})
        EXPECT_EQ(run(std::string("states 81001.e --at 2026-01-31T") + outside).status, 1)
            << "more than a microsecond is not rounding";
}

// Ten times a minute apart from each of these.
std::vector<double> minutesFrom(std::initializer_list<double> starts_s) {
    std::vector<double> times_s;
    for (const double start_s : starts_s)
        for (int i = 0; i < 10; ++i)
            times_s.push_back(start_s + 60.0 * i);
    return times_s;
}

TEST_F(States, ThatCannotBeComputedAreReportedAndTheOthersArePrinted) {
    write("81003.e", ephemeris(10, 3600.0));
    const std::string spans[] = {"2026-01-31T00:00:00.000000 to 2026-01-31T00:09:00.000000",
                                 "2026-01-31T01:00:00.000000 to 2026-01-31T01:09:00.000000"};
    const auto outside = [&](int number, const std::string& time) {
        return "vorlandi: satellite " + std::to_string(number) + ": error: no state at 2026-01-31T" + time +
               ".000000: outside its span, " + spans[number == 81003 ? 1 : 0] + "\n";
    };
    const Outcome two = run("states 81001.e 81003.e --at 2026-01-31T01:01:00 --at 2026-01-31T00:01:00");
    EXPECT_EQ(two.status, 1);
    EXPECT_EQ(split(two.output).size(), 3U);
    EXPECT_EQ(two.messages, outside(81001, "01:01:00") + outside(81003, "00:01:00"));

    write("81004.e", ephemerisAt(minutesFrom({0.0, 14400.0, 28800.0})));
    const Outcome inGaps = run("states 81004.e --at 2026-01-31T02:00:00 --at 2026-01-31T06:00:00");
    EXPECT_THAT(
        inGaps.messages,
        HasSubstr(
            "02:00:00.000000: InterpolateEP: Data points too far apart due to spacing or data gap. (26031000800"));
    EXPECT_THAT(
        inGaps.messages,
        HasSubstr(
            "06:00:00.000000: InterpolateEP: Data points too far apart due to spacing or data gap. (26031040800"));

    const Outcome range = run("states 81001.e --to 2026-01-31T01:00:00 --step 1");
    EXPECT_EQ(range.status, 1);
    EXPECT_EQ(split(range.messages).size(), 11U) << "a long range must not flood the terminal";
    EXPECT_THAT(range.messages,
                HasSubstr(outside(81001, "00:09:10") + "vorlandi: satellite 81001: error: 3050 more times without a "
                                                       "state, the last 2026-01-31T01:00:00.000000\n"));
    EXPECT_EQ(
        split(run("states -v 81001.e --to 2026-01-31T01:00:00 --step 1 2>&1 >/dev/null | grep error:").output).size(),
        3060U);
    EXPECT_EQ(split(run("states 81001.e --to 2026-01-31T00:09:10 --step 1").messages).size(), 10U);

    const Outcome chosen = run("states 81001.e 81003.e --sat 81003 --sat 7");
    EXPECT_EQ(chosen.status, 1);
    EXPECT_EQ(split(chosen.output).size(), 11U);
    EXPECT_EQ(chosen.messages, "vorlandi: error: satellite 7 is not in any of the files\n");
    EXPECT_THAT(run("states 81001.e $(seq -f '--sat %.0f' 12)").messages,
                HasSubstr("satellite 10 is not in any of the files\nvorlandi: error: 2 more satellites are "
                          "not in any of the files\n"));

    for (const auto& [arguments, message] : std::initializer_list<std::pair<std::string, std::string>>{
             {"--from 2026-01-31T00:00:10 --to 2026-01-31T00:00:50",
              "no stored point from 2026-01-31T00:00:10.000000 to 2026-01-31T00:00:50.000000"},
             {"--from 2026-01-31T00:10:00", "the requested range is outside its span, " + spans[0]},
             {"--to 2026-01-30T00:10:00 --step 1", "the requested range is outside its span, " + spans[0]}}) {
        const Outcome none = run("states 81001.e " + arguments);
        EXPECT_EQ(none.status, 1) << arguments;
        EXPECT_EQ(none.messages, "vorlandi: satellite 81001: error: " + message + "\n");
    }
    write("81001.e", ephemeris(10, 0.0, 7200.0));
    EXPECT_THAT(run("states 81001.e --at 2026-01-31T01:00:00").messages,
                HasSubstr("no state at 2026-01-31T01:00:00.000000: InterpolateEP: Data points too far apart"));
}

TEST_F(States, InAGapAreCountedOncePerSatellite) {
    const std::vector<double> times_s = minutesFrom({0.0, 1800.0, 3600.0});
    write("81001.e", ephemerisAt(times_s));
    const Outcome grid = run("states 81001.e --step 30");
    EXPECT_EQ(grid.status, 0) << "a warning is not a failure";
    EXPECT_EQ(
        grid.messages,
        "vorlandi: satellite 81001: warning: 82 of 139 states are interpolated across gaps between its points and can "
        "be far off, the first at 2026-01-31T00:09:30.000000\n");
    EXPECT_THAT(run("states 81001.e --at 2026-01-31T00:29:59.999998 --at 2026-01-31T00:09:00.000002").messages,
                testing::AllOf(HasSubstr("2 of 2 states"), HasSubstr("the first at 2026-01-31T00:29:59.999998")));
    for (const char* const arguments : {"", "--at 2026-01-31T00:08:30", "--at 2026-01-31T00:09:00.0000005",
                                        "--at 2026-01-31T00:29:59.9999995", "--at 2026-01-31T01:05:30"})
        EXPECT_EQ(run("states 81001.e " + std::string(arguments)).messages, "") << arguments;
    write("81003.e", ephemerisAt(times_s));
    EXPECT_EQ(split(run("states 81001.e 81003.e --step 60").messages).size(), 2U);
}

}  // namespace
}  // namespace vorlandi::cli_tests
