// Input units: lines out of bytes, whatever ends them and however the bytes arrive; and the opening of files.
#include "CoreServices/InputUnits.hpp"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <thread>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr std::size_t kAll = InputUnit::kLongestLine;
using Lines = std::vector<std::string>;

Lines linesOf(InputUnit&& unit, std::size_t columns = kAll, ReadOutcome end = ReadOutcome::EndOfData) {
    Lines lines;
    std::string_view line;
    ReadOutcome outcome;
    while ((outcome = unit.readLine(columns, line)) == ReadOutcome::Success)
        lines.emplace_back(line);
    EXPECT_EQ(outcome, end);
    EXPECT_EQ(unit.atEnd(), end == ReadOutcome::EndOfData);
    EXPECT_EQ(unit.lineNumber(), static_cast<std::int64_t>(lines.size()));
    return lines;
}

TEST(InputUnit, EndsLinesWithLfCrLfOrTheEndOfTheFile) {
    // clang-format off
    const std::pair<std::string, Lines> cases[] = {
        {"", {}}, {"\n", {""}}, {"a\n\nb", {"a", "", "b"}}, {"a\r\n\r\nb\r\n", {"a", "", "b"}},
        {"a\rb\n", {"a\rb"}}, {"\xEF\xBB\xBFi\n\xEF\xBB\xBFj\n", {"i", "\xEF\xBB\xBFj"}},
        {"\xEF\xBB\xBF", {}}, {"\xEF\xBB", {"\xEF\xBB"}}, {std::string("a\0b\n\0", 5), {"a b", " "}},
    };
    // clang-format on
    for (const auto& [text, lines] : cases)
        EXPECT_EQ(linesOf(slowUnit(text, 1)), lines) << ::testing::PrintToString(text);
    EXPECT_EQ(linesOf(InputUnit()), Lines{});
}

TEST(InputUnit, CutsRandomLinesAroundTheWidthsAndTheBufferSize) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    for (std::size_t round = 0; round < 100; ++round) {
        const std::size_t columns = round % 3 == 0 ? kAll : round % 3 == 1 ? 512 : 1 + random() % kAll;
        std::string text = round % 2 == 0 ? "\xEF\xBB\xBF" : "";
        Lines expected;
        while (text.size() < 400000) {
            const std::size_t around[] = {3, 512, 1500, 65536, 131072, random() % 90000};
            std::string line(around[random() % 6] + 3 - random() % 6, 'x');
            for (std::size_t k = random() % 40; k + 1 < line.size(); k += 1 + random() % 600)
                line[k] = random() % 2 == 0 ? '\r' : ' ';
            if (columns < line.size()) line[columns - 1] = '\r';
            expected.push_back(line.substr(0, columns));
            std::replace(line.begin(), line.end(), ' ', '\0');
            text += line + (random() % 2 == 0 ? "\n" : "\r\n");
        }
        ASSERT_EQ(linesOf(slowUnit(text, 1 + random() % 70000), columns), expected) << "round " << round;
    }
}

TEST(InputUnit, GivesTheWholeLinesBeforeAFailedReadThenAnError) {
    InputUnit unit = slowUnit("one\ntwo\nthree\n", 3, 10);
    EXPECT_EQ(linesOf(std::move(unit), kAll, ReadOutcome::Error), (Lines{"one", "two"}));
    unit.rewind();
    EXPECT_EQ(linesOf(std::move(unit), kAll, ReadOutcome::Error), (Lines{"one", "two"}));
    EXPECT_EQ(linesOf(slowUnit(std::string(200000, 'x'), 50000, 150000), kAll, ReadOutcome::Error), Lines{});
}

TEST(Fileopenmt, ReadsAPipeAndRewindsIt) {
    const TemporaryFolder folder;
    const std::string path = folder.path("pipe"), text = std::string(300000, 'x') + "\nlast\n";
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    InputUnit unit;
    EXPECT_EQ(fileopenmt(path, unit, FileKind::Regular), EINVAL);  // without waiting for a writer
    const std::jthread writer([&] {
        OutputUnit out;
        ASSERT_EQ(fileopen(path, FileMode::Append, out), 0);
        std::fputs(text.c_str(), out.get());
    });
    ASSERT_EQ(fileopenmt(path, unit), 0);
    for (int k = 0; k < 2; ++k, unit.rewind())
        EXPECT_EQ(linesOf(std::move(unit)), (Lines{std::string(kAll, 'x'), "last"}));
}

TEST(Fileopen, AppendsReplacesAndNeverEmptiesAFileOpenedForReading) {
    const TemporaryFolder folder;
    using enum FileMode;
    for (const auto& [mode, contents] :
         {std::pair{Append, "x"}, {Append, "xx"}, {Read, "xx"}, {Replace, "x"}}) {
        OutputUnit unit;
        ASSERT_EQ(fileopen(folder.path("out") + "   ", mode, unit), 0);  // a padded name
        std::fputs("x", unit.get());
        unit.reset();
        EXPECT_EQ(readFile(folder.path("out")), contents);
    }
}

}  // namespace
}  // namespace vorlandi::testing
