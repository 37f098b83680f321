#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::lch {

// clang-format off
const Lines kGood = {"Classification:                 Unclassified", "1", "2", "3", "4",
    "SATELLITE" + at(35, "255449"), "6", "7",
    "8", "9", "2024061000000.000 7000 -1.5 0.25 1 7.5 -0.5 42", "* a comment", "",
    "2024061120000.000,7001,-1.5,0.25,1,7.5,-0.5,43"};

TEST(ReadLCH, KeepsTheSeventhNumberUnderItsMarkAndReportsTheBeginningOfABadLine) {
    const Vorlanrecord record = expectRecord(kGood, 25544, kEci,
        {usual(kMarch1), usual(kMarch1 + 0.5, 7001)});
    const PointCovariance scalar = record.points[1];
    EXPECT_EQ(std::vector(scalar.cov, scalar.cov + 3), (std::vector{43.0, kScalarMarker, 0.0}));
    const std::string wide = "2024061000000.000 7000 x" + std::string(104, '-');
    expectLoads("ReadLCH", {
        {"a bad number is left out", put(kGood, 6, 44, "x"), {}, 2, 0},
        {"a long line", put(kGood, 11, wide + "-"), {"!" + wide}, 1},
        {"six numbers", put(kGood, 11, "2024061000000.000 1 2 3 4 5 6"), {"!@11"}, 1},
        {"no date is the time 0", put(kGood, 11, 1, "yesterday        "), {}, 2},
        {"a cut header", cut(kGood, 9), {kReadError}, 0},
        {"the end before the number", cut(kGood, 5), {kReadError}, 0},
    });
}
// clang-format on

}  // namespace vorlandi::testing::lch
