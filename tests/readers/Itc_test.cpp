#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::itc {

// clang-format off
static std::string state(const std::string& time) {
    return "   " + time + fields(16, {"7000500000", "-1.5", "", "1.5", "15", "-7.25"});
}
const Lines kGood = {"8255449" + at(45, "2024050000000.000") + at(39, "WCOV  SP"), state("24061000000.000"),
    "1 2 3 4 5 6 7", "8 9 10 11 12 13 14", "15 16 17 18 19 20 21", state("24061120000.000"), "0 0 0 0 0 0 0",
    "0,0,0,0,0,0,0", "0 0 0 0 0 0 0"};

TEST(ReadITC, ReadsOneLinePerPointOrFourWithTheCovariance) {
    const std::vector<State> states = {{kMarch1, 7000.5, -1.5, 0, 1.5, 15e-9, -7.25},
        {kMarch1 + 0.5, 7000.5, -1.5, 0, 1.5, 15e-9, -7.25}};
    const Vorlanrecord record = expectRecord(kGood, 25544, kEci, states);
    for (int k = 0; k < 21; ++k)
        EXPECT_EQ(record.points[0].cov[k] + 2 * record.points[1].cov[k], k + 1.0);
    // Without covariance, and with a number that is not checked
    expectRecord(put({put(kGood, 1, 107, "WOCOV")[0], kGood[1], kGood[5]}, 1, 2, "2x"), 0, kEci, states);
    expectLoads("ReadITC", {
        {"no such day", put(kGood, 2, 6, "999"), {"!24999000000.000"}, 1},
        {"a letter", put(kGood, 2, 30, "x"), {"!@2"}, 1},
        {"six numbers", put(kGood, 4, "8 9 10 11 12 13"), {"!@4"}, 1},
        {"an unfinished point", cut(kGood, 8), {}, 1},
    });
}
// clang-format on

}  // namespace vorlandi::testing::itc
