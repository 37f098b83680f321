#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

const Lines kGood = {" SPEPH Prediction Ephemeris",
                     "  25544    04 061 12 00 30.5009 7000 -1.5 0.25 1 7.5 -0.5",
                     "  25544     4  61 12  1 30.5   7001,-1.5,0.25,1,7.5,-0.5"};

TEST(ReadJ2K, ReadsDatesInGroupsAndNoNumber) {
    const Vorlanrecord record = recordOf(kGood);
    EXPECT_EQ(record.satNum, 0);
    EXPECT_EQ(record.coordSys, kJ2k);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[0], 19784.0 + 43230.5 / 86400.0, {7000.0, -1.5, 0.25, 1.0, 7.5, -0.5});
    EXPECT_EQ(record.points[1].time, 19784.0 + 43290.5 / 86400.0) << "blanks in a group are zeros";
}

TEST(ReadJ2K, ReportsEveryLineWithoutADateAndEveryBadState) {
    const Lines fiveNumbers = replaced(kGood, 2, "  25544    04 061 12 00 30.500 7000 0 0 0 7.5");
    expectLoads({
        {"a heading",
         replaced(kGood, 2, "           YY DDD HH MM SS.SSSx     X"),
         {bad("ReadJ2K"), "YY DDD HH MM SS.SSS"},
         1},
        {"a blank line", replaced(kGood, 2, ""), {bad("ReadJ2K"), ""}, 1},
        {"five numbers", fiveNumbers, {bad("ReadJ2K"), fiveNumbers[1]}, 1},
        {"a header alone", cut(kGood, 1), {kNoDataMessage}, 0, 2},
    });
}

}  // namespace
}  // namespace vorlandi::testing
