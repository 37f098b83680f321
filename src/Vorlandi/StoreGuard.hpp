// The access guard of the store: readers announce themselves in a counter and never lock; a writer excludes other
// writers with a mutex, raises a flag and waits until the readers have left.
//
// 1. A reader that is inside sees no change of the tree; a writer waits for it without limit.
// 2. The thread that is inside on one side must not enter the other: it would wait for itself. So messages, whose
//    handler may call the library, are logged outside.
// 3. In the fixed mode a reader checks the flag and then announces itself. A writer may begin in between: this gap is
//    known and kept.
// 4. In the safe mode a reader announces itself first and then checks the flag; if it is raised, the reader steps back,
//    waits and begins again. No reader is inside together with a writer, because the reader's announcement and check
//    and the writer's raising and counting are sequentially consistent and so have one order. Either the announcement
//    comes before the count, and the writer waits; or the raising comes before the check, and the reader steps back. A
//    reader that sees the flag down reads what the last writer's lowering released, and a writer that counts no reader
//    reads what their leaving released, since nothing but additions changes the counter. tests/store/guard_model.py
//    tries all interleavings.
// 5. Both modes use the same flag, counter and mutex, so the mode may be switched at any time. A thread leaves in the
//    way it entered.
// 6. Fork takes the writer side. The readers of the parent don't exist in the child, whose counter starts at 0.
// 7. A thread that is inside waits for no lock of the library except the lock of the DMA objects.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "vorlandi/services.h"

namespace vorlandi {

extern std::atomic<std::int32_t> isupdating;  // 1 while a writer is changing the tree
extern std::atomic<std::int32_t> numreads;    // readers inside
extern std::mutex cs_updatenote;              // held by the writer
extern std::atomic<bool> safeGuardMode;

inline bool isGuardSafe() noexcept { return safeGuardMode.load(std::memory_order_relaxed); }

// VORLAN_GUARD_FIXED or VORLAN_GUARD_SAFE; false, and nothing changes, for any other number.
bool setGuardMode(std::int32_t mode) noexcept;

// Is a writer changing the tree? A full barrier comes before the check.
inline bool updateSeen() noexcept {
    std::atomic_thread_fence(std::memory_order_seq_cst);
    return isupdating.load(std::memory_order_seq_cst) != 0;
}

// Waits until two checks in a row see no writer.
void waitForUpdate() noexcept;

// Steps back, waits for the writer and announces the reader again, until no writer is there.
void enterAfterUpdate() noexcept;

// Enters the reader side.
inline void vorlanbeginread() noexcept {
    const bool safe = isGuardSafe();
    if (!safe && updateSeen()) waitForUpdate();
    // Sequentially consistent, so that no read of the tree is moved before the announcement.
    numreads.fetch_add(1, std::memory_order_seq_cst);
    if (safe && isupdating.load(std::memory_order_seq_cst) != 0) [[unlikely]]
        enterAfterUpdate();
}

// Leaves the reader side. Nothing that was read inside is moved after it.
inline void vorlanendread() noexcept { numreads.fetch_add(-1, std::memory_order_release); }

// The writer side: other writers are excluded and no reader is left inside.
void beginUpdate() noexcept;
void endUpdate() noexcept;

// The reader side, held as long as the object lives.
class ReadGuard {
public:
    ReadGuard() noexcept { vorlanbeginread(); }
    ~ReadGuard() { vorlanendread(); }
    ReadGuard(const ReadGuard&) = delete;
    ReadGuard& operator=(const ReadGuard&) = delete;
};

// The writer side, held as long as the object lives.
class WriteGuard {
public:
    WriteGuard() noexcept { beginUpdate(); }
    ~WriteGuard() { endUpdate(); }
    WriteGuard(const WriteGuard&) = delete;
    WriteGuard& operator=(const WriteGuard&) = delete;
};

}  // namespace vorlandi
