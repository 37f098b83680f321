// BlockPool: memory for objects of one kind, side by side in blocks that grow by half. Released memory serves the next
// object; all blocks but the first are freed when no object is left. Any thread may take and release.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <cstdlib>
#include <mutex>
#include <new>

#include "CoreServices/Sanitized.hpp"
#include "Templates/LargePages.hpp"

namespace vorlandi {

template <std::size_t Size, std::size_t Alignment>
class BlockPool {
public:
    constexpr BlockPool() = default;
    BlockPool(const BlockPool&) = delete;
    BlockPool& operator=(const BlockPool&) = delete;

    // Null if memory is short.
    void* take() noexcept {
        if (!VORLANDI_POOLED) return std::aligned_alloc(alignof(Slot), sizeof(Slot));
        const std::lock_guard lock(mutex_);
        if (free_ == nullptr && next_ == end_ && !addBlock()) return nullptr;
        ++taken_;
        if (free_ == nullptr) return next_++;
        Slot* const slot = free_;
        free_ = slot->next;
        return slot;
    }

    void release(void* object) noexcept {
        if (!VORLANDI_POOLED) return std::free(object);
        const std::lock_guard lock(mutex_);
        free_ = ::new (object) Slot{free_};
        if (--taken_ == 0) giveBack();
    }

    // No objects are taken or released between the two: for fork.
    void lock() noexcept { mutex_.lock(); }
    void unlock() noexcept { mutex_.unlock(); }

    // Also frees the first block. Requires that no object is left.
    void freeAll() noexcept {
        if (taken_ > 0 || blocks_ == 0) return;
        giveBack();
        std::free(block_[0]);
        blocks_ = 0;
        free_ = next_ = end_ = nullptr;
        slots_ = kFirstSlots;
    }

private:
    static constexpr std::size_t kFirstSlots = 64;
    static constexpr std::size_t kMostBlocks = 64;

    union alignas(Alignment) Slot {
        Slot* next;
        std::byte bytes[Size];
    };

    // When memory is short, a block as small as the first one may still be had.
    bool addBlock() noexcept {
        if (addBlockOfSlots()) return true;
        slots_ = kFirstSlots;
        return addBlockOfSlots();
    }

    bool addBlockOfSlots() noexcept {
        if (blocks_ == kMostBlocks) return false;
        std::size_t size = slots_ * sizeof(Slot);
        const bool isLarge = size >= kLargePage;
        const std::size_t alignment = isLarge ? kLargePage : alignof(Slot);
        size = (size + alignment - 1) / alignment * alignment;
        auto* const block = static_cast<Slot*>(std::aligned_alloc(alignment, size));
        if (block == nullptr) return false;
        if (isLarge) wantLargePages(block, size);
        block_[blocks_++] = next_ = block;
        end_ = block + size / sizeof(Slot);
        slots_ += slots_ / 2;
        return true;
    }

    // All but the first block.
    void giveBack() noexcept {
        if (blocks_ == 1) return;
        while (blocks_ > 1)
            std::free(block_[--blocks_]);
        free_ = nullptr;
        next_ = block_[0];
        end_ = next_ + kFirstSlots;
        slots_ = kFirstSlots + kFirstSlots / 2;
    }

    std::mutex mutex_;
    Slot* free_ = nullptr;
    Slot* next_ = nullptr;  // what was never taken of the latest block
    Slot* end_ = nullptr;
    Slot* block_[kMostBlocks] = {};
    std::size_t blocks_ = 0;
    std::size_t slots_ = kFirstSlots;  // of the next block
    std::size_t taken_ = 0;
};

}  // namespace vorlandi
