#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {

// clang-format off
const Lines kHead = {"CLASSIFICATION: UNCLASSIFIED", "255449", "", "", "", "", "", ""};
const Lines kPositions = joined(kHead, {"YYDDDHHMMSS.SSS      X(KM)          Y(KM)          Z(KM)", "units",
                                        "24061000000.00097000.0 -1.5 0.25",
                                            "24061120000.000 7001.0,-2.5,0.5"});
const Lines kStates = joined(kHead, {"YYDDDHHMMSS.SSS  X(KM) Y(KM) Z(KM)", "second line", "units",
                                     "24061000000.00097000.0 -1.5 0.25", at(17, "1.0 7.5 -0.5"),
                                     "24061120000.000 7001.0 -2.5 0.5", at(17, "2 3 4")});

TEST(ReadECR, ReadsPositionsAloneOrTwoLinesPerPointUnderAnyOtherLabel) {
    expectRecord(kPositions, 25544, kEcr, {{kMarch1, 7000, -1.5, 0.25}, {kMarch1 + 0.5, 7001, -2.5, 0.5}});
    expectRecord(kStates, 25544, kEcr, {usual(kMarch1), {kMarch1 + 0.5, 7001, -2.5, 0.5, 2, 3, 4}});
    expectLoads({
        {"a bad number", put(kPositions, 2, 1, "25x44"), {}, 2, 99999},
        {"day 0", put(kPositions, 11, 3, "000"), {bad("ReadECR"), "24000000000.000"}, 1},
        {"a letter", put(kPositions, 11, 17, "x"), {bad("ReadECR"), "@11"}, 1},
        {"two velocities", replaced(kStates, 13, at(17, "1.0 7.5")), {bad("ReadECR"), "@13"}, 1},
        {"half a pair", cut(kStates, 14), {}, 1}, {"ends in the header", cut(kStates, 4), {kNoData}, 0},
    });
}
// clang-format on
}  // namespace vorlandi::testing
