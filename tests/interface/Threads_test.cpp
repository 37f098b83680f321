// What holds while other threads run, in both guard modes.
#include <sys/wait.h>

#include <thread>

#include "CoreServices/Sanitized.hpp"
#include "TimeLibrary/LeapSeconds.hpp"
#include "interface/InterfaceSupport.hpp"
#include "vorlandi/time.h"

namespace vorlandi::testing {
namespace {

using Threads = InterfaceTest;

TEST_F(Threads, AQueryUsesOneTableOfLeapSeconds) {
    const std::int64_t key = addSatellite(5);
    addLine(key, 9);
    const LeapTable* const before = &leapTable();
    MessageText problem;
    const LeapTable* const other = parseLeapSeconds("2272060800 10", problem);  // 27 s less today
    std::atomic<bool> done{false};
    std::jthread exchanger([&] {
        while (!done)
            currentLeapTable = currentLeapTable == before ? other : before;
    });
    const double time = lineTime(4) + 20.0 / 86400.0;
    double farthest_km = 0.0;
    for (int k = 0; k < 200'000; ++k) {
        double pos[3] = {}, states[1][6] = {};
        ASSERT_EQ(VorlanDs50UTC(key, time, nullptr, pos, nullptr, nullptr), 0);
        ASSERT_EQ(VorlanDs50UTCArr(key, 1, &time, states, nullptr, nullptr, nullptr), 0);
        for (const double z_km : {pos[2], states[0][2]})
            farthest_km = std::max(farthest_km, std::abs(z_km - 260.0));
    }
    done = true;
    exchanger.join();
    currentLeapTable = before;
    EXPECT_LT(farthest_km, 1e-3) << "the times of the two tables differ by a few roundings, not by seconds";
}

TEST_F(Threads, AChildOfForkCanUseTheStoreWhateverOtherThreadsWereDoing) {
    if (VORLANDI_SANITIZED) GTEST_SKIP() << "sanitizers don't follow a fork beside threads";
    VorlanSetGuardMode(VORLAN_GUARD_SAFE);
    const std::int64_t key = addSatellite(5);
    addLine(key, 9);
    std::atomic<bool> done{false};
    const TemporaryFolder folder;
    const std::string trace = folder.path("trace");
    ASSERT_EQ(VorlanTraceOpen(trace.c_str()), 0);
    VorlanTraceSetHandler(nullptr, nullptr);
    std::vector<std::jthread> others;
    for (std::int32_t own = 1; own <= 3; ++own) {
        others.emplace_back([&, own] {
            while (!done) {
                const std::int64_t mine = addSatellite(1000 + own);
                addLine(mine, 5);
                VorlanRemoveSat(mine);
                VorlanRemoveSat(mine);  // logs
                VorlanStartEndTime(key, nullptr, nullptr);
            }
        });
    }
    for (int k = 0; k < 200 && !HasFailure(); ++k) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);  // a lock that nobody will ever release
            const std::int64_t mine = addSatellite(6);
            const bool good = mine > 0 && VorlanDs50UTC(key, lineTime(3), {}, {}, {}, {}) == 0 &&
                              VorlanRemoveSat(mine) == 0 && VorlanRemoveSat(mine) == 2 && VorlanGetCount() >= 1;
            _exit(good ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << "child " << k;
    }
    done = true;
    others.clear();
    VorlanTraceClose();
}

}  // namespace
}  // namespace vorlandi::testing
