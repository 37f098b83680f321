// Input units: lines out of bytes, whatever ends them and however the bytes arrive; and the opening of files.
#include "CoreServices/InputUnits.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <thread>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr std::size_t kAll = InputUnit::kLongestLine;
using Lines = std::vector<std::string>;

// Bytes that arrive in pieces of at most `piece`, and fail after `failAt`.
class SlowSource : public ByteSource {
public:
    SlowSource(std::string bytes, std::size_t piece, std::size_t failAt = SIZE_MAX)
        : bytes_(std::move(bytes)), piece_(piece), failAt_(failAt) {}

    std::int64_t read(char* bytes, std::size_t capacity) override {
        if (position_ >= failAt_) return -1;
        const std::size_t most = std::min({capacity, piece_, failAt_ - position_});
        const std::size_t count = bytes_.copy(bytes, most, position_);
        position_ += count;
        return static_cast<std::int64_t>(count);
    }
    bool rewind() override {
        position_ = 0;
        failAt_ = SIZE_MAX;
        return true;
    }

private:
    std::string bytes_;
    std::size_t piece_, failAt_, position_ = 0;
};

InputUnit slowUnit(std::string bytes, std::size_t piece, std::size_t failAt = SIZE_MAX) {
    return InputUnit(std::make_unique<SlowSource>(std::move(bytes), piece, failAt));
}

Lines linesOf(InputUnit& unit, std::size_t columns = kAll, ReadOutcome end = ReadOutcome::EndOfData) {
    Lines lines;
    std::string_view line;
    ReadOutcome outcome;
    while ((outcome = unit.readLine(columns, line)) == ReadOutcome::Success)
        lines.emplace_back(line);
    EXPECT_EQ(outcome, end);
    EXPECT_TRUE(line.empty());
    EXPECT_EQ(unit.lineNumber(), static_cast<std::int64_t>(lines.size()));
    return lines;
}

// The rules as plainly as they can be written.
Lines naiveLines(std::string text, std::size_t columns) {
    Lines lines;
    std::replace(text.begin(), text.end(), '\0', ' ');
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    while (!text.empty()) {
        const auto lineEnd = text.find('\n');
        std::string line = text.substr(0, lineEnd);
        if (lineEnd != std::string::npos && line.ends_with('\r')) line.pop_back();
        lines.push_back(line.substr(0, columns));
        text.erase(0, lineEnd == std::string::npos ? lineEnd : lineEnd + 1);
    }
    return lines;
}

TEST(InputUnit, EndsLinesWithLfCrLfOrTheEndOfTheFile) {
    struct Case {
        std::string text;
        Lines lines;
    };
    const Case cases[] = {
        {"", {}},
        {"\n", {""}},
        {"a", {"a"}},
        {"a\n\nb", {"a", "", "b"}},
        {"a\r\n\r\nb\r\n", {"a", "", "b"}},
        {"a\rb\n", {"a\rb"}},
        {"\xEF\xBB\xBFi\n\xEF\xBB\xBFj\n", {"i", "\xEF\xBB\xBFj"}},
        {"\xEF\xBB\xBF", {}},
        {"\xEF\xBB", {"\xEF\xBB"}},
        {std::string("a\0b\n\0", 5), {"a b", " "}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.text));
        InputUnit whole(memorySource(c.text));
        EXPECT_EQ(linesOf(whole), c.lines);
        InputUnit byByte = slowUnit(c.text, 1);
        EXPECT_EQ(linesOf(byByte), c.lines);
    }
}

TEST(InputUnit, CutsLinesAroundTheWidthsAndTheBufferSize) {
    for (const std::size_t columns : {std::size_t{512}, kAll}) {
        for (const std::size_t around : {512u, 1500u, 65536u, 131072u, 1048576u}) {
            for (std::size_t length = around - 3; length <= around + 3; ++length) {
                const std::string text = std::string(length, 'x') + "\r\nnext\n" + std::string(length, 'y');
                InputUnit unit = slowUnit(text, 40000);
                ASSERT_EQ(linesOf(unit, columns), naiveLines(text, columns)) << length;
            }
        }
    }
}

TEST(InputUnit, TakesACarriageReturnInsideAMegabyteLineAsAnyCharacter) {
    std::string text(1 << 20, 'x');
    for (const std::size_t at : {511u, 512u, 1499u, 1500u, 65535u})
        text[at] = '\r';
    text += "\nnext\n";
    InputUnit unit(memorySource(text));
    EXPECT_TRUE(linesOf(unit) == naiveLines(text, kAll));  // not shown: a megabyte
}

TEST(InputUnit, SplitsRandomTextsAsANaiveSplitterDoes) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    for (int round = 0; round < 60; ++round) {
        std::string text = round % 3 == 0 ? "\xEF\xBB\xBF" : "";
        const std::size_t longest = round % 2 == 0 ? 100 : 90000;
        while (text.size() < 200000) {
            for (std::size_t rest = below(longest); rest > 0; --rest)
                text += "ab\r\0 "[below(6) % 5];
            text += below(2) == 0 ? "\n" : "\r\n";
        }
        text.resize(text.size() - below(3));
        const std::size_t columns = 1 + below(kAll);
        InputUnit unit = slowUnit(text, 1 + below(70000));
        ASSERT_EQ(linesOf(unit, columns), naiveLines(text, columns)) << "round " << round;
        unit.rewind();
        ASSERT_EQ(linesOf(unit, columns), naiveLines(text, columns)) << "round " << round << ", again";
    }
}

TEST(InputUnit, GivesTheWholeLinesBeforeAFailedReadThenAnError) {
    InputUnit unit = slowUnit("one\ntwo\nthree\n", 3, 10);
    EXPECT_EQ(linesOf(unit, kAll, ReadOutcome::Error), (Lines{"one", "two"}));
    EXPECT_FALSE(unit.atEnd());
    std::string_view line;
    EXPECT_EQ(unit.readLine(kAll, line), ReadOutcome::Error);
    unit.rewind();
    EXPECT_EQ(linesOf(unit), (Lines{"one", "two", "three"}));
    EXPECT_TRUE(unit.atEnd());

    InputUnit insideLongLine = slowUnit(std::string(200000, 'x') + "\n", 50000, 150000);
    EXPECT_EQ(linesOf(insideLongLine, kAll, ReadOutcome::Error), Lines{});
}

TEST(InputUnit, ThatWasNeverOpenedIsAtItsEnd) {
    InputUnit unit;
    EXPECT_TRUE(unit.atEnd());
    EXPECT_EQ(linesOf(unit), Lines{});
    unit.rewind();
    EXPECT_TRUE(unit.atEnd());
}

TEST(Fileopenmt, ReadsAPipeAndRewindsIt) {
    const TemporaryFolder folder;
    const std::string path = folder.path("pipe");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    InputUnit unit;
    EXPECT_EQ(fileopenmt(path, unit, FileKind::Regular), EINVAL);  // without waiting for a writer
    std::string text;
    while (text.size() < 300000)
        text += "line " + std::to_string(text.size()) + "\n";
    std::thread writer([&] {
        OutputUnit out;
        ASSERT_EQ(fileopen(path, FileMode::Append, out), 0);
        std::fwrite(text.data(), 1, text.size(), out.get());
    });
    const int error = fileopenmt(path, unit);
    writer.join();
    ASSERT_EQ(error, 0);
    EXPECT_EQ(linesOf(unit), naiveLines(text, kAll));
    unit.rewind();
    EXPECT_EQ(linesOf(unit), naiveLines(text, kAll));
}

TEST(Fileopen, WritesReplacesAndAppends) {
    const TemporaryFolder folder;
    const std::string path = folder.path("out");
    struct Step {
        FileMode mode;
        const char* contents;
    };
    for (const auto& [mode, contents] : {Step{FileMode::Append, "x"}, Step{FileMode::Append, "xx"},
                                         Step{FileMode::Replace, "x"}, Step{FileMode::Append, "xx"}}) {
        OutputUnit unit;
        ASSERT_EQ(fileopen(path + "   ", mode, unit), 0);  // a padded name
        std::fputs("x", unit.get());
        unit.reset();
        EXPECT_EQ(readFile(path), contents);
    }
}

TEST(Fileopen, NeverEmptiesAFileThatIsOpenedForReading) {
    const TemporaryFolder folder;
    const std::string path = folder.write("kept", "contents");
    OutputUnit unit;
    fileopen(path, FileMode::Read, unit);
    unit.reset();
    EXPECT_EQ(readFile(path), "contents");
}

TEST(Fileopen, GivesTheErrnoOfAFailure) {
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "");
    struct Case {
        std::string name;
        int error;
    };
    for (const auto& [name, error] : {Case{"", ENOENT}, Case{"     ", ENOENT}, Case{folder.path(""), EISDIR},
                                      Case{folder.path("no/file"), ENOENT}, Case{file + "/below", ENOTDIR},
                                      Case{std::string(5000, 'n'), ENAMETOOLONG}}) {
        SCOPED_TRACE(name.substr(0, 60));
        InputUnit in;
        OutputUnit out;
        EXPECT_EQ(fileopenmt(name, in), error);
        EXPECT_EQ(fileopen(name, FileMode::Replace, out), error);
        EXPECT_EQ(fileopen(name, FileMode::Append, out), error);
        EXPECT_EQ(out, nullptr);
    }
    InputUnit in;
    EXPECT_EQ(fileopenmt(folder.path("absent"), in), ENOENT);
}

}  // namespace
}  // namespace vorlandi::testing
