#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

const Lines kGood = {"25544", "1 2 3.5 0.5 7000 -1.5 0.25 1 7.5 -0.5 0 0 0 0",
                     "1,2,3.5,1.5,7001,-1.5,0.25,1,7.5,-0.5,0,0,0,0,15,16",
                     "1 2 3.5 2.5 7002 -1.5 0.25 1 7.5 -0.5 0 0 0 0"};

TEST(ReadDCEText, ReadsFourteenNumbersALine) {
    const Vorlanrecord record = recordOf(kGood);
    EXPECT_EQ(record.satNum, 25544);
    EXPECT_EQ(record.coordSys, kEci);
    EXPECT_EQ(record.epoch, 7305.5);
    ASSERT_EQ(record.numberOfPoints(), 3);
    expectPoint(record.points[1], 7306.5, {7001.0, -1.5, 0.25, 1.0, 7.5, -0.5});
}

TEST(ReadDCEText, EndsWithTheFirstLineItCannotUse) {
    const Lines readError = {"*** ReadDCEText: File read error. ***"};
    expectLoads({
        {"thirteen numbers", replaced(kGood, 3, "1 2 3.5 1.5 7001 -1.5 0.25 1 7.5 -0.5 0 0 0"), {}, 1},
        {"a blank line", replaced(kGood, 3, ""), {}, 1},
        {"a letter behind the state", put(kGood, 3, 41, "x"), readError, 0, 2},
        {"a fraction for an integer", put(kGood, 2, 1, "1.5"), readError, 0, 2},
        {"a number alone", cut(kGood, 1), {kNoDataMessage}, 0, 2},
    });
}

}  // namespace
}  // namespace vorlandi::testing
