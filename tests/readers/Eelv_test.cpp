#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

// The header's points stand in the columns 2, 25, 48 and so on.
std::string header(std::initializer_list<std::string_view> numbers) {
    std::string line;
    for (const std::string_view number : numbers)
        line.append(number).append(23 - number.size(), ' ');
    return line;
}

const Lines kGood = {header({"2.004E3", "3.9", "1.0", "1.2E1", "0.0", "3.05E1"}), "60, 1000, 0, 0, 1, 0, -2",
                     "120 2000 0 0 1 0 -2 8 9"};
constexpr double kReference = 19784.0 + 43230.5 / 86400.0;  // 2004 March 1 12:00:30.5

TEST(ReadEELV, CountsFromItsFirstLineAndConvertsFeet) {
    const Vorlanrecord record = recordOf(kGood);
    EXPECT_EQ(record.satNum, 99999);
    EXPECT_EQ(record.coordSys, kEci);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[0], kReference + 60 / 86400.0,
                {1000 * 0.0003048, 0.0, 0.0, 0.0003048, 0.0, -2 * 0.0003048});
}

TEST(ReadEELV, ReportsWhatItCannotRead) {
    const std::string invalid = "*** ReadEELV: Invalid EELV first line. ***";
    const Lines letter = put(kGood, 1, 26, "x");
    const Lines pointAlone = put(kGood, 1, 116, " .    ");
    const Lines hugeYear = put(kGood, 1, 1, "3.0E9  ");
    const Lines lowMonth = put(kGood, 1, 24, "-.3E99 ");
    expectLoads({
        {"a letter in the month", letter, {std::string(trimmed(letter[0])), invalid}, 0, 2},
        {"a point alone", pointAlone, {std::string(trimmed(pointAlone[0])), invalid}, 0, 2},
        {"a year beyond 32 bits", hugeYear, {std::string(trimmed(hugeYear[0])), invalid}, 0, 2},
        {"a month below 32 bits", lowMonth, {std::string(trimmed(lowMonth[0])), invalid}, 0, 2},
        {"six numbers", replaced(kGood, 2, "60 1 2 3 4 5"), {bad("ReadEELV"), "60 1 2 3 4 5"}, 1},
        {"a blank line", replaced(kGood, 2, ""), {bad("ReadEELV"), ""}, 1},
        {"a header alone", cut(kGood, 1), {kNoDataMessage}, 0, 2},
    });
}

}  // namespace
}  // namespace vorlandi::testing
