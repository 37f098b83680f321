// What is reported about files that can't be loaded, or only in part.
#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

constexpr const char* kMoon = "stk.v.4.3\nScenarioEpoch 31 Jan 2026 00:00:00.000\nCentralBody Moon\n";

std::string withLines(std::string ephemeris, const std::string& before, const std::string& lines) {
    return ephemeris.insert(ephemeris.find(before), lines);
}

std::string repeated(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

std::string replaced(std::string text, const std::string& before, const std::string& after) {
    return text.replace(text.find(before), before.size(), after);
}

class Loading : public CommandLine {};

TEST_F(Loading, NumbersASatelliteThatHasNone) {
    write("plain.e", ephemeris(10));
    write("99999.e", ephemeris(10));
    write("two.e", ephemeris(10) + ephemeris(10, 86400.0));
    for (const auto& [command, output] : std::initializer_list<std::pair<std::string, std::string>>{
             {"info --format csv --number 7 plain.e 81001.e | cut -d, -f1", "satellite\n7\n81001\n"},
             {"states --format csv --number 7 --sat 7 plain.e | tail -1 | cut -d, -f1", "7\n"},
             {"check --format csv --number 7 --sat 7 plain.e | tail -1 | cut -d, -f5", "7\n"},
             {"convert --number 7 plain.e --into oem -o - | grep OBJECT_ID", "OBJECT_ID = 7\n"}})
        EXPECT_EQ(run(command).output, output) << command;
    for (const auto& [files, message] : std::initializer_list<std::pair<std::string, std::string>>{
             {"81001.e", "--number: every satellite has a number already"},
             {"99999.e", "--number: every satellite has a number already"},
             {"two.e", "--number: two.e holds several satellites without a number"}}) {
        const Outcome outcome = run("info --number 7 " + files);
        EXPECT_EQ(outcome.status, 2) << files;
        EXPECT_THAT(outcome.messages, HasSubstr(message));
    }
    EXPECT_EQ(run("save --number 7 - plain.e").status, 2);
}

TEST_F(Loading, NamesFileAndLineOfEveryFault) {
    write("prose.txt", "Nothing of interest\n");
    write("orbits.sp3", "#dP2026 1 31\n");
    write("prose.card", "EPHFIL = prose.txt\n");
    std::string vectors = contentsOf(VORLANDI_EXAMPLES "/81001_simobs.txt");
    write("heights.txt", vectors.replace(vectors.find('\n') + 76, 3, "LLH"));
    write("date.txt", replaced(contentsOf(VORLANDI_EXAMPLES "/81001_oasys.txt"), "2026/01/31", "2026/13/31"));
    write("moon.e", kMoon);
    write("moon.card", "EPHFIL = moon.e\n");
    write("word.txt", "81001x\n1 2 0 20485 1 2 3 4 5 6 0 0 0 0\n");
    write("words.card", "EPHFIL = word.txt\nEPHFIL = 81002.itc\n");
    write("letter.txt", "A memo\n2024\nDear all,\n");
    write("number.txt", "A memo\n2024\n\nDear all,\n");
    write("81005.e", withLines(ephemeris(2), "60 ", "\x1b[2J\n"));
    write("81006.e", "stk.v.4.3\nScenarioEpoch 31 Jan 2026 00:00:00.000\nEphemerisTimePos\nx\n");
    write("comma.txt", contentsOf(VORLANDI_EXAMPLES "/81001_universal_csv.txt") + "no comma\n");
    write("81001.DCE", contentsOf(VORLANDI_EXAMPLES "/81001.dce").substr(0, 300));
    write("fleet.card", "\nEPHFIL = nothere.e\nEPHFIL = folder\nEPHFIL = /dev/null\nEPHFIL = 81002.itc\n");
    write("folder/near.e", ephemeris(2));
    write("folder/near.card", "EPHFIL = near.e\n");
    write("folder/far.card", "EPHFIL = near\n");
    // clang-format off
    for (const auto& [name, messages] : std::initializer_list<std::pair<std::string, Lines>>{
        {"missing.e", {"missing.e: error: No such file or directory"}},
        {"'\x1b]0;\x9B.e'", {"?]0;?.e: error: No such file or directory"}},
        {"folder", {"folder: error: Is a directory"}}, {"/dev/null", {"/dev/null: error: not a regular file"}},
        {"--fixed-rules prose.txt", {"prose.txt: error: no ephemeris recognised in this file, "
         "nor in any that its cards name"}},
        {"orbits.sp3", {"orbits.sp3: error: no ephemeris format recognised; it seems to hold SP3"}},
        {"prose.card", {"prose.txt: error: no ephemeris format recognised"}},
        {"heights.txt",
         {"heights.txt:2: error: SIMOBS data refused: LLH and SEN are not cartesian coordinates; ECI, J2K, EFG and ECR "
          "are"}},
        {"date.txt", {"date.txt:4: error: unreadable as OASYS data (there is no such date or time): "
         + split(contentsOf(file("date.txt"))).at(3)}},
        {"prose.txt", {"prose.txt: error: no ephemeris format recognised"}},
        {"''", {"error: a file name that is empty or ends with a blank can't be loaded"}},
        {"'81001.e '", {"81001.e : error: a file name that is empty or ends with a blank can't be loaded"}},
        {std::string(513, 'x'), {std::string(513, 'x') + ": error: the file name is too long"}},
        {"' " + std::string(510, 'x') + "'", {" " + std::string(510, 'x') + ": error: the file name is too long"}},
        {"./81001.e",
         {"./81001.e:1: error: not stored: 81001.e already has satellite 81001 with the same frame and first time"}},
        {"81005.e", {"81005.e:6: error: unreadable as STK data (a line of EphemerisTimePosVel has 7 numbers): ?[2J"}},
        {"81006.e", {"81006.e:4: error: unreadable as STK data (a line of EphemerisTimePos has 4 numbers): x",
                     "81006.e:1: error: recognised as STK data, but without points"}},
        {"comma.txt", {"comma.txt:363: error: unreadable as UNIVERSAL data: no comma"}},
        {"--fixed-rules moon.e", {"moon.e:3: error: STK data refused: Invalid file. CentralBody is not Earth."}},
        {"--fixed-rules moon.card", {"moon.e:3: error: STK data refused: Invalid file. CentralBody is not Earth."}},
        {"words.card", {"word.txt:1: error: not stored: the satellite number could not be read, "
         "or the first time is not in the years 1950 to 2199"}},
        {"letter.txt", {"letter.txt:3: error: unreadable as DCE_TEXT data, "
         "the format recognised at line 2: Dear all,"}},
        {"number.txt", {"number.txt:2: error: recognised as DCE_TEXT data, but without points"}},
        {"81001.DCE", {"81001.DCE, record 5: error: not a readable record of DCE_BINARY data"}},
        {"fleet.card", {"fleet.card:2: error: nothere.e: No such file or directory",
                        "fleet.card:3: error: folder: Is a directory",
                        "fleet.card:4: error: /dev/null: not a regular file"}},
        {"folder/far.card", {"folder/far.card:1: error: near: No such file or directory"}},
        {"--fixed-rules folder/near.card",
         {"folder/near.card:1: error: near.e: No such file or directory (there is folder/near.e, "
         "but by the fixed rules names on "
                              "cards are relative to the current directory)"}}}) {
        // clang-format on
        const Outcome info = run("info 81001.e --format csv " + name);
        EXPECT_EQ(info.status, 1) << name;
        std::string expected;
        for (const std::string& message : messages)
            expected += "vorlandi: " + message + "\n";
        EXPECT_EQ(info.messages, expected);
        EXPECT_THAT(info.output, HasSubstr(",81001.e,")) << "what could be loaded is shown";
    }
}

TEST_F(Loading, AcceptsLeadingBlanksAndTheLongestName) {
    fs::copy_file(file("81001.e"), file("  81001.e"));
    const std::string longest = repeated(252, "./") + "/81001.e";
    ASSERT_EQ(longest.size(), 512U);
    EXPECT_EQ(run("info '  81001.e'").status, 0);
    EXPECT_EQ(run("info " + longest).status, 0);
}

TEST_F(Loading, TellsWhyASatelliteIsADuplicate) {
    write("old.e", ephemeris(2));
    write("new.e", ephemeris(3));
    write("99999.e", ephemeris(4));
    const std::string launch = "Time(sec): Time\n" + std::string(16, '\n') + "0 0 0 0 1 2 3 4 5 6 0 0 0 0 0 a\n";
    write("one.txt", launch);
    write("two.txt", launch);
    const std::string refused =
        ":1: error: not stored: old.e already has satellite 99999 with the same frame and first time";
    EXPECT_EQ(
        run("info old.e new.e").messages,
        "vorlandi: new.e" + refused + "; both are 99999 because neither file name begins with a satellite number\n");
    EXPECT_EQ(run("info old.e 99999.e").messages, "vorlandi: 99999.e" + refused + "\n");
    const std::string oem =
        "CCSDS_OEM_VERS = 2.0\nMETA_START\nCENTER_NAME = EARTH\nREF_FRAME = TEME\nTIME_SYSTEM = UTC\n"
        "META_STOP\n2026-01-31T00:00:00 7000 1 2 3 4 5\n";
    write("old.oem", oem);
    write("new.oem", oem);
    EXPECT_THAT(run("info old.oem new.oem").messages,
                testing::EndsWith("; both are 99999 because neither file name begins with a satellite number\n"));
    EXPECT_THAT(run("info one.txt two.txt").messages,
                testing::EndsWith("; LAUNCH data have no satellite number, so that all count as 99999\n"));
    const std::string eci = withLines(ephemeris(2), "Distance", "CoordinateSystem TEMEOfDate\n");
    write("81001_eci.e", eci);
    write("81001_again.e", eci);
    EXPECT_EQ(run("info 81001.e 81001_eci.e 81001_again.e").messages,
              "vorlandi: 81001_again.e:1: error: not stored: 81001.e or 81001_eci.e already has satellite "
              "81001 with the "
              "same frame and first time\n");
    write("81001.e", ephemeris(2) + ephemeris(3));
    EXPECT_THAT(run("info 81001.e").messages,
                HasSubstr("vorlandi: 81001.e:8: error: not stored: 81001.e already has satellite 81001"));
}

TEST_F(Loading, WarnsOfDroppedPointsOncePerSatellite) {
    write("81003.e", withLines(ephemeris(4), "120 ", "60 0 0 0 0 0 0\n59 0 0 0 0 0 0\n"));
    write("81004.e", withLines(ephemeris(4), "120 ", "60 0 0 0 0 0 0\n"));
    const Outcome brief = run("info 81003.e 81004.e");
    EXPECT_EQ(brief.status, 0) << "a warning is not a failure";
    EXPECT_EQ(brief.messages,
              "vorlandi: 81003.e:7: warning: 2 points dropped, this one first: not later than the points "
              "before them\n"
              "vorlandi: 81004.e:7: warning: point dropped: not later than the point before it\n");
    const Outcome verbose = run("info -v 81003.e 2>&1 >/dev/null | grep dropped");
    EXPECT_EQ(verbose.output,
              "vorlandi: 81003.e:7: warning: point dropped: not later than the point before it\n"
              "vorlandi: 81003.e:8: warning: point dropped: not later than the point before it\n");
}

TEST_F(Loading, CountsFaultsOfAKindBeyondTen) {
    write("81003.e", withLines(ephemeris(4), "60 ", repeated(13, "x\n")));
    write("81004.e", withLines(ephemeris(4), "60 ", repeated(10, "x\n")));
    write("fleet.card", repeated(11, "EPHFIL = nothere.e\n") + "EPHFIL = 81003.e\n");
    const Outcome brief = run("info 81003.e");
    EXPECT_EQ(brief.status, 1);
    EXPECT_EQ(split(brief.messages).size(), 11U);
    EXPECT_THAT(brief.messages,
                testing::EndsWith("vorlandi: 81003.e: error: 3 more unreadable lines, the last at 81003.e:18\n"));
    EXPECT_EQ(split(run("info 81004.e").messages).size(), 10U);
    EXPECT_EQ(split(run("info -v 81003.e 2>&1 >/dev/null | grep error:").output).size(), 13U);
    const Lines kinds = split(run("info fleet.card").messages);
    ASSERT_EQ(kinds.size(), 22U);
    EXPECT_EQ(kinds[20], "vorlandi: fleet.card: error: 3 more unreadable lines, the last at 81003.e:18");
    EXPECT_EQ(kinds[21], "vorlandi: fleet.card: error: 1 more unreadable file, the last at fleet.card:11");
}

}  // namespace
}  // namespace vorlandi::cli_tests
