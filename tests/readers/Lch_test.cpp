#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"
#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

const Lines kGood = {"Classification:                 Unclassified",
                     "1",
                     "2",
                     "3",
                     "4",
                     "SATELLITE" + at(35, "255449"),
                     "6",
                     "7",
                     "8",
                     "9",
                     "2024061000000.000 7000 -1.5 0.25 1 7.5 -0.5 42",
                     "* a comment",
                     "",
                     "2024061120000.000,7001,-1.5,0.25,1,7.5,-0.5,43"};

TEST(ReadLCH, KeepsTheSeventhNumberUnderItsMark) {
    const Vorlanrecord record = recordOf(kGood);
    EXPECT_EQ(record.satNum, 25544);
    EXPECT_EQ(record.coordSys, kEci);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[1], kMarch1 + 0.5, {7001.0, -1.5, 0.25, 1.0, 7.5, -0.5});
    EXPECT_EQ(record.points[1].cov[0], 43.0);
    EXPECT_EQ(record.points[1].cov[1], kScalarMarker);
    EXPECT_EQ(record.points[1].cov[2], 0.0);
    EXPECT_EQ(recordOf(put(kGood, 6, 44, "x")).satNum, 0) << "a bad number is left out";
}

TEST(ReadLCH, ReportsTheBeginningOfABadLine) {
    const Lines longLine = replaced(kGood, 11, "2024061000000.000 7000 x" + std::string(200, '-'));
    const Lines readError = {"*** ReadLCH: File read error. ***"};
    expectLoads({
        {"a long line", longLine, {bad("ReadLCH"), longLine[10].substr(0, 128)}, 1},
        {"six numbers",
         replaced(kGood, 11, "2024061000000.000 1 2 3 4 5 6"),
         {bad("ReadLCH"), "2024061000000.000 1 2 3 4 5 6"},
         1},
        {"no date is the time 0", put(kGood, 11, 1, "yesterday        "), {}, 2},
        {"a header alone", cut(kGood, 10), {kNoDataMessage}, 0, 2},
        {"less than a header", cut(kGood, 9), readError, 0, 2},
        {"the end before the number", cut(kGood, 5), readError, 0, 2},
    });
}

}  // namespace
}  // namespace vorlandi::testing
