#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::sim_obs {

// clang-format off
const Lines kGood = {fields(22, {"7.4E-02", "6378.0"}) + " 24050000000.000" + at(20, "Z"),
    "825544924061000000.0001234567x" + at(46, "EFG"), fields(22, {"7000", "-1.5000000000000000000", ".25"}),
    fields(22, {"1.0", "7.5", "-5E-1"}),
    "825544924061120000.0001234567x" + at(46, "EFG"), fields(22, {"7001", "-1.5", ".25"}),
    fields(22, {"1.0", "7.5", "-5D-1"})};

TEST(ReadSimObs, ReadsHeaderAndGroupsOfThreeLines) {
    const Vorlanrecord record = expectRecord(kGood, 25544, kEfg,
        {usual(kMarch1), usual(kMarch1 + 0.5, 7001)});
    EXPECT_EQ((std::pair{record.ke, record.earthRadius}), (std::pair{7.4e-2, 6378.0}));
    expectLoads("ReadSimObs", {
        {"no number", put(kGood, 2, 2, "25x"), {"!@2"}, 1},
        {"day 999", put(kGood, 2, 10, "999"), {"!24999000000.000"}, 1},
        {"in the unused field", put(kGood, 5, 23, "a"), {"!@5"}, 1},
        {"at its end", put(kGood, 5, 29, "a"), {"!@5"}, 1},
        {"a letter in a position", put(kGood, 6, 30, "x"), {"!@6"}, 1},
        {"in a velocity", put(kGood, 7, 30, "x"), {"!@7"}, 1},
        {"unknown frame", put(kGood, 2, 76, "TOD"), {"@2", "*Invalid Coordinate system."}, 0},
        {"a bad header", put(kGood, 1, 30, "x"), {kReadError}, 0},
        {"two lines of a group", cut(kGood, 6), {}, 1},
    });
}
// clang-format on

}  // namespace vorlandi::testing::sim_obs
