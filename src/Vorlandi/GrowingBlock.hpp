// GrowingBlock: raw memory that grows uninitialised and can have several owners; large blocks grow by remapping, not by
// copying.
//
// 1. Bytes within a size asked for keep their values until the block shrinks below them; all others are not
//    initialised.
// 2. Growing, shrinking and unsharing invalidate this owner's pointers into the block, but no other owner's.
// 3. A block begins at a cache line, so that data of line size doesn't straddle lines.
// 4. Which bytes of a shared block may still be written is for the owners to agree upon.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vorlandi {

constexpr std::size_t kCacheLine = 64;

class GrowingBlock {
public:
    GrowingBlock() = default;
    ~GrowingBlock() { release(); }
    GrowingBlock(const GrowingBlock&) = delete;
    GrowingBlock& operator=(const GrowingBlock&) = delete;

    char* bytes() const noexcept { return bytes_; }  // null before the first growth

    // To at least a size above, or to a size below, the present one; `used` bytes are kept. A shared block doesn't
    // shrink, and grows into one of its own unless the size is there already. Growing and unsharing throw
    // StorageFailure when memory is short, and the block is then as it was.
    void grow(std::size_t size, std::size_t used);
    void shrink(std::size_t size) noexcept;

    // Makes `other`, which must be empty, another owner.
    void shareWith(GrowingBlock& other) const noexcept;
    bool isShared() const noexcept;

    // Continues with a copy if there are other owners: a block of `size` bytes, no larger, with the first `used` bytes.
    void unshare(std::size_t used, std::size_t size);

    void swap(GrowingBlock& other) noexcept { std::swap(bytes_, other.bytes_); }

private:
    // Precedes the bytes.
    struct alignas(16) Header {
        std::atomic<std::int32_t> owners{1};
        std::uint32_t offset;  // of the bytes in the heap allocation; 0 in a mapping of the block's own
        std::size_t size;      // of the bytes
    };
    static_assert(sizeof(Header) == 16);

    static char* putHeader(char* bytes, std::uint32_t offset, std::size_t size) noexcept;
    static char* putInMapping(char* space, std::size_t whole) noexcept;
    static char* onHeap(std::size_t size) noexcept;
    static char* allocate(std::size_t size, std::size_t least);
    bool isMapped() const noexcept { return header().offset == 0; }
    char* mapping() const noexcept { return bytes_ - kCacheLine; }
    Header& header() const noexcept { return *reinterpret_cast<Header*>(bytes_ - sizeof(Header)); }
    bool remap(std::size_t size) noexcept;
    void moveTo(char* bytes, std::size_t used) noexcept;
    void release() noexcept;

    char* bytes_ = nullptr;
};

}  // namespace vorlandi
