// Format detection: the table of docs/formats.md row by row and column by column, and the tests that check more than
// texts at columns.
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"

#include <algorithm>
#include <map>
#include <regex>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr std::size_t kWidth = 130;

// What one alternative of a test requires: characters by column.
struct Header {
    std::int32_t code;
    ReadingRules rules;
    std::map<std::size_t, char> needed;
};

std::string lineOf(const std::map<std::size_t, char>& columns) {
    std::string line(kWidth, ' ');
    for (const auto& [column, c] : columns)
        line[column - 1] = c;
    return line;
}

// Calls `use` with every match of a pattern in a text.
template <class Use>
void forEachMatch(const std::string& text, const char* pattern, Use use) {
    const std::regex regex(pattern);
    for (std::sregex_iterator match(text.begin(), text.end(), regex), none; match != none; ++match)
        use(*match);
}

std::vector<Header> documentedHeaders() {
    std::vector<Header> headers;
    std::size_t rows = 0;
    const auto addRow = [&](const std::smatch& row) {
        const FormatRow& inCode = formatTable()[rows++];
        EXPECT_EQ(std::stoul(row[1]), rows) << "the order";
        EXPECT_EQ(std::stoi(row[2]), inCode.code);
        EXPECT_EQ(row.str(3), inCode.name);
        for (const auto& [word, rules] :
             {std::pair("fixed", ReadingRules::fixed()), {"practical", ReadingRules::practical()}})
            EXPECT_EQ(inCode.countsBy(rules), row.str(5) == "all" || row.str(5) == word) << inCode.name;
        const ReadingRules rules = row.str(5) == "practical" ? ReadingRules::practical() : ReadingRules::fixed();
        const LineTest* test = inCode.alternatives.data();
        forEachMatch(row.str(4) + "; or ", "(.*?); or ", [&](const std::smatch& way) {
            // A line with an owner's columns, but no numbers after them, has no format.
            Header header{inCode.decides ? kUnknownFormat : inCode.code, rules, {}};
            forEachMatch(way[1], "columns? (\\d+)(-\\d+)? (blank|\"([^\"]*)\")", [&](const std::smatch& text) {
                const std::size_t first = std::stoul(text[1]);
                for (std::size_t column = first;
                     column <= (text[2].matched ? std::stoul(text.str(2).substr(1)) : first); ++column)
                    header.needed[column] = text[4].matched ? text.str(4).at(column - first) : ' ';
            });
            EXPECT_NE(way.str(1).find(test->description), way.str(1).npos);
            if (test->further == nullptr || inCode.decides) headers.push_back(header);
            ++test;
        });
        EXPECT_EQ(test - inCode.alternatives.data(), inCode.alternativeCount) << "one more way";
    };
    forEachMatch(readFile(VORLANDI_DOCS "/formats.md"),
                 "\\| (\\d+) \\| (\\d+) \\| ([^|]+) \\| ([^|]+) \\| (all|fixed|practical) \\|", addRow);
    EXPECT_EQ(rows, formatTable().size());
    return headers;
}

TEST(FormatDetection, NeedsEveryDocumentedColumnInAnyCaseAndNoOther) {
    for (const auto& [code, rules, needed] : documentedHeaders()) {
        const auto codeOf = [by = rules](std::string_view text) {
            const FormatRow* const row = recognise(text, by);
            return row != nullptr ? row->code : kUnknownFormat;
        };
        std::string line = lineOf(needed);
        SCOPED_TRACE(line);
        EXPECT_EQ(codeOf(line), code);
        std::string lower(trimmed(line));
        std::transform(lower.begin(), lower.end(), lower.begin(), tolowercase);
        EXPECT_EQ(codeOf(lower), code);
        for (std::size_t column = 1; column <= kWidth && code != kUnknownFormat; ++column) {
            const char before = std::exchange(line[column - 1], 'w');  // no test asks for it
            EXPECT_EQ(codeOf(line) == code, !needed.contains(column)) << "w in column " << column;
            line[column - 1] = before;
        }
    }
}

TEST(FormatDetection, TellsLinesApartByMoreThanTexts) {
    const std::string time = "26031000000.000 ";
    // clang-format off
    for (const auto& [line, code] : std::initializer_list<std::pair<std::string, std::int32_t>>{
        {"", 100}, {"*", 13}, {std::string("*  \0 ", 5), 13}, {"* word", 100}, {"2026/01/31 .0:0 :00.", 100},
        {time + "1. 2. 3. 4. 5. 6.", 10}, {time + "   1.5 .2 3.5   -4. 5.5 6.5 x", 10},
        {time + "1.5 2.5 3.5 4.5 5.5 6", 100}, {time + "1.0 2.0 3 4.0 5.0 6.0", 100},
        {time + "1.0 2.0 3.0 4.0 5.0", 100}, {time + "1.2.3 4. 5. 6. 7.", 100},
            {time + "1.2.3 4. 5. 6. 7. 8.", 100},
        {time + "x 1.0 2.0 3.0 4.0 5.0 6.0", 10}, {"26031000000.00001 1. 2. 3. 4. 5. 6.", 100}, {"1", 18},
        {"123456789 starlet", 18}, {"1234567890", 100}, {" 12345", 100}, {"12345 a6", 100}, {"-1", 100}})
        EXPECT_EQ(vorlancardtype(line), code) << line;
    for (const auto& [name, isDce] : std::initializer_list<std::pair<const char*, bool>>{
        {"A.DCE", true}, {"dir/a.b.DcE", true}, {".dce", true}, {"a.dce  ", true}, {"a.dcelong", true},
        {"x.dce/file", true},
        {"", false}, {"dce", false}, {"a.dc ", false}, {"a.dce.txt", false}, {"a.dce.", false},
        {"a. dce", false}})
        EXPECT_EQ(fileisdotdce(name), isDce) << name;
    // clang-format on
}

}  // namespace
}  // namespace vorlandi::testing
