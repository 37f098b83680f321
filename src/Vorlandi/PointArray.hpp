// PointArray: the points of one record, in a block that grows by 1000 points at a time.
//
// 1. Capacity grows by kGrowth points and never by doubling. Points are trivially copyable, so that the block
//    is extended in place or by remapping its pages, and a million points don't cost quadratic time.
// 2. count() points are in use; the spare ones behind them are not initialised.
// 3. An array is absent until the first point is appended. A copy is deep and keeps the capacity.
// 4. Appending and trimming invalidate pointers to points.
#pragma once

#include <cstdint>
#include <cstring>
#include <utility>

namespace vorlandi {

constexpr std::size_t kCovarianceSize = 21;

// One time-tagged state: 29 slots of 64 bits.
struct Vorlanpoint {
    double time = 0.0;                 // Ds50UTC
    double pos[3] = {};                // km
    double vel[3] = {};                // km/s
    std::int32_t rev = 0;              // revolution number, in the first half of its slot
    std::int32_t unused = 0;           // the second half
    double cov[kCovarianceSize] = {};  // lower triangle of the 6x6 covariance, row by row
};
static_assert(sizeof(Vorlanpoint) == 29 * sizeof(double) && std::is_trivially_copyable_v<Vorlanpoint>);

// The second covariance value of points whose first one is no covariance but an auxiliary scalar.
constexpr double kScalarMarker = 12345.0;

// The memory of a point array. It grows in place or by remapping its pages, so that growing by small steps stays linear.
class PointBlock {
public:
    PointBlock() = default;
    ~PointBlock();
    PointBlock(const PointBlock&) = delete;
    PointBlock& operator=(const PointBlock&) = delete;

    Vorlanpoint* points() const noexcept { return points_; }

    // To a size in bytes above, or below, the present one. What fits keeps its values; the rest is not initialised. Ends
    // the process when there is no memory.
    void grow(std::size_t bytes);
    void shrink(std::size_t bytes);

    void swap(PointBlock& other) noexcept {
        std::swap(points_, other.points_);
        std::swap(bytes_, other.bytes_);
        std::swap(mappedBytes_, other.mappedBytes_);
    }

private:
    void moveToLarger(std::size_t mappedBytes);

    Vorlanpoint* points_ = nullptr;
    std::size_t bytes_ = 0;
    std::size_t mappedBytes_ = 0;  // 0 for a block of the heap
};

class PointArray {
public:
    static constexpr std::int32_t kGrowth = 1000;

    PointArray() = default;
    PointArray(PointArray&& other) noexcept { swap(other); }
    PointArray& operator=(PointArray&& other) noexcept {
        PointArray(std::move(other)).swap(*this);
        return *this;
    }
    PointArray(const PointArray& other) {
        if (!other.present()) return;
        grow(other.capacity_);
        count_ = other.count_;
        if (count_ > 0)
            std::memcpy(static_cast<void*>(block_.points()), other.block_.points(), bytes(count_));
    }
    PointArray& operator=(const PointArray& other) {
        if (this != &other) PointArray(other).swap(*this);
        return *this;
    }

    bool present() const noexcept { return block_.points() != nullptr; }
    std::int32_t count() const noexcept { return count_; }
    std::int32_t capacity() const noexcept { return capacity_; }

    // A point by its index from 0.
    const Vorlanpoint& operator[](std::int32_t index) const noexcept { return block_.points()[index]; }
    const Vorlanpoint& front() const noexcept { return block_.points()[0]; }
    const Vorlanpoint& back() const noexcept { return block_.points()[count_ - 1]; }
    const Vorlanpoint* data() const noexcept { return block_.points(); }

    // Appends a point and returns it.
    Vorlanpoint& append(const Vorlanpoint& point) {
        if (count_ == capacity_) grow(capacity_ + kGrowth);
        Vorlanpoint* const place = block_.points() + count_;
        ++count_;
        std::memcpy(static_cast<void*>(place), &point, sizeof point);
        return *place;
    }

    // Gives the spare tail back.
    void trim() {
        if (count_ == 0 || count_ == capacity_) return;
        block_.shrink(bytes(count_));
        capacity_ = count_;
    }

    // Forgets the points and keeps the space.
    void clear() noexcept { count_ = 0; }

    void swap(PointArray& other) noexcept {
        block_.swap(other.block_);
        std::swap(count_, other.count_);
        std::swap(capacity_, other.capacity_);
    }

private:
    // An empty array still has a minimal block.
    static std::size_t bytes(std::int32_t points) noexcept {
        return static_cast<std::size_t>(points > 0 ? points : 1) * sizeof(Vorlanpoint);
    }

    void grow(std::int32_t capacity) {
        block_.grow(bytes(capacity));
        capacity_ = capacity;
    }

    PointBlock block_;
    std::int32_t count_ = 0;
    std::int32_t capacity_ = 0;
};

}  // namespace vorlandi
