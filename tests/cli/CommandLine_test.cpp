// Runs the built program as a user does and looks at its output, its messages and its exit status.
#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

namespace vorlandi::cli_tests {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using Texts = std::vector<std::string>;

std::string contentsOf(const fs::path& path) {
    std::ostringstream contents;
    contents << std::ifstream(path, std::ios::binary).rdbuf();
    return contents.str();
}

Texts split(const std::string& text, char separator = '\n') {
    std::istringstream stream(text);
    Texts parts;
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

// A satellite that moves along x at 1 km/s, one point a minute.
std::string ephemeris(int points, double first_s = 0.0, double spacing_s = 60.0) {
    std::string text =
        "stk.v.4.3\nScenarioEpoch 31 Jan 2026 00:00:00.000\nDistanceUnit Kilometers\nEphemerisTimePosVel\n";
    for (double time = first_s; points > 0; --points, time += spacing_s)
        text += std::to_string(time) + " " + std::to_string(7000.0 + time) + " 0 0 1 0 0\n";
    return text + "end Ephemeris\n";
}

// Two points, the second with the covariance.
std::string covarianceEphemeris(const std::string& covariance) {
    std::string head(114, ' ');
    head.replace(1, 5, "81002").replace(51, 17, "2026031000000.000").replace(106, 8, "WICOV SP");
    const std::string state =
        "     7000.500000    -1234.250000        0.125000     1.500000000     7.250000000    -0.125000000\n";
    return head + "\n   26031000000.000" + state +
           "0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n   26031002230.000" + state + covariance;
}

struct Outcome {
    int status;
    std::string output, messages;
};

class CommandLine : public testing::Test {
protected:
    CommandLine() {
        std::string name = (fs::temp_directory_path() / "vorlandi-cli-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
        home_ = name;
        fs::create_directories(home_ / "files" / "folder");
        write("81001.e", ephemeris(10));
        write("81002.itc", covarianceEphemeris("1 2 3 4 5 6 7\n8 9 10 11 12 13 14\n15 16 17 18 19 20 21\n"));
    }
    ~CommandLine() override { fs::remove_all(home_); }

    fs::path file(const std::string& name) const { return home_ / "files" / name; }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(file(name), std::ios::binary) << text;
    }

    // Runs a line of shell among the files.
    Outcome shell(const std::string& line) const {
        const std::string path = fs::path(VORLANDI_CLI).parent_path().string(), home = home_.string();
        const std::string script = "PATH='" + path + "':$PATH; unset NO_COLOR; cd '" + home + "/files'; (" +
                                   line + ") >../output 2>../messages";
        const int status = std::system(script.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contentsOf(home_ / "output"),
                contentsOf(home_ / "messages")};
    }
    Outcome run(const std::string& arguments) const { return shell("vorlandi " + arguments); }

    fs::path home_;
};

TEST_F(CommandLine, InfoDescribesEverySatelliteInTheOrderOfLoading) {
    write("fleet.card", "#VORLANDI = a \"quoted\", tag\nEPHFIL = 81002.itc\nEPHFIL = 81001.e\n");
    const Texts lines = split(run("info fleet.card").output);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(std::regex_match(
        lines[1], std::regex(" +81002 +[0-9]+  ECI +2  2026-01-31T00:00:00.000000  2026-01-31T00:22:30.000000"
                             " +1350.000  yes +ITC +81002.itc  a \"quoted\", tag")))
        << lines[1];
    EXPECT_THAT(run("info --format csv fleet.card").output,
                HasSubstr(",1350,yes,ITC,81002.itc,\"a \"\"quoted\"\", tag\"\n81001,"));
    fs::rename(file("81002.itc"), file("\"\\\t\xFF\xE2\x82\xAC.itc"));
    EXPECT_EQ(std::regex_replace(run("info --format json *.itc").output, std::regex("\"key\":\"[0-9]+\""),
                                 "\"key\":K"),
              "{\"satellites\":[\n{\"satellite\":81002,\"key\":K,\"frame\":\"ECI\",\"points\":2,"
              "\"first_utc\":\"2026-01-31T00:00:00.000000\",\"last_utc\":\"2026-01-31T00:22:30.000000\","
              "\"mean_spacing_s\":1350,\"covariance\":true,\"format\":\"ITC\","
              "\"file\":\"\\\"\\\\\\u0009\xEF\xBF\xBD\xE2\x82\xAC.itc\",\"tag\":\"\"}\n]}\n");
}

TEST_F(CommandLine, FormatsListsThoseOfTheExamples) {
    const std::string listed = shell("vorlandi formats | tail -n +2 | cut -d' ' -f1 | sort").output;
    EXPECT_EQ(split(listed).size(), 15U);
    EXPECT_EQ(shell("cd '" VORLANDI_EXAMPLES
                    "'; for file in 81001*[!v]; do vorlandi info $file --format csv | tail -n 1; "
                    "done | cut -d, -f9 | sort -u")
                  .output,
              listed);
}

TEST_F(CommandLine, StoredPointsComeOutExactlyWithTheirCovariance) {
    const Texts lines = split(run("states 81002.itc --cov --format csv").output);
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_THAT(
        lines[1],
        HasSubstr(",ECI,2026-01-31T00:00:00.000000,27790,7000.5,-1234.25,0.125,1.5,7.25,-0.125,0,,,"));
    EXPECT_THAT(lines[2], HasSubstr(",27790.015625,7000.5,-1234.25,0.125,1.5,7.25,-0.125,0,1,2,3,4,5,6,7,8,9,"
                                    "10,11,12,13,14,15,16,17,18,19,20,21"));
    EXPECT_THAT(run("states 81002.itc --cov --format json").output,
                HasSubstr("\"ds50_utc\":27790.015625,\"position_km\":[7000.5,-1234.25,0.125],\"velocity_km_"
                          "s\":[1.5,7.25,-0.125],\"revolution\":0,"
                          "\"covariance\":[[1,2,4,7,11,16],[2,3,5,8,12,17],[4,5,6,9,13,18],[7,8,9,10,14,19],["
                          "11,12,13,14,15,20],[16,17,18,19,20,21]]}]}\n]}\n"));
    EXPECT_THAT(run("states 81002.itc --cov").output,
                HasSubstr("\n           vz   1.600000e+01   1.700000e+01"));
    // Some formats keep other numbers there: a covariance of x and y without a variance of y.
    write("81002.itc", covarianceEphemeris("5.5 12345 0 0 0 0 0\n0 0 0 0 0 0 0\n0 0 0 0 0 0 0\n"));
    EXPECT_THAT(run("info 81002.itc --format csv").output, HasSubstr(",no,ITC,"));
    EXPECT_THAT(run("states 81002.itc --cov").output, Not(HasSubstr("12345")));
}

TEST_F(CommandLine, StepsStartAtTheBeginAndReachTheEnd) {
    EXPECT_EQ(split(run("states 81001.e --step 0.1").output).size(), 5402U);
    const std::string day = "2026-01-31T00:";
    // clang-format off
    for (const auto& [range, seconds] : std::initializer_list<std::pair<std::string, std::vector<int>>>{
        {"--from " + day + "07:00 --step 70", {420, 490}}, {"--to " + day + "02:20 --step 70", {0, 70, 140}},
        {"--from 26031000130.000 --to '2026/01/31 00:04:00'", {120, 180, 240}},
        {"--step 180.0000002", {0, 180, 360, 540}}, {"--at " + day + "00:07 --at " + day + "08:00", {7, 480}},
        {"--from " + day + "09:00 --to " + day + "09:00 --step 1", {540}}}) {
        // clang-format on
        SCOPED_TRACE(range);
        const Texts lines = split(run("states 81001.e --format csv " + range).output);
        ASSERT_EQ(lines.size(), seconds.size() + 1);
        for (std::size_t i = 0; i < seconds.size(); ++i)
            EXPECT_NEAR(std::stod(split(lines[i + 1], ',').at(5)), 7000 + seconds[i], 1e-6);
    }
    // Offsets that the microseconds of a printed time round up and down.
    for (const double first : {0.3333333, 0.6666666, 59.9999994}) {
        write("81001.e", ephemeris(5, first, 33.3333333));
        const Texts info = split(split(run("info 81001.e --format csv").output).at(1), ',');
        EXPECT_EQ(split(run("states 81001.e --at " + info.at(4) + " --at " + info.at(5)).output).size(), 3U)
            << first;
    }
}

TEST_F(CommandLine, AStateThatFailsIsReportedAndTheOthersArePrinted) {
    write("81003.e", ephemeris(10, 3600.0));
    const Outcome two = run("states 81001.e 81003.e --at 2026-01-31T01:01:00 --at 2026-01-31T00:01:00");
    EXPECT_EQ(two.status, 1);
    EXPECT_EQ(split(two.output).size(), 3U);
    const std::string reason = ": GetEphem: Requested time is outside of ephemeris time span.\n";
    EXPECT_EQ(two.messages, "vorlandi: satellite 81001: error: 2026-01-31T01:01:00.000000" + reason +
                                "vorlandi: satellite 81003: error: 2026-01-31T00:01:00.000000" + reason);
    const Outcome range = run("states 81001.e --to 2026-01-31T01:00:00 --step 1");
    EXPECT_EQ(range.status, 1);
    EXPECT_EQ(split(range.messages).size(), 11U) << "a long range must not flood the terminal";
    EXPECT_THAT(range.messages,
                HasSubstr("3050 more times without a state, the last 2026-01-31T01:00:00.000000"));
    const Outcome chosen = run("states 81001.e 81003.e --sat 81003 --sat 7");
    EXPECT_EQ(chosen.status, 1);
    EXPECT_EQ(split(chosen.output).size(), 11U);
    EXPECT_EQ(chosen.messages, "vorlandi: satellite 7: error: is in none of the files\n");
    EXPECT_EQ(run("states 81001.e --from 2026-01-31T00:00:10 --to 2026-01-31T00:00:50").status, 1);
}

TEST_F(CommandLine, AFileThatGivesNothingIsReportedUnderItsNameAndABadLineUnderItsNumber) {
    write("prose.txt", "Nothing of interest\n");
    write("81004.e", "stk.v.4.3\nScenarioEpoch 31 Jan 2026 00:00:00.000\nCentralBody Moon\n");
    write("bad.card", "EPHFIL = 81004.e\n");
    write("word.txt", "81001x\n1 2 0 20485 1 2 3 4 5 6 0 0 0 0\n");
    write("words.card", "EPHFIL = word.txt\nEPHFIL = 81002.itc\n");
    const std::string good = ephemeris(2);
    write("81005.e", std::string(good).insert(good.find("60."), "\x1b[2J\n"));
    // clang-format off
    for (const auto& [name, message] : std::initializer_list<std::pair<std::string, std::string>>{
        {"missing.e", "missing.e: error: No such file or directory"},
        {"folder", "folder: error: Is a directory"},
        {"prose.txt", "prose.txt: error: no ephemeris recognised"}, {"'81001.e '", "81001.e : error: "},
        {"./81001.e", "./81001.e: error: AddRecToMem: Duplicated record"},
        {"81005.e", "81005.e:6: error: ?[2J\n"},
        {"81004.e", "81004.e:3: error: *** ReadDotE: Invalid file. CentralBody is not Earth. ***"},
        {"bad.card", ": 81004.e:3: error: *** ReadDotE: Invalid file. CentralBody is not Earth. ***"},
        {"words.card", ": word.txt: error: read, but not stored: "}}) {
        // clang-format on
        const Outcome info = run("info 81001.e --format csv " + name);
        EXPECT_EQ(info.status, 1) << name;
        EXPECT_THAT(info.messages, HasSubstr(message));
        EXPECT_THAT(info.output, HasSubstr(",81001.e,")) << "what could be loaded is shown";
    }
}

TEST_F(CommandLine, WrongUsageIsRefusedBeforeAnythingIsLoaded) {
    const std::string before = contentsOf(file("81001.e"));
    // clang-format off
    for (std::string arguments : {
        "", "nonsense", "info", "info --nonsense 81001.e", "save out.card", "states --at TIME",
        "save 81001.e 81001.e",
        "STATES --format xml", "STATES --sat -1", "STATES --sat 81001x", "STATES --at yesterday",
        "STATES --at ''",
        "STATES --to 2026-02-30T00:00:00", "STATES --at TIME --from TIME", "STATES --at TIME --step 1",
        "STATES --from TIME --to 2026-01-31T00:00:00", "STATES --step 0", "STATES --step -60",
        "STATES --step nan",
        "STATES --step inf", "STATES --step 1e-300", "STATES --step one", "STATES -o ./81001.e"}) {
        // clang-format on
        arguments = std::regex_replace(arguments, std::regex("STATES"), "states 81001.e");
        const Outcome refused = run(std::regex_replace(arguments, std::regex("TIME"), "2026-01-31T00:01:00"));
        EXPECT_EQ(refused.status, 2) << arguments;
        EXPECT_EQ(refused.output, "");
        EXPECT_THAT(refused.messages, HasSubstr("--help"));
    }
    EXPECT_EQ(contentsOf(file("81001.e")), before);
}

TEST_F(CommandLine, SavedCardsLoadTheSameSatellites) {
    write("one.card", "#VORLANDI = first\nEPHFIL = 81001.e\n");
    EXPECT_EQ(run("save out.card one.card 81002.itc").status, 0);
    EXPECT_EQ(run("info out.card").output, run("info one.card 81002.itc").output);
    EXPECT_EQ(run("save - one.card 81002.itc").output, contentsOf(file("out.card")));
    EXPECT_EQ(run("save partly.card 81001.e missing.e").status, 1);
    EXPECT_EQ(run("info partly.card").status, 0);
    EXPECT_EQ(run("save none.card missing.e").status, 1);
    EXPECT_FALSE(fs::exists(file("none.card")));
    EXPECT_EQ(run("save 81001.e one.card").status, 2) << "a file that a card names must be kept";
    EXPECT_EQ(run("info 81001.e").status, 0);
}

TEST_F(CommandLine, AWriteThatFailsIsNoticed) {
    for (const char* const arguments : {"info 81001.e", "states 81001.e", "save - 81001.e", "--help"})
        EXPECT_EQ(run(std::string(arguments) + " >/dev/full; [ $? = 1 ]").messages,
                  "vorlandi: error: standard output: No space left on device\n");
    for (const char* const arguments :
         {"save /dev/full 81001.e", "states 81001.e -o /dev/full", "states 81001.e -o missing/states"})
        EXPECT_EQ(run(arguments).status, 1) << arguments;
    EXPECT_EQ(run("states 81001.e -o states; cat states").output, run("states 81001.e -o -").output);
    // 540 million states: whoever collects them before writing does not live to see the pipe closed.
    for (const std::string format : {"table", "csv", "json"}) {
        const Outcome closed = shell("(vorlandi states 81001.e --step 1e-6 --cov --format " + format +
                                     "; echo $? >&2) | head -c 100");
        EXPECT_EQ(closed.output.size(), 100U);
        EXPECT_EQ(closed.messages, "0\n");
    }
}

TEST_F(CommandLine, InformationComesOnlyWhenAskedForAndColourOnlyOnATerminal) {
    EXPECT_EQ(run("info 81001.e").messages, "");
    EXPECT_THAT(run("info -v 81001.e").messages,
                HasSubstr("vorlandi: 81001.e: Total ephemeris points = 10,"));
    const std::string red = "\x1b[1;31merror:", clear = "\r\x1b[K";
    EXPECT_THAT(run("info missing.e").messages, Not(HasSubstr("\x1b")));
    const auto onTerminal = [&](const std::string& files, const std::string& variable = "") {
        return shell("TERM=xterm " + variable + " script -qec 'vorlandi info " + files +
                     " >/dev/null' /dev/null")
            .output;
    };
    EXPECT_THAT(onTerminal("81001.e missing.e"), HasSubstr(clear + "loading file 2 of 2: missing.e" + clear));
    EXPECT_THAT(onTerminal("81001.e missing.e"), HasSubstr(red));
    EXPECT_THAT(onTerminal("missing.e", "NO_COLOR=1"), Not(HasSubstr(red)));
    EXPECT_EQ(onTerminal("81001.e"), "") << "a single file needs no progress";
    for (const char* const command : {"", "info", "states", "save", "formats"})
        EXPECT_THAT(run(std::string(command) + " --help").output, HasSubstr("Examples:\n  vorlandi "));
    EXPECT_EQ(run("help").output, run("--help").output);
    EXPECT_TRUE(run("--version").output.starts_with("Vorlandi "));
}

}  // namespace
}  // namespace vorlandi::cli_tests
