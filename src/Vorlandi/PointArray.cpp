#include "Vorlandi/PointArray.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "CoreServices/TraceLog.hpp"

namespace vorlandi {
namespace {

// Blocks of this size and more are mapped on their own: they grow by remapping, whatever else is on the heap. They are
// so few that the system's limit on mappings is out of reach.
constexpr std::size_t kMappedFrom = std::size_t{4} << 20;

// A mapped block begins with this much address space, which doubles when it is used up. Pages are only taken as points
// arrive, large ones where the system has them; blocks begin at such a page, so that remapping moves large pages whole.
constexpr std::size_t kFirstMapping = std::size_t{16} << 20;
constexpr std::size_t kLargePage = std::size_t{2} << 20;
constexpr std::size_t kPage = 4096;

constexpr std::size_t roundedUp(std::size_t bytes, std::size_t unit) noexcept {
    return (bytes + unit - 1) / unit * unit;
}

Vorlanpoint* checked(void* block, std::size_t bytes) {
    if (block == nullptr || block == MAP_FAILED) stopOnAllocationFailure(bytes);
    return static_cast<Vorlanpoint*>(block);
}

// Address space that begins at a large page.
char* mapped(std::size_t bytes) {
    const std::size_t taken = bytes + kLargePage;
    char* const space = static_cast<char*>(
        ::mmap(nullptr, taken, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    if (space == MAP_FAILED) stopOnAllocationFailure(bytes);
    const auto address = reinterpret_cast<std::uintptr_t>(space);
    const std::size_t before = roundedUp(address, kLargePage) - address;
    if (before > 0) ::munmap(space, before);
    if (before < kLargePage) ::munmap(space + before + bytes, kLargePage - before);
    ::madvise(space + before, bytes, MADV_HUGEPAGE);
    return space + before;
}

}  // namespace

PointBlock::~PointBlock() {
    if (mappedBytes_ > 0) {
        ::munmap(points_, mappedBytes_);
    } else {
        std::free(points_);
    }
}

void PointBlock::grow(std::size_t bytes) {
    if (mappedBytes_ == 0 && bytes < kMappedFrom) {
        points_ = checked(std::realloc(static_cast<void*>(points_), bytes), bytes);
    } else if (bytes > mappedBytes_) {
        moveToLarger(roundedUp(std::max({bytes, 2 * mappedBytes_, kFirstMapping}), kLargePage));
    }
    bytes_ = bytes;
}

void PointBlock::moveToLarger(std::size_t mappedBytes) {
    char* const space = mapped(mappedBytes);
    if (mappedBytes_ > 0) {
        checked(::mremap(points_, mappedBytes_, mappedBytes, MREMAP_MAYMOVE | MREMAP_FIXED, space),
                mappedBytes);
    } else {
        if (bytes_ > 0) std::memcpy(space, points_, bytes_);
        std::free(points_);
    }
    points_ = reinterpret_cast<Vorlanpoint*>(space);
    mappedBytes_ = mappedBytes;
}

void PointBlock::shrink(std::size_t bytes) {
    if (mappedBytes_ > 0) {
        const std::size_t kept = roundedUp(bytes, kPage);
        points_ = checked(::mremap(points_, mappedBytes_, kept, 0), kept);
        mappedBytes_ = kept;
    } else {
        points_ = checked(std::realloc(static_cast<void*>(points_), bytes), bytes);
    }
    bytes_ = bytes;
}

}  // namespace vorlandi
