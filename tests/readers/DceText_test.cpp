#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {

// clang-format off
const Lines kGood = {"25544", "1 2 3.5 0.5 7000 -1.5 0.25 1 7.5 -0.5 0 0 0 0",
    "1,2,3.5,1.5,7001,-1.5,0.25,1,7.5,-0.5,0,0,0,0,15,16"};

TEST(ReadDCEText, ReadsFourteenNumbersALineUpToOneItCannotUse) {
    expectRecord(kGood, 25544, kEci, {usual(7305.5), usual(7306.5, 7001)});
    const std::string error = failed("ReadDCEText");
    expectLoads({
        {"thirteen numbers", replaced(kGood, 3, "1 2 3.5 1.5 7001 -1.5 0.25 1 7.5 -0.5 0 0 0"), {}, 1},
        {"a blank line", replaced(joined(kGood, {kGood[2]}), 3, ""), {}, 1},
        {"a letter behind the state", put(kGood, 3, 41, "x"), {error}, 0},
        {"a fraction", put(kGood, 2, 1, "1.5"), {error}, 0},
    });
}
// clang-format on
}  // namespace vorlandi::testing
