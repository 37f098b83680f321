#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

const Lines kGood = {"stk.v.11.0",
                     "BEGIN Ephemeris",
                     "  ScenarioEpoch   31 Jan 2026 00:00:00.000",
                     "CentralBody Earth",
                     "CoordinateSystem TEMEOfDate",
                     "DistanceUnit Kilometers",
                     "EphemerisTimePosVel",
                     "* a comment",
                     "",
                     "0.0 7000.0 1.0 2.0 0.5 7.5 0.25",
                     "60,7001.0 , 1.0,2.0\t0.5 7.5D0 0.25 9 9 9 abc",
                     "end Ephemeris"};
const std::string kName = "dir/12345_sat.e";
const std::string kBad = bad("ReadDotE");

TEST(ReadDotE, ReadsEpochUnitAndStates) {
    const double day = 27790.0, later = day + 60.0 / 86400.0, m = 0.001;
    expectRecord(kGood, 12345, kEci, {{day, 7000, 1, 2, 0.5, 7.5, 0.25}, {later, 7001, 1, 2, 0.5, 7.5, 0.25}},
                 kName);
    const std::vector<State> metres = {{day, 7000 * m, m, 2 * m, 0.5 * m, 7.5 * m, 0.25 * m},
                                       {later, 7001 * m, m, 2 * m, 0.5 * m, 7.5 * m, 0.25 * m}};
    expectRecord(replaced(kGood, 6, "DistanceUnit Meters"), 12345, kEci, metres, kName);
    expectRecord(replaced(kGood, 6, ""), 12345, kEci, metres, kName);
    const std::vector<State> still = {{day + 1, 7000, 1, 2}, {day + 1 + 60.0 / 86400.0, 7001, 1, 2}};
    expectRecord(put(replaced(kGood, 7, "EphemerisEciTimePos"), 3, 17, "is 1 Feb 2026 00:00:00.0009"), 12345,
                 kEci, still, kName);
}

TEST(ReadDotE, ReadsWhatMayStandInAFile) {
    // clang-format off
    std::vector<Case> cases = {
        {"both units: kilometres", replaced(kGood, 6, "DistanceUnit Meters, no Kilometers"), {}, 2},
        {"Fixed before J2000", replaced(kGood, 5, "CoordinateSystem J2000 Fixed"), {}, 2, 99999, kEcr},
        {"ICRF", replaced(kGood, 5, "CoordinateSystem ICRF"), {}, 2, 99999, kJ2k},
        {"no coordinate system", replaced(kGood, 5, ""), {}, 2, 99999, kJ2k},
        {"the header has no comments", replaced(kGood, 5, "* CoordinateSystem J2000"), {}, 2, 99999, kJ2k},
        {"a later epoch line is searched on", replaced(kGood, 5, "CoordinateSystem ScenarioEpoch Fixed"), {},
            2, 99999, kEcr},
        {"a keyword in lower case", replaced(kGood, 4, "centralbody Moon"), {}, 2},
        {"the end behind numbers", put(kGood, 11, 38, "end Ephemeris\n90 1 1 1 1 1 1"), {}, 1},
        {"the end inside a line", put(kGood, 11, 1, " weekend Ephemeris"), {}, 1},
        {"the end behind a slash", replaced(kGood, 11, "60,7001.0 / end Ephemeris"), {}, 1},
        {"no end", cut(kGood, 11), {}, 2},
        {"an end in upper case", replaced(kGood, 12, "END Ephemeris"), {kBad, "@12"}, 2},
        {"a decreasing time", put(kGood, 11, 1, "-1,"), {}, 1},
    };
    for (const char* const line : {"60 70o1.0 1 2 3 4 5", "60 7001 1 2 3 4", "60 2*1.0 1 2 3 4",
        "60,1,2,3,4,5,", "60 1 2 3 4 5 6end"})
        cases.push_back({line, replaced(kGood, 11, line), {kBad, "@11"}, 1});
    // clang-format on
    expectLoads(cases);
}

TEST(ReadDotE, StoresNothingFromAFileItCannotRead) {
    const std::string body = failed("ReadDotE", "Invalid file. CentralBody is not Earth.");
    const std::string system =
        failed("ReadDotE", "Invalid coordinate system. Only Fixed, J2000, and TEMEOfDate are supported.");
    const std::string unit =
        failed("ReadDotE", "Invalid distance unit. Only meters and kilometers are supported.");
    const std::string type =
        failed("ReadDotE", "Invalid ephem type. Only TimePos, PosVel, and PosVelAcc are supported.");
    const std::string noEpoch = failed("ReadDotE", "Unable to read reference epoch time.");
    // clang-format off
    expectLoads({
        {"another body, the first of two problems", replaced(replaced(kGood, 4, "CentralBody Moon"), 6,
            "DistanceUnit Miles"), {body}, 0},
        {"a system in lower case", replaced(kGood, 5, "CoordinateSystem fixed"), {system}, 0},
        {"a unit in lower case", replaced(kGood, 6, "DistanceUnit kilometers"), {unit}, 0},
        {"a data type without Pos", replaced(kGood, 7, "EphemerisTimeVel"), {type}, 0},
        {"an epoch without digits", replaced(kGood, 3, "ScenarioEpoch now"),
            {failed("ReadDotE", "Invalid epoch time.")}, 0},
        {"an epoch that is no date, though a second is", put(kGood, 3, 19,
            "31 Feb 2026\nScenarioEpoch 31 Jan 2026 0:00:00"), {noEpoch}, 0},
        {"no epoch", replaced(kGood, 3, ""), {noEpoch}, 0},
        {"a header without end", replaced(kGood, 7, "EphemerisLLATimePos"), {kNoData}, 0},
        {"an end before any number", replaced(kGood, 8, "end Ephemeris"), {kNoData}, 0},
    });
    // clang-format on
}
}  // namespace
}  // namespace vorlandi::testing
