// Output units: modes, pipes without a reader, and threads that take turns writing to the same file.
#include "CoreServices/OutputUnits.hpp"

#include <signal.h>

#include <cerrno>
#include <future>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

using namespace std::chrono_literals;

TEST(Fileopen, AppendsReplacesAndReportsWhatCannotBeOpened) {
    const TemporaryFolder folder;
    using enum FileMode;
    for (const auto& [mode, contents] : {std::pair{Append, "x"}, {Append, "xx"}, {Replace, "x"}}) {
        OutputUnit unit;
        ASSERT_EQ(fileopen(folder.path("out") + "   ", mode, unit), 0);  // a padded name
        EXPECT_EQ(mode == Replace ? unit.empty() : 0, 0);
        EXPECT_EQ(unit.write("x"), 1U);
        EXPECT_EQ(readFile(folder.path("out")), contents);
    }
    OutputUnit unit;
    EXPECT_EQ(fileopen("  ", Append, unit), ENOENT);
    EXPECT_EQ(fileopen(folder.path(""), Append, unit), EISDIR);
    ASSERT_EQ(fileopen("/dev/full", Append, unit), 0);
    EXPECT_EQ(unit.empty(), 0) << "there is nothing to empty";
    EXPECT_EQ(unit.write("x"), 0U);
}

bool pipeSignalPending() {
    sigset_t pending;
    return ::sigpending(&pending) == 0 && ::sigismember(&pending, SIGPIPE) == 1;
}

TEST(OutputUnit, LeavesSigpipeToTheProcess) {
    const TemporaryFolder folder;
    Pipe pipe(folder.path("pipe"));
    pipe.openReader();
    OutputUnit unit;
    ASSERT_EQ(fileopen(pipe.path(), FileMode::Append, unit), 0);
    pipe.closeReader();
    sigset_t pipeSignal, now;
    ::sigemptyset(&pipeSignal);
    ::sigaddset(&pipeSignal, SIGPIPE);
    EXPECT_EQ(unit.write("x"), 0U);
    EXPECT_EQ(errno, EPIPE);
    ::pthread_sigmask(SIG_BLOCK, &pipeSignal, &now);
    EXPECT_EQ(::sigismember(&now, SIGPIPE), 0);
    EXPECT_FALSE(pipeSignalPending());
    ::raise(SIGPIPE);
    EXPECT_EQ(unit.write("x"), 0U);
    EXPECT_TRUE(pipeSignalPending()) << "somebody else's";
    const timespec noWait{};
    EXPECT_EQ(::sigtimedwait(&pipeSignal, nullptr, &noWait), SIGPIPE);
    ::pthread_sigmask(SIG_SETMASK, &now, nullptr);
}

TEST(OutputTurn, KeepsOthersOnlyFromTheSameFile) {
    const TemporaryFolder folder;
    OutputUnit unit, again, other;
    ASSERT_EQ(fileopen(folder.path("a"), FileMode::Append, unit), 0);
    ASSERT_EQ(fileopen(folder.path("./a"), FileMode::Replace, again), 0);
    ASSERT_EQ(fileopen(folder.path("b"), FileMode::Append, other), 0);
    auto turn = std::make_unique<OutputTurn>(unit);
    auto otherNow = std::make_unique<OutputTurn>(other);
    const auto waitFor = [](const OutputUnit& file) {
        return std::async(std::launch::async, [&] { const OutputTurn later(file); });
    };
    const std::future<void> otherTurn = waitFor(other);
    EXPECT_EQ(otherTurn.wait_for(20ms), std::future_status::timeout);
    const std::future<void> laterTurns[] = {waitFor(again), waitFor(again)};
    for (const auto& later : laterTurns)
        EXPECT_EQ(later.wait_for(20ms), std::future_status::timeout);
    turn.reset();
    for (const auto& later : laterTurns)
        EXPECT_EQ(later.wait_for(10s), std::future_status::ready);
    EXPECT_EQ(otherTurn.wait_for(0s), std::future_status::timeout);
    otherNow.reset();
}

}  // namespace
}  // namespace vorlandi::testing
