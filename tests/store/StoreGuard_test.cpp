// The access guard. In the fixed mode a writer may begin between a reader's check of the flag and its announcement, so
// no test here lets readers of the tree race with writers in that mode. Exclusion is tested step by step, and the test
// under load mixes only what the gap can't affect: writers among themselves, and readers of DMA keys, which never see
// the tree. The stress program tests the safe mode under load.
#include "Vorlandi/StoreGuard.hpp"

#include <chrono>
#include <future>
#include <random>
#include <thread>

#include "TimeLibrary/SatelliteKeys.hpp"
#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

using namespace std::chrono_literals;

class StoreGuard : public InterfaceTest {
protected:
    StoreGuard() { VorlanSetGuardMode(VORLAN_GUARD_FIXED); }
};

template <class Result>
bool finished(const std::future<Result>& work, std::chrono::milliseconds within) {
    return work.wait_for(within) == std::future_status::ready;
}

TEST_F(StoreGuard, AWriterProceedsAfterBothReadersHaveLeftAndALaterReaderAfterTheWriter) {
    vorlanbeginread();
    auto second = std::make_unique<ReadGuard>();
    auto writer = std::async(std::launch::async, [] { return addSatellite(5); });
    while (isupdating == 0)
        std::this_thread::yield();
    auto reader = std::async(std::launch::async, VorlanGetCount);
    for (const int inside : {2, 1}) {
        EXPECT_FALSE(finished(writer, 20ms));
        EXPECT_FALSE(finished(reader, 20ms));
        EXPECT_EQ(numreads, inside) << "the waiting reader has not announced itself";
        EXPECT_TRUE(vorlantreeisempty());
        inside == 2 ? second.reset() : vorlanendread();
    }
    EXPECT_GT(writer.get(), 0);
    EXPECT_EQ(reader.get(), 1);
    EXPECT_EQ(isupdating, 0);
    const std::int64_t dma = addDmaSatellite(7);
    auto held = std::make_unique<WriteGuard>();
    writer = std::async(std::launch::async, [] { return addSatellite(6); });
    EXPECT_FALSE(finished(writer, 20ms)) << "after another writer";
    // A lookup of a DMA key that entered the reader side would wait forever.
    EXPECT_EQ(VorlanAddSatEphem(dma, kEpoch, kPos, kVel, 7), 0);
    EXPECT_EQ(stored(dma).numberOfPoints(), 1);
    held.reset();
    EXPECT_GT(writer.get(), 0);
}

class SafeStoreGuard : public InterfaceTest {
protected:
    SafeStoreGuard() { VorlanSetGuardMode(VORLAN_GUARD_SAFE); }

    // Runs `call` while a reader or a writer is inside; it must wait until that one leaves.
    template <class Guard, class Call>
    static auto waitsFor(Call call) {
        auto inside = std::make_unique<Guard>();
        auto work = std::async(std::launch::async, call);
        EXPECT_FALSE(finished(work, 20ms));
        inside.reset();
        return work.get();
    }
};

TEST_F(SafeStoreGuard, AReaderThatFindsAWriterStepsBackUntilItHasLeft) {
    auto inside = std::make_unique<ReadGuard>();
    auto writer = std::async(std::launch::async, [] { return addSatellite(5); });
    while (isupdating == 0)
        std::this_thread::yield();
    auto reader = std::async(std::launch::async, VorlanGetCount);
    EXPECT_FALSE(finished(reader, 20ms));
    EXPECT_FALSE(finished(writer, 0ms));
    EXPECT_EQ(numreads, 1) << "the waiting reader has stepped back";
    inside.reset();
    EXPECT_GT(writer.get(), 0);
    EXPECT_EQ(reader.get(), 1);
}

TEST_F(SafeStoreGuard, ChangesOfPointsAndFieldsAndDmaKeysTakePart) {
    for (const std::int64_t key : {addSatellite(5), addDmaSatellite(6)}) {
        EXPECT_EQ(waitsFor<ReadGuard>([=] { return VorlanAddSatEphem(key, kEpoch, kPos, kVel, 7); }), 0);
        EXPECT_EQ(waitsFor<ReadGuard>([=] { return VorlanSetField(key, 15, "tag"); }), 0);
        EXPECT_EQ(waitsFor<WriteGuard>([=] { return VorlanDs50UTC(key, kEpoch, {}, {}, {}, {}); }), 0);
        EXPECT_EQ(waitsFor<WriteGuard>([=] { return VorlanDs50UTCArr(key, 1, &kEpoch, {}, {}, {}, {}); }), 0);
        EXPECT_EQ(waitsFor<ReadGuard>([=] { return VorlanRemoveSat(key); }), 0);
    }
    EXPECT_EQ(waitsFor<WriteGuard>([] { return VorlanGetSatKey(5); }), -1);
    EXPECT_EQ(waitsFor<WriteGuard>([] { return VorlanGetCount(); }), 0);
    const TemporaryFolder folder;
    std::int64_t count = -1;
    for (const std::int32_t order : {0, 3})
        EXPECT_EQ(waitsFor<WriteGuard>([&] { return VorlanGetLoadedExt(order, 0, nullptr, &count); }), 0);
    EXPECT_EQ(waitsFor<WriteGuard>([&] { return VorlanSaveFile(folder.path("cards").c_str(), 0); }), 0);
    EXPECT_EQ(waitsFor<WriteGuard>([&] { return VorlanSatsDs50UTC(1, &count, kEpoch, {}, {}, {}, {}); }), 2);
}

TEST_F(SafeStoreGuard, ADmaKeyIsFoundOnlyOnceItsNodeIsInTheTree) {
    // The key that the next DMA satellite will get, from the slot after the last one's.
    const std::int64_t last = addDmaSatellite(5), apart = addDmaSatellite(5) - last, next = last + 2 * apart;
    auto guard = std::make_unique<WriteGuard>();
    VorlanSetAllKeyMode(1, 1);
    auto adder = std::async(std::launch::async, [] { return addSatellite(6); });
    EXPECT_FALSE(finished(adder, 20ms));
    std::string_view message;
    const bool wasFound = FindRecPtr(next, message) != nullptr;
    guard.reset();
    const std::int64_t key = adder.get();
    VorlanSetAllKeyMode(0, 0);
    if (key != next) GTEST_SKIP() << "tests before this one have used the slots; CTest runs each test alone";
    EXPECT_FALSE(wasFound);
}

TEST_F(SafeStoreGuard, ChangesOfTheKeyModesAreSeenWhole) {
    VorlanSetElsetKeyMode(1);
    VorlanSetAllKeyMode(1, 1);
    std::atomic<bool> done{false};
    const std::jthread changer([&] {
        while (!done) {
            VorlanSetAllKeyMode(0, 0);
            VorlanSetAllKeyMode(1, 1);
        }
    });
    for (int k = 0; k < 20'000; ++k) {
        std::int32_t use = -1, mode = -1;
        VorlanGetKeyModes(&use, &mode, nullptr, nullptr);
        EXPECT_EQ(use, mode);
        const std::int64_t key = addSatellite(5);
        ASSERT_TRUE(isdma(key)) << "the DMA mode is in force before and after each change";
        VorlanRemoveSat(key);
    }
    done = true;
}

TEST_F(SafeStoreGuard, IsLeftInTheModeInWhichItWasEntered) {
    const std::int64_t dma = addDmaSatellite(5);
    for (const auto& [entered, left, access, inside] :
         {std::tuple{VORLAN_GUARD_SAFE, VORLAN_GUARD_FIXED, Access::Query, 1},
          std::tuple{VORLAN_GUARD_SAFE, VORLAN_GUARD_FIXED, Access::Change, 0},
          std::tuple{VORLAN_GUARD_FIXED, VORLAN_GUARD_SAFE, Access::Change, 0}}) {
        EXPECT_EQ(VorlanSetGuardMode(entered), 0);
        {
            const RecordAccess record(dma, access);
            EXPECT_EQ(numreads, inside);
            EXPECT_EQ(VorlanSetGuardMode(left), 0);
        }
        EXPECT_EQ(numreads, 0);
        EXPECT_EQ(VorlanRemoveSat(addSatellite(6)), 0) << "the writer's side is free";
        for (const std::int32_t unknown : {2, -1})
            EXPECT_EQ(VorlanSetGuardMode(unknown), 2);
        EXPECT_EQ(VorlanGetGuardMode(), left);
    }
}

TEST_F(StoreGuard, KeepsTheTreeWholeUnderManyWritersAndReadersOfDmaKeys) {
    const std::int64_t dma = addDmaSatellite(7);
    ASSERT_EQ(VorlanAddSatEphem(dma, kEpoch, kPos, kVel, 7), 0);
    std::atomic<int> wrong{0}, writers{3};
    // Every third number each: the writers rotate the same nodes, and remove nodes next to each other's new ones.
    const auto write = [&](std::int32_t own) {
        std::minstd_rand random(static_cast<unsigned>(own));
        std::array<bool, 100> stored{};
        for (int k = 0; k < 20'000; ++k) {
            const std::size_t which = random() % stored.size();
            const std::int32_t satNum = 1000 + own + 3 * static_cast<std::int32_t>(which);
            const std::int64_t key = createsatkey(satNum, kVorlanElsetType, kEpoch);
            if (stored[which] ? VorlanRemoveSat(key) != 0 : addSatellite(satNum) != key) ++wrong;
            stored[which] = !stored[which];
        }
        for (std::size_t which = 0; which < stored.size(); ++which) {
            if (!stored[which]) addSatellite(1000 + own + 3 * static_cast<std::int32_t>(which));
        }
        --writers;
    };
    const auto read = [&] {
        do {
            double pos[3] = {};
            if (VorlanDs50UTC(dma, kEpoch, nullptr, pos, nullptr, nullptr) != 0 || pos[0] != kPos[0]) ++wrong;
        } while (writers > 0);
    };
    { const std::jthread reader(read), other(read), a(write, 0), b(write, 1), c(write, 2); }
    EXPECT_EQ(wrong, 0) << ::testing::PrintToString(messages);
    EXPECT_EQ(VorlanGetCount(), 301);
}

}  // namespace
}  // namespace vorlandi::testing
