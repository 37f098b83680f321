// What `diff` compares, and what it says about pairs that it can't compare.
#include <cmath>
#include <regex>
#include <sstream>

#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

class Diff : public CommandLine {
protected:
    // A circular orbit with a point a minute, so many metres higher than 7000 km.
    static std::string circle(int points, double height_m = 0.0, const std::string& frame = "J2000",
                              const std::string& epoch = "31 Jan 2026 00:00:00.000") {
        std::ostringstream text;
        text << "stk.v.4.3\nScenarioEpoch " << epoch << "\nDistanceUnit Kilometers\nCoordinateSystem " << frame
             << "\nEphemerisTimePosVel\n";
        text.precision(17);
        const double rate = 0.001, speed = 7.0;
        for (int i = 0; i < points; ++i) {
            const double c = std::cos(rate * 60.0 * i), s = std::sin(rate * 60.0 * i);
            const double radius = 7000.0 + height_m * 1e-3;
            text << 60 * i << ' ' << radius * c << ' ' << radius * s << " 0 " << -speed * s << ' ' << speed * c
                 << " 0\n";
        }
        text << "end Ephemeris\n";
        return text.str();
    }

    Diff() {
        write("81001.e", circle(100));
        write("81001_new.e", circle(100, 5.0));
        write("81001_ecr.e", circle(100, 0.0, "Fixed"));
        write("81001_later.e", circle(100, 0.0, "J2000", "02 Feb 2026 00:00:00.000"));
        write("81001_after.e", circle(50, 0.0, "J2000", "31 Jan 2026 01:00:30.000"));
        Lines lines = split(circle(100));
        lines.erase(lines.begin() + 45, lines.begin() + 54);
        std::string gap;
        for (const std::string& line : lines)
            gap += line + "\n";
        write("81001_gap.e", gap);
        write("81002.e", circle(100));
        write("81003.e", circle(100));
        write("both.card", "EPHFIL = 81001.e\nEPHFIL = 81002.e\n");
        write("others.card", "EPHFIL = 81001_new.e\nEPHFIL = 81003.e\n");
        write("twice.card", "EPHFIL = 81001_new.e\nEPHFIL = 81001.e\n");
        write("split.card", "EPHFIL = 81001_new.e\nEPHFIL = 81001_after.e\nEPHFIL = 81003.e\n");
    }
};

TEST_F(Diff, PairsSatellitesAndReportsWhatItCannotCompare) {
    struct Case {
        std::string arguments;
        int status;
        std::vector<std::string> pairs;  // satellite, records, compared and unanswered times, largest distance
        std::string message = "";
    };

    for (const Case& c : {
             Case{"81001.e 81001_new.e", 0, {"81001 1 1 100 0 5"}},
             Case{"81001.e 81001_new.e --tolerance 5.1", 0, {"81001 1 1 100 0 5"}},
             Case{"81001.e 81001_new.e --tolerance 4.9", 1, {"81001 1 1 100 0 5"}},
             Case{"81001.e 81001.e --tolerance 0", 0, {"81001 1 1 100 0 0"}},
             Case{"81001.e 81001_new.e --step 30", 0, {"81001 1 1 199 0 5"}},
             Case{"81001.e 81001_new.e --from 2026-01-31T00:10 --to 2026-01-31T00:20", 0, {"81001 1 1 11 0 5"}},
             Case{"81001.e 81002.e", 0, {"81001 1 1 100 0 0"}, "(81001.e) is compared with satellite 81002 (81002.e)"},
             Case{"both.card others.card", 1, {"81001 1 1 100 0 5"}, "satellite 81002 (81002.e): error: others.card"},
             Case{"both.card others.card --sat 81001", 0, {"81001 1 1 100 0 5"}},
             Case{"both.card others.card --sat 7", 3, {}, "satellite 7 is not in any"},
             Case{"both.card split.card --sat 81001", 0, {"81001 1 1 100 0 5", "81001 1 1 39 0 13600000"}},
             Case{"both.card twice.card --sat 81001", 0, {"81001 1 1 100 0 5", "81001 1 1 100 0 0"}},
             Case{"81001.e 81001_ecr.e",
                  3,
                  {},
                  "not compared: its frame is J2K, the frame of satellite 81001 (81001_ecr.e)"},
             Case{"81001.e 81001_ecr.e --ignore-frames", 0, {"81001 1 1 100 0 0"}},
             Case{"81001.e 81001_later.e", 1, {}, "81001_later.e has no such satellite at these times"},
             Case{"81001.e missing.e", 3, {}, "missing.e: error: "},
             Case{"missing.e 81001.e", 3, {}, "missing.e: error: has no satellite to compare"},
             Case{"81001.e 81001_new.e --from 2026-01-31T00:10:10 --to 2026-01-31T00:10:50",
                  3,
                  {},
                  "it has no point in the span of"},
             Case{"81001.e 81001_new.e -o missing/folder", 3, {}, "missing/folder"},
             // Of the 100 times of A, 9 are in a gap of B.
             Case{"81001.e 81001_gap.e", 0, {"81001 1 1 100 0 0"}, "(81001_gap.e): warning: 9 of 100 states are "},
             Case{"81001.e 81001.e --number 5", 2, {}, "--number: every satellite has a number already"},
             Case{"81001.e 81001.e --step 1e-6", 2, {}, "times, more than the 20000000 that are kept in memory"},
             Case{"81001.e", 2, {}, "B is required"},
             Case{"- -", 2, {}, "given only once"},
             Case{"81001.e 81001_new.e --step 0", 2, {}, "--step"},
             Case{"81001.e 81001_new.e -o 81001_new.e", 2, {}, "would be overwritten"},
         }) {
        SCOPED_TRACE(c.arguments);
        const Outcome outcome = run("diff --format csv " + c.arguments);
        EXPECT_EQ(outcome.status, c.status) << outcome.messages;
        Lines pairs;
        const Lines lines = split(outcome.output);
        for (std::size_t i = 1; i < lines.size(); ++i) {
            const Lines fields = split(lines[i], ',');
            const double largest_m = std::stod(fields.at(26));
            pairs.push_back(
                fields.at(0) + " " + fields.at(4) + " " + fields.at(5) + " " + fields.at(10) + " " + fields.at(11) +
                " " + std::to_string(std::lround(largest_m < 1e5 ? largest_m : std::round(largest_m / 1e5) * 1e5)));
        }
        EXPECT_EQ(pairs, c.pairs);
        EXPECT_THAT(outcome.messages, HasSubstr(c.message));
        EXPECT_EQ(outcome.messages.empty(), c.message.empty()) << outcome.messages;
    }
}

TEST_F(Diff, WritesStatisticsOrEveryTimeInEachForm) {
    EXPECT_THAT(run("diff 81001_gap.e 81001.e --step 30 --format json 2>/dev/null").output,
                HasSubstr(R"("gaps_a":1,"gaps_b":0,"in_gaps_a":19,"in_gaps_b":0)"));
    const std::string files = "diff 81001.e 81001_new.e ";
    const Outcome table = run(files);
    EXPECT_THAT(table.output, HasSubstr("satellite 81001 (81001_new.e) minus satellite 81001 (81001.e), frame J2K\n"));
    EXPECT_THAT(std::regex_replace(table.output, std::regex(" +"), " "), HasSubstr("\nradial (m) 5 5 5 2026-01-31T0"));
    EXPECT_THAT(run(files + "--each").output, HasSubstr("\n2026-01-31T00:01:00.000000               5.000  "));
    const Lines each = split(run(files + "--each --format csv").output);
    EXPECT_EQ(each.at(0),
              "satellite,record_a,record_b,time_utc,radial_m,in_track_m,cross_track_m,distance_m,radial_mm_s,"
              "in_track_mm_s,cross_track_mm_s,speed_mm_s,normalized");
    EXPECT_EQ(each.size(), 101U);
    EXPECT_THAT(each.at(1), testing::MatchesRegex("81001,1,1,2026-01-31T00:00:00.000000,(5|[45]\\.[09]+[0-9]*),0,0,"
                                                  "(5|[45]\\.[09]+[0-9]*),0,0,0,0,"));
    EXPECT_EQ(shell("vorlandi " + files +
                    "--each --format json | python3 -c 'import json, sys; d = json.load(sys.stdin); "
                    "p = d[\"pairs\"][0]; s = p[\"statistics\"]; print(d[\"schema\"], len(p[\"states\"]), "
                    "round(s[\"radial_m\"][\"mean\"], 6), round(s[\"distance_m\"][\"rms\"], 6), "
                    "round(p[\"states\"][3][\"radial_m\"], 6), p[\"normalized\"], p[\"time_offset\"], "
                    "d[\"without_partner\"])'")
                  .output,
              "vorlandi.diff/1 100 5.0 5.0 5.0 None None []\n");
}

TEST_F(Diff, ReportsThatMemoryIsShort) {
    // Programs built with sanitizers need more than that to start.
    const std::string limit = "ulimit -v 400000; ";
    if (shell(limit + "vorlandi --version").status != 0) GTEST_SKIP() << "the program does not start";
    const Outcome outcome = shell(limit + "vorlandi diff 81001.e 81001_new.e --step 5e-4");  // 12 million times
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.messages, "vorlandi: error: there is not enough memory\n");
}

TEST_F(Diff, NamesATimeOffsetAndItsLikelyCause) {
    const std::string gps = circle(100, 0.0, "J2000", "31 Jan 2026 00:00:18.000");
    write("81001_gps.e", gps);
    EXPECT_THAT(run("diff 81001.e 81001_gps.e").output,
                HasSubstr("\nB is 18.000000 s late: GPS time taken as UTC?\n  an offset of all times leaves "));
    EXPECT_THAT(run("diff 81001_gps.e 81001.e").output,
                HasSubstr("\nB is 18.000000 s early: GPS time taken as UTC, in A?\n"));
}

}  // namespace
}  // namespace vorlandi::cli_tests
