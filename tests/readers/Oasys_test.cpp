#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

const Lines kGood = {"anything",
                     at(13, "Version: 3"),
                     "*004/03/01 12:00:30.000 1 2 3 4 5 6",
                     "",
                     "2004/03/01 12:00:30.0005 7000 0 0 0 7.5 0",
                     "2004-03-01 12:00:40.000 is passed over",
                     "2004/03/01 12:01:30.000 7001,0,0,0,7.5,0"};
const std::string kName = "folder/25544_iss.txt";

TEST(ReadOASYS, ReadsTheLinesThatBeginWithADate) {
    const Vorlanrecord record = recordOf(kGood, kName);
    EXPECT_EQ(record.satNum, 25544);
    EXPECT_EQ(record.coordSys, kJ2k);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[0], 19784.0 + 43230.0 / 86400.0, {7000.0, 0.0, 0.0, 0.0, 7.5, 0.0});
}

TEST(ReadOASYS, TakesTheNumberFromTheFileNameOrASpacecraftLine) {
    EXPECT_EQ(recordOf(kGood, "iss.oasys").satNum, 99999);
    EXPECT_EQ(recordOf(kGood, "C:\\data\\12 _x").satNum, 99999);
    EXPECT_EQ(recordOf(kGood, "12   and more").satNum, 12);
    Lines named = replaced(kGood, 1, at(10, "Spacecraft:12345"));
    EXPECT_EQ(recordOf(named, kName).satNum, 12345) << "read from the start of the file";
    EXPECT_EQ(recordOf(replaced(named, 6, at(10, "Spacecraft: 54321")), kName).satNum, 54321);
}

TEST(ReadOASYS, ReportsABadLineAndGoesOn) {
    const Lines fiveNumbers = replaced(kGood, 5, "2004/03/01 12:00:30.000 7000 0 0 0 7.5");
    expectLoads(
        {
            {"five numbers", fiveNumbers, {bad("ReadOASYS"), fiveNumbers[4]}, 1},
            {"no date is the time 0", put(kGood, 5, 6, "13"), {}, 2},
            {"no data line", cut(kGood, 3), {kNoDataMessage}, 0, 2},
            {"recognised by a data line", Lines(kGood.begin() + 4, kGood.end()), {}, 2},
        },
        kName);
}

}  // namespace
}  // namespace vorlandi::testing
