// Logging under adverse conditions: while a thread or the process ends, without memory, and in a child of fork. Each in
// its own process, which ThreadSanitizer does not support.
#if !defined(__SANITIZE_THREAD__)

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "CoreServices/OutputUnits.hpp"
#include "CoreServices/Sanitized.hpp"
#include "CoreServices/TraceLog.hpp"
#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

using ::testing::EndsWith;
using ::testing::ExitedWithCode;
using ::testing::KilledBySignal;

const std::string kText(700, 'x');

// Logs when it is destroyed, and checks that the message was kept and the heap is intact.
struct Farewell {
    ~Farewell() {
        if (!isArmed) return;
        tracelogerror(std::string(700, 'x'));
        const std::vector<std::string> heap(100, std::string(512, 'y'));
        if (lastTraceError().view() != std::string(512, 'x')) ::_exit(1);
    }
    bool isArmed = true;
};

// Destroyed after the objects of the library.
__attribute__((init_priority(101))) Farewell farewell{false};

TEST(TraceLogDeathTest, ServesDestructorsAtTheEndOfAThreadAndOfTheProcess) {
    const TemporaryFolder folder;
    const std::string path = folder.path("trace.log");
    const auto run = [&] {
        farewell.isArmed = true;
        openTraceFile(path);
        std::thread([] {
            static thread_local const Farewell local{};
            tracelogerror("before " + kText);
        }).join();
        tracelogerror("before " + kText);
        std::exit(0);
    };
    EXPECT_EXIT(run(), ExitedWithCode(0), "");
    const std::string log = readFile(path), line = " ERROR " + kText + "\n";
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 4);
    EXPECT_THAT(log, EndsWith(line));
}

TEST(TraceLogDeathTest, WorksInAChildOfForkWhateverOtherThreadsDo) {
    const TemporaryFolder folder;
    OutputUnit unit;
    ASSERT_EQ(fileopen(folder.path("saved"), FileMode::Append, unit), 0);
    ASSERT_EQ(openTraceFile(folder.path("trace.log")), 0);
    std::atomic<bool> done = false;
    std::jthread saver([&, turn = std::make_unique<OutputTurn>(unit)] { done.wait(false); });
    std::jthread logger([&] {
        while (!done)
            traceloginfo(kText);
    });
    for (int k = 0; k < 50; ++k) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(10);
            tracelogerror("child");
            const OutputTurn turn(unit);
            ::_exit(0);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    done = true;
    done.notify_all();
    logger.join();
    closeTraceFile();
}

#if !VORLANDI_SANITIZED  // AddressSanitizer stops the process itself when memory is short

void* volatile lastBlock;  // so that no allocation is optimised away

void exhaustMemory() {
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_AS, &none);
    for (std::size_t size = 1 << 20; size > 0; size -= size > 2048 ? size / 2 : 16) {
        do {
            lastBlock = std::malloc(size);
        } while (lastBlock != nullptr);
    }
}

TEST(TraceLogDeathTest, NeedsNoMemory) {
    const TemporaryFolder folder;
    const std::string path = folder.path("trace.log"), message = "\n" + kText;
    ASSERT_EQ(openTraceFile(path), 0);
    const auto run = [&] {
        exhaustMemory();
        tracelogerror(message);
        if (std::string_view(lastTraceError().view()) != std::string_view(message).substr(0, 512)) ::_exit(1);
        if (openTraceFile(path) != 0) ::_exit(2);
        stopOnAllocationFailure(7);
    };
    EXPECT_EXIT(run(), KilledBySignal(SIGABRT), "Error allocating 7 bytes");
    closeTraceFile();
    const std::string log = readFile(path);
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 2);
    EXPECT_THAT(log, EndsWith(" ERROR Error allocating 7 bytes\n"));
}

#endif

}  // namespace
}  // namespace vorlandi::testing

#endif
