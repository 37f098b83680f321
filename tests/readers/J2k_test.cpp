#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::j2k {

// clang-format off
const Lines kGood = {" SPEPH Prediction Ephemeris",
    "  25544    24 061 12 00 00.0009 7000 -1.5 0.25 1 7.5 -0.5",
                     "  25544    24  61 18  0  0.0   7001,-1.5,0.25,1,7.5,-0.5"};

TEST(ReadJ2K, ReadsDatesInGroupsWithBlanksForZerosAndNoNumber) {
    expectRecord(kGood, 0, kJ2k, {usual(kMarch1 + 0.5), usual(kMarch1 + 0.75, 7001)});
    expectLoads("ReadJ2K", {
        {"a heading", put(kGood, 2, at(12, "YY DDD HH MM SS.SSSx     X")), {"!YY DDD HH MM SS.SSS"}, 1},
        {"five numbers", put(kGood, 2, "  25544    04 061 12 00 30.000 7000 0 0 0 7.5"), {"!@2"}, 1},
        {"a blank line", put(kGood, 2, ""), {"!"}, 1},
    });
}
// clang-format on

}  // namespace vorlandi::testing::j2k
