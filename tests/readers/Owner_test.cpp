#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::owner {

// clang-format off
const Lines kGood = {"24060000000.000 7000 -1.5 0.25 1 7.5 -0.5", "* a comment",
    "24061000000.000 7001.0 -1.5 0.25 1.0 7.5 -0.5", "",
                     "24061120000.0007002,-1.5,0.25,1,7.5,-0.5"};

TEST(ReadOwner, ReadsFromTheFirstLineOnAndReportsBadOnes) {
    expectRecord(kGood, 5, kJ2k, {usual(kMarch1 - 1), usual(kMarch1, 7001), usual(kMarch1 + 0.5, 7002)},
        "folder\\00005_owner.txt");
    expectLoads("ReadOwner", {
        {"no date", put(kGood, 5, 1, std::string(15, ' ')), {"!@5"}, 2},
        {"a bad first date", put(kGood, 3, 3, "999"), {"!@3"}, 2},
        {"a card after the first point", put(kGood, 5, "EPHFIL = other"), {"!@5"}, 2},
        {"five numbers", put(kGood, 5, "24061120000.000 7001 0 0 0 7.5"), {"!@5"}, 2},
    });
}
// clang-format on

}  // namespace vorlandi::testing::owner
