// Input units: lines from bytes, with any line ends and in pieces of any size; and which files can be opened.
#include "CoreServices/InputUnits.hpp"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <random>
#include <thread>

#include "CoreServices/OutputUnits.hpp"
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

TEST(InputUnit, ReturnsTheWholeLinesBeforeAFailedReadThenAnError) {
    InputUnit unit = slowUnit("one\ntwo\nthree\n", 3, 10);
    EXPECT_EQ(linesOf(std::move(unit), kAll, ReadOutcome::Error), (Lines{"one", "two"}));
    unit.rewind();  // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(linesOf(std::move(unit), kAll, ReadOutcome::Error), (Lines{"one", "two"}));
    EXPECT_EQ(linesOf(slowUnit(std::string(200000, 'x'), 50000, 150000), kAll, ReadOutcome::Error), Lines{});
}

// Can't be rewound; its reads yield line feeds without end, or fail.
struct FailingSource : ByteSource {
    explicit FailingSource(std::int64_t result) : count(result) {}
    std::int64_t read(char* to, std::size_t) override {
        errno = EIO;
        *to = '\n';
        return count;
    }
    bool rewind() override { return false; }
    std::int64_t count;
};

TEST(InputUnit, ReturnsAnErrorIfItCannotBeRewound) {
    InputUnit unit(std::make_unique<FailingSource>(1));
    std::string_view line;
    EXPECT_EQ(unit.readLine(kAll, line), ReadOutcome::Success);
    unit.rewind();
    EXPECT_EQ(linesOf(std::move(unit), kAll, ReadOutcome::Error), Lines{});
}

TEST(SpoolSource, KeepsAllBytesUpToItsLimit) {
    std::string bytes((3 << 20) - 1, '\0');
    for (std::size_t k = 0; k < bytes.size(); ++k)
        bytes[k] = static_cast<char>(k / 1021);
    for (const char added : {'a', 'b'}) {  // one byte less than three pieces, and three pieces
        const auto source = memorySource(bytes);
        const auto size = static_cast<std::int64_t>(bytes.size());
        std::unique_ptr<ByteSource> spooled;
        EXPECT_EQ(spoolSource(*source, size - 1, spooled), EFBIG);
        ASSERT_TRUE(source->rewind());
        ASSERT_EQ(spoolSource(*source, size, spooled), 0);
        for (int pass = 0; pass < 2; ++pass, spooled->rewind()) {
            std::string read, some(70001, ' ');
            while (const std::int64_t count = spooled->read(some.data(), some.size()))
                read.append(some, 0, static_cast<std::size_t>(count));
            EXPECT_TRUE(read == bytes) << pass;
        }
        bytes += added;
    }
    FailingSource failing(-1);
    std::unique_ptr<ByteSource> spooled;
    EXPECT_EQ(spoolSource(failing, 1, spooled), EIO);
}

int statusOf(const std::string& name, FileKind kind = FileKind::Any) {
    InputUnit unit;
    return fileopenmt(name, unit, kind);
}

TEST(Fileopenmt, RefusesAtOnceWhatIsNotAFileOrAPipeAndLeavesNothingOpen) {
    const TemporaryFolder folder;
    const Pipe pipe(folder.path("pipe"));
    sockaddr_un address{AF_UNIX, {}};
    folder.path("socket").copy(address.sun_path, sizeof address.sun_path - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const std::ptrdiff_t before = openDescriptors();
    for (const std::string& name : Lines{"/dev/zero", "/dev/null", "/proc/self/maps", address.sun_path})
        EXPECT_EQ(statusOf(name), EINVAL) << name;
    EXPECT_NE(statusOf("/proc/kmsg"), 0);  // EPERM for some users
    EXPECT_EQ(statusOf(pipe.path(), FileKind::Regular), EINVAL) << "without waiting for a writer";
    EXPECT_EQ(statusOf(folder.path("")), EISDIR);
    EXPECT_EQ(statusOf("   "), ENOENT);
    EXPECT_EQ(statusOf(std::string(10000, 'x')), ENAMETOOLONG);
    EXPECT_EQ(statusOf(folder.write("empty", "") + "  "), 0) << "a padded name";
    EXPECT_EQ(openDescriptors(), before);
    ::close(socket);
}

TEST(Fileopenmt, WaitsForTheWriterOfAPipeReadsAllAndRewinds) {
    const TemporaryFolder folder;
    const Pipe pipe(folder.path("pipe"));
    const std::string text = std::string(300000, 'x') + "\nlast\n";
    const std::jthread writer([&] {
        const auto nap = [] { std::this_thread::sleep_for(std::chrono::milliseconds(30)); };
        nap();
        OutputUnit out;
        ASSERT_EQ(fileopen(pipe.path(), FileMode::Append, out), 0);
        nap();
        EXPECT_EQ(out.write(std::string_view(text).substr(0, 1000)), 1000U);
        nap();
        EXPECT_EQ(out.write(std::string_view(text).substr(1000)), text.size() - 1000);
    });
    InputUnit unit;
    ASSERT_EQ(fileopenmt(pipe.path(), unit), 0);
    for (int k = 0; k < 2; ++k, unit.rewind())  // NOLINT(bugprone-use-after-move)
        EXPECT_EQ(linesOf(std::move(unit)), (Lines{std::string(kAll, 'x'), "last"}));
}

TEST(Fileopenmt, ReadsWhatAnOpenDescriptorLeadsTo) {
    const TemporaryFolder folder;
    const auto linesBehind = [](int descriptor) {
        InputUnit unit;
        EXPECT_EQ(fileopenmt("/dev/fd/" + std::to_string(descriptor), unit), 0);
        ::close(descriptor);
        return linesOf(std::move(unit));
    };
    for (const Lines& lines : {Lines{"a"}, Lines{}}) {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        const ssize_t size = lines.empty() ? 0 : 2;
        ASSERT_EQ(::write(ends[1], "a\n", static_cast<std::size_t>(size)), size);
        ::close(ends[1]);
        EXPECT_EQ(linesBehind(ends[0]), lines);
    }
    EXPECT_EQ(linesBehind(::open(folder.write("file", "b\n").c_str(), O_RDONLY)), Lines{"b"});
}

}  // namespace
}  // namespace vorlandi::testing
