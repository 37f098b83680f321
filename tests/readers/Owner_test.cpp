#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

const Lines kGood = {"* a comment", "24061000000.000 7000.0 -1.5 0.25 1.0 7.5 -0.5", "",
                     "24061120000.0007001,-1.5,0.25,1,7.5,-0.5",
                     "24061180000.000 7002.0 -1.5 0.25 1.0 7.5 -0.5"};
const std::string kName = "folder\\00005_owner.txt";

TEST(ReadOwner, ReadsFromTheFirstLineOn) {
    const Vorlanrecord record = recordOf(kGood, kName);
    EXPECT_EQ(record.satNum, 5);
    EXPECT_EQ(record.coordSys, kJ2k);
    EXPECT_EQ(record.epoch, kMarch1);
    EXPECT_EQ(readAlone(vorlandi::ReadOwner, {kGood[1], kGood[0]}).epoch, kMarch1);
    ASSERT_EQ(record.numberOfPoints(), 3);
    expectPoint(record.points[0], kMarch1, {7000.0, -1.5, 0.25, 1.0, 7.5, -0.5});
    expectPoint(record.points[1], kMarch1 + 0.5, {7001.0, -1.5, 0.25, 1.0, 7.5, -0.5});
    EXPECT_EQ(recordOf(kGood, "owner.txt").satNum, 99999);
}

TEST(ReadOwner, ReportsABadLineAndGoesOn) {
    const Lines noDate = put(kGood, 4, 1, std::string(15, ' '));
    const Lines fiveNumbers = replaced(kGood, 4, "24061120000.000 7001 0 0 0 7.5");
    expectLoads({
        {"no date", noDate, {bad("ReadOwner"), noDate[3]}, 2},
        {"five numbers", fiveNumbers, {bad("ReadOwner"), fiveNumbers[3]}, 2},
        {"times that fall back", put(kGood, 5, 6, "06"), {}, 2},
        {"lines before the one recognised are read, too",
         joined({"24060000000.000 1 2 3 4 5 6"}, kGood),
         {},
         4},
        {"a first date that is none",
         put(kGood, 2, 3, "999"),
         {bad("ReadOwner"), "24999000000.000 7000.0 -1.5 0.25 1.0 7.5 -0.5"},
         2},
    });
}

}  // namespace
}  // namespace vorlandi::testing
