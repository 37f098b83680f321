// Files that can't be read: missing files, read errors, files that become shorter, no descriptor left. Every failure is
// reported, and nothing is read more often than necessary.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "CoreServices/Sanitized.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "scanning/LoadingTest.hpp"
#include "scanning/ReadEvents.hpp"

// Replaces the system's `read` in this program: fails from a byte of one file on, and counts what was read of it. The
// label separates it from the declarations of the system's headers.
extern "C" ssize_t faultyRead(int descriptor, void* bytes, std::size_t size) __asm__("read");

namespace {

struct Fault {
    ino_t file = 0;  // 0: none
    off_t from = 0;
    std::int64_t bytesRead = 0;
} fault;

}  // namespace

ssize_t faultyRead(int descriptor, void* bytes, std::size_t size) {
    struct stat status {};
    const bool isFaulty = fault.file != 0 && ::fstat(descriptor, &status) == 0 && status.st_ino == fault.file;
    if (isFaulty) {
        const off_t left = fault.from - ::lseek(descriptor, 0, SEEK_CUR);
        if (left <= 0) {
            errno = EIO;
            return -1;
        }
        size = std::min(size, static_cast<std::size_t>(left));
    }
    const ssize_t count = ::syscall(SYS_read, descriptor, bytes, size);
    if (isFaulty && count > 0) fault.bytesRead += count;
    return count;
}

namespace vorlandi::testing {
namespace {

using ::testing::ElementsAre;

constexpr off_t kNever = INT64_MAX;

// A block that ends before the file.
std::string dceText(int satNum) { return std::to_string(satNum) + "\n1 1 0 20485/\n1 1 0 20486/\n\n"; }

class ReadFaults : public LoadingTest {
protected:
    ~ReadFaults() override { fault = {}; }

    static void setFault(const std::string& path, off_t from) {
        struct stat status {};
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        fault = {status.st_ino, from, 0};
    }

    ReadEvents events{log};
};

TEST_F(ReadFaults, AFileThatCannotBeReadIsReportedWithTheLineOfItsCard) {
    const std::string good = folder.write("good", dceText(5)), missing = folder.path("missing");
    // More than a buffer without a mark of a card, which is skipped as a whole.
    std::string text(40'000, '\n');
    for (int k = 0; k < 1000; ++k)
        text += std::string(99, 'x') + "\n";
    text += card(missing) + card("") + "EPHFIL\n" + card(folder.path("")) + card(good) + card("/dev/null");
    EXPECT_EQ(load("fleet", text), 0);
    EXPECT_EQ(events.heard, (Lines{"5|fleet:41001|" + missing, "5|fleet:41004|" + folder.path(""), "1|good:1|DCE_TEXT",
                                   "4|good:4|key", "5|fleet:41006|/dev/null"}));
    EXPECT_EQ(log.errors(), Lines{});
}

TEST_F(ReadFaults, AReadErrorInAFileIsReportedWithItsCard) {
    const std::string text = dceText(5) + dceText(6), good = folder.write("good", dceText(7));
    const std::string dce = readFile(VORLANDI_EXAMPLES "/81001.dce");
    const struct {
        std::string name, bytes;
        off_t failAt;
        std::string told, message;
    } cases[] = {
        {"f", "nothing\n", 5, "2|f:1|", "*** ReadOnlyVorlans: File read error. ***"},
        {"f", text, 10, "2|f:2|", "*** ReadDCEText: File read error. ***"},
        {"f", text, off_t(text.size() / 2), "2|f:5|", "*** ReadOnlyVorlans: File read error. ***"},
        {"f.dce", dce, 128 + 112 + 50, "2|f.dce:5|", "*** ReadDCEBinary: File read error. ***"},
        {"f.dce", dce, 128 + 2 * 112, "2|f.dce:6|", "*** ReadDCEBinary: File read error. ***"},  // between two records
    };
    for (const auto& [name, bytes, failAt, told, message] : cases) {
        SCOPED_TRACE(failAt);
        VorlanRemoveAllSats();
        log.clear();
        events.clear();
        const std::string faulty = folder.write(name, bytes);
        setFault(faulty, failAt);
        EXPECT_EQ(load("fleet", "\n" + card(faulty) + card(good)), 0);
        EXPECT_EQ(log.errors(), Lines{message});
        EXPECT_THAT(events.heard, ::testing::IsSupersetOf({told, "5|fleet:2|" + faulty}));
        EXPECT_TRUE(events.heard.back().starts_with("4|good:4|")) << "the files after it are read";
    }
}

// The bytes of a card file; each pass sees a different part.
struct Passes : ByteSource {
    struct Pass {
        std::size_t size;
        bool fails;
    };

    std::int64_t read(char* to, std::size_t capacity) override {
        const auto& [size, fails] = passes.at(pass);
        const std::size_t count = bytes.copy(to, std::min(capacity, size - at), at);
        at += count;
        return count == 0 && fails ? -1 : static_cast<std::int64_t>(count);
    }
    bool rewind() override {
        at = 0;
        ++pass;
        return true;
    }

    std::string bytes;
    std::vector<Pass> passes;
    std::size_t pass = 0, at = 0;
};

TEST_F(ReadFaults, AnErrorInEitherPassOverACardFileIsReportedOnce) {
    const std::string cards = card(folder.write("a", dceText(5))) + card(folder.write("b", dceText(6)));
    const std::size_t all = cards.size(), half = all / 2;
    const std::string ofCards = "*** readvorlansfrfileunit: File read error. ***",
                      ofBlocks = "*** ReadOnlyVorlans: File read error. ***";
    const struct {
        Passes::Pass first, second;
        int satellites;
        Lines messages, told;
    } cases[] = {
        {{all, false}, {all, false}, 2, {}, {}},
        {{half, true}, {all, false}, 1, {ofCards}, {"2|fleet:2|"}},
        {{half, true}, {half, true}, 1, {ofBlocks}, {"2|fleet:2|"}},
        {{all, false}, {0, true}, 2, {ofBlocks}, {"2|fleet:1|"}},
        {{all, false}, {half, false}, 2, {ofBlocks}, {"2|fleet:2|"}},  // it has become shorter
    };
    for (const auto& [first, second, satellites, messages, told] : cases) {
        VorlanRemoveAllSats();
        log.clear();
        events.clear();
        auto source = std::make_unique<Passes>();
        source->bytes = cards;
        source->passes = {{0, true}, first, second};
        Load load;
        InputUnit unit(std::move(source));
        EXPECT_EQ(readvorlansfrfileunit(unit, {"fleet"}, load), 0);
        EXPECT_EQ(VorlanGetCount(), satellites);
        EXPECT_EQ(log.errors(), messages);
        std::erase_if(events.heard, [](const std::string& event) { return !event.starts_with("2|"); });
        EXPECT_EQ(events.heard, told);
    }
}

// Leaves only this many free descriptors while it lives.
class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t left) {
        ::getrlimit(RLIMIT_NOFILE, &before_);
        const int lowest = ::open("/dev/null", O_RDONLY);
        ::close(lowest);
        const rlimit few{static_cast<rlim_t>(lowest) + left, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &few);
    }
    ~FewDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
    FewDescriptors(const FewDescriptors&) = delete;
    FewDescriptors& operator=(const FewDescriptors&) = delete;

private:
    rlimit before_{};
};

TEST_F(ReadFaults, FilesForWhichNoDescriptorIsLeftAreReported) {
    if (VORLANDI_SANITIZED) GTEST_SKIP() << "the check of virtual calls looks at memory through a pipe of its own";
    const std::string text = folder.write("a", dceText(5)),
                      dce = folder.write("b.dce", readFile(VORLANDI_EXAMPLES "/81001.dce"));
    const std::string fleet = folder.write("fleet", card(text) + card(dce));
    {
        const FewDescriptors none(1);  // the card file's own
        EXPECT_EQ(VorlanLoadFile(fleet.c_str()), 0);
    }
    EXPECT_EQ(events.heard, (Lines{"5|fleet:1|" + text, "5|fleet:2|" + dce}));
    const auto message = [](const std::string& name) {
        return "*** readvorlansfrfileunit: " + name + ": Too many open files. ***";
    };
    EXPECT_EQ(log.errors(), (Lines{message(text), message(dce)}));
    events.clear();
    log.clear();
    {
        const FewDescriptors one(2);  // a binary file is opened twice
        EXPECT_EQ(VorlanLoadFile(fleet.c_str()), 0);
    }
    EXPECT_EQ(VorlanGetCount(), 1);
    EXPECT_EQ(events.heard.back(), "5|fleet:2|" + dce);
    EXPECT_THAT(log.errors(), ElementsAre("*** ReadDCEBinary: File read error. ***", ::testing::_));
}

TEST_F(ReadFaults, AFileWithoutABlockIsReadOnceHoweverOftenCardsNameIt) {
    const std::string path = folder.path("loop"), other = folder.path("./loop"), dce = folder.path("loop.dce");
    std::string cards;
    for (int k = 0; k < 500; ++k)
        cards += card(path) + card(other);
    cards += card(dce);
    folder.write("loop", cards);
    ASSERT_EQ(::symlink(path.c_str(), dce.c_str()), 0);
    setFault(path, kNever);
    EXPECT_EQ(VorlanLoadFile(path.c_str()), 0);
    // In each of the two passes, once for the cards, and as a binary file.
    EXPECT_LE(fault.bytesRead, 4 * static_cast<std::int64_t>(cards.size()));
    EXPECT_EQ(log.infos().size(), 1U + 1000U + 1U) << "a summary each, as if it had been read";
    EXPECT_EQ(log.errors().size(), 2U) << "of what is not a binary file";
}

}  // namespace
}  // namespace vorlandi::testing
