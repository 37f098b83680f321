#include "Vorlandi/StoreGuard.hpp"

#include <pthread.h>

#include <thread>

#include "CoreServices/DmaObjects.hpp"

namespace vorlandi {
namespace {

// Repeats a check until it is true. The first checks spin, since most waits are short; later ones yield the core after
// each, so that the other thread can run.
template <class Look>
void waitUntil(Look&& look) noexcept {
    for (int spins = 100; !look();) {
        if (spins > 0) {
            --spins;
        } else {
            std::this_thread::yield();
        }
    }
}

void leaveAfterFork() noexcept {
    unlockdmaobjects();
    endUpdate();
}

// DMA objects are made and released inside the writer side and outside, so their lock is taken with it. Installed
// before all other fork handlers, and so called after them: fork blocks the store only once it waits for nothing else.
__attribute__((constructor(101))) void installForkHandlers() {
    ::pthread_atfork(
        [] {
            beginUpdate();
            lockdmaobjects();
        },
        leaveAfterFork,
        [] {
            numreads.store(0);
            leaveAfterFork();
        });
}

}  // namespace

std::atomic<std::int32_t> isupdating{0};
std::atomic<std::int32_t> numreads{0};
std::mutex cs_updatenote;
std::atomic<bool> safeGuardMode{false};

bool setGuardMode(std::int32_t mode) noexcept {
    if (mode != VORLAN_GUARD_FIXED && mode != VORLAN_GUARD_SAFE) return false;
    safeGuardMode.store(mode == VORLAN_GUARD_SAFE);
    return true;
}

void waitForUpdate() noexcept {
    do {
        waitUntil([] { return !updateSeen(); });
    } while (updateSeen());
}

void enterAfterUpdate() noexcept {
    do {
        vorlanendread();
        waitUntil([] { return isupdating.load(std::memory_order_seq_cst) == 0; });
        numreads.fetch_add(1, std::memory_order_seq_cst);
    } while (isupdating.load(std::memory_order_seq_cst) != 0);
}

void beginUpdate() noexcept {
    cs_updatenote.lock();
    isupdating.store(1, std::memory_order_seq_cst);
    std::atomic_thread_fence(std::memory_order_seq_cst);
    waitUntil([] {
        if (numreads.load(std::memory_order_seq_cst) <= 0) return true;
        std::atomic_thread_fence(std::memory_order_seq_cst);
        return false;
    });
}

void endUpdate() noexcept {
    isupdating.store(0, std::memory_order_seq_cst);
    cs_updatenote.unlock();
}

}  // namespace vorlandi
