// GrowingBlock: memory that grows without being filled or, once it is large, moved.
//
// 1. Bytes within a size asked for keep their values until the block shrinks below them; all others are not
//    initialised.
// 2. Growing and shrinking invalidate pointers into the block.
// 3. A block begins at a line of cache, so that what fills lines doesn't straddle them.
#pragma once

#include <cstddef>
#include <utility>

namespace vorlandi {

class GrowingBlock {
public:
    GrowingBlock() = default;
    ~GrowingBlock();
    GrowingBlock(const GrowingBlock&) = delete;
    GrowingBlock& operator=(const GrowingBlock&) = delete;

    char* bytes() const noexcept { return bytes_; }  // null before the first growth

    // To at least a size above, or to a size below, the present one; `used` bytes are kept. Both end the process when
    // there is no memory.
    void grow(std::size_t size, std::size_t used);
    void shrink(std::size_t size);

    void swap(GrowingBlock& other) noexcept {
        std::swap(bytes_, other.bytes_);
        std::swap(size_, other.size_);
        std::swap(isMapped_, other.isMapped_);
    }

private:
    void moveToHeap(std::size_t size, std::size_t used);
    bool moveToMapping(std::size_t size, std::size_t used);
    void take(char* place, std::size_t size, bool isMapped, std::size_t used) noexcept;
    void release() noexcept;

    char* bytes_ = nullptr;
    std::size_t size_ = 0;
    bool isMapped_ = false;
};

}  // namespace vorlandi
