// Saving in difficult cases: names and tags with line feeds, pipes that nobody reads, and several threads
// or processes.
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "scanning/LoadingTest.hpp"

namespace vorlandi::testing {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kLineSize = 522;

class Saving : public LoadingTest {
protected:
    // Satellites whose saved lines differ from those of other calls.
    static void add(std::int32_t first, int count, const char* tag) {
        for (std::int32_t satNum = first; satNum < first + count; ++satNum) {
            const std::int64_t key = VorlanAddSat(satNum, 1, 27000.0, 6378.135, 0.0743);
            VorlanSetField(key, 15, tag);
        }
    }
    static auto save(const std::string& path, std::int32_t mode = 1) {
        return std::async(std::launch::async, [=] { return VorlanSaveFile(path.c_str(), mode); });
    }
    std::string textSaved() {
        VorlanSaveFile(folder.path("saved").c_str(), 0);
        return readFile(folder.path("saved"));
    }
};

TEST_F(Saving, WritesOneLineForAFileNameOrATagWithALineFeed) {
    const std::string file = folder.write("a\nEPHFIL = b\n",
                                          "KQ_UNIVERSAL_VORLANDI_V1.0            7HCSRL     CSV \n"
                                          "2026-01-31T00:00:00,1,2,3,4,5,6\n");
    const std::int64_t key = VorlanAddSatFrFile(file.c_str());
    ASSERT_GT(key, 0);
    VorlanSetField(key, 15, "tag\n#VORLANDI = other");
    std::string card = "EPHFIL = " + folder.path("a EPHFIL = b "), tag = "#VORLANDI = tag #VORLANDI = other";
    card.resize(521, ' ');
    tag.resize(140, ' ');
    EXPECT_EQ(textSaved(), "\n\n\n*** External Ephemeris Input Files ***\n" + tag + "\n" + card + "\n");
    std::string line(512, '#');
    EXPECT_EQ(VorlanGetLine(key, line.data()), 0);
    EXPECT_EQ(line.substr(0, file.size() + 10), "EPHFIL = " + file + " ") << "as it is";
}

TEST_F(Saving, ReplacesALongerFile) {
    add(1, 100, "");
    const std::string longer = textSaved();
    VorlanRemoveAllSats();
    EXPECT_EQ(textSaved(), longer.substr(0, longer.size() - 100 * kLineSize));
}

TEST_F(Saving, ToAPipeThatNobodyReadsBlocksOnlyOthersThatSaveToIt) {
    Pipe pipe(folder.path("pipe"));
    pipe.openReader();
    add(1, 300, "first");
    const std::string first = textSaved();
    auto saved = save(pipe.path());
    for (int waiting = 0; waiting < 65536;)
        ASSERT_EQ(::ioctl(pipe.reader(), FIONREAD, &waiting), 0);
    auto alsoSaved = save(folder.path("./pipe"));
    EXPECT_EQ(alsoSaved.wait_for(50ms), std::future_status::timeout);
    EXPECT_EQ(VorlanRemoveAllSats(), 0);
    add(1, 300, "second");
    const std::string second = textSaved();
    std::string taken;
    while (saved.wait_for(0s) != std::future_status::ready || alsoSaved.wait_for(0s) != std::future_status::ready)
        taken += pipe.take();
    taken += pipe.take();
    EXPECT_TRUE(taken == first + second) << "mixed, or the later turn wrote the older content";

    saved = save(pipe.path());
    for (int waiting = 0; waiting < 65536;)
        ASSERT_EQ(::ioctl(pipe.reader(), FIONREAD, &waiting), 0);
    pipe.closeReader();
    EXPECT_EQ(saved.get(), 0) << "and no SIGPIPE";
}

#if !defined(__SANITIZE_THREAD__)  // which does not support fork

TEST_F(Saving, AppendsTheLinesOfEachProcessWithoutABreak) {
    add(1, 200, "a tag");
    const std::string text = textSaved(), path = folder.path("appended");
    pid_t children[4];
    for (pid_t& child : children) {
        child = ::fork();
        if (child != 0) continue;
        for (int k = 0; k < 25; ++k)
            VorlanSaveFile(path.c_str(), 1);
        ::_exit(0);
    }
    for (const pid_t child : children)
        ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    const std::string appended = readFile(path);
    EXPECT_EQ(appended.size(), 100 * text.size());
    for (std::size_t at = 0; at < appended.size(); at += text.size())
        ASSERT_EQ(appended.compare(at, text.size(), text), 0);
}

#endif

}  // namespace
}  // namespace vorlandi::testing
