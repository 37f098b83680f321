// Format detection: the table row by row, column by column, and the tests that are more than texts at columns.
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>
#include <vector>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr std::size_t kWidth = 130;

// A line that passes one test of the table, given by its columns; all of them are needed, no other counts.
struct Header {
    std::int32_t code;
    Reader reader;
    std::map<std::size_t, std::string> texts;
};

// In the order of precedence. The blanks inside a text are part of the test.
const std::vector<Header>& headers() {
    static const std::vector<Header> kHeaders = {
        {1, ReadV31, {{1, "EPHEMERIS FILE FOR SATELLITE"}}},
        {17, ReadKQUniversalVorlan, {{1, "KQ_UNIVERSAL_VORLANDI_V"}}},
        {9, nullptr, {{1, " CCSDS_OEM_VERS"}}},
        {2, ReadSimObs, {{57, "."}, {75, "     Z"}}},
        {3, ReadVecEph, {{57, "."}, {75, "SP "}}},
        {3, ReadVecEph, {{57, "."}, {75, "GP "}}},
        {4, ReadITC, {{65, "."}, {29, " "}, {51, " "}, {113, "SP"}}},
        {4, ReadITC, {{65, "."}, {29, " "}, {51, " "}, {113, "GP"}}},
        {6, ReadECR, {{1, "CLASSIFICATION: UNCLASSIFIED"}}},
        {7, ReadJ2K, {{1, " SPEPH PREDICTION EPHEMERIS"}}},
        {8, nullptr, {{1, "EPHFIL"}}},
        {8, nullptr, {{1, "EXTERNAL_EPHEMERIS"}}},
        {8, nullptr, {{1, "SATFIL"}}},
        {8, nullptr, {{1, "EPHINP"}}},
        {8, nullptr, {{1, "VORLAN"}}},
        {8, nullptr, {{1, "EPHEMFILE"}}},
        {11, nullptr, {{1, "#VORLANDI"}}},
        {12, ReadDotE, {{1, "STK.V"}}},
        {100, nullptr, {{12, "."}, {16, " "}}},  // no owner's line, but settled
        {13, ReadOASYS, {{13, "VERSION:"}}},
        {13, ReadOASYS, {{5, "/"}, {8, "/"}, {14, ":"}, {17, ":"}, {20, "."}}},
        {15, ReadLCH, {{1, "CLASSIFICATION:" + std::string(17, ' ') + "UNCLASSIFIED"}}},
        {16, ReadEELV, {{2, "."}, {25, "."}, {48, "."}, {71, "."}, {94, "."}, {117, "."}}},
        {18, ReadDCEText, {{1, "7"}}},
        {19, ReadLaunchFormat, {{1, "TIME(SEC): TIME"}}},
    };
    return kHeaders;
}

using Columns = std::map<std::size_t, char>;

Columns columnsOf(const Header& header) {
    Columns chars;
    for (const auto& [first, text] : header.texts) {
        for (std::size_t k = 0; k < text.size(); ++k)
            chars[first + k] = text[k];
    }
    return chars;
}

std::string lineOf(const Columns& chars) {
    std::string line(kWidth, ' ');
    for (const auto& [column, c] : chars)
        line[column - 1] = c;
    return line;
}

std::string nameOf(const Header& header) {
    return "code " + std::to_string(header.code) + ", " + header.texts.begin()->second;
}

TEST(FormatDetection, RecognisesEachHeaderInAnyCaseAndHandsItToItsReader) {
    for (const Header& header : headers()) {
        SCOPED_TRACE(nameOf(header));
        const std::string line = lineOf(columnsOf(header));
        EXPECT_EQ(vorlancardtype(line), header.code);
        EXPECT_EQ(vorlancardtype(tolowercase(line)), header.code);
        EXPECT_EQ(vorlancardtype(trimmed(line)), header.code) << "without the blanks behind it";
        const FormatRow* const row = recognise(line);
        EXPECT_EQ(row != nullptr ? row->reader : nullptr, header.reader);
    }
}

TEST(FormatDetection, NeedsEveryColumnOfATestAndNoOther) {
    for (const Header& header : headers()) {
        if (header.code == 100 || header.code == 18) continue;  // they look at the whole line
        SCOPED_TRACE(nameOf(header));
        const Columns needed = columnsOf(header);
        for (std::size_t column = 1; column <= kWidth; ++column) {
            SCOPED_TRACE("w in column " + std::to_string(column));
            std::string line = lineOf(needed);
            line[column - 1] = 'w';  // no test asks for it
            if (needed.contains(column)) {
                EXPECT_NE(vorlancardtype(line), header.code);
            } else {
                EXPECT_EQ(vorlancardtype(line), header.code);
            }
        }
    }
}

TEST(FormatDetection, TakesTheEarlierOfTwoTestsThatALinePasses) {
    int overlaid = 0;
    for (std::size_t early = 0; early < headers().size(); ++early) {
        for (std::size_t late = early + 1; late < headers().size(); ++late) {
            Columns both = columnsOf(headers()[early]);
            bool compatible = true;
            for (const auto& [column, c] : columnsOf(headers()[late]))
                compatible = both.emplace(column, c).first->second == c && compatible;
            if (!compatible) continue;
            ++overlaid;
            EXPECT_EQ(vorlancardtype(lineOf(both)), headers()[early].code)
                << nameOf(headers()[early]) << " over " << nameOf(headers()[late]);
        }
    }
    EXPECT_GT(overlaid, 100);
}

TEST(FormatDetection, TellsLinesApartByMoreThanTexts) {
    struct Case {
        const char* what;
        std::string line;
        std::int32_t code;
    };
    const Case cases[] = {
        {"an empty line", "", 100},
        {"an owner's line", "26031000000.000  1.0 2.0 3.0 4.0 5.0 6.0", 10},
        {"an owner's line without the blank in column 16", "26031000000.00001 1.0 2.0 3.0 4.0 5.0 6.0", 100},
        {"five numbers", "26031000000.000  1.0 2.0 3.0 4.0 5.0", 100},
        {"five decimals and an integer", "26031000000.000  1.0 2.0 3 4.0 5.0 6.0", 100},
        {"no owner's line, with slashes and colons of OASYS", "2026/01/31 .00:00 00.", 100},
        {"a star alone", "*", 13},
        {"a star, blanks and NULs", std::string("*  \0 ", 5), 13},
        {"a star and a word", "* word", 100},
        {"a satellite number and a word", "81001 starlet", 18},
    };
    for (const Case& c : cases)
        EXPECT_EQ(vorlancardtype(c.line), c.code) << c.what;
}

TEST(FormatDetection, SatelliteNumberStandsAlone) {
    struct Case {
        const char* line;
        bool alone;
    };
    const Case cases[] = {
        {"1", true},           {"12345", true},   {"123456789", true}, {"123456789 name", true},
        {"1234567890", false}, {" 12345", false}, {"12345 6", false},  {"12345 a6", false},
        {"12a45", false},      {"", false},       {"a", false},        {"-1", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(issatnumonly(c.line), c.alone) << '"' << c.line << '"';
}

TEST(FormatDetection, KnowsDceFilesByTheFourCharactersFromTheLastPointOn) {
    for (const char* const name :
         {"a.dce", "A.DCE", "dir/a.b.DcE", ".dce", "a.dce  ", "a.dcelong", "x.dce/file"})
        EXPECT_TRUE(fileisdotdce(name)) << name;
    for (const char* const name : {"", "a", "dce", "a.dc", "a.dc ", "a.dce.txt", "a.dce.", "a. dce"})
        EXPECT_FALSE(fileisdotdce(name)) << name;
}

// The owner's test once more, written from its rule alone: over a line of full width, both lists in full.
bool ownerByTheRule(std::string line) {
    line.resize(kEphemerisColumns, ' ');
    line.insert(line.begin(), '#');  // line[k] is column k
    std::vector<std::size_t> points, runEnds;
    for (std::size_t column = 17; column <= kEphemerisColumns; ++column) {
        if (line[column] == '.') points.push_back(column);
    }
    for (std::size_t column = 16; column <= kEphemerisColumns; ++column) {
        const bool last = column == kEphemerisColumns || line[column + 1] != ' ';
        if (line[column] == ' ' && last) runEnds.push_back(column);
    }
    if (points.size() < 6 || runEnds.size() < 6) return false;
    for (std::size_t k = 0; k < 6; ++k) {
        if (runEnds[k] > points[k]) return false;
    }
    return true;
}

TEST(FormatDetection, FindsOwnersLinesAsTheRuleSaysOnRandomLines) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    const char* const words[] = {"1.5", "-2.", ".5", "1.5", "3.25", "7", "1.2.3", "..", "x"};
    int found = 0, notFound = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string line = "26031000000.000 ";
        const std::uint64_t count = 4 + random() % 5;
        for (std::uint64_t k = 0; k < count; ++k) {
            line.append(random() % 3 + (k > 0 ? 1 : 0), ' ');
            line += words[random() % (round % 2 == 0 ? 5 : std::size(words))];
        }
        if (random() % 4 == 0) line.resize(line.size() / 2 + random() % line.size());
        if (line.size() > 17 && random() % 50 == 0) line.insert(17, 470, ' ');
        line.resize(std::min(line.size(), kEphemerisColumns));
        const bool expected = ownerByTheRule(line);
        ASSERT_EQ(isowneroperatorfile(line), expected) << '"' << line << '"';
        ++(expected ? found : notFound);
    }
    EXPECT_GT(found, 1000);
    EXPECT_GT(notFound, 1000);
}

}  // namespace
}  // namespace vorlandi::testing
