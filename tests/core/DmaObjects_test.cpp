// DMA objects: a key is answered with a live object of its own or with none, never out of other memory.
#include "CoreServices/DmaObjects.hpp"

#include <thread>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

TEST(DmaObjects, AreFoundByTheirOwnKeysAloneAndRestBeforeTheyAreUsedAgain) {
    DmaObject* const first = newdmaobject();
    const std::int64_t key = dmakey(*first);
    first->record = first;
    for (const std::int64_t wrong :
         {0L, -10L, -key, 10L, key + 1, key + 10, key + 80, INT64_MAX - 7, INT64_MIN + 8})
        EXPECT_EQ(keytocptr(wrong).self, 0) << wrong;
    releasedmaobject(*first);
    releasedmaobject(*first);  // twice does no harm
    EXPECT_EQ(keytocptr(key).self, 0);
    int releases = 0;
    for (DmaObject* next = nullptr; (next = newdmaobject()) != first; ++releases) {
        ASSERT_TRUE(releases < 20000 && &keytocptr(dmakey(*next)) == next) << releases;
        releasedmaobject(*next);
    }
    EXPECT_GE(releases, 4096);
    EXPECT_EQ(first->record, nullptr);  // as good as new
    releasedmaobject(*first);
}

TEST(DmaObjects, MayBeMadeReleasedAndLookedUpByManyThreads) {
    std::atomic<std::int64_t> shared{0};
    const auto work = [&shared] {
        for (int k = 0; k < 20000; ++k) {
            DmaObject* const object = newdmaobject();
            const std::int64_t other =
                shared.exchange(dmakey(*object));  // may be gone by now, or go meanwhile
            const std::int64_t self = keytocptr(other).self;
            ASSERT_TRUE(&keytocptr(dmakey(*object)) == object && (self == 0 || self == satkeytoaddr(other)));
            releasedmaobject(*object);
        }
    };
    const std::jthread threads[] = {std::jthread(work), std::jthread(work), std::jthread(work)};
}

}  // namespace
}  // namespace vorlandi::testing
