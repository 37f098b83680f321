#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::vector {

// clang-format off
static std::string position(std::string_view x) { return at(18,
    fields(16, {x, "-1.5", ""}) + "8255449     J2K"); }
static std::string velocity(const std::string& time) { return "  " + time + fields(16,
    {"1.0", "7.5", "15"}); }
const Lines kGood = {fields(22, {"74000000000000", "6378.5"}) + " 24050000000.000" + at(15, "SP "),
    position("7000.0"),
                     velocity("24061000000.000"), position("1234567"), velocity("24061120000.000")};

TEST(ReadVecEph, ReadsHeaderAndPairsOfLinesTheFirstOfWhichNamesSatelliteAndCoordinates) {
    const Vorlanrecord record = expectRecord(put(kGood, 4, 67, "11111      XXX"), 25544, kJ2k,
        {{kMarch1, 7000, -1.5, 0, 1, 7.5, 15e-9}, {kMarch1 + 0.5, 1.234567, -1.5, 0, 1, 7.5, 15e-9}});
    EXPECT_EQ((std::pair{record.ke, record.earthRadius}), (std::pair{7.4e-2, 6378.5}));
    expectLoads("ReadVecEph", {
        {"no number", put(kGood, 2, 67, "25x44"), {"!@2"}, 1, 0, kEci},
        {"time 0", put(kGood, 3, 3, "00000000000.000"), {"!00000000000.000"}, 1},
        {"unknown frame", put(kGood, 2, 78, "TOD"), {"@2", "*Invalid Coordinate system."}, 0},
        {"half a pair", cut(kGood, 4), {}, 1},
        {"a letter in a position", put(kGood, 4, 30,
            "x"), {"*** ReadVecEph-InvalidPosition : Bad ephemeris data. ***", "@4"}, 1},
        {"a letter in a velocity", put(kGood, 5, 30,
            "x"), {"*** ReadVecEph-InvalidVelocity : Bad ephemeris data. ***", "@5"}, 1},
        {"a bad header", put(kGood, 1, 10, "x"), {kReadError}, 0},
    });
}
// clang-format on

}  // namespace vorlandi::testing::vector
