#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {

// clang-format off
static std::string position(std::string_view x) { return at(18, fields(16,
    {x, "-1.5", ""}) + " 255449     J2K"); }
static std::string velocity(std::string_view time) { return "  " + std::string(time) + fields(16,
    {"1.0", "7.5", "15"}); }
const Lines kGood = {fields(22, {"74000000000000", "6378.5"}) + " 24050000000.000" + at(15, "SP "),
    position("7000.0"),
                     velocity("24061000000.000"), position("1234567"), velocity("24061120000.000")};

TEST(ReadVecEph, ReadsHeaderAndPairsOfLinesTheFirstOfWhichNamesSatelliteAndCoordinates) {
    const Vorlanrecord record = expectRecord(kGood, 25544, kJ2k, {{kMarch1, 7000, -1.5, 0, 1, 7.5, 15e-9},
        {kMarch1 + 0.5, 1.234567, -1.5, 0, 1, 7.5, 15e-9}});
    EXPECT_THAT((std::array{record.ke, record.earthRadius}), ::testing::ElementsAre(7.4e-2, 6378.5));
    expectLoads({
        {"no number", put(kGood, 2, 67, "25x44"), {bad("ReadVecEph"), "@2"}, 1, 0, kEci},
        {"another number in the second pair", put(kGood, 4, 67, "11111      XXX"), {}, 2, 25544, kJ2k},
        {"unknown frame", put(kGood, 2, 78, "TOD"), {"@2",
            failed("ReadVecEph", "Invalid Coordinate system.")}, 0},
        {"time 0", put(kGood, 3, 3, "00000000000.000"), {bad("ReadVecEph"), "00000000000.000"}, 1},
        {"a letter in a position", put(kGood, 4, 30, "x"), {bad("ReadVecEph-InvalidPosition"), "@4"}, 1},
        {"a letter in a velocity", put(kGood, 5, 30, "x"), {bad("ReadVecEph-InvalidVelocity"), "@5"}, 1},
        {"half a pair", cut(kGood, 4), {}, 1},
        {"a bad header", put(kGood, 1, 10, "x"), {failed("ReadVecEph")}, 0},
    });
}
// clang-format on
}  // namespace vorlandi::testing
