// DMA objects: a key finds its own live object or none, and never other memory.
#include "CoreServices/DmaObjects.hpp"

#include <thread>

#include "TestSupport.hpp"

namespace vorlandi::testing {
namespace {

TEST(DmaObjects, AreFoundOnlyByTheirOwnKeysAndRestBeforeReuse) {
    DmaObject* const first = newdmaobject();
    EXPECT_EQ(first->self, 0) << "not to be found before it is published";
    const std::int64_t key = publishdmaobject(*first, 6, first);
    for (const std::int64_t wrong : {0L, -10L, -key, 10L, key + 1, key + 10, key + 80, INT64_MAX - 7, INT64_MIN + 8})
        EXPECT_EQ(keytocptr(wrong).self, 0) << wrong;
    releasedmaobject(*first);
    releasedmaobject(*first);  // a second time does nothing
    EXPECT_EQ(keytocptr(key).self, 0);
    int releases = 0;
    for (DmaObject* next = nullptr; (next = newdmaobject()) != first; ++releases) {
        ASSERT_TRUE(releases < 20000 && &keytocptr(publishdmaobject(*next, 6, nullptr)) == next) << releases;
        releasedmaobject(*next);
    }
    EXPECT_GE(releases, 4096);
    releasedmaobject(*first);
}

TEST(DmaObjects, MayBeMadeReleasedAndLookedUpByManyThreads) {
    std::atomic<std::int64_t> shared{0};
    const auto work = [&shared] {
        for (int k = 0; k < 20000; ++k) {
            DmaObject* const object = newdmaobject();
            const std::int64_t key = publishdmaobject(*object, 6, nullptr);
            const std::int64_t other = shared.exchange(key);  // may be gone by now, or go meanwhile
            const std::int64_t self = keytocptr(other).self;
            ASSERT_TRUE(&keytocptr(key) == object && (self == 0 || self == satkeytoaddr(other)));
            releasedmaobject(*object);
        }
    };
    const std::jthread threads[] = {std::jthread(work), std::jthread(work), std::jthread(work)};
}

}  // namespace
}  // namespace vorlandi::testing
