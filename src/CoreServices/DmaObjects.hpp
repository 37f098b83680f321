// DMA objects: records that live outside the store's tree and are named by their address times 10.
//
// 1. Objects are slots of blocks that stay until the library is unloaded, so that the memory that a key names stays
//    readable; a key is checked against the blocks before anything is read through it.
// 2. A released object has the self-address 0. Its slot is used again only after kQuarantine further releases. Until
//    then a stale key is recognised; later it names another object.
// 3. Finding an object takes no lock. Making and releasing take one.
// 4. A new object can't be found until it is published.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace vorlandi {

struct DmaObject {
    std::atomic<std::int64_t> self{0};  // the object's own address; 0 means that it is gone
    std::atomic<std::int32_t> type{0};
    std::atomic<void*> record{nullptr};  // owned by whoever made the object
    std::array<void*, 2> attachments{};  // the object is released only while both are null
};

// A key is a DMA key when it is a multiple of 10: also 0 and negative multiples, though they name no object.
constexpr bool isdma(std::int64_t key) noexcept { return key % 10 == 0; }

// The address that must be in the self field of the object that a DMA key names.
constexpr std::int64_t satkeytoaddr(std::int64_t key) noexcept { return key / 10; }

// The object that a key names; one with the self-address 0 if it names none that is alive.
DmaObject& keytocptr(std::int64_t key) noexcept;

// A new object, to be published or released; null if memory has run out.
DmaObject* newdmaobject() noexcept;

// The key of an object, and the address in it.
inline std::int64_t dmaaddress(const DmaObject& object) noexcept {
    return static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(&object));
}
inline std::int64_t dmakey(const DmaObject& object) noexcept { return dmaaddress(object) * 10; }

// Sets type, record and self-address of a new object, which can be found by its key from now on. Returns the key.
std::int64_t publishdmaobject(DmaObject& object, std::int32_t type, void* record) noexcept;

void releasedmaobject(DmaObject& object) noexcept;

// No objects are made or released between the two: for fork.
void lockdmaobjects() noexcept;
void unlockdmaobjects() noexcept;

// Frees all memory. Requires that nobody holds a key any more.
void freedmaobjects() noexcept;

}  // namespace vorlandi
