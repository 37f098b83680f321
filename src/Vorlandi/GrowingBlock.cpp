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

// Blocks of this size and more are mapped on their own: they grow by remapping, whatever else is on the heap.
constexpr std::size_t kMappedFrom = std::size_t{2} << 20;

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

// Address space that begins at a large page; null when the system gives no further mapping.
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

GrowingBlock::~GrowingBlock() { release(); }

void GrowingBlock::release() noexcept {
    if (isMapped_) {
        ::munmap(bytes_, size_);
    } else {
        std::free(bytes_);
    }
}

void GrowingBlock::grow(std::size_t size, std::size_t used) {
    if (size <= size_) return;
    if (size < kMappedFrom || !moveToMapping(size, used)) moveToHeap(size, used);
}

// Grown by half, the moves together cost no more than a few times the last one.
void GrowingBlock::moveToHeap(std::size_t size, std::size_t used) {
    size = roundedUp(std::max(size, size_ + size_ / 2), kCacheLine);
    char* const block = checked(std::aligned_alloc(kCacheLine, size), size);
    take(block, size, false, used);
}

// False when the system has no mapping left: their number is limited.
bool GrowingBlock::moveToMapping(std::size_t size, std::size_t used) {
    size = roundedUp(std::max({size, 2 * size_, kFirstMapping}), kLargePage);
    char* const space = mapped(size);
    if (space == nullptr) return false;
    if (isMapped_) {
        bytes_ = checked(::mremap(bytes_, size_, size, MREMAP_MAYMOVE | MREMAP_FIXED, space), size);
        size_ = size;
    } else {
        take(space, size, true, used);
    }
    return true;
}

// Goes on in a new place, with the first `used` bytes.
void GrowingBlock::take(char* place, std::size_t size, bool isMapped, std::size_t used) noexcept {
    if (used > 0) std::memcpy(place, bytes_, used);
    release();
    bytes_ = place;
    size_ = size;
    isMapped_ = isMapped;
}

void GrowingBlock::shrink(std::size_t size) {
    const std::size_t kept = roundedUp(size, isMapped_ ? kPage : kCacheLine);
    if (kept >= size_) return;
    // Both leave the block where it is.
    bytes_ = checked(isMapped_ ? ::mremap(bytes_, size_, kept, 0) : std::realloc(bytes_, kept), kept);
    size_ = kept;
}

}  // namespace vorlandi
