#include <cstdlib>

#include "CoreServices/LocalDate.hpp"
#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::launch {

// clang-format off
const Lines kGood = {"TIME(SEC): TIME", "", "", "", "", "", "", "", "", "", "", "", "", "", "", "",
    "the last header line",
    "0 1 2 3 7000000 -1500 250 1000 7500 -500 11 12 13 14 15 LIFTOFF", "43200, 1, 2, 3, 7001000, -1500, 250,",
    "1000, 7500", "",
    ", -500, 11, 12, 13, 14, 15, 'MECO 1' 17",
    "64800 1 2 3 7002000 -1500 250 1000 7500 -500 11 12 13 14 15 SECO"};

static void setZone(const char* zone) {
    zone != nullptr ? setenv("TZ", zone, 1) : unsetenv("TZ");
    tzset();
}

// Read at 2024 March 1 23:30 UTC.
TEST(ReadLaunchFormat, CountsFromTheLocalDayOfReadingAndTakesSixteenValuesAsTheyCome) {
    setClock([]() -> std::time_t { return 1709335800; });
    for (const auto& [zone, day] : {std::pair{"WEST+5", kMarch1}, {"EAST-9", kMarch1 + 1.0}}) {
        setZone(zone);
        expectRecord(kGood, 99999, kEcr, {usual(day), usual(day + 0.5, 7001), usual(day + 0.75, 7002)});
    }
    setZone(nullptr);
    expectLoads("ReadLaunchFormat", {
        {"a label on the next line takes that line", put(kGood, 18, 57, "       "), {kReadError}, 0},
        {"a slash ends a record", put(kGood, 18, 50, "/ x"), {}, 3},
        {"a letter", put(kGood, 23, 7, "x"), {kReadError}, 0},
        {"a record cut by the end of the file", cut(kGood, 20), {}, 1},
        {"a cut header", cut(kGood, 16), {kReadError}, 0},
    });
    setClock(nullptr);
}
// clang-format on

}  // namespace vorlandi::testing::launch
