#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::eelv {

// The header's points are at columns 2, 25, 48 and so on.
// clang-format off
const Lines kGood = {"2.024E3                3.9                    1.0                    1.2E1                  "
                     "0.0                    0.0E1                  ", "21600, 1000, 0, 0, 1, 0, -2",
                     "43200 2000 0 0 1 0 -2 8 9"};

TEST(ReadEELV, CountsFromItsFirstLineAndConvertsFeet) {
    const double foot = 0.0003048;
    expectRecord(kGood, 99999, kEci, {{kMarch1 + 0.75, 1000 * foot, 0, 0, foot, 0, -2 * foot},
                                      {kMarch1 + 1.0, 2000 * foot, 0, 0, foot, 0, -2 * foot}});
    const std::string invalid = "*Invalid EELV first line.";
    expectLoads("ReadEELV", {
        {"a letter", put(kGood, 1, 26, "x"), {"@1", invalid}, 0},
        {"a point alone", put(kGood, 1, 116, " .    "), {"@1", invalid}, 0},
        {"beyond 32 bits", put(kGood, 1, 1, "3.0E9  "), {"@1", invalid}, 0},
        {"one below 32 bits", put(kGood, 1, 1, "-.2147483649E10"), {"@1", invalid}, 0},
        {"below", put(kGood, 1, 24, "-.3E99 "), {"@1", invalid}, 0},
        {"six numbers", put(kGood, 2, "60 1 2 3 4 5"), {"!@2"}, 1},
        {"a blank line", put(kGood, 2, ""), {"!"}, 1},
        {"hour 24", put(kGood, 1, 70, "2.4E1"), {}, 2},
    });
    const std::string noDate =
        "ReadEELV: test.txt:1: the first line is not a date: year, month, day, hour, minute and seconds.";
    expectLoads("ReadEELV", {{"hour 24", put(kGood, 1, 70, "2.4E1"), {noDate, "@1", invalid}, 0}},
                ReadingRules::practical());
}
// clang-format on

}  // namespace vorlandi::testing::eelv
