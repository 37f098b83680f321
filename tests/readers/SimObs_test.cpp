#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

std::string identification(std::string_view time) {
    return " 255449" + std::string(time) + "1234567x" + at(46, "EFG");
}

const Lines kGood = {fields(22, {"7.4E-02", "6378.0"}) + " 24050000000.000" + at(20, "Z"),
                     identification("24061000000.000"),
                     fields(22, {"7000", "-1.5000000000000000000", ""}),
                     fields(22, {"1.0", "7.5", "-5E-1"}),
                     identification("24061120000.000"),
                     fields(22, {"7001", "-1.5", ""}),
                     fields(22, {"1.0", "7.5", "-5D-1"})};

TEST(ReadSimObs, ReadsHeaderAndGroupsOfThreeLines) {
    const Vorlanrecord record = recordOf(kGood);
    EXPECT_EQ(record.satNum, 25544);
    EXPECT_EQ(record.coordSys, kEfg);
    EXPECT_EQ(record.ke, 7.4e-2);
    EXPECT_EQ(record.earthRadius, 6378.0);
    EXPECT_EQ(record.epoch, kMarch1);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[0], kMarch1, {7000.0, -1.5, 0.0, 1.0, 7.5, -0.5});
    expectPoint(record.points[1], kMarch1 + 0.5, {7001.0, -1.5, 0.0, 1.0, 7.5, -0.5});
}

TEST(ReadSimObs, ReportsWhatItCannotRead) {
    const Lines noNumber = put(kGood, 2, 2, "25x");
    const Lines noFrame = put(kGood, 2, 76, "TOD");
    const Lines badField = put(kGood, 5, 23, "a");
    const Lines badFieldEnd = put(kGood, 5, 29, "a");
    const Lines badPosition = put(kGood, 6, 30, "x");
    const Lines badVelocity = put(kGood, 7, 30, "x");
    const std::string message = bad("ReadSimObs");
    expectLoads({
        {"no number", noNumber, {message, noNumber[1]}, 1},
        {"day 999", put(kGood, 2, 10, "999"), {message, "24999000000.000"}, 1},
        {"a letter in the field that is not used", badField, {message, badField[4]}, 1},
        {"and at its end", badFieldEnd, {message, badFieldEnd[4]}, 1},
        {"a letter in a position", badPosition, {message, std::string(trimmed(badPosition[5]))}, 1},
        {"a letter in a velocity", badVelocity, {message, badVelocity[6]}, 1},
        {"two lines of a group", cut(kGood, 6), {}, 1},
        {"unknown frame", noFrame, {noFrame[1], "*** ReadSimObs: Invalid Coordinate system. ***"}, 0, 2},
        {"a bad header", put(kGood, 1, 30, "x"), {"*** ReadSimObs: File read error. ***"}, 0, 2},
    });
}

}  // namespace
}  // namespace vorlandi::testing
