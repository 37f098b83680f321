#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {

// clang-format off
const Lines kGood = {"anything", at(13, "Version: 3"), "*024/03/01 12:00:00.000 1 2 3 4 5 6", "",
    "2024/03/01 12:00:00.0005 7000 0 0 0 7.5 0",
                     "2024-03-01 12:00:40.000 is passed over", "2024/03/01 18:00:00.000 7001,0,0,0,7.5,0"};

TEST(ReadOASYS, ReadsTheLinesThatBeginWithADateFromTheStartOfTheFile) {
    expectRecord(kGood, 25544, kJ2k, {{kMarch1 + 0.5, 7000, 0, 0, 0, 7.5, 0},
        {kMarch1 + 0.75, 7001, 0, 0, 0, 7.5, 0}}, "folder/25544_iss.txt");
    const Lines named = replaced(kGood, 1, at(10, "Spacecraft:12345"));
    expectLoads({
        {"a number in the file", named, {}, 2, 12345},
        {"another", replaced(named, 6, at(10, "Spacecraft: 54321")), {}, 2, 54321},
        {"five numbers", replaced(kGood, 5, "2004/03/01 12:00:30.000 7000 0 0 0 7.5"),
            {bad("ReadOASYS"), "@5"}, 1},
        {"no date is the time 0", put(kGood, 5, 6, "13"), {}, 2},
        {"no data line", cut(kGood, 3), {kNoData}, 0},
        {"recognised by a data line", Lines(kGood.begin() + 4, kGood.end()), {}, 2},
    });
}
// clang-format on
}  // namespace vorlandi::testing
