#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::universal {

// clang-format off
// Satellite number, coordinate system and layout begin at columns 30, 40 and 50.
static std::string header(std::string_view satNum = "81001", std::string_view system = "HCSRL",
    std::string_view layout = "") {
    return put(put(put({"KQ_UNIVERSAL_VORLANDI_V1.0"}, 1, 30, satNum), 1, 40, system), 1, 50, layout)[0];
}
// A time of 26 columns, and 19 for each number with one before it.
static std::string fixed(const std::string& time, std::initializer_list<std::string_view> numbers) {
    return put({time}, 1, 27, fields(20, numbers))[0];
}
const std::string kCsv = header("81001", "HCSRL", "CSV");
const std::string kFixed = fixed("2026-01-31T00:00:00.000000", {"7000", "-1.5", "0.25", "1", "7.5", "-0.5"});
const std::string kCommas = "26031000000.000,7000,-1.5,0.25,1 7.5,-0.5";

TEST(ReadKQUniversalVorlan, TakesSatelliteSystemAndLayoutFromTheHeader) {
    const std::vector<State> states = {usual(27790.0), {27790.5, 7001, 0, 2}};
    expectRecord({header(), "* comment", "", kFixed, fixed("26031120000.000", {"7001", "", "2"})}, 81001, 17,
        states);
    expectRecord({kCsv, "* comment", "", kCommas, "26031120000.000,7001,,2/ 5 6 7"}, 81001, 17, states);
    const std::string noSystem = "*Invalid coordinate system.", noNumber = "*Invalid satellite number.";
    expectLoads("ReadKQUniversalVorlan", {
        {"right-aligned", {header("     81001", "wptrl"), kFixed}, {}, 1, 81001, 18},
        {"five letters", {header("+5", "HcsGcxyz"), kFixed}, {}, 1, 5, 19},
        {"more after the layout", {header("5", "WPTGC", "CSV x"), kCommas}, {}, 1, 5, 20},
        {"no layout", {header("5", "WPTGC", "CSVX"), kFixed}, {}, 1},
        {"a layout in lower case", {header("5", "WPTGC", "csv"), kFixed}, {}, 1},
        {"no layout, no blanks", {header().substr(0, 44), kFixed}, {}, 1, 81001, 17},
        {"another system", {header("x", "ECI"), kFixed}, {noSystem}, 0},
        {"a column late", {header("5", " HCSRL"), kFixed}, {noSystem}, 0},
        {"a word after the number", {header("5 x"), kFixed}, {}, 1, 5},
        {"a letter after the number", {header("5x"), kFixed}, {noNumber}, 0},
        {"no number", {header("x"), kFixed}, {noNumber}, 0},
        {"two signs", {header("+-5"), kFixed}, {noNumber}, 0},
        {"the code for no number", {header("-123"), kFixed}, {noNumber}, 0},
    });
}

TEST(ReadKQUniversalVorlan, ReportsLinesItCannotRead) {
    const std::string time = "2026-01-30T23:00:00.000000";
    const std::string wide = kCommas.substr(0, 16) + std::string(486, ' ') + "1 2 3 4 5";
    const Lines five = {header(), fixed(time, {"5"}), kFixed};
    std::vector<Case> cases = {
        {"column 27 is not read", put(five, 2, 27, "x"), {}, 2},
        {"nor is column 147", put(five, 2, 147, "x"), {}, 2},
        {"nothing after the time", put(five, 2, time), {}, 2},
        {"a letter in column 146", put(five, 2, 146, "x"), {"!@2"}, 1},
        {"both bad: the time is named", put(put(five, 2, 40, "x"), 2, 1, "1949"),
            {"!1949-01-30T23:00:00.000000"}, 1},
        {"a second header", put(five, 2, header()), {"!KQ_UNIVERSAL_VORLANDI_V1.0"}, 1},
        {"cut at column 512", {kCsv, wide + " 6"}, {"!" + wide, kNoData}, 0}};
    for (const auto& [line, errors] : std::initializer_list<std::pair<std::string, Lines>>{
        {time + ",5 0 0 0 0 0", {}}, {time + "0,5 0 0 0 0 0", {"!"}}, {"26030230000.000 5 0 0 0 0 0", {"!"}},
        {time + ",,1,2,3,4,5", {}}, {"  26030230000.000 ,\t5 , 0,0,0,0,0", {}}, {time + ",5,0,0,0,0,0,x", {}},
        {time + ",5,0,0,0,0,", {"!@2"}},
        {time + ",5,0,o,0,0,0", {"!@2"}}, {"never,x", {"!never"}}, {",5,0,0,0,0,0", {"!"}}, {kCsv, {"!"}}})
        cases.push_back({line, {kCsv, line, kCommas}, errors, errors.empty() ? 2 : 1});
    expectLoads("ReadKQUniversalVorlan", cases);
}
// clang-format on

}  // namespace vorlandi::testing::universal
