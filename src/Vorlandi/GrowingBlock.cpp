#include "Vorlandi/GrowingBlock.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "CoreServices/TraceLog.hpp"

namespace vorlandi {
namespace {

constexpr std::size_t kCacheLine = 64;

// Blocks of this size and more are mapped on their own: they grow by remapping, whatever else is on the heap. They
// are so few that the system's limit on mappings is out of reach.
constexpr std::size_t kMappedFrom = std::size_t{4} << 20;

// A mapped block begins with this much address space, which doubles when it is used up. Pages are only taken as points
// arrive, large ones where the system has them; blocks begin at such a page, so that remapping moves large pages whole.
constexpr std::size_t kFirstMapping = std::size_t{16} << 20;
constexpr std::size_t kLargePage = std::size_t{2} << 20;
constexpr std::size_t kPage = 4096;

constexpr std::size_t roundedUp(std::size_t size, std::size_t unit) noexcept {
    return (size + unit - 1) / unit * unit;
}

char* checked(void* block, std::size_t size) {
    if (block == nullptr || block == MAP_FAILED) stopOnAllocationFailure(size);
    return static_cast<char*>(block);
}

// Address space that begins at a large page.
char* mapped(std::size_t size) {
    const std::size_t taken = size + kLargePage;
    char* const space = checked(
        ::mmap(nullptr, taken, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0),
        size);
    const auto address = reinterpret_cast<std::uintptr_t>(space);
    const std::size_t before = roundedUp(address, kLargePage) - address;
    if (before > 0) ::munmap(space, before);
    if (before < kLargePage) ::munmap(space + before + size, kLargePage - before);
    ::madvise(space + before, size, MADV_HUGEPAGE);
    return space + before;
}

}  // namespace

GrowingBlock::~GrowingBlock() {
    if (isMapped_) {
        ::munmap(bytes_, size_);
    } else {
        std::free(bytes_);
    }
}

void GrowingBlock::grow(std::size_t size, std::size_t used) {
    if (size <= size_) return;
    if (size < kMappedFrom) {
        // By half, so that the moves together cost no more than a few times the last one.
        moveToHeap(roundedUp(std::max(size, size_ + size_ / 2), kCacheLine), used);
    } else {
        moveToMapping(roundedUp(std::max({size, 2 * size_, kFirstMapping}), kLargePage), used);
    }
}

void GrowingBlock::moveToHeap(std::size_t size, std::size_t used) {
    char* const block = checked(std::aligned_alloc(kCacheLine, size), size);
    if (used > 0) std::memcpy(block, bytes_, used);
    std::free(bytes_);
    bytes_ = block;
    size_ = size;
}

void GrowingBlock::moveToMapping(std::size_t size, std::size_t used) {
    char* const space = mapped(size);
    if (isMapped_) {
        checked(::mremap(bytes_, size_, size, MREMAP_MAYMOVE | MREMAP_FIXED, space), size);
    } else {
        if (used > 0) std::memcpy(space, bytes_, used);
        std::free(bytes_);
    }
    bytes_ = space;
    size_ = size;
    isMapped_ = true;
}

void GrowingBlock::shrink(std::size_t size) {
    const std::size_t kept = roundedUp(size, isMapped_ ? kPage : kCacheLine);
    if (kept >= size_) return;
    // Both leave the block where it is.
    bytes_ = checked(isMapped_ ? ::mremap(bytes_, size_, kept, 0) : std::realloc(bytes_, kept), kept);
    size_ = kept;
}

}  // namespace vorlandi
