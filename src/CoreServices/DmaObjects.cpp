#include "CoreServices/DmaObjects.hpp"

#include <mutex>
#include <new>
#include <utility>

namespace vorlandi {
namespace {

constexpr std::size_t kFirstBlockSlots = 64;
constexpr std::size_t kMostBlocks = 32;  // each twice as large as the one before
constexpr std::size_t kQuarantine = 4096;

struct Slot {
    DmaObject object;
    Slot* nextFree = nullptr;
    bool taken = false;
};

class Registry {
public:
    DmaObject* find(std::int64_t address) noexcept {
        const auto wanted = static_cast<std::uintptr_t>(address);
        for (std::size_t k = 0; k < kMostBlocks; ++k) {
            Slot* const block = blocks_[k].load(std::memory_order_acquire);
            if (block == nullptr) break;
            const auto first = reinterpret_cast<std::uintptr_t>(block);
            const std::uintptr_t offset = wanted - first;
            if (wanted >= first && offset < slotsOf(k) * sizeof(Slot)) {
                return offset % sizeof(Slot) == 0 ? &block[offset / sizeof(Slot)].object : nullptr;
            }
        }
        return nullptr;
    }

    DmaObject* take() noexcept {
        const std::lock_guard lock(mutex_);
        Slot* const slot = freeSlots_ > kQuarantine ? takeReleased() : takeFresh();
        if (slot == nullptr) return nullptr;
        slot->taken = true;
        slot->object.attachments = {};
        return &slot->object;
    }

    void release(DmaObject& object) noexcept {
        const std::lock_guard lock(mutex_);
        // The object is the first member of its slot.
        Slot* const slot = reinterpret_cast<Slot*>(&object);
        if (!std::exchange(slot->taken, false)) return;
        object.self = 0;
        slot->nextFree = nullptr;
        (lastFree_ != nullptr ? lastFree_->nextFree : firstFree_) = slot;
        lastFree_ = slot;
        ++freeSlots_;
    }

    void lock() noexcept { mutex_.lock(); }
    void unlock() noexcept { mutex_.unlock(); }

    void freeBlocks() noexcept {
        for (std::size_t k = 0; k < blockCount_; ++k)
            delete[] blocks_[k].exchange(nullptr);
        blockCount_ = usedInLast_ = freeSlots_ = 0;
        firstFree_ = lastFree_ = nullptr;
    }

private:
    static std::size_t slotsOf(std::size_t block) noexcept { return kFirstBlockSlots << block; }

    Slot* takeReleased() noexcept {
        Slot* const slot = firstFree_;
        firstFree_ = slot->nextFree;
        if (firstFree_ == nullptr) lastFree_ = nullptr;
        --freeSlots_;
        return slot;
    }

    Slot* takeFresh() noexcept {
        if (blockCount_ == 0 || usedInLast_ == slotsOf(blockCount_ - 1)) {
            if (blockCount_ == kMostBlocks) return nullptr;
            Slot* const block = new (std::nothrow) Slot[slotsOf(blockCount_)];
            if (block == nullptr) return nullptr;
            blocks_[blockCount_].store(block, std::memory_order_release);
            ++blockCount_;
            usedInLast_ = 0;
        }
        return &blocks_[blockCount_ - 1].load()[usedInLast_++];
    }

    std::mutex mutex_;
    std::array<std::atomic<Slot*>, kMostBlocks> blocks_{};
    std::size_t blockCount_ = 0;
    std::size_t usedInLast_ = 0;
    Slot* firstFree_ = nullptr;
    Slot* lastFree_ = nullptr;
    std::size_t freeSlots_ = 0;
};

constinit Registry registry;

}  // namespace

DmaObject& keytocptr(std::int64_t key) noexcept {
    static DmaObject gone;
    DmaObject* const object = isdma(key) && key > 0 ? registry.find(satkeytoaddr(key)) : nullptr;
    return object != nullptr ? *object : gone;
}

DmaObject* newdmaobject() noexcept { return registry.take(); }

std::int64_t publishdmaobject(DmaObject& object, std::int32_t type, void* record) noexcept {
    object.type = type;
    object.record = record;
    object.self = dmaaddress(object);
    return dmakey(object);
}

void releasedmaobject(DmaObject& object) noexcept { registry.release(object); }

void lockdmaobjects() noexcept { registry.lock(); }
void unlockdmaobjects() noexcept { registry.unlock(); }

void freedmaobjects() noexcept { registry.freeBlocks(); }

}  // namespace vorlandi
