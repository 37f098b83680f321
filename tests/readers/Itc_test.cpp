#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

const std::string kHeader = " 255449" + at(45, "2024050000000.000") + at(39, "WCOV  SP");

std::string state(std::string_view time) {
    return "   " + std::string(time) + fields(16, {"7000500000", "-1.5", "", "1.5", "15", "-7.25"});
}

const Lines kGood = {kHeader,
                     state("24061000000.000"),
                     "1 2 3 4 5 6 7",
                     "8 9 10 11 12 13 14",
                     "15 16 17 18 19 20 21",
                     state("24061120000.000"),
                     "0 0 0 0 0 0 0",
                     "0,0,0,0,0,0,0",
                     "0 0 0 0 0 0 0"};
const Lines kWithoutCovariance = {" 255449" + at(45, "2024050000000.000") + at(39, "WOCOV SP"),
                                  state("24061000000.000"), state("24061120000.000")};

TEST(ReadITC, ReadsStatesWithTheirCovariance) {
    const Vorlanrecord record = recordOf(kGood);
    EXPECT_EQ(record.satNum, 25544);
    EXPECT_EQ(record.coordSys, kEci);
    EXPECT_EQ(record.epoch, kMarch1) << "the first point's time, not the header's";
    EXPECT_EQ(readAlone(vorlandi::ReadITC, cut(kGood, 1)).epoch, kMarch1 - 11.0);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[0], kMarch1, {7000.5, -1.5, 0.0, 1.5, 15e-9, -7.25});
    for (int k = 0; k < 21; ++k)
        EXPECT_EQ(record.points[0].cov[k], k + 1.0);
    EXPECT_EQ(record.points[1].cov[20], 0.0);
}

TEST(ReadITC, ReadsOneLinePerPointWithoutCovariance) {
    const Vorlanrecord record = recordOf(kWithoutCovariance);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[1], kMarch1 + 0.5, {7000.5, -1.5, 0.0, 1.5, 15e-9, -7.25});
    EXPECT_EQ(recordOf(put(kWithoutCovariance, 1, 2, "2x")).satNum, 0) << "the number is not checked";
}

TEST(ReadITC, ReportsBadPointsAndDropsAnUnfinishedOne) {
    const Lines letter = put(kGood, 2, 30, "x");
    expectLoads({
        {"month 13 is no day", put(kGood, 2, 6, "999"), {bad("ReadITC"), "24999000000.000"}, 1},
        {"a letter", letter, {bad("ReadITC"), letter[1]}, 1},
        {"six numbers", replaced(kGood, 4, "8 9 10 11 12 13"), {bad("ReadITC"), "8 9 10 11 12 13"}, 1},
        {"the last point unfinished", cut(kGood, 8), {}, 1},
        {"no points", cut(kGood, 1), {kNoDataMessage}, 0, 2},
    });
}

}  // namespace
}  // namespace vorlandi::testing
