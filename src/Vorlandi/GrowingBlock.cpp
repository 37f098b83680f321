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
    if (held_.isMapped()) {
        ::munmap(held_.bytes(), held_.size());
    } else {
        std::free(held_.bytes());
    }
}

void GrowingBlock::grow(std::size_t size, std::size_t used) {
    if (size <= held_.size()) return;
    if (size < kMappedFrom || !moveToMapping(size, used)) moveToHeap(size, used);
}

// Grown by half, the moves together cost no more than a few times the last one.
void GrowingBlock::moveToHeap(std::size_t size, std::size_t used) {
    size = roundedUp(std::max(size, held_.size() + held_.size() / 2), kCacheLine);
    take({checked(std::aligned_alloc(kCacheLine, size), size), size, false}, used);
}

// False when the system has no mapping left: their number is limited.
bool GrowingBlock::moveToMapping(std::size_t size, std::size_t used) {
    size = roundedUp(std::max({size, 2 * held_.size(), kFirstMapping}), kLargePage);
    char* const space = mapped(size);
    if (space == nullptr) return false;
    if (held_.isMapped()) {
        checked(::mremap(held_.bytes(), held_.size(), size, MREMAP_MAYMOVE | MREMAP_FIXED, space), size);
        held_ = Held(space, size, true);
    } else {
        take({space, size, true}, used);
    }
    return true;
}

// Goes on in a new place, with the first `used` bytes.
void GrowingBlock::take(const Held& place, std::size_t used) noexcept {
    if (used > 0) std::memcpy(place.bytes(), held_.bytes(), used);
    release();
    held_ = place;
}

void GrowingBlock::shrink(std::size_t size) {
    const std::size_t kept = roundedUp(size, held_.isMapped() ? kPage : kCacheLine);
    if (kept >= held_.size()) return;
    // Both leave the block where it is.
    void* const same =
        held_.isMapped() ? ::mremap(held_.bytes(), held_.size(), kept, 0) : std::realloc(held_.bytes(), kept);
    held_ = Held(checked(same, kept), kept, held_.isMapped());
}

}  // namespace vorlandi
