// The access guard of the store: readers announce themselves in a counter and never lock; a writer excludes
// other writers with a mutex, raises a flag and waits until the readers have drained.
//
// 1. A reader that is inside sees no change of the tree; a writer waits for it without limit.
// 2. The thread that is inside on one side must not enter the other: it would wait for itself. So messages,
//    whose handler may call the library, are logged outside.
// 3. Between a reader's last look at the flag and its announcement a writer may begin. The scheme leaves this
//    gap open: closing it would cost every reader a second look.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

namespace vorlandi {

extern std::atomic<std::int32_t> isupdating;  // 1 while a writer is changing the tree
extern std::atomic<std::int32_t> numreads;    // readers inside
extern std::mutex cs_updatenote;              // held by the writer

// Is a writer changing the tree? A full barrier stands before the look.
inline bool updateSeen() noexcept {
    std::atomic_thread_fence(std::memory_order_seq_cst);
    return isupdating.load(std::memory_order_seq_cst) != 0;
}

// Waits until no writer is seen, and not at a second look either.
inline void waitForUpdate() noexcept {
    do {
        while (updateSeen()) {
        }
    } while (updateSeen());
}

// Enters the reader side.
inline void vorlanbeginread() noexcept {
    if (updateSeen()) waitForUpdate();
    // Sequentially consistent, so that no look into the tree is moved before the announcement.
    numreads.fetch_add(1, std::memory_order_seq_cst);
}

// Leaves the reader side. Nothing that was read inside is moved behind it.
inline void vorlanendread() noexcept { numreads.fetch_add(-1, std::memory_order_release); }

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
    WriteGuard();
    ~WriteGuard();
    WriteGuard(const WriteGuard&) = delete;
    WriteGuard& operator=(const WriteGuard&) = delete;

private:
    std::lock_guard<std::mutex> lock_;
};

}  // namespace vorlandi
