#include "Vorlandi/StoreGuard.hpp"

namespace vorlandi {

std::atomic<std::int32_t> isupdating{0};
std::atomic<std::int32_t> numreads{0};
std::mutex cs_updatenote;

WriteGuard::WriteGuard() : lock_(cs_updatenote) {
    isupdating.store(1, std::memory_order_seq_cst);
    std::atomic_thread_fence(std::memory_order_seq_cst);
    while (numreads.load(std::memory_order_seq_cst) > 0) {
        std::atomic_thread_fence(std::memory_order_seq_cst);
    }
}

WriteGuard::~WriteGuard() { isupdating.store(0, std::memory_order_seq_cst); }

}  // namespace vorlandi
