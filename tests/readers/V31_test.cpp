#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::v31 {

// clang-format off
const std::string kState = fields(19, {"7000.00000000", "-1.5", "025000000", "1000.0", "7500.0",
    "-50000000000"});
const std::string kData(48, '='), kDataEnd(48, 'E'), kEnd(48, 'Z'),
    kBadTime = "*** ReadV31-Invalid ephemeris time format : Bad ephemeris data. ***";
const Lines kGood = {"Ephemeris file for satellite 255449", "Propagation by" + at(52, "ECI"), kData,
    "24061000000.000" + kState, "* a comment", "", "24061120000.000" + kState, kDataEnd, "x" + kData, kData,
    "24061180000.000" + kState, kDataEnd, kEnd,
    kData, "24061230000.000" + kState};

TEST(ReadV31, ReadsEverySectionUpToTheEndMark) {
    expectRecord(kGood, 25544, kEci, {usual(kMarch1), usual(kMarch1 + 0.5), usual(kMarch1 + 0.75)});
    expectLoads("ReadV31", {
        {"no frame", put(kGood, 2, "x"), {}, 3, 25544, kEci},
        {"the last frame counts", put(kGood, 9, "Propagation by" + at(52, "EFG")), {}, 3, 25544, kEfg},
        {"no such hour", put(kGood, 4, 6, "25"), {kBadTime, "24061250000.000"}, 2},
        {"a letter in x", put(kGood, 4, 20, "a"), {"!" + put({kState}, 1, 5, "a")[0]}, 2},
        {"an end mark in the data", put(kGood, 7, 1, kEnd), {kBadTime, std::string(15, 'Z')}, 2},
        {"no end of the data", cut(kGood, 7), {}, 2}, {"no end mark", put(kGood, 13, "x"), {}, 4},
        {"a mark of 47 characters", put(kGood, 3, kData.substr(1)), {}, 1},
        {"no number", put(kGood, 1, 30, "25a44"), {"@1", "*Invalid satellite number."}, 0},
        {"unknown frame", put(kGood, 2, 66, "J2K"), {"@2", "*Unrecognized Coordinates."}, 0},
    });
}
// clang-format on

}  // namespace vorlandi::testing::v31
