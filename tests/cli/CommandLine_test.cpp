// Runs the built program as a user does and looks at its output, its messages and its exit status.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "ToolRunner.hpp"

namespace vorlandi::cli_tests {
namespace {

// The points lie 60 s apart at times that are rounded by up to 0.16 us, in which a satellite moves 1.2 mm. A
// slope across one interval carries that into the velocity. Interpolation itself adds less than a thousandth
// of it.
constexpr double kPositionTolerance_km = 3e-6;
constexpr double kVelocityTolerance_km_s = 6e-8;

// Compares a line of states, after satellite, key and frame, with one of the truth.
void expectEqualState(const std::string& line, const std::string& truth) {
    const auto fields = fieldsOf(line);
    const auto expected = fieldsOf(truth);
    EXPECT_EQ(fields.at(3), expected.at(0));
    EXPECT_EQ(std::stod(fields.at(4)), std::stod(expected.at(1)));
    for (std::size_t i = 2; i < 8; ++i) {
        const double tolerance = i < 5 ? kPositionTolerance_km : kVelocityTolerance_km_s;
        EXPECT_NEAR(std::stod(fields.at(i + 3)), std::stod(expected.at(i)), tolerance) << expected.at(0);
    }
}

TEST_F(CommandLine, InfoDescribesEverySatelliteInTheOrderOfLoading) {
    write("81002.itc", covarianceEphemeris());
    writeOrbit("81001.e");
    write("fleet.card", "#VORLANDI = a \"quoted\", tag\nEPHFIL = 81002.itc\nEPHFIL = 81001.e\n");

    const Outcome table = run({"info", "fleet.card"});
    EXPECT_EQ(table.status, 0) << table.messages;
    const auto lines = linesOf(table.output);
    ASSERT_EQ(lines.size(), 3U) << table.output;
    EXPECT_TRUE(std::regex_match(
        lines[1], std::regex(" +81002 +[0-9]+  ECI +2  2026-01-31T00:00:00.000000  2026-01-31T00:22:30.000000"
                             " +1350.000  yes +81002.itc  a \"quoted\", tag")))
        << lines[1];
    EXPECT_TRUE(std::regex_match(
        lines[2],
        std::regex(" +81001 +[0-9]+  J2K +10  2026-01-31T00:00:00.000000  2026-01-31T00:09:00.000000"
                   " +60.000  no +81001.e")))
        << lines[2];

    const Outcome csv = run({"info", "--format", "csv", "fleet.card"});
    EXPECT_TRUE(contains(csv.output, ",1350,yes,81002.itc,\"a \"\"quoted\"\", tag\"\n")) << csv.output;
    const Outcome json = run({"info", "--format", "json", "81002.itc"});
    EXPECT_EQ(withoutKeys(json.output),
              "[\n{\"satellite\":81002,\"key\":K,\"frame\":\"ECI\",\"points\":2,"
              "\"first_utc\":\"2026-01-31T00:00:00.000000\",\"last_utc\":\"2026-01-31T00:22:30.000000\","
              "\"mean_spacing_s\":1350,\"covariance\":true,\"file\":\"81002.itc\",\"tag\":\"\"}\n]\n");
}

TEST_F(CommandLine, JsonStaysValidWhateverAFileIsCalled) {
    const std::string name = "81001 \"\\\t\xFF\xE2\x82\xAC.e";
    writeOrbit(name);
    const Outcome json = run({"info", "--format", "json", name});
    EXPECT_EQ(json.status, 0) << json.messages;
    EXPECT_TRUE(contains(json.output, "\"file\":\"81001 \\\"\\\\\\u0009\xEF\xBF\xBD\xE2\x82\xAC.e\""))
        << json.output;
}

TEST_F(CommandLine, StoredPointsComeOutExactly) {
    write("81002.itc", covarianceEphemeris());
    const Outcome csv = run({"states", "81002.itc", "--cov", "--format", "csv"});
    EXPECT_EQ(csv.status, 0) << csv.messages;
    const auto lines = linesOf(csv.output);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_EQ(fieldsOf(lines[0]).size(), 33U);
    EXPECT_TRUE(contains(lines[1],
                         ",ECI,2026-01-31T00:00:00.000000,27790,7000.5,-1234.25,0.125,1.5,7.25,-0.125,0,,,"));
    EXPECT_TRUE(contains(lines[2],
                         ",27790.015625,7000.5,-1234.25,0.125,1.5,7.25,-0.125,0,1,2,3,4,5,6,7,8,9,10,11,12,"
                         "13,14,15,16,17,18,19,20,21"));

    const Outcome json = run({"states", "81002.itc", "--cov", "--format", "json"});
    const std::string state =
        "\"position_km\":[7000.5,-1234.25,0.125],\"velocity_km_s\":[1.5,7.25,-0.125],"
        "\"revolution\":0,\"covariance\":";
    EXPECT_EQ(withoutKeys(json.output),
              "{\"satellites\":[\n{\"satellite\":81002,\"key\":K,\"frame\":\"ECI\",\"file\":\"81002.itc\","
              "\"states\":["
              "\n{\"time_utc\":\"2026-01-31T00:00:00.000000\",\"ds50_utc\":27790," +
                  state +
                  "null},"
                  "\n{\"time_utc\":\"2026-01-31T00:22:30.000000\",\"ds50_utc\":27790.015625," +
                  state +
                  "[[1,2,4,7,11,16],[2,3,5,8,12,17],[4,5,6,9,13,18],[7,8,9,10,14,19],[11,12,13,14,15,20],"
                  "[16,17,18,19,20,21]]}]}\n]}\n");

    const auto table = linesOf(run({"states", "81002.itc", "--cov"}).output);
    ASSERT_EQ(table.size(), 10U);
    EXPECT_TRUE(contains(table[2], "no covariance"));
    EXPECT_TRUE(contains(table[9], "vz   1.600000e+01   1.700000e+01"));
}

// Some formats keep other numbers there: the marker 12345 would be a covariance of x and y without a variance of y.
TEST_F(CommandLine, NumbersThatAreNoCovarianceAreNotShownAsOne) {
    write("81002.itc", covarianceEphemeris("5.5 12345 0 0 0 0 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n"));
    EXPECT_TRUE(contains(run({"info", "81002.itc", "--format", "csv"}).output, ",no,81002.itc,"));
    EXPECT_FALSE(contains(run({"states", "81002.itc", "--cov"}).output, "12345"));
    write("81003.itc", covarianceEphemeris("0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 1e-6\n"));
    EXPECT_TRUE(contains(run({"info", "81003.itc", "--format", "csv"}).output, ",yes,81003.itc,"));
}

TEST_F(CommandLine, StepsStartAtTheBeginAndReachTheEnd) {
    writeOrbit("81001.e");
    const Outcome steps = run({"states", "81001.e", "--step", "0.1", "--format", "csv"});
    EXPECT_EQ(steps.status, 0) << steps.messages;
    const auto lines = linesOf(steps.output);
    ASSERT_EQ(lines.size(), 5402U);
    for (int i = 0; i <= 5400; ++i) {
        const auto fields = fieldsOf(lines[static_cast<std::size_t>(i) + 1]);
        std::array<char, 40> time{};
        std::snprintf(time.data(), time.size(), "2026-01-31T00:%02d:%02d.%d00000", i / 600, i / 10 % 60,
                      i % 10);
        ASSERT_EQ(fields.at(3), time.data());
        ASSERT_NEAR(std::stod(fields.at(5)), circularState(i / 10.0).x, kPositionTolerance_km);
        ASSERT_NEAR(std::stod(fields.at(9)), circularState(i / 10.0).vy, kVelocityTolerance_km_s);
    }

    struct Case {
        Arguments range;
        std::vector<std::string> minutes;
    };
    const Case cases[] = {
        {{"--from", "2026-01-31T00:07:00", "--step", "70"}, {"07:00", "08:10"}},
        {{"--to", "2026-01-31T00:02:20", "--step", "70"}, {"00:00", "01:10", "02:20"}},
        {{"--from", "26031000130.000", "--to", "2026/01/31 00:04:00"}, {"02:00", "03:00", "04:00"}},
        {{"--step", "180.0000002"}, {"00:00", "03:00", "06:00", "09:00"}},
        {{"--from", "2026-01-31T00:09:00", "--to", "2026-01-31T00:09:00", "--step", "1"}, {"09:00"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.range));
        Arguments arguments = {"states", "81001.e", "--format", "csv"};
        arguments.insert(arguments.end(), c.range.begin(), c.range.end());
        const Outcome range = run(arguments);
        EXPECT_EQ(range.status, 0) << range.messages;
        std::vector<std::string> minutes;
        for (const std::string& line : linesOf(range.output))
            minutes.push_back(fieldsOf(line).at(3).substr(0, 19));
        ASSERT_EQ(minutes.size(), c.minutes.size() + 1);
        for (std::size_t i = 0; i < c.minutes.size(); ++i)
            EXPECT_EQ(minutes[i + 1], "2026-01-31T00:" + c.minutes[i]);
    }
}

// The truth was integrated on its own, between the points of the files.
TEST_F(CommandLine, StatesOfTheExamplesAgreeWithTheIntegratedOrbit) {
    const auto truth = linesOf(contentsOf(fs::path(VORLANDI_EXAMPLES) / "81001_truth.csv"));
    ASSERT_GT(truth.size(), 20U);
    for (const char* file : {"81001_stk.e", "81001_universal.txt", "81001_universal_csv.txt"}) {
        SCOPED_TRACE(file);
        Arguments arguments = {"states", file, "--format", "csv"};
        for (std::size_t i = 1; i < truth.size(); ++i) {
            arguments.push_back("--at");
            arguments.push_back(fieldsOf(truth[i]).at(0));
        }
        const Outcome states = runInExamples(arguments);
        EXPECT_EQ(states.status, 0) << states.messages;
        const auto lines = linesOf(states.output);
        ASSERT_EQ(lines.size(), truth.size());
        for (std::size_t i = 1; i < truth.size(); ++i)
            expectEqualState(lines[i], truth[i]);
    }
}

TEST_F(CommandLine, TheFleetOfTheExamplesLoadsWholeUnderItsTags) {
    const Outcome info = runInExamples({"info", "fleet.card", "--format", "csv"});
    EXPECT_EQ(info.status, 0) << info.messages;
    const auto lines = linesOf(info.output);
    ASSERT_EQ(lines.size(), 4U) << info.output;
    EXPECT_TRUE(
        contains(lines[1], ",361,2026-01-31T00:00:00.000000,2026-01-31T06:00:00.000000,60,no,81001_stk.e,k"));
    EXPECT_TRUE(contains(lines[2], ",no,81001_universal.txt,universal files"));
    EXPECT_TRUE(lines[3].ends_with(",no,81001_universal_csv.txt,")) << "a tag labels one satellite only";
}

TEST_F(CommandLine, TheTimesThatInfoShowsCanBeAskedFor) {
    // Offsets that the microseconds of a printed time round up and down.
    for (const double first : {0.3333333, 0.6666666, 1.2345678, 59.9999994}) {
        SCOPED_TRACE(first);
        write("81001.e", circularEphemeris(5, first, 33.3333333));
        const auto info = fieldsOf(linesOf(run({"info", "81001.e", "--format", "csv"}).output).at(1));
        const Outcome states = run({"states", "81001.e", "--at", info.at(4), "--at", info.at(5)});
        EXPECT_EQ(states.status, 0) << states.messages;
        EXPECT_EQ(linesOf(states.output).size(), 3U);
    }
}

TEST_F(CommandLine, AStateThatFailsIsReportedAndTheOthersArePrinted) {
    writeOrbit("81001.e");
    write("81003.e", circularEphemeris(10, 3600.0, 60.0));
    const Outcome two =
        run({"states", "81001.e", "81003.e", "--at", "2026-01-31T01:01:00", "--at", "2026-01-31T00:01:00"});
    EXPECT_EQ(two.status, 1);
    const auto lines = linesOf(two.output);
    ASSERT_EQ(lines.size(), 3U) << two.output;
    EXPECT_TRUE(contains(lines[1], "81001  J2K    2026-01-31T00:01:00.000000"));
    EXPECT_TRUE(contains(lines[2], "81003  J2K    2026-01-31T01:01:00.000000"));
    const std::string reason = ": GetEphem: Requested time is outside of ephemeris time span.\n";
    EXPECT_EQ(two.messages, "vorlandi: satellite 81001: error: 2026-01-31T01:01:00.000000" + reason +
                                "vorlandi: satellite 81003: error: 2026-01-31T00:01:00.000000" + reason);

    const Outcome range = run({"states", "81001.e", "--to", "2026-01-31T01:00:00", "--step", "1"});
    EXPECT_EQ(range.status, 1);
    EXPECT_EQ(linesOf(range.output).size(), 542U);
    const auto messages = linesOf(range.messages);
    ASSERT_EQ(messages.size(), 11U) << "a long range must not flood the terminal";
    EXPECT_TRUE(
        contains(messages.back(), "3050 more times without a state, the last 2026-01-31T01:00:00.000000"));

    const Outcome chosen =
        run({"states", "81001.e", "81003.e", "--sat", "81003", "--sat", "7", "--format", "csv"});
    EXPECT_EQ(chosen.status, 1);
    EXPECT_EQ(linesOf(chosen.output).size(), 11U);
    EXPECT_EQ(chosen.messages, "vorlandi: satellite 7: error: is in none of the files\n");

    EXPECT_EQ(run({"states", "81001.e", "--from", "2026-01-31T02:00:00"}).status, 1);
    EXPECT_EQ(
        run({"states", "81001.e", "--from", "2026-01-31T00:00:10", "--to", "2026-01-31T00:00:50"}).status, 1);
}

TEST_F(CommandLine, AFileThatGivesNothingIsReportedUnderItsName) {
    writeOrbit("81001.e");
    write("empty.e", "");
    write("prose.txt", "Nothing of interest\n");
    write("81004.e", std::string("stk.v.4.3\nScenarioEpoch 31 Jan 2026 00:00:00.000\nCentralBody Moon\n"));
    write("81005.e", std::string(kHead) + pointLine(0.0) + "\x1b[2J rubbish\n" + pointLine(60.0) + kEnd);
    fs::create_directory(directory() / "folder");
    struct Case {
        const char* file;
        const char* reason;
    };
    const Case cases[] = {
        {"missing.e", "No such file or directory"},
        {"folder", "Is a directory"},
        {"empty.e", "no ephemeris recognised"},
        {"prose.txt", "no ephemeris recognised"},
        {"81004.e", "*** ReadDotE: Invalid file. CentralBody is not Earth. ***"},
        {"81005.e", "*** ReadDotE : Bad ephemeris data. ***"},
        {"./81001.e", "AddRecToMem: Duplicated record"},
        {"81001.e ", "ends with a blank"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const Outcome info = run({"info", "81001.e", c.file, "--format", "csv"});
        EXPECT_EQ(info.status, 1);
        EXPECT_TRUE(contains(info.messages, std::string("vorlandi: ") + c.file + ": error: "))
            << info.messages;
        EXPECT_TRUE(contains(info.messages, c.reason)) << info.messages;
        EXPECT_FALSE(contains(info.messages, "\x1b")) << "a file must not steer the terminal";
        EXPECT_TRUE(contains(info.output, ",81001.e,")) << "what could be loaded is shown";
    }
    EXPECT_EQ(run({"info", std::string(600, 'x')}).status, 1);
}

TEST_F(CommandLine, WrongUsageIsRefusedBeforeAnythingIsLoaded) {
    writeOrbit("81001.e");
    const std::string time = "2026-01-31T00:01:00";
    const Arguments cases[] = {
        {},
        {"nonsense"},
        {"info"},
        {"info", "--nonsense", "81001.e"},
        {"save", "out.card"},
        {"states", "--at", time},
        {"states", "81001.e", "--format", "xml"},
        {"states", "81001.e", "--sat", "-1"},
        {"states", "81001.e", "--sat", "81001x"},
        {"states", "81001.e", "--at", "yesterday"},
        {"states", "81001.e", "--at", ""},
        {"states", "81001.e", "--to", "2026-02-30T00:00:00"},
        {"states", "81001.e", "--at", time, "--from", time},
        {"states", "81001.e", "--at", time, "--step", "1"},
        {"states", "81001.e", "--from", time, "--to", "2026-01-31T00:00:00"},
        {"states", "81001.e", "--step", "0"},
        {"states", "81001.e", "--step", "-60"},
        {"states", "81001.e", "--step", "nan"},
        {"states", "81001.e", "--step", "inf"},
        {"states", "81001.e", "--step", "1e-300"},
        {"states", "81001.e", "--step", "one"},
        {"states", "81001.e", "-o", "./81001.e"},
        {"save", "81001.e", "81001.e"},
    };
    const std::string before = contentsOf(directory() / "81001.e");
    for (const Arguments& arguments : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome refused = run(arguments);
        EXPECT_EQ(refused.status, 2);
        EXPECT_EQ(refused.output, "");
        EXPECT_TRUE(contains(refused.messages, "--help")) << refused.messages;
    }
    EXPECT_EQ(contentsOf(directory() / "81001.e"), before);
}

TEST_F(CommandLine, SavedCardsLoadTheSameSatellites) {
    writeOrbit("81001.e");
    write("81002.itc", covarianceEphemeris());
    write("one.card", "#VORLANDI = first\nEPHFIL = 81001.e\n");
    EXPECT_EQ(run({"save", "out.card", "one.card", "81002.itc"}).status, 0);
    const Outcome info = run({"info", "out.card"});
    EXPECT_EQ(info.status, 0) << info.messages;
    EXPECT_EQ(linesOf(info.output).size(), 3U);
    EXPECT_TRUE(contains(info.output, "81001.e    first")) << info.output;

    const Outcome streamed = run({"save", "-", "one.card", "81002.itc"});
    EXPECT_EQ(streamed.status, 0);
    EXPECT_EQ(streamed.output, contentsOf(directory() / "out.card"));

    EXPECT_EQ(run({"save", "partly.card", "81001.e", "missing.e"}).status, 1);
    EXPECT_EQ(run({"info", "partly.card"}).status, 0);
    EXPECT_EQ(run({"save", "none.card", "missing.e"}).status, 1);
    EXPECT_FALSE(fs::exists(directory() / "none.card"));
    EXPECT_EQ(run({"save", "81001.e", "one.card"}).status, 2) << "a file that a card names must be kept";
    EXPECT_EQ(run({"info", "81001.e"}).status, 0);
}

TEST_F(CommandLine, AWriteThatFailsIsNoticed) {
    writeOrbit("81001.e");
    const Arguments cases[] = {
        {"info", "81001.e"}, {"states", "81001.e"}, {"save", "-", "81001.e"}, {"--help"}};
    for (const Arguments& arguments : cases) {
        SCOPED_TRACE(arguments.front());
        const Outcome full = runTo("/dev/full", arguments);
        EXPECT_EQ(full.status, 1);
        EXPECT_EQ(full.messages, "vorlandi: error: standard output: No space left on device\n");
    }
    EXPECT_EQ(run({"save", "/dev/full", "81001.e"}).status, 1);
    EXPECT_EQ(run({"states", "81001.e", "-o", "/dev/full"}).status, 1);
    EXPECT_EQ(run({"states", "81001.e", "-o", "missing/states"}).status, 1);

    EXPECT_EQ(run({"states", "81001.e", "-o", "states"}).output, "");
    EXPECT_EQ(contentsOf(directory() / "states"), run({"states", "81001.e", "-o", "-"}).output);
}

// 540 million states: whoever collects them before writing does not live to see the pipe closed.
TEST_F(CommandLine, AHugeRangeIsStreamedAndEndsQuietlyWithItsReader) {
    writeOrbit("81001.e");
    for (const char* format : {"table", "csv", "json"}) {
        SCOPED_TRACE(format);
        const Outcome closed =
            runIntoClosingPipe({"states", "81001.e", "--step", "1e-6", "--cov", "--format", format});
        EXPECT_EQ(closed.status, 0);
        EXPECT_EQ(closed.output.size(), 100U);
        EXPECT_EQ(closed.messages, "");
    }
}

TEST_F(CommandLine, InformationComesOnlyWhenAskedForAndColourOnlyOnATerminal) {
    writeOrbit("81001.e");
    EXPECT_EQ(run({"info", "81001.e"}).messages, "");
    const Outcome verbose = run({"info", "-v", "81001.e"});
    EXPECT_TRUE(contains(verbose.messages, "vorlandi: 81001.e: Total ephemeris points = 10,"))
        << verbose.messages;

    const std::string red = "\x1b[1;31m";
    const std::string clear = "\r\x1b[K";
    EXPECT_FALSE(contains(run({"info", "missing.e"}).messages, red));
    const Outcome coloured = runOnTerminal({"info", "81001.e", "missing.e"});
    EXPECT_EQ(coloured.status, 1);
    EXPECT_TRUE(contains(coloured.messages, clear + "loading file 2 of 2: missing.e" + clear))
        << coloured.messages;
    EXPECT_TRUE(contains(coloured.messages, red + "error:"));
    setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(contains(runOnTerminal({"info", "missing.e"}).messages, red));
    unsetenv("NO_COLOR");
    EXPECT_EQ(runOnTerminal({"info", "81001.e"}).messages, "") << "a single file needs no progress";
}

TEST_F(CommandLine, HelpHasExamplesAndTheVersionIsThatOfTheLibrary) {
    const Arguments cases[] = {{"--help"}, {"info", "--help"}, {"states", "--help"}, {"save", "--help"}};
    for (const Arguments& arguments : cases) {
        SCOPED_TRACE(arguments.front());
        const Outcome help = run(arguments);
        EXPECT_EQ(help.status, 0);
        EXPECT_TRUE(contains(help.output, "Examples:\n  vorlandi ")) << help.output;
    }
    const Outcome version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_TRUE(version.output.starts_with("Vorlandi ")) << version.output;
}

}  // namespace
}  // namespace vorlandi::cli_tests
