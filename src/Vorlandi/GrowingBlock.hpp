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

    char* bytes() const noexcept { return held_.bytes(); }  // null before the first growth

    // To at least a size above, or to a size below, the present one; `used` bytes are kept. Both end the process when
    // there is no memory.
    void grow(std::size_t size, std::size_t used);
    void shrink(std::size_t size);

    void swap(GrowingBlock& other) noexcept { std::swap(held_, other.held_); }

private:
    // Memory of the heap, or a mapping of its own. Sizes are even, so that their lowest bit says which.
    class Held {
    public:
        Held() = default;
        Held(char* bytes, std::size_t size, bool isMapped) noexcept
            : bytes_(bytes), sizeAndKind_(size + (isMapped ? 1 : 0)) {}

        char* bytes() const noexcept { return bytes_; }
        std::size_t size() const noexcept { return sizeAndKind_ & ~std::size_t{1}; }
        bool isMapped() const noexcept { return (sizeAndKind_ & 1) != 0; }

    private:
        char* bytes_ = nullptr;
        std::size_t sizeAndKind_ = 0;
    };

    void moveToHeap(std::size_t size, std::size_t used);
    bool moveToMapping(std::size_t size, std::size_t used);
    void take(const Held& place, std::size_t used) noexcept;
    void release() noexcept;

    Held held_;
};

}  // namespace vorlandi
