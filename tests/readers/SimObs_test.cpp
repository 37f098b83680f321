#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {

// clang-format off
static std::string identification(std::string_view time) { return " 255449" + std::string(time) + "1234567x" + at(46, "EFG"); }
const Lines kGood = {fields(22, {"7.4E-02", "6378.0"}) + " 24050000000.000" + at(20, "Z"),
    identification("24061000000.000"), fields(22, {"7000", "-1.5000000000000000000", ""}),
        fields(22, {"1.0", "7.5", "-5E-1"}),
    identification("24061120000.000"), fields(22, {"7001", "-1.5", ""}), fields(22, {"1.0", "7.5", "-5D-1"})};

TEST(ReadSimObs, ReadsHeaderAndGroupsOfThreeLines) {
    const Vorlanrecord record = expectRecord(kGood, 25544, kEfg, {{kMarch1, 7000, -1.5, 0, 1, 7.5, -0.5},
        {kMarch1 + 0.5, 7001, -1.5, 0, 1, 7.5, -0.5}});
    EXPECT_THAT((std::array{record.ke, record.earthRadius}), ::testing::ElementsAre(7.4e-2, 6378.0));
    const std::string error = bad("ReadSimObs");
    expectLoads({
        {"no number", put(kGood, 2, 2, "25x"), {error, "@2"}, 1},
        {"day 999", put(kGood, 2, 10, "999"), {error, "24999000000.000"}, 1},
        {"a letter in the field that is not used", put(kGood, 5, 23, "a"), {error, "@5"}, 1},
        {"and at its end", put(kGood, 5, 29, "a"), {error, "@5"}, 1},
        {"a letter in a position", put(kGood, 6, 30, "x"), {error, "@6"}, 1},
        {"in a velocity", put(kGood, 7, 30, "x"), {error, "@7"}, 1},
        {"unknown frame", put(kGood, 2, 76, "TOD"), {"@2",
            failed("ReadSimObs", "Invalid Coordinate system.")}, 0},
        {"a bad header", put(kGood, 1, 30, "x"), {failed("ReadSimObs")}, 0},
        {"two lines of a group", cut(kGood, 6), {}, 1},
    });
}
// clang-format on
}  // namespace vorlandi::testing
