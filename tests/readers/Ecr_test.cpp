#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

const std::string kPositionsOnly = "YYDDDHHMMSS.SSS      X(KM)          Y(KM)          Z(KM)";
const Lines kBeforeLabel = {"CLASSIFICATION: UNCLASSIFIED", "255449", "", "", "", "", "", ""};
const Lines kPositions = joined(kBeforeLabel, {kPositionsOnly, "units", "24061000000.00097000.0 -1.5 0.25",
                                               "24061120000.000 7001.0,-2.5,0.5"});
const Lines kStates =
    joined(kBeforeLabel, {"any other label", "second line", "units", "24061000000.00097000.0 -1.5 0.25",
                          at(17, "1.0 7.5 -0.5"), "24061120000.000 7001.0 -2.5 0.5", at(17, "2 3 4")});

TEST(ReadECR, ReadsOneLinePerPointWithoutVelocities) {
    const Vorlanrecord record = recordOf(kPositions);
    EXPECT_EQ(record.satNum, 25544);
    EXPECT_EQ(record.coordSys, kEcr);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[0], kMarch1, {7000.0, -1.5, 0.25, 0.0, 0.0, 0.0});
    expectPoint(record.points[1], kMarch1 + 0.5, {7001.0, -2.5, 0.5, 0.0, 0.0, 0.0});
    EXPECT_EQ(recordOf(put(kPositions, 2, 1, "25x44")).satNum, 99999);
}

TEST(ReadECR, ReadsTwoLinesPerPointUnderAnyOtherLabel) {
    const Vorlanrecord record = recordOf(kStates);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[0], kMarch1, {7000.0, -1.5, 0.25, 1.0, 7.5, -0.5});
    expectPoint(record.points[1], kMarch1 + 0.5, {7001.0, -2.5, 0.5, 2.0, 3.0, 4.0});
    EXPECT_EQ(recordOf(put(kStates, 9, 1, "YYDDDHHMMSS.SSS  X(KM) Y(KM) Z(KM)")).points[0].vel[1], 7.5);
}

TEST(ReadECR, ReportsBadPointsAndDropsHalfAPair) {
    const Lines letter = put(kPositions, 11, 17, "x");
    const Lines shortVelocity = replaced(kStates, 13, at(17, "1.0 7.5"));
    expectLoads({
        {"day 0", put(kPositions, 11, 3, "000"), {bad("ReadECR"), "24000000000.000"}, 1},
        {"a letter", letter, {bad("ReadECR"), letter[10]}, 1},
        {"two velocities", shortVelocity, {bad("ReadECR"), shortVelocity[12]}, 1},
        {"the same time twice", put(kPositions, 12, 6, "00"), {}, 1},
        {"half a pair", cut(kStates, 14), {}, 1},
        {"no points", cut(kStates, 11), {kNoDataMessage}, 0, 2},
        {"ends in the header", cut(kStates, 4), {kNoDataMessage}, 0, 2},
    });
}

}  // namespace
}  // namespace vorlandi::testing
