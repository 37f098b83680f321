#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {

// clang-format off
const Lines kGood = {"* a comment", "24061000000.000 7000.0 -1.5 0.25 1.0 7.5 -0.5", "",
    "24061120000.0007001,-1.5,0.25,1,7.5,-0.5"};

TEST(ReadOwner, ReadsFromTheFirstLineOnAndReportsBadOnes) {
    expectRecord(kGood, 5, kJ2k, {usual(kMarch1), usual(kMarch1 + 0.5, 7001)}, "folder\\00005_owner.txt");
    expectLoads({
        {"no date", put(kGood, 4, 1, std::string(15, ' ')), {bad("ReadOwner"), "@4"}, 1},
        {"five numbers", replaced(kGood, 4, "24061120000.000 7001 0 0 0 7.5"), {bad("ReadOwner"), "@4"}, 1},
        {"lines before the one recognised are read, too", joined({"24060000000.000 1 2 3 4 5 6"}, kGood), {},
            3},
        {"a first date that is none", put(kGood, 2, 3, "999"), {bad("ReadOwner"), "@2"}, 1},
    });
}
// clang-format on
}  // namespace vorlandi::testing
