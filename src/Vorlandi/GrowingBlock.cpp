#include "Vorlandi/GrowingBlock.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "Templates/LargePages.hpp"
#include "Vorlandi/StorageFailure.hpp"

namespace vorlandi {
namespace {

// Blocks of this size and more are mapped on their own: they grow by remapping, independently of the heap.
constexpr std::size_t kMappedFrom = std::size_t{2} << 20;

// A mapped block begins with this much address space, which doubles when it is used up. Pages are only taken
// as points arrive, large ones where the system has them; blocks begin at such a page, so that remapping
// moves large pages whole.
constexpr std::size_t kFirstMapping = std::size_t{16} << 20;
constexpr std::size_t kPage = 4096;
constexpr std::size_t kSmall = std::size_t{48} << 10;

constexpr std::size_t roundedUp(std::size_t size, std::size_t unit) noexcept { return (size + unit - 1) / unit * unit; }

// Address space that begins at a large page; null if the system allows no further mapping.
char* mapped(std::size_t size) noexcept {
    const std::size_t taken = size + kLargePage;
    void* const given =
        ::mmap(nullptr, taken, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (given == MAP_FAILED) return nullptr;
    char* const space = static_cast<char*>(given);
    const auto address = reinterpret_cast<std::uintptr_t>(space);
    const std::size_t before = roundedUp(address, kLargePage) - address;
    if (before > 0) ::munmap(space, before);
    if (before < kLargePage) ::munmap(space + before + size, kLargePage - before);
    wantLargePages(space + before, size);
    return space + before;
}

}  // namespace

// Puts the header before the bytes; returns their address.
char* GrowingBlock::putHeader(char* bytes, std::uint32_t offset, std::size_t size) noexcept {
    auto* const header = ::new (bytes - sizeof(Header)) Header;
    header->offset = offset;
    header->size = size;
    return bytes;
}

// A mapping's first line holds the header.
char* GrowingBlock::putInMapping(char* space, std::size_t whole) noexcept {
    return putHeader(space + kCacheLine, 0, whole - kCacheLine);
}

// Null if memory is short. The block is aligned here: what is freed after aligned_alloc is too small for the next block
// of the same size, which needs room for its alignment again, and is lost.
char* GrowingBlock::onHeap(std::size_t size) noexcept {
    constexpr std::size_t kBefore = sizeof(Header) + kCacheLine - alignof(std::max_align_t);
    auto* const space = static_cast<char*>(std::malloc(size + kBefore));
    if (space == nullptr) return nullptr;
    const auto address = reinterpret_cast<std::uintptr_t>(space);
    const std::size_t offset = roundedUp(address + sizeof(Header), kCacheLine) - address;
    return putHeader(space + offset, static_cast<std::uint32_t>(offset), size);
}

// Of a size, or the least one when memory is short. The heap also serves when the system has no mapping left: their
// number is limited.
char* GrowingBlock::allocate(std::size_t size, std::size_t least) {
    if (size >= kMappedFrom) {
        const std::size_t whole = roundedUp(std::max(size + kCacheLine, kFirstMapping), kLargePage);
        if (char* const space = mapped(whole); space != nullptr) return putInMapping(space, whole);
    }
    char* bytes = onHeap(size);
    if (bytes == nullptr && size > least) bytes = onHeap(least);
    if (bytes == nullptr) throw StorageFailure(least);
    return bytes;
}

void GrowingBlock::grow(std::size_t size, std::size_t used) {
    const std::size_t present = bytes_ == nullptr ? 0 : header().size;
    if (bytes_ != nullptr && size <= present) return;
    if (bytes_ != nullptr && isMapped() && !isShared() && remap(std::max(size, 2 * present))) return;
    // Grown by half, the moves together cost no more than a few times the last one. Small blocks leave that to their
    // owner.
    moveTo(allocate(present < kSmall ? size : std::max(size, present + present / 2), size), used);
}

// False if the system allows no further mapping.
bool GrowingBlock::remap(std::size_t size) noexcept {
    const std::size_t whole = roundedUp(size + kCacheLine, kLargePage);
    char* const space = mapped(whole);
    if (space == nullptr) return false;
    if (::mremap(mapping(), header().size + kCacheLine, whole, MREMAP_MAYMOVE | MREMAP_FIXED, space) == MAP_FAILED) {
        ::munmap(space, whole);
        return false;
    }
    bytes_ = putInMapping(space, whole);
    return true;
}

// Goes on in a new place, with the first `used` bytes.
void GrowingBlock::moveTo(char* bytes, std::size_t used) noexcept {
    if (bytes_ != nullptr && used > 0) std::memcpy(bytes, bytes_, used);
    release();
    bytes_ = bytes;
}

// A block that can't shrink stays as it is. On the heap it moves, so that one large piece becomes free, which the next
// growing block can use, and not the small rest after each.
void GrowingBlock::shrink(std::size_t size) noexcept {
    if (bytes_ == nullptr || isShared()) return;
    if (isMapped()) {
        const std::size_t whole = header().size + kCacheLine;
        const std::size_t kept = roundedUp(size + kCacheLine, kPage);
        if (kept < whole && ::mremap(mapping(), whole, kept, 0) != MAP_FAILED) header().size = kept - kCacheLine;
    } else if (size < header().size) {
        if (char* const bytes = onHeap(size); bytes != nullptr) moveTo(bytes, size);
    }
}

void GrowingBlock::shareWith(GrowingBlock& other) const noexcept {
    if (bytes_ == nullptr) return;
    header().owners.fetch_add(1, std::memory_order_relaxed);
    other.bytes_ = bytes_;
}

bool GrowingBlock::isShared() const noexcept {
    return bytes_ != nullptr && header().owners.load(std::memory_order_acquire) > 1;
}

void GrowingBlock::unshare(std::size_t used, std::size_t size) {
    if (isShared()) moveTo(allocate(size, size), used);
}

void GrowingBlock::release() noexcept {
    if (bytes_ == nullptr || header().owners.fetch_sub(1, std::memory_order_acq_rel) > 1) return;
    if (isMapped()) {
        ::munmap(mapping(), header().size + kCacheLine);
    } else {
        std::free(bytes_ - header().offset);
    }
}

}  // namespace vorlandi
