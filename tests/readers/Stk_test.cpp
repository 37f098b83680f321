#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::stk {

// clang-format off
const Lines kGood = {"stk.v.11.0", "BEGIN Ephemeris", "  ScenarioEpoch   31 Jan 2026 00:00:00.000",
    "CentralBody Earth", "CoordinateSystem TEMEOfDate", "DistanceUnit Kilometers", "EphemerisTimePosVel",
    "* a comment", "",
    "0.0 7000.0 -1.5 .25 1 7.5 -.5", "43200,7001.0 , -1.5,.25\t1 7.5D0 -.5 9 9 9 abc", "end Ephemeris"};

TEST(ReadDotE, ReadsEpochUnitAndStates) {
    const double day = 27790.0, m = 0.001;
    expectRecord(kGood, 12345, kEci, {usual(day), usual(day + 0.5, 7001)}, "dir/12345_sat.e");
    const std::vector<State> metres = {{day, 7000 * m, -1.5 * m, 0.25 * m, m, 7.5 * m, -0.5 * m},
        {day + 0.5, 7001 * m, -1.5 * m, 0.25 * m, m, 7.5 * m, -0.5 * m}};
    expectRecord(put(kGood, 6, "DistanceUnit Meters"), 99999, kEci, metres);
    expectRecord(put(kGood, 6, ""), 99999, kEci, metres);
    expectRecord(put(put(kGood, 7, "EphemerisEciTimePos"), 3, 17, "is 1 Feb 2026 00:00:00.0009"), 99999, kEci,
                 {{day + 1, 7000, -1.5, 0.25}, {day + 1.5, 7001, -1.5, 0.25}});
    std::vector<Case> cases = {
        {"both units: kilometres", put(kGood, 6, "DistanceUnit Meters, no Kilometers"), {}, 2},
        {"Fixed before J2000", put(kGood, 5, "CoordinateSystem J2000 Fixed"), {}, 2, 99999, kEcr},
        {"ICRF", put(kGood, 5, "CoordinateSystem ICRF"), {}, 2, 99999, kJ2k},
        {"no system", put(kGood, 5, ""), {}, 2, 99999, kJ2k},
        {"the header has no comments", put(kGood, 5, "* CoordinateSystem J2000"), {}, 2, 99999, kJ2k},
        {"a later epoch is skipped", put(kGood, 5, "CoordinateSystem ScenarioEpoch Fixed"), {}, 2, 99999,
            kEcr},
        {"a keyword in lower case", put(kGood, 4, "centralbody Moon"), {}, 2},
        {"no end", cut(kGood, 11), {}, 2},
        {"the end after numbers", put(kGood, 11, 37, "end Ephemeris\n99999 1 1 1 1 1 1"), {}, 1},
        {"the end inside a line", put(kGood, 11, 1, " weekend Ephemeris"), {}, 1},
        {"the end after a slash", put(kGood, 11, "60,7001.0 / end Ephemeris"), {}, 1},
        {"an end in upper case", put(kGood, 12, "END Ephemeris"), {"!@12"}, 2}};
    for (const char* const line : {"60 70o1.0 1 2 3 4 5", "60 7001 1 2 3 4", "60,1,2,3,4,5,",
        "60 1 2 3 4 5 6end"})
        cases.push_back({line, put(kGood, 11, line), {"!@11"}, 1});
    expectLoads("ReadDotE", cases);
}

TEST(ReadDotE, StoresNothingFromAFileItCannotRead) {
    const std::string noEpoch = "*Unable to read reference epoch time.",
        badEpoch = "31 Feb 2026\nScenarioEpoch 31 Jan 2026 0:00:00";
    expectLoads("ReadDotE", {
        {"another body first", put(put(kGood, 4, "CentralBody Moon"), 6, "DistanceUnit Miles"),
            {"*Invalid file. CentralBody is not Earth."}, 0},
        {"a system in lower case", put(kGood, 5, "CoordinateSystem fixed"),
            {"*Invalid coordinate system. Only Fixed, J2000, and TEMEOfDate are supported."}, 0},
        {"a unit in lower case", put(kGood, 6, "DistanceUnit kilometers"),
            {"*Invalid distance unit. Only meters and kilometers are supported."}, 0},
        {"no Pos", put(kGood, 7, "EphemerisTimeVel"),
            {"*Invalid ephem type. Only TimePos, PosVel, and PosVelAcc are supported."}, 0},
        {"an epoch without digits", put(kGood, 3, "ScenarioEpoch now"), {"*Invalid epoch time."}, 0},
        {"no epoch", put(kGood, 3, ""), {noEpoch}, 0},
        {"a bad epoch before a good one", put(kGood, 3, 19, badEpoch), {noEpoch}, 0},
        {"an end before any number", put(kGood, 8, "end Ephemeris"), {kNoData}, 0},
        {"a header without end", put(kGood, 7, "EphemerisLLATimePos"), {kNoData}, 0},
    });
}
// clang-format on

}  // namespace vorlandi::testing::stk
