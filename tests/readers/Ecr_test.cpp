#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::ecr {

// clang-format off
const Lines kPositions = {"CLASSIFICATION: UNCLASSIFIED", "255449", "", "", "", "", "", "",
    "YYDDDHHMMSS.SSS      X(KM)          Y(KM)          Z(KM)", "units", "24061000000.00097000.0 -1.5 0.25",
    "24061120000.000 7001.0,-2.5,0.5"};
const Lines kStates = put(put(put(kPositions, 9, "YYDDDHHMMSS.SSS  X(KM) Y(KM) Z(KM)\nsecond line"), 12,
    at(17, "1.0 7.5 -0.5") + "\n24061120000.000 7001.0 -2.5 0.5\n" + at(17, "2 3 4")), 2, "25x449");
const std::string kShort = at(17, "1.0 7.5 ");

TEST(ReadECR, ReadsPositionsAloneOrTwoLinesPerPointUnderAnyOtherLabel) {
    expectRecord(kPositions, 25544, kEcr, {{kMarch1, 7000, -1.5, 0.25}, {kMarch1 + 0.5, 7001, -2.5, 0.5}});
    expectRecord(kStates, 99999, kEcr, {usual(kMarch1), {kMarch1 + 0.5, 7001, -2.5, 0.5, 2, 3, 4}});
    expectLoads("ReadECR", {
        {"day 0", put(kPositions, 11, 3, "000"), {"!24000000000.000"}, 1},
        {"a letter", put(kPositions, 11, 17, "x"), {"!@11"}, 1},
        // As 2008 it would be stored, and the two points after it dropped.
        {"a time of 1998 that has lost its first digit", put(put(kPositions, 11, "8061000000.000  7000 -1.5 0.25"), 12,
            "98061000100.000 7000 -1.5 0.25\n98061000200.000 7000 -1.5 0.25"), {"!8061000000.000"}, 2},
        {"two velocities", put(kStates, 12, kShort + "\n" + kPositions[11] + "\n" + kShort + "1"),
            {"!" + at(17, "1.0 7.5")}, 1},
        {"half a pair", put(kStates, 12, kShort + "1\n" + kPositions[11]), {}, 1},
        {"a cut header", cut(kStates, 4), {kNoData}, 0},
    });
}
// clang-format on

}  // namespace vorlandi::testing::ecr
