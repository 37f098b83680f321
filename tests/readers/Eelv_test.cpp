#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {

// The header's points stand in the columns 2, 25, 48 and so on.
// clang-format off
const Lines kGood = {"2.004E3                3.9                    1.0                    1.2E1                  "
                     "0.0                    3.0E1                  ", "60, 1000, 0, 0, 1, 0, -2",
                         "120 2000 0 0 1 0 -2 8 9"};

TEST(ReadEELV, CountsFromItsFirstLineAndConvertsFeet) {
    const double foot = 0.0003048, time = 19784.0 + 43230.0 / 86400.0;  // 2004 March 1 12:00:30
    expectRecord(kGood, 99999, kEci, {{time + 60 / 86400.0, 1000 * foot, 0, 0, foot, 0, -2 * foot},
                                      {time + 120 / 86400.0, 2000 * foot, 0, 0, foot, 0, -2 * foot}});
    const std::string invalid = failed("ReadEELV", "Invalid EELV first line.");
    expectLoads({
        {"a letter in the month", put(kGood, 1, 26, "x"), {"@1", invalid}, 0},
        {"a point alone", put(kGood, 1, 116, " .    "), {"@1", invalid}, 0},
        {"a year beyond 32 bits", put(kGood, 1, 1, "3.0E9  "), {"@1", invalid}, 0},
        {"a month below 32 bits", put(kGood, 1, 24, "-.3E99 "), {"@1", invalid}, 0},
        {"six numbers", replaced(kGood, 2, "60 1 2 3 4 5"), {bad("ReadEELV"), "@2"}, 1},
        {"a blank line", replaced(kGood, 2, ""), {bad("ReadEELV"), ""}, 1},
    });
}
// clang-format on
}  // namespace vorlandi::testing
