// The access guard. Between a reader's look at the flag and its announcement a writer may begin; so nothing here
// lets readers of the tree race with writers. Exclusion is tested step by step, and the test under load mixes
// only what the gap can't spoil: writers among themselves, and readers of DMA keys, which never see the tree.
#include "Vorlandi/StoreGuard.hpp"

#include <chrono>
#include <future>
#include <thread>

#include "CoreServices/KeyModes.hpp"
#include "TestSupport.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "vorlandi/vorlandi.h"

namespace vorlandi::testing {
namespace {

using namespace std::chrono_literals;

class StoreGuard : public StoreTest {
protected:
    ~StoreGuard() override { EXPECT_EQ(numreads, 0); }

    static std::int64_t addDmaSatellite(std::int32_t satNum) {
        setAllKeyMode(1, kDmaKeyMode);
        const std::int64_t key = VorlanAddSat(satNum, 1, 27000.0, 6378.135, 0.0743669161);
        setAllKeyMode(0, 0);
        return key;
    }
};

template <class Result>
bool finished(const std::future<Result>& work) {
    return work.wait_for(0s) == std::future_status::ready;
}

// Waits until something holds that must come to hold; a guard that never lets go ends the test program.
template <class Condition>
void waitUntil(Condition condition) {
    const auto giveUp = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > giveUp) {
            std::fputs("The guard was never left.\n", stderr);
            std::abort();
        }
        std::this_thread::yield();
    }
}

TEST_F(StoreGuard, LetsReadersInWithoutWaitingAndCountsThem) {
    vorlanbeginread();
    EXPECT_EQ(numreads, 1);
    {
        const ReadGuard second;
        EXPECT_EQ(numreads, 2);
    }
    EXPECT_EQ(numreads, 1);
    vorlanendread();
    EXPECT_EQ(numreads, 0);
    EXPECT_EQ(isupdating, 0);
}

TEST_F(StoreGuard, AWriterProceedsOnlyAfterBothReadersHaveLeft) {
    vorlanbeginread();
    vorlanbeginread();
    auto writer = std::async(std::launch::async, [] { return VorlanAddSat(5, 1, 27000.0, 6378.135, 0.07); });
    waitUntil([] { return isupdating == 1; });
    for (const int readers : {2, 1}) {
        std::this_thread::sleep_for(20ms);
        EXPECT_FALSE(finished(writer)) << readers << " readers";
        EXPECT_TRUE(vorlantreeisempty());
        vorlanendread();
    }
    waitUntil([&] { return finished(writer); });
    EXPECT_GT(writer.get(), 0);
    EXPECT_EQ(isupdating, 0);
    EXPECT_EQ(VorlanGetCount(), 1);
}

TEST_F(StoreGuard, AReaderThatComesWhileAWriterIsActiveSeesTheWritersWork) {
    vorlanbeginread();
    auto writer = std::async(std::launch::async, [] { return VorlanAddSat(5, 1, 27000.0, 6378.135, 0.07); });
    waitUntil([] { return isupdating == 1; });
    auto reader = std::async(std::launch::async, [] { return VorlanGetCount(); });
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(finished(reader));
    EXPECT_EQ(numreads, 1) << "the waiting reader has not announced itself";
    vorlanendread();
    waitUntil([&] { return finished(writer) && finished(reader); });
    EXPECT_EQ(reader.get(), 1);
}

TEST_F(StoreGuard, WritersRunOneAfterTheOther) {
    int inside = 0;
    int mostInside = 0;
    int passes = 0;
    const auto write = [&] {
        for (int pass = 0; pass < 2000; ++pass) {
            const WriteGuard guard;
            mostInside = std::max(mostInside, ++inside);
            ++passes;
            --inside;
        }
    };
    { const std::jthread first(write), second(write), third(write); }
    EXPECT_EQ(mostInside, 1);
    EXPECT_EQ(passes, 3 * 2000);
    EXPECT_EQ(isupdating, 0);

    auto held = std::make_unique<WriteGuard>();
    auto writer = std::async(std::launch::async, [] { return VorlanRemoveAllSats(); });
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(finished(writer));
    EXPECT_EQ(isupdating, 1);
    held.reset();
    waitUntil([&] { return finished(writer); });
}

TEST_F(StoreGuard, LookupsOfDmaKeysLeaveTheGuardAlone) {
    const std::int64_t key = addDmaSatellite(5);
    std::string_view message;
    for (const std::int64_t each : {key, std::int64_t{0}, std::int64_t{-10}, key + 10}) {
        SCOPED_TRACE(each);
        FindRecPtr(each, message);
        EXPECT_EQ(numreads, 0);
    }
    const WriteGuard held;  // a lookup that entered the reader side would wait for ever
    const double state[3] = {1.0, 2.0, 3.0};
    EXPECT_EQ(VorlanAddSatEphem(key, 27000.0, state, state, 7), 0);
    std::int32_t rev = 0;
    EXPECT_EQ(VorlanGetEphemeris(key, 1, nullptr, nullptr, nullptr, &rev), 0);
    EXPECT_EQ(rev, 7);
    EXPECT_EQ(FindRec(key, message).satNum, 5);
    EXPECT_EQ(VorlanDs50UTC(key, 1.0, nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(log.errors().size(), 1U);
}

TEST_F(StoreGuard, FindRecPtrLeavesTheCountRaisedWhetherThereIsARecordOrNot) {
    const auto raisedBy = [](std::int64_t key, bool guardHeld) {
        std::string_view message;
        FindRecPtr(key, message, guardHeld);
        const std::int32_t raised = numreads;
        if (raised == 1) vorlanendread();
        return raised;
    };
    EXPECT_EQ(raisedBy(16, false), 1) << "empty store";
    EXPECT_EQ(raisedBy(16, true), 0) << "empty store, guard held";
    const std::int64_t key = VorlanAddSat(5, 1, 27000.0, 6378.135, 0.07);
    EXPECT_EQ(raisedBy(key, false), 1);
    EXPECT_EQ(raisedBy(key + 1, false), 1);
    EXPECT_EQ(raisedBy(key, true), 0);
}

TEST_F(StoreGuard, KeepsTheTreeWholeUnderManyWritersAndReadersOfDmaKeys) {
    constexpr std::int32_t kEach = 400;
    const std::int64_t dma = addDmaSatellite(7);
    const double state[3] = {1.0, 2.0, 3.0};
    ASSERT_EQ(VorlanAddSatEphem(dma, 27000.0, state, state, 7), 0);
    std::atomic<int> wrong{0};
    std::atomic<bool> writing{true};
    const auto write = [&](std::int32_t first) {
        std::vector<std::int64_t> keys;
        for (std::int32_t k = 0; k < kEach; ++k) {
            keys.push_back(VorlanAddSat(first + 3 * k, 1, 27000.0, 6378.135, 0.07));
            if (keys.back() <= 0) ++wrong;
        }
        for (std::size_t k = 1; k < keys.size(); k += 2) {
            if (VorlanRemoveSat(keys[k]) != 0) ++wrong;
        }
    };
    const auto read = [&] {
        do {
            double pos[3] = {};
            if (VorlanDs50UTC(dma, 27000.0, nullptr, pos, nullptr, nullptr) != 0 || pos[2] != 3.0) ++wrong;
        } while (writing);
    };
    {
        const std::jthread reader(read), anotherReader(read);
        {
            // Every third number each: the writers rotate the same nodes.
            const std::jthread first(write, 1000), second(write, 1001), third(write, 1002);
        }
        writing = false;
    }
    EXPECT_EQ(wrong, 0) << (log.errors().empty() ? "" : log.errors().front());
    EXPECT_STREQ(vorlantree.check(), nullptr);
    EXPECT_EQ(VorlanGetCount(), 3 * kEach / 2 + 1);
}

}  // namespace
}  // namespace vorlandi::testing
