// Numbers in texts: what a fixed field and a free-form list read, what is not a number, and the digits written.
#include "CoreServices/NumberFields.hpp"

#include <bit>
#include <cmath>
#include <cstring>
#include <random>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

using enum ReadOutcome;

TEST(NumberFields, ReadRealsWithImpliedDecimals) {
    // clang-format off
    const std::tuple<const char*, int, double> cases[] = {
        {"     ", 3, 0.0}, {"12345", 3, 12.345}, {"12345", 0, 12345.0}, {"1.5", 3, 1.5}, {"+7", 1, 0.7},
        {" 1 2 3 4 5 ", 3, 12.345}, {"-  1 2 . 5", 3, -12.5}, {"- 7", 1, -0.7}, {".5", 2, 0.5},
        {"5.", 2, 5.0}, {"-0", 2, -0.0}, {"1E3", 2, 10.0}, {"1.E3", 2, 1000.0}, {"1.5d-2", 4, 0.015},
        {"1.5e 2", 0, 150.0}, {"1 . 5 D + 0 2", 0, 150.0}, {"100", 30, 100e-30},
        {"1.7976931348623157D308", 0, 1.7976931348623157e308},
        {"9007199254740993", 0, 9007199254740992.0},  // a tie, to even
        {"9007199254740993", 3, 9007199254740.993},   // rounded once, not again by a division
        {"1E-400", 0, 0.0}, {"-1D-400", 0, -0.0}, {"1E-99999999999", 0, 0.0}, {"1D-99999999999", 0, 0.0},
    };
    // clang-format on
    for (const auto& [field, decimals, expected] : cases) {
        double value = 77.0;
        EXPECT_EQ(readReal(field, decimals, value), Success) << field;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(value), std::bit_cast<std::uint64_t>(expected)) << field;
    }
}

TEST(NumberFields, RefuseRealsThatAreNotNumbersAndKeepTheOldValue) {
    // clang-format off
    for (const char* const field : {
             "inf", "-Infinity", "nan", "NaN(1)", "0x10", "1p3", "3*5", "1e400", "-1D400", "1e99999999999",
             "1,5", "1\t5", "1.2.3", "--1", "+-1", "+ -1", "1-", "1+3", "1e", "1D", "1e+", "1e1.5", "e5", ".",
             "-", "+",
             "1/2", "12a", "a12", "'1'"}) {
        // clang-format on
        double value = 77.0;
        EXPECT_TRUE(readReal(field, 0, value) == Error && readReal(field, 3, value) == Error) << field;
        EXPECT_EQ(value, 77.0) << field;
    }
}

TEST(NumberFields, ReadIntegersOf32Bits) {
    // clang-format off
    const std::pair<const char*, std::int32_t> cases[] = {  // 7 is the old value, of an error
        {"   ", 0}, {" 1 2 ", 12}, {"- 5", -5}, {"+05", 5}, {"0000000000000000001", 1},
        {"2147483647", INT32_MAX}, {"-2147483648", INT32_MIN}, {"2147483648", 7}, {"-2147483649", 7},
        {"18446744073709551617", 7}, {"1.0", 7}, {"-", 7}, {"+ -1", 7}, {"1-", 7}, {"1\t", 7},
    };
    // clang-format on
    for (const auto& [field, expected] : cases) {
        std::int32_t value = 7;
        EXPECT_EQ(readInteger(field, value), expected == 7 ? Error : Success) << field;
        EXPECT_EQ(value, expected) << field;
    }
}

TEST(NumberFields, AreAtOneBasedColumnsWithBlanksAfterTheLine) {
    double values[4] = {9, 9, 9, 9};
    EXPECT_EQ(readColumns("  12 345 678", RealColumns{6, 8, 2, 1}, values), Success);
    EXPECT_THAT(values, ::testing::ElementsAre(3.45, 6.78, 0.0, 0.0));
    EXPECT_EQ(readColumns("1 x 4", RealColumns{1, 1, 0, 1}, values), Error);
    EXPECT_THAT(values, ::testing::ElementsAre(1.0, 6.78, 0.0, 0.0));
    EXPECT_EQ(columns("12345", 5, 40), "5");
    EXPECT_EQ(columns("12345", 6, 40), "");
}

TEST(FreeFormList, ReadsNumbersBetweenBlanksTabsAndCommas) {
    // clang-format off
    const std::tuple<const char*, std::vector<double>, ReadOutcome> cases[] = {
        {" \t ", {}, EndOfData}, {" 1\t2.5 ,3, 4D1\t,\t-5e-1", {1, 2.5, 3, 40, -0.5}, EndOfData},
        {"+1,+.5 5. 1d2", {1, 0.5, 5, 100}, EndOfData}, {",1", {0, 1}, EndOfData},
        {"1,,2 , ,3", {1, 0, 2, 0, 3}, EndOfData}, {"1,", {1}, EndOfData}, {"1e-400 2", {0, 2}, EndOfData},
        {"1 2/3", {1, 2, 0, 0, 0, 0}, Success}, {"1,/", {1, 0, 0, 0, 0, 0}, Success}, {"1 x 3", {1}, Error},
        {"1 2x", {1}, Error}, {"1 2;3", {1}, Error}, {"1 '2'", {1}, Error}, {"inf", {}, Error},
        {"-nan", {}, Error}, {"1e400", {}, Error}, {"- 1", {}, Error}, {"1e,5", {}, Error},
    };
    // clang-format on
    for (const auto& [text, values, end] : cases) {
        FreeFormList list(text);
        std::vector<double> read;
        double value = 0.0;
        ReadOutcome outcome = Success;
        while (read.size() < 6 && (outcome = list.next(value)) == Success)
            read.push_back(value);
        EXPECT_EQ(outcome, end) << text;
        EXPECT_EQ(read, values) << text;
    }
}

TEST(FreeFormList, ReadsWordsAndIntegersAmongTheNumbers) {
    FreeFormList list("Name 'two words' \"it's\",,-3 2.0");
    std::string_view word;
    std::int32_t integer = 0;
    for (const char* const expected : {"Name", "two words", "it's", ""})
        EXPECT_TRUE(list.nextWord(word) == Success && word == expected) << word;
    EXPECT_TRUE(list.nextInteger(integer) == Success && integer == -3) << integer;
    EXPECT_EQ(list.rest(), " 2.0");
    EXPECT_EQ(list.nextInteger(integer), Error);
    EXPECT_EQ(list.nextWord(word), EndOfData);
    EXPECT_EQ(FreeFormList("'never closed").nextWord(word), Error);
}

TEST(NumberFields, ReadAndWriteEveryDigitOfRandomDoubles) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    for (int k = 0; k < 40000; ++k) {
        auto number = std::bit_cast<double>(random());
        if (!std::isfinite(number)) continue;
        char text[400];
        std::snprintf(text, sizeof text, "%.16e", number);
        if (k % 2 == 1) *std::strchr(text, 'e') = 'D';
        double value = 0.0, listed = 0.0;
        readReal(text, 5, value);
        readFreeForm(text, {&listed, 1});
        ASSERT_TRUE(value == number && listed == number) << text;
        number = std::scalbn(number, static_cast<int>(random() % 146) - 80 - std::ilogb(number));
        const int width = k % 2 == 0 ? 35 : 30, decimals = k % 2 == 0 ? 15 : 20;
        if (std::snprintf(text, sizeof text, "%*.*f", width, decimals, number) > width)
            std::memset(text, '*', std::strlen(text)), text[width] = '\0';
        ASSERT_EQ(fixedField(number, width, decimals), text) << std::hexfloat << number;
    }
}

TEST(OutputFields, AreRightAlignedAndStarsWhenTheyOverflow) {
    EXPECT_EQ(integerField(5, 9, 9), "000000005");
    EXPECT_EQ(integerField(-5, 9, 8), "-00000005");
    EXPECT_EQ(integerField(-5, 9, 9), "*********");
    EXPECT_EQ(integerField(1, 2), " 1");
    EXPECT_EQ(integerField(INT64_MIN, 20), "-9223372036854775808");
    EXPECT_EQ(fixedField(1.7976931348623157e308, 30, 20), std::string(30, '*'));
}

}  // namespace
}  // namespace vorlandi::testing
