// The table of detection tests in docs/formats.md is written from the table that the scanner uses. With
// VORLANDI_UPDATE_DOCS=1 in the environment the test writes it anew instead of comparing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>

#include "TestSupport.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"

namespace vorlandi::testing {
namespace {

constexpr std::string_view kPage = VORLANDI_DOCS "/formats.md";
constexpr std::string_view kBegin = "<!-- detection order: begin -->\n";
constexpr std::string_view kEnd = "<!-- detection order: end -->\n";

void join(std::string& list, std::string_view separator, std::string_view item) {
    if (!list.empty()) list += separator;
    list += item;
}

std::string columnRange(std::size_t first, std::size_t count) {
    const std::string from = std::to_string(first);
    return count == 1 ? "column " + from : "columns " + from + "-" + std::to_string(first + count - 1);
}

// The end of the piece that begins at `from`: a run of blanks, or words with single blanks between them.
std::size_t pieceEnd(std::string_view text, std::size_t from) {
    if (text[from] == ' ') return std::min(text.find_first_not_of(' ', from), text.size());
    std::size_t end = text.find(' ', from);
    while (end < text.size() && end + 1 < text.size() && text[end + 1] != ' ')
        end = text.find(' ', end + 1);
    return std::min(end, text.size());
}

// A text at its columns, its outer blanks and its wider gaps told apart from its words.
std::string inWords(const TextAt& wanted) {
    std::string words;
    for (std::size_t from = 0; from < wanted.text.size();) {
        const std::size_t end = pieceEnd(wanted.text, from);
        const std::string_view piece = wanted.text.substr(from, end - from);
        const std::string columns = columnRange(wanted.column + from, piece.size());
        join(words, ", ", columns + (piece[0] == ' ' ? " blank" : " \"" + std::string(piece) + "\""));
        from = end;
    }
    return words;
}

std::string inWords(const LineTest& test) {
    std::string words;
    for (const TextAt& wanted : test.texts) {
        if (wanted.column != 0) join(words, ", ", inWords(wanted));
    }
    if (test.further != nullptr) join(words, ", ", test.description);
    return words;
}

std::string inWords(const FormatRow& row) {
    std::string words;
    for (const LineTest& test : row.alternatives)
        if (const std::string alternative = inWords(test); !alternative.empty())
            join(words, "; or ", alternative);
    if (row.decides) words += ". A line that fails in the numbers alone is of no format";
    return words;
}

std::string renderedTable() {
    std::string table = "| order | code | format | a line passes if it has |\n|---|---|---|---|\n";
    int order = 0;
    for (const FormatRow& row : formatTable()) {
        table += "| " + std::to_string(++order) + " | " + std::to_string(row.code) + " | " +
                 std::string(row.name) + " | " + inWords(row) + " |\n";
    }
    return table;
}

TEST(DetectionTable, SaysOfEveryTestInCodeWhatItAsks) {
    for (const FormatRow& row : formatTable()) {
        for (const LineTest& test : row.alternatives)
            EXPECT_EQ(test.further != nullptr, !test.description.empty()) << row.name;
    }
}

TEST(DetectionTable, StandsInTheDocumentationAsTheScannerUsesIt) {
    const std::string path(kPage);
    std::string page = readFile(path);
    const auto begin = page.find(kBegin);
    const auto end = page.find(kEnd);
    ASSERT_NE(begin, std::string::npos) << path;
    ASSERT_NE(end, std::string::npos) << path;
    const std::size_t first = begin + kBegin.size();
    ASSERT_LE(first, end);
    if (std::getenv("VORLANDI_UPDATE_DOCS") != nullptr) {
        page.replace(first, end - first, renderedTable());
        ASSERT_TRUE(std::ofstream(path, std::ios::binary) << page);
        return;
    }
    EXPECT_EQ(page.substr(first, end - first), renderedTable())
        << "run this test with VORLANDI_UPDATE_DOCS=1";
}

}  // namespace
}  // namespace vorlandi::testing
