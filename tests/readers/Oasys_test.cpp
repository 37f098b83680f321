#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::oasys {

// clang-format off
const Lines kGood = {"anything", at(13, "Version: 3"), "*024/03/01 12:00:00.000 1 2 3 4 5 6", "",
    "2024/03/01 12:00:00.0005 7000 -1.5 0.25 1 7.5 -0.5", "2024-03-01 12:00:40.000 is passed over",
    "2024/03/01 18:00:00.000 7001,-1.5,0.25,1,7.5,-0.5"};

TEST(ReadOASYS, ReadsTheLinesThatBeginWithADateFromTheStartOfTheFile) {
    const std::vector<State> states = {usual(kMarch1 + 0.5), usual(kMarch1 + 0.75, 7001)};
    expectRecord(kGood, 25544, kJ2k, states, "folder/25544_iss.txt");
    expectRecord(put(kGood, 1, at(10, "Spacecraft:12345")), 12345, kJ2k, states);
    expectRecord(put(kGood, 6, at(10, "Spacecraft: 54321\tISS")), 54321, kJ2k, states);
    expectRecord({kGood[4], kGood[6]}, 99999, kJ2k, states);  // recognised by a data line
    expectLoads("ReadOASYS", {
        {"five numbers", put(kGood, 5, "2004/03/01 12:00:30.000 7000 0 0 0 7.5"), {"!@5"}, 1},
        {"no date is the time 0", put(kGood, 5, 6, "13"), {}, 2},
        {"no data line", cut(kGood, 3), {kNoData}, 0},
    });
}
// clang-format on

}  // namespace vorlandi::testing::oasys
