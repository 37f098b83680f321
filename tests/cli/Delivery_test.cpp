// What `delivery` reports, its messages and exit statuses.
#include <cmath>
#include <sstream>

#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

class Delivery : public CommandLine {
protected:
    // A circular orbit in the equator, 14 hours with a point a minute, the radius so many metres above 7000 km. The
    // minutes count from 2026-01-31; some points may be left out.
    static std::string circle(int first_min, double height_m = 0.0, const std::string& frame = "J2000", int count = 840,
                              int gap_min = -100, double velocity = 1.0) {
        std::ostringstream text;
        text << "stk.v.11.0\nBEGIN Ephemeris\nScenarioEpoch 31 Jan 2026 00:00:00.000\nDistanceUnit Kilometers\n"
             << "CoordinateSystem " << frame << "\nEphemerisTimePosVel\n";
        text.precision(15);
        const double rate = std::sqrt(398600.4418 / std::pow(7000.0, 3.0));
        for (int minute = first_min; minute < first_min + count; ++minute) {
            if (minute > gap_min && minute < gap_min + 30) continue;
            const double c = std::cos(rate * 60.0 * minute), s = std::sin(rate * 60.0 * minute);
            const double radius = 7000.0 + height_m * 1e-3;
            const double speed = radius * rate * velocity;
            text << 60 * minute << ' ' << radius * c << ' ' << radius * s << " 0 " << -speed * s << ' ' << speed * c
                 << " 0\n";
        }
        text << "END Ephemeris\n";
        return text.str();
    }

    Delivery() {
        shell("mkdir old new empty clean bad rubbish late hidden carded linked");
        shell("ln -s nowhere linked/81001_a.e; ln -s 81002_a.e linked/81002_a.e");
        write("old/81001_a.e", circle(0));
        write("old/81002_a.e", circle(0, 0.0, "J2000", 840, 500));
        write("old/81003_a.e", circle(0));
        write("old/81004_a.e", circle(0));
        write("old/81005_a.e", circle(0));
        write("old/81006_a.e", circle(0));
        write("new/81001_b.e", circle(60, 5.0));
        write("new/81002_b.e", circle(60, 0.0, "J2000", 840, 700));
        write("new/81003_b.e", circle(60, 0.0, "Fixed"));
        write("new/81004_b.e", circle(0));
        write("new/81006_b.e", circle(60, 0.0, "J2000", 700));
        write("new/81007_b.e", circle(60));
        write("clean/81001_b.e", circle(60, 5.0));
        write("bad/81001_b.e", circle(60, 5.0));
        write("bad/81009_b.e", "");
        write("rubbish/readme.txt", "nothing\n");
        write("late/81001_c.e", circle(6000));
        write("hidden/.81001_b.e", circle(60));
        write("hidden/81001_b.e", circle(60, 5.0));
        write("linked/81003_b.e", circle(60));
        write("carded/81001_b.e", circle(60, 5.0));
        write("carded/fleet.card", "EPHFIL = 81001_b.e\n");
    }

    // Severities, kinds and satellites of the changes in a report of JSON.
    static std::string changesIn(const std::string& json) {
        std::string changes;
        for (const std::string& line : split(json.substr(json.find("\"changes\":")))) {
            if (line.find("\"severity\"") == std::string::npos || line.find("\"file\"") == std::string::npos) continue;
            const Lines parts = split(line, '"');
            changes += parts.at(3) + ' ' + parts.at(7) + parts.at(10).substr(0, 6) + ", ";
        }
        return changes;
    }
};

TEST_F(Delivery, ChangesStatusesAndMessages) {
    struct Case {
        std::string arguments;
        int status;
        std::string changes;
        std::string message;
    };
    const std::string skip = " --skip steps,time-scale,harmless-line,coarse-digits,not-read";
    for (const Case& c : {
             Case{"clean", 0, "", ""},
             Case{"clean --previous old --sat 81001", 0, "", ""},
             Case{"new --previous old", 1,
                  "warning missing:81005, note added:81007, warning frame-changed:81003, "
                  "warning ends-earlier:81006, warning not-updated:81004, ",
                  "warning: 1 satellite is in another frame than before and not compared"},
             Case{"late --previous old --sat 81001", 1, "warning no-overlap:81001, ", ""},
             Case{"new --sat 81002", 1, "", ""},
             Case{"new --previous clean --sat 81007", 0, "note added:81007, ", ""},
             Case{"carded", 0, "", ""},
             Case{"hidden", 0, "", ""},
             Case{"empty", 3, "", "empty: error: there are no files in it"},
             Case{"missing", 3, "", "missing: error: there is no satellite in it that could be read"},
             Case{"rubbish", 3, "", "rubbish: error: there is no satellite in it that could be read"},
             Case{"bad", 3, "", "81009_b.e: error: "},
             Case{"linked", 3, "", "linked/81001_a.e: error: No such file or directory"},
             Case{"linked", 3, "", "linked/81002_a.e: error: Too many levels of symbolic links"},
             Case{"clean --previous missing", 3, "", "missing: error: there is no satellite in it"},
             Case{"clean --previous empty", 3, "", "empty: error: there are no files in it"},
             Case{"clean --sat 7", 3, "", "satellite 7 is not in any of the files"},
             Case{"clean -o missing/report.json", 3, "", "missing/report.json"},
             Case{"- --previous -", 2, "", "given only once"},
             Case{"clean --previous", 2, "", "--previous"},
             Case{"clean --format csv", 2, "", "--format"},
             Case{"clean --only gap,jump --skip jump,gap", 2, "", "--skip: "},
             Case{"clean --only gap,jump --skip jump", 0, "", ""},
             Case{"clean --number 5", 2, "", "--number: every satellite has a number already"},
         }) {
        SCOPED_TRACE(c.arguments);
        const std::string format = c.status == 2 ? "" : " --format json" + skip;
        const Outcome outcome = run("delivery " + c.arguments + format);
        EXPECT_EQ(outcome.status, c.status) << outcome.messages;
        EXPECT_THAT(outcome.messages, HasSubstr(c.message));
        EXPECT_EQ(outcome.messages.empty(), c.message.empty()) << outcome.messages;
        if (c.status == 2 || outcome.output.empty()) continue;
        EXPECT_EQ(changesIn(outcome.output), c.changes);
        EXPECT_EQ(run("delivery -j 3 " + c.arguments + format).output, outcome.output);
    }
}

TEST_F(Delivery, SaysWhichFindingsAreNewAndHowFarPredictionsWereOff) {
    const std::string options = " --skip steps,time-scale,harmless-line,coarse-digits";
    const Outcome json = run("delivery new --previous old --format json" + options);
    // The gap of 81002 is a new one, and the earlier one is in the new span: it is gone.
    EXPECT_THAT(json.output, HasSubstr(R"("kind":"gap","findings":1,"subjects":1,"new":1,"unchanged":0,"gone":1})"));
    EXPECT_THAT(json.output, HasSubstr(R"("schema":"vorlandi.delivery/1","delivery":"new","previous":"old")"));
    // 780 minutes of 81001 in common. The common states of 81002, outside of its gaps, and of 81006 are the same.
    EXPECT_THAT(json.output, HasSubstr(R"("ages":[
{"age_days":0,"satellites":1,"times":780,)"));
    EXPECT_THAT(json.output, HasSubstr(R"("normalized_satellites":0,"set_aside":0,"factor":null,"covariances":null})"));

    // Of a satellite that is missing, and of a file.
    for (const char* const arguments : {"clean --previous old --only gap", "clean --previous bad --only not-read"})
        EXPECT_THAT(run(std::string("delivery --format json ") + arguments).output,
                    HasSubstr(R"("findings":0,"subjects":0,"new":0,"unchanged":0,"gone":1})"));

    const Outcome table = run("delivery new --previous old --limit 0" + options);
    EXPECT_EQ(table.status, 1);
    EXPECT_THAT(table.output, HasSubstr("delivery new: 6 satellites in 6 files, 4871 points, "
                                        "2026-01-31T00:00:00.000000 to 2026-01-31T14:59:00.000000\n"));
    EXPECT_THAT(table.output, HasSubstr("1 more missing\n1 more added\n1 more frame-changed\n"));
    EXPECT_THAT(table.output, HasSubstr("1 satellite was not updated"));
    EXPECT_THAT(table.output, HasSubstr("At 29 points of the previous delivery, this one has a gap"));
    EXPECT_THAT(table.output, HasSubstr("2 satellites have the same states as before"));
    const Outcome unchanged = run("delivery old --previous old" + options);
    EXPECT_THAT(unchanged.output, HasSubstr("\n6 satellites were not updated"));
    EXPECT_THAT(unchanged.output, Not(HasSubstr("No satellite could be compared")));
    const Outcome one = run("delivery clean --previous old --sat 81001" + options);
    EXPECT_THAT(one.output, HasSubstr("\nno findings\n"));
    EXPECT_THAT(one.output, HasSubstr("\n         0           1           5  "));
    EXPECT_THAT(one.output, HasSubstr("  5            5  81001\n"));
    EXPECT_THAT(one.output, HasSubstr("\nAt ages with fewer than 10 satellites all count, however far off.\n"));
}

TEST_F(Delivery, FindsWhoIsFarOffWithoutCovariances) {
    shell("mkdir before after");
    for (int number = 82001; number <= 82010; ++number) {
        write("before/" + std::to_string(number) + "_a.e", circle(0, 0.0, "J2000", 120));
        write("after/" + std::to_string(number) + "_b.e", circle(0, number == 82010 ? 585e3 : 5.0, "J2000", 120));
    }
    const Outcome table = run("delivery after --previous before");
    EXPECT_EQ(table.status, 1);
    EXPECT_THAT(table.output, HasSubstr("warning far-off: differs from the previous delivery by 585 km (the median of "
                                        "the satellites is 5 m), rms, at an age of 0 days, and by up to 585 km: "));
    EXPECT_THAT(table.output, HasSubstr("\n         0          10           5  "));
    EXPECT_THAT(table.output, Not(HasSubstr("all count")));
}

TEST_F(Delivery, SatellitesWithWrongVelocitiesAreLeftOutOfTheTable) {
    shell("mkdir wrong");
    write("wrong/81001_b.e", circle(60, 5.0));
    write("wrong/81002_b.e", circle(60, 0.0, "J2000", 840, -100, 1000.0));
    // What is not listed counts as well, in either delivery.
    for (const char* const arguments :
         {"wrong --previous old", "wrong --previous old --skip velocity-unit", "old --previous wrong"}) {
        const Outcome table = run(std::string("delivery ") + arguments);
        EXPECT_THAT(table.output, HasSubstr("\n         0           1           5  "));
        EXPECT_THAT(table.output, HasSubstr("\n1 satellite is left out: "));
    }
    EXPECT_THAT(run("delivery wrong --previous old --format json").output,
                HasSubstr(R"("in_gaps":0,"same":false,"left_out":true,"ages":[)"));
    EXPECT_EQ(run("delivery wrong --previous old --sat 81002 -o wrong.html").status, 1);
    EXPECT_THAT(run("delivery wrong --previous wrong").output, Not(HasSubstr("left out")));
}

TEST_F(Delivery, FilesThatCardsNameCountOnce) {
    shell("cp carded/81001_b.e carded/81002_b.e; echo nothing > carded/81003_b.e");
    write("carded/fleet.card", "EPHFIL = 81001_b.e\nEPHFIL = 81003_b.e\n");
    const Outcome unreadable = run("delivery carded --only not-read");
    EXPECT_EQ(unreadable.status, 3);
    EXPECT_THAT(unreadable.output, HasSubstr("delivery carded: 2 satellites in 2 files"));
    EXPECT_THAT(unreadable.output, HasSubstr("error     not-read         1   1\n"));
    // A second card, its suffix in capitals.
    write("carded/more.CARD", "EPHFIL = 81003_b.e\nEPHFIL = 81002_b.e\nEPHFIL = 81001_b.e\n");
    EXPECT_EQ(run("delivery carded --only not-read").output, unreadable.output);
    EXPECT_THAT(run("delivery carded --only duplicate").output, HasSubstr("\nno findings\n"));
}

TEST_F(Delivery, PagesAreCompleteAndReplaceOthersOnlyWhenForced) {
    EXPECT_EQ(run("delivery new --previous old -o page.html").status, 1);
    const std::string page = contentsOf(file("page.html"));
    for (const char* const part :
         {"<title>Delivery new</title>", "<svg ", "frame-changed", "<h2>Satellites</h2>", "</html>"})
        EXPECT_THAT(page, HasSubstr(part));
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("{parts}")));
    // A name that looks like a place of the page stays a name.
    shell("cp -r clean 'in{parts}'");
    EXPECT_EQ(run("delivery 'in{parts}' -o named.html").status, 0);
    EXPECT_THAT(contentsOf(file("named.html")), HasSubstr("<title>Delivery in{parts}</title>"));
    const Outcome again = run("delivery clean -o page.html");
    EXPECT_EQ(again.status, 3);
    EXPECT_THAT(again.messages, HasSubstr("page.html: error: exists; --force replaces it"));
    EXPECT_EQ(contentsOf(file("page.html")), page);
    EXPECT_EQ(run("delivery clean -o page.html --force").status, 0);
    EXPECT_THAT(contentsOf(file("page.html")), HasSubstr("Delivery clean"));
    EXPECT_EQ(run("delivery clean -o page.html --force --format json").status, 2);
    EXPECT_EQ(run("delivery empty -o none.html").status, 3);
    EXPECT_FALSE(fs::exists(file("none.html")));
    EXPECT_EQ(run("delivery clean --previous new --sat 81007 -o gone.html").status, 1);
    EXPECT_THAT(contentsOf(file("gone.html")), HasSubstr("warning missing"));
}

}  // namespace
}  // namespace vorlandi::cli_tests
