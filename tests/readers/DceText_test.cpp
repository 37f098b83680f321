#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::dce_text {

// clang-format off
const Lines kGood = {"25544", "1 2 3.5 0.5 7000 -1.5 0.25 1 7.5 -0.5 0 0 0 0",
                     "1,2,3.5,1.5,7001,-1.5,0.25,1,7.5,-0.5,0,0,0,0,15,16"};

TEST(ReadDCEText, ReadsFourteenNumbersPerLineUpToOneItCannotUse) {
    expectRecord(kGood, 25544, kEci, {usual(7305.5), usual(7306.5, 7001)});
    expectLoads("ReadDCEText", {
        {"thirteen numbers", put(kGood, 3, "1 2 3.5 1.5 7001 -1.5 0.25 1 7.5 -0.5 0 0 0"), {}, 1},
        {"a blank line", put(put(kGood, 2, "\n" + kGood[1]), 1, "5\n" + kGood[2]), {}, 1, 5},
        {"words after the number", put(kGood, 1, "12345 ISS (ZARYA)"), {}, 2, 12345},
        {"a letter", put(kGood, 3, 41, "x"), {kReadError}, 0},
        {"a fraction", put(kGood, 2, 1, "1.5"), {kReadError}, 0},
    });
}
// clang-format on

}  // namespace vorlandi::testing::dce_text
