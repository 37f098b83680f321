#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {

// clang-format off
const std::string kState = fields(19, {"7000.00000000", "-1.5", "", "7500.0", "0.0", "-300000000"});
const std::string kData(48, '='), kDataEnd(48, 'E'), kEnd(48, 'Z');
const Lines kGood = {"Ephemeris file for satellite 255449", "Propagation by" + at(52, "ECI"), kData,
    "24061000000.000" + kState, "* a comment",
                     "", "24061120000.000" + kState, kDataEnd, "x" + kData, kData, "24061180000.000" + kState,
                         kDataEnd, kEnd, kData,
                     "24061230000.000" + kState};

TEST(ReadV31, ReadsEverySectionUpToTheEndMark) {
    const double v = 7500.0 * 0.001, w = -3.0 * 0.001;
    expectRecord(kGood, 25544, kEci, {{kMarch1, 7000, -1.5, 0, v, 0, w},
        {kMarch1 + 0.5, 7000, -1.5, 0, v, 0, w}, {kMarch1 + 0.75, 7000, -1.5, 0, v, 0, w}});
    const std::string badTime = bad("ReadV31-Invalid ephemeris time format");
    const Lines letter = put(kGood, 4, 20, "a");
    expectLoads({
        {"no frame", replaced(kGood, 2, "x"), {}, 3, 25544, kEci},
        {"the last frame counts", replaced(kGood, 9, "Propagation by" + at(52, "EFG")), {}, 3, 25544, kEfg},
        {"no such hour", put(kGood, 4, 6, "25"), {badTime, "24061250000.000"}, 2},
        {"a letter in x", letter, {bad("ReadV31"), letter[3].substr(15)}, 2},
        {"an end mark in the data", put(kGood, 7, 1, kEnd), {badTime, std::string(15, 'Z')}, 2},
        {"the file ends in the data", cut(kGood, 7), {}, 2}, {"no end mark", replaced(kGood, 13, "x"), {}, 4},
        {"no number", put(kGood, 1, 30, "25a44"), {"@1", failed("ReadV31", "Invalid satellite number.")}, 0},
        {"unknown frame", put(kGood, 2, 66, "J2K"), {"@2", failed("ReadV31", "Unrecognized Coordinates.")},
            0},
    });
}
// clang-format on
}  // namespace vorlandi::testing
