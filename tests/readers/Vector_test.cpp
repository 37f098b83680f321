#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

std::string positionLine(std::string_view x) {
    return at(18, fields(16, {x, "-1.5", ""}) + " 255449     J2K");
}
std::string velocityLine(std::string_view time) {
    return "  " + std::string(time) + fields(16, {"1.0", "7.5", "15"});
}

const Lines kGood = {fields(22, {"74000000000000", "6378.5"}) + " 24050000000.000" + at(15, "SP "),
                     positionLine("7000.0"), velocityLine("24061000000.000"), positionLine("1234567"),
                     velocityLine("24061120000.000")};

TEST(ReadVecEph, ReadsHeaderAndPairsOfLines) {
    const Vorlanrecord record = recordOf(kGood);
    EXPECT_EQ(record.satNum, 25544);
    EXPECT_EQ(record.coordSys, kJ2k);
    EXPECT_EQ(record.ke, 7.4e-2);
    EXPECT_EQ(record.earthRadius, 6378.5);
    EXPECT_EQ(record.epoch, kMarch1) << "the first point's time, not the header's";
    EXPECT_EQ(readAlone(vorlandi::ReadVecEph, cut(kGood, 1)).epoch, kMarch1 - 11.0);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[0], kMarch1, {7000.0, -1.5, 0.0, 1.0, 7.5, 15e-9});
    EXPECT_EQ(record.points[1].pos[0], 1.234567);
}

TEST(ReadVecEph, LooksForSatelliteAndCoordinatesInTheFirstPairAlone) {
    const Loaded loaded = loadLines(put(kGood, 2, 67, "25x44"));
    ASSERT_EQ(loaded.records.size(), 1u);
    EXPECT_EQ(loaded.records[0].satNum, 0);
    EXPECT_EQ(loaded.records[0].coordSys, kEci);
    EXPECT_EQ(loaded.records[0].numberOfPoints(), 1);
    EXPECT_EQ(recordOf(put(kGood, 4, 67, "11111      XXX")).satNum, 25544);
}

TEST(ReadVecEph, ReportsWhatItCannotRead) {
    const Lines noNumber = put(kGood, 2, 67, "25x44");
    const Lines noFrame = put(kGood, 2, 78, "TOD");
    const Lines badPosition = put(kGood, 4, 30, "x");
    const Lines badVelocity = put(kGood, 5, 30, "x");
    const std::string name = "ReadVecEph";
    expectLoads({
        {"no number", noNumber, {bad(name), noNumber[1]}, 1},
        {"time 0", put(kGood, 3, 3, "00000000000.000"), {bad(name), "00000000000.000"}, 1},
        {"a letter in a position", badPosition, {bad(name + "-InvalidPosition"), badPosition[3]}, 1},
        {"a letter in a velocity", badVelocity, {bad(name + "-InvalidVelocity"), badVelocity[4]}, 1},
        {"half a pair", cut(kGood, 4), {}, 1},
        {"unknown frame", noFrame, {noFrame[1], "*** ReadVecEph: Invalid Coordinate system. ***"}, 0, 2},
        {"a bad header", put(kGood, 1, 10, "x"), {"*** ReadVecEph: File read error. ***"}, 0, 2},
        {"a header alone", cut(kGood, 1), {kNoDataMessage}, 0, 2},
    });
}

}  // namespace
}  // namespace vorlandi::testing
