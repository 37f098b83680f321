#include "CommandLine.hpp"

namespace vorlandi::cli_tests {
namespace {

// Three satellites on straight lines: 81001 and 81002 pass at 3 km at 00:10, 81003 is far away.
class Approaches : public CommandLine {
protected:
    void writeLine(const std::string& name, const char* frame, double y_km, double z_km, double vx_km_s,
                   int minutes = 20) const {
        std::string text = "stk.v.11.0\nBEGIN Ephemeris\nScenarioEpoch 31 Jan 2026 00:00:00.000\n";
        text += std::string("CoordinateSystem ") + frame + "\nDistanceUnit Kilometers\nEphemerisTimePosVel\n";
        for (int minute = 0; minute <= minutes; ++minute) {
            const double x_km = vx_km_s * 60.0 * (minute - 10);
            text += number(minute * 60) + number(x_km) + number(y_km) + number(z_km) + number(vx_km_s) + "0 0\n";
        }
        write(name, text + "END Ephemeris\n");
    }

    static std::string number(double value) { return std::to_string(value) + ' '; }

    Approaches() {
        writeLine("81001.e", "J2000", 7000.0, 0.0, 7.0);
        writeLine("81002.e", "J2000", 7000.0, 3.0, -7.0);
        writeLine("81003.e", "J2000", -7000.0, 0.0, 7.0);
        writeLine("81004.e", "Fixed", 7000.0, 1.0, -6.0);
        writeLine("noname.e", "J2000", 7000.0, 2.0, -7.0);
        writeLine("81005.e", "J2000", 7000.0, 5.0, 7.0, 10);
    }
};

TEST_F(Approaches, EventsStatusesAndWhatIsLeftOut) {
    struct Case {
        std::string arguments;
        int status;
        std::string output;  // of the CSV, without header and files
        std::string message;
    };
    const std::string head =
        "number_a,number_b,file_a,file_b,time_utc,distance_km,radial_km,in_track_km,cross_track_km,speed_km_s,"
        "sigma_distance,at_end,record_a,record_b\n";
    const std::string event = "81001,81002,81001.e,81002.e,2026-01-31T00:10:00.000000,3,";
    const std::string end = "81001,81005,81001.e,81005.e,2026-01-31T00:10:00.000000,5,";
    for (const Case& c : {
             Case{"81001.e 81002.e 81003.e --within 4", 1, event, ""},
             Case{"81001.e 81002.e 81003.e --within 2.9", 0, "", ""},
             Case{"81001.e 81002.e --within 4 --to 2026-01-31T00:09", 0, "", ""},
             Case{"81001.e 81002.e 81003.e --within 4 --sat 81003", 0, "", ""},
             Case{"81001.e 81002.e 81003.e --within 4 --sat 81002", 1, event, ""},
             Case{"81001.e 81004.e --within 4", 3, "", "1 pair is in different frames and not compared"},
             Case{"81001.e 81003.e 81004.e --within 1 --sat 81001", 0, "", "1 pair is in different frames"},
             Case{"81001.e 81003.e 81004.e --within 1 --sat 81004", 3, "", "2 pairs are in different frames"},
             Case{"81001.e 81002.e --within 4 -o missing/folder", 3, "", "missing/folder"},
             Case{"81001.e 81001.e --within 4", 3, "", "1 pair is of records with the same number and not compared"},
             Case{"81001.e --within 4 --sat 5", 3, "", "satellite 5 is not in any of the files"},
             Case{"81001.e missing.e --within 4", 3, "", "missing.e"},
             Case{"81001.e --within 4", 3, "",
                  "there are no two satellites of one frame and different numbers with states at a common time"},
             Case{"81001.e 81002.e --within 4 --from 2030-01-01", 3, "", "there are no two satellites"},
             Case{"81001.e noname.e --within 9000 --number 81001", 3, "", "1 pair is of records with the same"},
             Case{"81001.e --within nan", 2, "", "--within"},
             Case{"81001.e", 2, "", "--within is required"},
             Case{"81001.e --within 4 --step 301", 2, "", "--step"},
         }) {
        SCOPED_TRACE(c.arguments);
        const Outcome outcome = run("approaches " + c.arguments + " --format csv");
        EXPECT_EQ(outcome.status, c.status);
        EXPECT_THAT(outcome.messages, HasSubstr(c.message));
        if (c.status == 2 || outcome.output.empty()) continue;
        EXPECT_EQ(outcome.output.substr(0, head.size()), head);
        EXPECT_EQ(outcome.output.substr(head.size(), c.output.size()), c.output);
        EXPECT_EQ(outcome.output.size() > head.size(), !c.output.empty());
    }
    // A parallel line 5 km away that ends in the middle: near from beginning to end.
    const Outcome beside = run("approaches 81001.e 81005.e --within 6 --format csv -j 2");
    EXPECT_THAT(beside.output, HasSubstr(end));
    EXPECT_THAT(beside.output, HasSubstr(",true,1,1\n"));
    const Outcome json = run("approaches 81001.e 81002.e --within 4 --format json");
    EXPECT_THAT(json.output, HasSubstr(R"("sigma_distance":null,"at_end":false,"record_a":1,"record_b":1})"));
    EXPECT_THAT(json.output, HasSubstr(R"("pairs_across_frames":0,"pairs_of_same_number":0})"));
    EXPECT_THAT(run("approaches 81001.e 81003.e --within 4").output, HasSubstr("no approach within 4 km"));
}

}  // namespace
}  // namespace vorlandi::cli_tests
