// HeldAcrossFork: ensures that a lock is free in a child of fork, and that what it protects is consistent there,
// regardless of the other threads of the parent.
#pragma once

#include <pthread.h>

namespace vorlandi {

// Lock has static storage, lock() and unlock(). One static object of this type for each lock; the handlers are removed
// when the library is unloaded. Fork takes the locks in no particular order, so no thread may wait for one while it
// holds another.
template <auto& Lock>
struct HeldAcrossFork {
    HeldAcrossFork() noexcept {
        ::pthread_atfork([] { Lock.lock(); }, [] { Lock.unlock(); }, [] { Lock.unlock(); });
    }
};

}  // namespace vorlandi
