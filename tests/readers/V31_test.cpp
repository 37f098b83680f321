#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

const std::string kState = fields(19, {"7000.00000000", "-1.5", "", "7500.0", "0.0", "-300000000"});
const std::string kData(48, '=');
const std::string kDataEnd(48, 'E');
const Lines kGood = {"Ephemeris file for satellite 255449",
                     "Propagation by" + at(52, "ECI"),
                     kData,
                     "24061000000.000" + kState,
                     "* a comment",
                     "",
                     "24061120000.000" + kState,
                     kDataEnd,
                     "x" + kData,
                     kData,
                     "24061180000.000" + kState,
                     kDataEnd,
                     std::string(48, 'Z'),
                     kData,
                     "24061230000.000" + kState};

TEST(ReadV31, ReadsEverySectionUpToTheEndMark) {
    const Vorlanrecord record = recordOf(kGood);
    EXPECT_EQ(record.satNum, 25544);
    EXPECT_EQ(record.coordSys, kEci);
    EXPECT_EQ(record.epoch, kMarch1);
    ASSERT_EQ(record.numberOfPoints(), 3);
    expectPoint(record.points[1], kMarch1 + 0.5, {7000.0, -1.5, 0.0, 7500.0 * 0.001, 0.0, -3.0 * 0.001});
}

TEST(ReadV31, ReadsCoordinatesAndImpliedDecimals) {
    EXPECT_EQ(recordOf(replaced(kGood, 2, "x")).coordSys, kEci);
    EXPECT_EQ(recordOf(replaced(kGood, 9, "Propagation by" + at(52, "EFG"))).coordSys, kEfg) << "last wins";
    const Vorlanrecord record = recordOf(put(kGood, 4, 16, fields(19, {"123456789"})));
    EXPECT_EQ(record.points[0].pos[0], 1.23456789);
}

TEST(ReadV31, ReportsWhatItCannotRead) {
    const std::string badTime = "ReadV31-Invalid ephemeris time format";
    const Lines letter = put(kGood, 4, 20, "a");
    const Lines noNumber = put(kGood, 1, 30, "25a44");
    const Lines j2k = put(kGood, 2, 66, "J2K");
    expectLoads({
        {"no such hour", put(kGood, 4, 6, "25"), {bad(badTime), "24061250000.000"}, 2},
        {"a letter in x", letter, {bad("ReadV31"), letter[3].substr(15)}, 2},
        {"an end mark in the data",
         put(kGood, 7, 1, std::string(48, 'Z')),
         {bad(badTime), std::string(15, 'Z')},
         2},
        {"the file ends in the data", cut(kGood, 7), {}, 2},
        {"no end mark", replaced(kGood, 13, "x"), {}, 4},
        {"no number", noNumber, {noNumber[0], "*** ReadV31: Invalid satellite number. ***"}, 0, 2},
        {"unknown frame", j2k, {j2k[1], "*** ReadV31: Unrecognized Coordinates. ***"}, 0, 2},
    });
}

}  // namespace
}  // namespace vorlandi::testing
