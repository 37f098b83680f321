// Numbers in texts: what a fixed field and a free-form list read, what is no number, and the digits written.
#include "CoreServices/NumberFields.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <random>
#include <sstream>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

using enum ReadOutcome;

// Equal to the last bit, so that -0.0 is not 0.0.
void expectSame(double actual, double expected) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(actual), std::bit_cast<std::uint64_t>(expected))
        << actual << " instead of " << expected;
}

// The parts of a text between bars.
std::vector<std::string> partsOf(const char* text) {
    std::vector<std::string> parts;
    std::istringstream rest(text);
    for (std::string part; std::getline(rest, part, '|');)
        parts.push_back(part);
    return parts;
}

TEST(NumberFields, ReadRealsWithImpliedDecimals) {
    struct Case {
        const char* field;
        int decimals;
        double value;
    };
    const Case cases[] = {
        {"", 3, 0.0},
        {"     ", 3, 0.0},
        {"12345", 3, 12.345},
        {"12345", 0, 12345.0},
        {"1.5", 3, 1.5},
        {"  1 2 3 4 5  ", 3, 12.345},
        {"-  1 2 . 5", 3, -12.5},
        {"+7", 1, 0.7},
        {"- 7", 1, -0.7},
        {".5", 2, 0.5},
        {"5.", 2, 5.0},
        {"-0", 2, -0.0},
        {"1E3", 2, 10.0},
        {"1.E3", 2, 1000.0},
        {"1.5d-2", 4, 0.015},
        {"1.5D+02", 4, 150.0},
        {"1.5e 2", 0, 150.0},
        {"1 . 5 D + 0 2", 0, 150.0},
        {"100", 30, 100e-30},
        {"4.9E-324", 0, 4.9e-324},
        {"1.7976931348623157D308", 0, 1.7976931348623157e308},
        {"9007199254740993", 0, 9007199254740992.0},  // a tie, to even
        {"9007199254740993", 3, 9007199254740.993},   // rounded once, not again by a division
        {"1E-400", 0, 0.0},
        {"-1D-400", 0, -0.0},
        {"1E-99999999999", 0, 0.0},
        {"1D-99999999999", 0, 0.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.field) + " with decimals " + std::to_string(c.decimals));
        double value = 77.0;
        EXPECT_EQ(readReal(c.field, c.decimals, value), Success);
        expectSame(value, c.value);
    }
}

// What is no number in a fixed field.
constexpr const char* kNoNumbers =
    "inf|-Infinity|nan|NaN(1)|0x10|1p3|3*5|1e400|-1D400|1e99999999999|1,5|1\t5|\t1|1.2.3|--1|+-1|"
    "+ -1|+ +1|1-|1+3|1-3|1e|1D|1e+|1e1.5|e5|.|-|+|1/2|12a|a12|'1'";

TEST(NumberFields, RefuseRealsThatAreNoNumbersAndKeepTheOldValue) {
    for (const std::string& field : partsOf(kNoNumbers)) {
        for (const int decimals : {0, 3}) {
            SCOPED_TRACE(field + " with decimals " + std::to_string(decimals));
            double value = 77.0;
            EXPECT_EQ(readReal(field, decimals, value), Error);
            EXPECT_EQ(value, 77.0);
        }
    }
}

TEST(NumberFields, ReadIntegersOf32Bits) {
    struct Case {
        const char* field;
        ReadOutcome outcome;
        std::int32_t value;
    };
    const Case cases[] = {
        {"", Success, 0},
        {"   ", Success, 0},
        {" 1 2 ", Success, 12},
        {"- 5", Success, -5},
        {"+05", Success, 5},
        {"2147483647", Success, INT32_MAX},
        {"-2147483648", Success, INT32_MIN},
        {"2147483648", Error, 7},
        {"-2147483649", Error, 7},
        {"99999999999999999999", Error, 7},
        {"1.0", Error, 7},
        {"1e2", Error, 7},
        {"-", Error, 7},
        {"+ -1", Error, 7},
        {"1-", Error, 7},
        {"1\t", Error, 7},
        {"0x1", Error, 7},
        {"0000000000000000001", Success, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.field);
        std::int32_t value = 7;
        EXPECT_EQ(readInteger(c.field, value), c.outcome);
        EXPECT_EQ(value, c.value);
    }
}

TEST(NumberFields, StandInOneBasedColumnsWithBlanksBehindTheLine) {
    const std::string_view line = "  12 345 678";
    std::int32_t number = 0;
    EXPECT_EQ(readColumns(line, IntegerColumns{3, 4}, number), Success);
    EXPECT_EQ(number, 12);
    double values[4] = {9, 9, 9, 9};
    EXPECT_EQ(readColumns(line, RealColumns{6, 8, 2, 1}, values), Success);
    EXPECT_THAT(values, ::testing::ElementsAre(3.45, 6.78, 0.0, 0.0));
    values[2] = 9;
    EXPECT_EQ(readColumns("1 2 x 4", RealColumns{1, 1, 0, 1}, values), Error);
    EXPECT_THAT(values, ::testing::ElementsAre(1.0, 2.0, 9.0, 0.0));  // nothing behind the bad field
    EXPECT_EQ(columns(line, 12, 40), "8");
    EXPECT_EQ(columns(line, 13, 40), "");
    EXPECT_EQ(columnsFrom(line, 10), "678");
}

TEST(FreeFormList, ReadsNumbersBetweenBlanksTabsAndCommas) {
    struct Case {
        const char* text;
        std::vector<double> values;  // then `end`
        ReadOutcome end;
    };
    const Case cases[] = {
        {"", {}, EndOfData},
        {" \t ", {}, EndOfData},
        {" 1\t2.5 ,3, 4D1\t,\t-5e-1", {1, 2.5, 3, 40, -0.5}, EndOfData},
        {"+1,+.5 5. 1d2 1E+2", {1, 0.5, 5, 100, 100}, EndOfData},
        {",1", {0, 1}, EndOfData},
        {"1,,2 , ,3", {1, 0, 2, 0, 3}, EndOfData},
        {"1,", {1}, EndOfData},
        {"1 2/3", {1, 2, 0, 0, 0, 0, 0, 0}, Success},
        {"1,/", {1, 0, 0, 0, 0, 0, 0, 0}, Success},
        {"1e-400 2", {0, 2}, EndOfData},
        {"1 x 3", {1}, Error},
        {"1 2x", {1}, Error},
        {"1 2;3", {1}, Error},
        {"1 '2'", {1}, Error},
        {"inf", {}, Error},
        {"-nan", {}, Error},
        {"0x1", {}, Error},
        {"2*3", {}, Error},
        {"1e400", {}, Error},
        {"1d400", {}, Error},
        {"+-1", {}, Error},
        {"- 1", {}, Error},
        {"1e", {}, Error},
        {"1e,5", {}, Error},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        FreeFormList list(c.text);
        std::vector<double> read;
        double value = 0.0;
        ReadOutcome outcome = Success;
        while (read.size() < 8 && (outcome = list.next(value)) == Success)
            read.push_back(value);
        EXPECT_EQ(outcome, c.end);
        EXPECT_EQ(read, c.values);
    }
}

TEST(FreeFormList, ReadsWordsAndIntegersAmongTheNumbers) {
    FreeFormList list("Name 12,'two words' \"it's\",,7.5 -3 2.0");
    std::string_view word;
    std::int32_t integer = 0;
    double value = 0.0;
    EXPECT_EQ(list.nextWord(word), Success);
    EXPECT_EQ(word, "Name");
    EXPECT_EQ(list.nextInteger(integer), Success);
    EXPECT_EQ(integer, 12);
    EXPECT_EQ(list.nextWord(word), Success);
    EXPECT_EQ(word, "two words");
    EXPECT_EQ(list.nextWord(word), Success);
    EXPECT_EQ(word, "it's");
    EXPECT_EQ(list.nextWord(word), Success);  // between two commas
    EXPECT_EQ(word, "");
    EXPECT_EQ(list.next(value), Success);
    EXPECT_EQ(value, 7.5);
    EXPECT_EQ(list.rest(), " -3 2.0");
    EXPECT_EQ(list.nextInteger(integer), Success);
    EXPECT_EQ(integer, -3);
    EXPECT_EQ(list.nextInteger(integer), Error);
    EXPECT_EQ(list.nextWord(word), EndOfData);
    EXPECT_FALSE(list.slashMet());
    FreeFormList open("'never closed");
    EXPECT_EQ(open.nextWord(word), Error);
    FreeFormList ended("1/ 2");
    EXPECT_EQ(ended.next(value), Success);
    EXPECT_EQ(ended.nextWord(word), Success);
    EXPECT_EQ(word, "");
    EXPECT_TRUE(ended.slashMet());
}

TEST(FreeFormList, ReadsBackWhatEveryDoublePrintsAs) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    for (int k = 0; k < 20000; ++k) {
        const auto written = std::bit_cast<double>(random());
        if (!std::isfinite(written)) continue;
        char text[40];
        std::snprintf(text, sizeof text, "%.16e", written);
        if (k % 2 == 1) *std::find(text, text + sizeof text, 'e') = 'D';
        double value = 0.0;
        ASSERT_EQ(readFreeForm(text, {&value, 1}), Success) << text;
        ASSERT_EQ(value, written) << text;
        ASSERT_EQ(readReal(text, 5, value), Success) << text;
        ASSERT_EQ(value, written) << text;
    }
}

TEST(OutputFields, AreRightAlignedAndStarsWhenTheyOverflow) {
    EXPECT_EQ(integerField(5, 9, 9), "000000005");
    EXPECT_EQ(integerField(-5, 9, 8), "-00000005");
    EXPECT_EQ(integerField(-5, 9, 9), "*********");
    EXPECT_EQ(integerField(1234567890, 9, 9), "*********");
    EXPECT_EQ(integerField(1, 2), " 1");
    EXPECT_EQ(integerField(INT64_MIN, 20), "-9223372036854775808");
    EXPECT_EQ(fixedField(27000.5, 16, 9), " 27000.500000000");
    EXPECT_EQ(fixedField(-0.5, 6, 3), "-0.500");
    EXPECT_EQ(fixedField(1e18, 35, 15), "1000000000000000000.000000000000000");
    EXPECT_EQ(fixedField(1e25, 35, 15), std::string(35, '*'));
    EXPECT_EQ(fixedField(1.7976931348623157e308, 30, 20), std::string(30, '*'));
}

TEST(OutputFields, HoldTheExactDigitsOfRandomDoubles) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
    std::uniform_int_distribution<int> exponent(-80, 66);
    struct Format {
        int width, decimals;
    };
    for (int k = 0; k < 20000; ++k) {
        const double value = std::ldexp(mantissa(random), exponent(random));
        for (const auto& [width, decimals] : {Format{35, 15}, Format{30, 20}, Format{16, 9}}) {
            char expected[400];  // the C library writes every digit of a double
            std::snprintf(expected, sizeof expected, "%*.*f", width, decimals, value);
            if (expected[width] != '\0')
                std::snprintf(expected, sizeof expected, "%s",
                              std::string(static_cast<std::size_t>(width), '*').c_str());
            ASSERT_EQ(fixedField(value, width, decimals), expected) << std::hexfloat << value;
        }
    }
}

}  // namespace
}  // namespace vorlandi::testing
