#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

// Satellite number, coordinate system and layout stand in the columns 30, 40 and 50.
std::string header(std::string_view satNum = "81001", std::string_view system = "HCSRL",
                   std::string_view layout = "") {
    return put(put(put({"KQ_UNIVERSAL_VORLANDI_V1.0"}, 1, 30, satNum), 1, 40, system), 1, 50, layout)[0];
}
// A time of 26 columns, and 19 for each number with one before it.
std::string fixed(std::string time, std::initializer_list<std::string_view> numbers) {
    time.resize(26, ' ');
    return time + fields(20, numbers);
}

const std::string kFixed = fixed("2026-01-31T00:00:00.000000", {"7000.5", "1", "2", "0.5", "7.5", "0.25"});
const std::string kCommas = "26031000000.000,7000.5,1,2,0.5 7.5,0.25";
const std::string kName = "ReadKQUniversalVorlan";

TEST(ReadKQUniversalVorlan, ReadsBothLayoutsAndNothingFromTheLineBefore) {
    const std::vector<State> states = {{27790.0, 7000.5, 1, 2, 0.5, 7.5, 0.25},
                                       {27790.0 + 60 / 86400.0, 7001, 0, 2}};
    expectRecord({header(), "* comment", "", kFixed, fixed("26031000100.000", {"7001", "", "2"})}, 81001, 17,
                 states);
    expectRecord(
        {header("81001", "HCSRL", "CSV"), "* comment", "", kCommas, "26031000100.000,7001,,2/ 5 6 7"}, 81001,
        17, states);
}

TEST(ReadKQUniversalVorlan, TakesSatelliteSystemAndLayoutFromTheHeader) {
    const std::string noSystem = failed(kName, "Invalid coordinate system."),
                      noNumber = failed(kName, "Invalid satellite number.");
    // clang-format off
    expectLoads({
        {"right-aligned", {header("     81001", "wptrl"), kFixed}, {}, 1, 81001, 18},
        {"five letters and more", {header("+5", "HcsGcxyz"), kFixed}, {}, 1, 5, 19},
        {"more behind the layout", {header("5", "WPTGC", "CSV x"), kCommas}, {}, 1, 5, 20},
        {"a longer layout", {header("5", "WPTGC", "CSVX"), kFixed}, {}, 1},
        {"a layout in lower case", {header("5", "WPTGC", "csv"), kFixed}, {}, 1},
        {"nothing behind the system", {header().substr(0, 44), kFixed}, {}, 1, 81001, 17},
        {"another system", {header("x", "ECI"), kFixed}, {noSystem}, 0},
        {"a column late", {header("5", " HCSRL"), kFixed}, {noSystem}, 0},
        {"no number", {header("x"), kFixed}, {noNumber}, 0},
        {"what stands for no number", {header("-123"), kFixed}, {noNumber}, 0},
        {"beyond 32 bits", {header("3000000000"), kFixed}, {noNumber}, 0},
    });
    // clang-format on
}

TEST(ReadKQUniversalVorlan, ReportsLinesItCannotRead) {
    const std::string time = "2026-01-30T23:00:00.000000", bad = testing::bad(kName),
                      csv = header("5", "HCSRL", "CSV");
    const std::string wide = kCommas.substr(0, 16) + std::string(486, ' ') + "1 2 3 4 5";
    // clang-format off
    std::vector<Case> cases = {
        {"column 27 is not read", put({header(), fixed(time, {"5"}), kFixed}, 2, 27, "x"), {}, 2},
        {"text behind column 146", put({header(), fixed(time, {"5"}), kFixed}, 2, 147, "x"), {}, 2},
        {"nothing behind the time", {header(), time, kFixed}, {}, 2},
        {"a letter in the last column", put({header(), time, kFixed}, 2, 146, "x"), {bad, "@2"}, 1},
        {"a comma", {header(), fixed(time, {"1,5"}), kFixed}, {bad, "@2"}, 1},
        {"before 1950, the state bad, too", {header(), fixed("1949-12-30T00:00:00", {"x"}), kFixed},
            {bad, "1949-12-30T00:00:00"}, 1},
        {"a second header", {header(), header(), kFixed}, {bad, "KQ_UNIVERSAL_VORLANDI_V1.0"}, 1},
        {"no line is longer than 512 columns", {csv, wide + " 6"}, {bad, wide, kNoData}, 0},
    };
    // A line with commas, before a good one.
    for (const auto& [line, error] : std::initializer_list<std::pair<std::string, const char*>>{
        {time + ",5 0 0 0 0 0", nullptr}, {time + "0,5 0 0 0 0 0", ""}, {"26030230000.000 5 0 0 0 0 0", ""},
            {time + ",,1,2,3,4,5", nullptr},
        {"  26030230000.000 ,\t5 , 0,0,0,0,0", nullptr}, {time + ",5,0,0,0,0,0,x", nullptr},
        {time + ",5,0,0,0,0,", "@2"},
        {time + ",5,0,o,0,0,0", "@2"}, {"never,x", "never"}, {",5,0,0,0,0,0", ""}, {csv, ""}})
        cases.push_back({line, {csv, line, kCommas}, error == nullptr ? Lines{} : Lines{bad, error},
            error == nullptr ? 2 : 1});
    // clang-format on
    expectLoads(cases);
}
}  // namespace
}  // namespace vorlandi::testing
