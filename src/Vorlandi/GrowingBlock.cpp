#include "Vorlandi/GrowingBlock.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "Vorlandi/StorageFailure.hpp"

namespace vorlandi {
namespace {

// Blocks of this size and more are mapped on their own: they grow by remapping, whatever else is on the heap.
constexpr std::size_t kMappedFrom = std::size_t{2} << 20;

// A mapped block begins with this much address space, which doubles when it is used up. Pages are only taken
// as points arrive, large ones where the system has them; blocks begin at such a page, so that remapping
// moves large pages whole.
constexpr std::size_t kFirstMapping = std::size_t{16} << 20;
constexpr std::size_t kLargePage = std::size_t{2} << 20;
constexpr std::size_t kPage = 4096;

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
    ::madvise(space + before, size, MADV_HUGEPAGE);
    return space + before;
}

}  // namespace

// Puts the header at the beginning of a space; returns the address of the bytes after it.
char* GrowingBlock::putHeader(void* space, std::size_t size, bool isMapped) noexcept {
    auto* const header = ::new (space) Header;
    header->isMapped = isMapped;
    header->size = size - sizeof(Header);
    return static_cast<char*>(space) + sizeof(Header);
}

// Of a size, or the least one when memory is short. The heap also serves when the system has no mapping left: their
// number is limited.
char* GrowingBlock::allocate(std::size_t size, std::size_t least) {
    size += sizeof(Header);
    if (size >= kMappedFrom) {
        const std::size_t whole = roundedUp(std::max(size, kFirstMapping), kLargePage);
        if (char* const space = mapped(whole); space != nullptr) return putHeader(space, whole, true);
    }
    size = roundedUp(size, kCacheLine);
    void* const space = std::aligned_alloc(kCacheLine, size);
    if (space == nullptr && size > least + sizeof(Header) + kCacheLine) return allocate(least, least);
    if (space == nullptr) throw StorageFailure(size);
    return putHeader(space, size, false);
}

void GrowingBlock::grow(std::size_t size, std::size_t used) {
    const std::size_t present = bytes_ == nullptr ? 0 : header().size;
    if (bytes_ != nullptr && size <= present) return;
    if (bytes_ != nullptr && header().isMapped && !isShared() && remap(std::max(size, 2 * present))) return;
    // Grown by half, the moves together cost no more than a few times the last one.
    moveTo(allocate(std::max(size, present + present / 2), size), used);
}

// False if the system allows no further mapping.
bool GrowingBlock::remap(std::size_t size) noexcept {
    const std::size_t whole = roundedUp(size + sizeof(Header), kLargePage);
    char* const space = mapped(whole);
    if (space == nullptr) return false;
    if (::mremap(&header(), header().size + sizeof(Header), whole, MREMAP_MAYMOVE | MREMAP_FIXED, space) ==
        MAP_FAILED) {
        ::munmap(space, whole);
        return false;
    }
    bytes_ = putHeader(space, whole, true);
    return true;
}

// Goes on in a new place, with the first `used` bytes.
void GrowingBlock::moveTo(char* bytes, std::size_t used) noexcept {
    if (used > 0) std::memcpy(bytes, bytes_, used);
    release();
    bytes_ = bytes;
}

void GrowingBlock::shrink(std::size_t size) {
    if (bytes_ == nullptr || isShared()) return;
    const bool isMapped = header().isMapped;
    const std::size_t whole = header().size + sizeof(Header);
    const std::size_t kept = roundedUp(size + sizeof(Header), isMapped ? kPage : kCacheLine);
    if (kept >= whole) return;
    // A block that the system won't cut stays as it is.
    if (isMapped) {
        if (::mremap(&header(), whole, kept, 0) == MAP_FAILED) return;
        header().size = kept - sizeof(Header);
    } else if (void* const space = std::realloc(&header(), kept); space != nullptr) {
        bytes_ = putHeader(space, kept, false);
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
    if (header().isMapped) {
        ::munmap(&header(), header().size + sizeof(Header));
    } else {
        std::free(&header());
    }
}

}  // namespace vorlandi
