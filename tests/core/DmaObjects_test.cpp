// DMA objects: a key is answered with a live object of its own or with none, and never leads into other memory.
#include "CoreServices/DmaObjects.hpp"

#include <atomic>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

// Further releases after which a released object may be used again.
constexpr std::size_t kQuarantine = 4096;

bool alive(std::int64_t key) { return keytocptr(key).self == satkeytoaddr(key) && key > 0; }

TEST(DmaKeys, AreTheMultiplesOfTen) {
    for (const std::int64_t key : {std::int64_t{0}, std::int64_t{10}, std::int64_t{-20}, INT64_MAX - 7})
        EXPECT_TRUE(isdma(key)) << key;
    for (const std::int64_t key : {std::int64_t{1}, std::int64_t{-1}, std::int64_t{16}, INT64_MAX, INT64_MIN})
        EXPECT_FALSE(isdma(key)) << key;
}

TEST(DmaObjects, AreFoundByTheirKeysWhileTheyLive) {
    DmaObject* const object = newdmaobject();
    ASSERT_NE(object, nullptr);
    const std::int64_t key = dmakey(*object);
    EXPECT_TRUE(isdma(key));
    EXPECT_EQ(satkeytoaddr(key), static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(object)));
    EXPECT_EQ(&keytocptr(key), object);
    releasedmaobject(*object);
    EXPECT_EQ(keytocptr(key).self, 0);
    releasedmaobject(*object);  // twice does no harm
    EXPECT_EQ(keytocptr(key).self, 0);
}

TEST(DmaObjects, AreNotFoundByKeysThatNameNone) {
    DmaObject* const object = newdmaobject();
    const std::int64_t key = dmakey(*object);
    const int onTheStack = 0;
    const auto address = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(&onTheStack));
    const std::int64_t bogus[] = {0,        -10,          -key,          10,           80, key + 1,
                                  key + 16, address * 10, INT64_MAX - 7, INT64_MIN + 8};
    for (const std::int64_t wrong : bogus)
        EXPECT_EQ(keytocptr(wrong).self, 0) << wrong;
    // Inside the object, where no object begins.
    for (std::int64_t offset = 1; offset < static_cast<std::int64_t>(sizeof(DmaObject)); ++offset)
        EXPECT_EQ(keytocptr(key + 10 * offset).self, 0) << offset;
    std::mt19937_64 random(testSeed());
    for (int k = 0; k < 100000; ++k) {
        const auto wrong = static_cast<std::int64_t>(random());
        EXPECT_TRUE(wrong == key || !alive(wrong)) << wrong;
    }
    releasedmaobject(*object);
}

TEST(DmaObjects, RestInQuarantineBeforeTheyAreUsedAgain) {
    DmaObject* const first = newdmaobject();
    const std::int64_t stale = dmakey(*first);
    first->record = first;
    releasedmaobject(*first);
    std::size_t releases = 0;
    while (!alive(stale)) {
        ASSERT_LT(releases, 3 * kQuarantine) << "never used again";
        DmaObject* const next = newdmaobject();
        if (next == first) break;
        releasedmaobject(*next);
        ++releases;
    }
    EXPECT_GE(releases, kQuarantine);
    EXPECT_EQ(first->record, nullptr);  // as good as new
    releasedmaobject(*first);
}

TEST(DmaObjects, AreDistinctByTheThousands) {
    std::set<DmaObject*> objects;
    for (int k = 0; k < 20000; ++k)
        objects.insert(newdmaobject());
    EXPECT_EQ(objects.size(), 20000u);
    for (DmaObject* const object : objects) {
        ASSERT_EQ(&keytocptr(dmakey(*object)), object);
        releasedmaobject(*object);
    }
}

TEST(DmaObjects, MayBeMadeReleasedAndLookedUpByManyThreads) {
    std::atomic<int> faults{0};
    std::atomic<std::int64_t> shared{0};
    const auto work = [&] {
        for (int k = 0; k < 20000; ++k) {
            DmaObject* const object = newdmaobject();
            const std::int64_t key = dmakey(*object);
            const std::int64_t other = shared.exchange(key);  // may be gone by now, or go meanwhile
            if (&keytocptr(key) != object || !alive(key)) ++faults;
            const std::int64_t self = keytocptr(other).self;
            if (self != 0 && self != satkeytoaddr(other)) ++faults;
            releasedmaobject(*object);
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(faults, 0);
}

}  // namespace
}  // namespace vorlandi::testing
