// The STK reader: one good file and a table of edits to it.
#include <gtest/gtest.h>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr std::string_view kGood =
    "stk.v.11.0\n"
    "BEGIN Ephemeris\n"
    "  ScenarioEpoch   31 Jan 2026 00:00:00.000\n"
    "CentralBody Earth\n"
    "CoordinateSystem TEMEOfDate\n"
    "DistanceUnit Kilometers\n"
    "EphemerisTimePosVel\n"
    "* a comment\n"
    "\n"
    "0.0 7000.0 1.0 2.0 0.5 7.5 0.25\n"
    "60,7001.0 , 1.0,2.0\t0.5 7.5D0 0.25 9 9 9 abc\n"
    "end Ephemeris\n";

constexpr double kEpoch = 27790.0;  // 31 Jan 2026
constexpr double kMinute = 1.0 / 1440.0;

std::string edited(std::string_view from, std::string_view to) {
    std::string text(kGood);
    const auto at = text.find(from);
    if (at == std::string::npos) throw std::logic_error("nothing to edit");
    return text.replace(at, from.size(), to);
}

std::vector<std::string> badLine(const std::string& line) {
    return {"*** ReadDotE : Bad ephemeris data. ***", line};
}

TEST(ReadDotE, ReadsAGoodFile) {
    const Loaded loaded = load(kGood, "dir/12345_sat.e");
    EXPECT_EQ(loaded.status, 0);
    EXPECT_TRUE(loaded.errors.empty());
    EXPECT_EQ(loaded.infos, std::vector<std::string>{"Total ephemeris points = 2, Start = 26031000000.000, "
                                                     "End = 26031000100.000, Coord = ECI"});
    ASSERT_EQ(loaded.records.size(), 1U);
    const Vorlanrecord& record = loaded.records[0];
    EXPECT_EQ(record.satNum, 12345);
    EXPECT_EQ(record.fileName.view(), "dir/12345_sat.e");
    EXPECT_EQ(record.epoch, kEpoch);
    EXPECT_EQ(record.earthRadius, 6378.135);
    ASSERT_EQ(record.numberOfPoints(), 2);
    EXPECT_EQ(record.points.capacity(), 2);
    const Vorlanpoint& point = record.points[1];
    EXPECT_EQ(point.time, kEpoch + kMinute);
    EXPECT_THAT(point.pos, ::testing::ElementsAre(7001.0, 1.0, 2.0));
    EXPECT_THAT(point.vel, ::testing::ElementsAre(0.5, 7.5, 0.25));
    EXPECT_EQ(point.rev, 0);
    EXPECT_THAT(point.cov, ::testing::Each(0.0));
}

TEST(ReadDotE, ReadsWhatMayStandInAFile) {
    struct Case {
        const char* what;
        std::string_view from, to;
        std::vector<std::string> errors;
        std::vector<double> minutes;  // of the points, since the epoch
        std::int32_t coordSys = 1;
        double x = 7000.0, vy = 7.5;  // of the first point
        double epoch = kEpoch;
    };
    const std::vector<double> both{0.0, 1.0};
    const Case cases[] = {
        {"metres", "Kilometers", "Meters", {}, both, 1, 7000.0 * 0.001, 7.5 * 0.001},
        {"no unit: metres", "DistanceUnit Kilometers\n", "", {}, both, 1, 7000.0 * 0.001, 7.5 * 0.001},
        {"both units: kilometres", "Kilometers", "Meters, no Kilometers", {}, both},
        {"Fixed", "TEMEOfDate", "Fixed", {}, both, 4},
        {"J2000", "TEMEOfDate", "J2000", {}, both, 2},
        {"ICRF", "TEMEOfDate", "ICRF", {}, both, 2},
        {"Fixed before J2000", "TEMEOfDate", "J2000 Fixed", {}, both, 4},
        {"no coordinate system", "CoordinateSystem TEMEOfDate\n", "", {}, both, 2},
        {"the last coordinate system counts", "DistanceU", "CoordinateSystem ICRF\nDistanceU", {}, both, 2},
        {"positions alone", "TimePosVel", "TimePos", {}, both, 1, 7000.0, 0.0},
        {"accelerations", "TimePosVel", "TimePosVelAcc", {}, both},
        {"ECI time", "EphemerisTimePosVel", "x EphemerisEciTimePosVel", {}, both},
        {"no central body", "CentralBody Earth\n", "", {}, both},
        {"an unknown keyword", "CentralBody", "InterpolationMethod Lagrange\nCentralBody", {}, both},
        {"a keyword in lower case", "CentralBody Earth", "centralbody Moon", {}, both},
        {"a day of one digit",
         "31 Jan 2026 00:00:00.000",
         "1 Feb 2026 00:00:00.0009",
         {},
         both,
         1,
         7000.0,
         7.5,
         kEpoch + 1},
        {"text before the date", "31 Jan", "is the 31 Jan", {}, both},
        {"the first epoch counts", "CentralB", "ScenarioEpoch 1 Jan 2020 00:00:00\nCentralB", {}, both},
        {"a later epoch line is searched on", "System TEME", "System ScenarioEpoch Fixed", {}, both, 4},
        {"the header has no comments", "CoordinateSystem TEME", "* CoordinateSystem Fixed", {}, both, 4},
        {"digits behind the milliseconds are cut", "00.000\n", "00.0009999\n", {}, both},
        {"the end behind numbers", "9 9 9 abc", "end Ephemeris\n90 1 1 1 1 1 1", {}, {0.0}},
        {"the end inside a line", "60,", " weekend Ephemeris 60,", {}, {0.0}},
        {"the end behind a slash", "60,7001.0 ,", "60,7001.0 / end Ephemeris", {}, {0.0}},
        {"no end", "end Ephemeris\n", "", {}, both},
        {"no line end behind the last line", "\nend Ephemeris\n", "", {}, both},
        {"an end in upper case", "end Eph", "END Eph", badLine("END Ephemeris"), both},
        {"numbers behind the end", "end Ephemeris\n", "end Ephemeris\n120 1 2 3 4 5 6\n", {}, both},
        {"a repeated time", "60,", "0,", {}, {0.0}},
        {"a decreasing time", "60,", "-1E1,", {}, {0.0}},
        {"a null value", "0.0 7000.0 1.0", "0.0 7000.0,,", {}, both},
        {"a list ended by a slash", "2.0 0.5 7.5", "2.0 / 7.5", {}, both, 1, 7000.0, 0.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Loaded loaded = load(edited(c.from, c.to));
        EXPECT_EQ(loaded.status, 0);
        EXPECT_EQ(loaded.errors, c.errors);
        ASSERT_EQ(loaded.records.size(), 1U);
        const Vorlanrecord& record = loaded.records[0];
        EXPECT_EQ(record.satNum, 99999);
        EXPECT_EQ(record.coordSys, c.coordSys);
        EXPECT_EQ(record.epoch, c.epoch);
        ASSERT_EQ(static_cast<std::size_t>(record.numberOfPoints()), c.minutes.size());
        for (std::int32_t k = 0; k < record.numberOfPoints(); ++k)
            EXPECT_EQ(record.points[k].time,
                      c.epoch + c.minutes[static_cast<std::size_t>(k)] * 60.0 / 86400.0);
        EXPECT_EQ(record.points[0].pos[0], c.x);
        EXPECT_EQ(record.points[0].vel[1], c.vy);
    }
}

TEST(ReadDotE, ReportsLinesThatHoldNoNumbersAndGoesOn) {
    for (const std::string line :
         {"60 70o1.0 1 2 3 4 5", "60 7001 1 2 3 4", "60 2*1.0 1 2 3 4", "60 nan 1 2 3 4 5",
          "60 1e999 1 2 3 4 5", "60 0x1 1 2 3 4 5", "60,1,2,3,4,5,", "60 1 2 3 4 5 6end", "x"}) {
        SCOPED_TRACE(line);
        const Loaded loaded = load(edited("* a comment", "-60 1 2 3 4 5 6\n" + line));
        EXPECT_EQ(loaded.status, 0);
        EXPECT_EQ(loaded.errors, badLine(line));
        ASSERT_EQ(loaded.records.size(), 1U);
        EXPECT_EQ(loaded.records[0].numberOfPoints(), 3);
    }
}

TEST(ReadDotE, StoresNothingFromAFileItCannotRead) {
    struct Case {
        const char* what;
        std::string_view from, to;
        std::string error;
    };
    const std::string system =
        "*** ReadDotE: Invalid coordinate system. Only Fixed, J2000, and TEMEOfDate are supported. ***";
    const std::string unit =
        "*** ReadDotE: Invalid distance unit. Only meters and kilometers are supported. ***";
    const std::string noEpoch = "*** ReadDotE: Unable to read reference epoch time. ***";
    const std::string noData =
        "ReadOnlyVorlans: Input ephemeris does not contain any ephemeris data. It will not be stored.";
    const Case cases[] = {
        {"another body", "Earth", "Moon", "*** ReadDotE: Invalid file. CentralBody is not Earth. ***"},
        {"another system", "TEMEOfDate", "MeanOfDate", system},
        {"a system in lower case", "TEMEOfDate", "fixed", system},
        {"another unit", "Kilometers", "Miles", unit},
        {"a unit in lower case", "Kilometers", "kilometers", unit},
        {"a data type without Pos", "TimePosVel", "TimeVel",
         "*** ReadDotE: Invalid ephem type. Only TimePos, PosVel, and PosVelAcc are supported. ***"},
        {"an epoch without digits", "31 Jan 2026 00:00:00.000", "now",
         "*** ReadDotE: Invalid epoch time. ***"},
        {"an epoch that is no date", "31 Jan", "31 Feb", noEpoch},
        {"no epoch", "ScenarioEpoch", "StartEpoch", noEpoch},
        {"a bad first epoch, a good second", "31 Jan 2026 00:00:00.000\n",
         "31 Feb 2026\nScenarioEpoch 31 Jan 2026 00:00:00.000\n", noEpoch},
        {"a header without end", "EphemerisTimePosVel", "EphemerisLLATimePos", noData},
        {"the first of two problems", "Earth\nCoordinateSystem TEMEOfDate", "Moon\nCoordinateSystem no",
         "*** ReadDotE: Invalid file. CentralBody is not Earth. ***"},
        {"an end before any number", "* a comment", "end Ephemeris", noData},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const Loaded loaded = load(edited(c.from, c.to));
        EXPECT_EQ(loaded.status, 2);
        EXPECT_EQ(loaded.errors, std::vector<std::string>{c.error});
        EXPECT_TRUE(loaded.infos.empty());
        EXPECT_TRUE(loaded.records.empty());
    }
}

}  // namespace
}  // namespace vorlandi::testing
