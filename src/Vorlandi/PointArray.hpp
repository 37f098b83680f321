// PointArray: the points of one record, in a block that grows by 1000 points at a time.
//
// 1. Capacity grows by kGrowth points and never by doubling. Points are trivially copyable, so that the block
//    is extended with realloc: large blocks grow in place or by remapping their pages, and a million points
//    don't cost quadratic time.
// 2. count() points are in use; the spare ones behind them are not initialised.
// 3. An array is absent until the first point is appended. A copy is deep and keeps the capacity.
// 4. Appending and trimming invalidate pointers to points.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <utility>

#include "CoreServices/TraceLog.hpp"

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
        if (!other.block_) return;
        resize(other.capacity_);
        count_ = other.count_;
        if (count_ > 0) std::memcpy(block_.get(), other.block_.get(), bytes(count_));
    }
    PointArray& operator=(const PointArray& other) {
        if (this != &other) PointArray(other).swap(*this);
        return *this;
    }

    bool present() const noexcept { return block_ != nullptr; }
    std::int32_t count() const noexcept { return count_; }
    std::int32_t capacity() const noexcept { return capacity_; }

    // A point by its index from 0.
    const Vorlanpoint& operator[](std::int32_t index) const noexcept { return block_.get()[index]; }
    const Vorlanpoint& front() const noexcept { return block_.get()[0]; }
    const Vorlanpoint& back() const noexcept { return block_.get()[count_ - 1]; }
    const Vorlanpoint* data() const noexcept { return block_.get(); }

    // Appends a point and returns it.
    Vorlanpoint& append(const Vorlanpoint& point) {
        if (count_ == capacity_) resize(capacity_ + kGrowth);
        Vorlanpoint* const place = block_.get() + count_;
        ++count_;
        std::memcpy(static_cast<void*>(place), &point, sizeof point);
        return *place;
    }

    // Gives the spare tail back.
    void trim() {
        if (count_ > 0 && count_ < capacity_) resize(count_);
    }

    // Forgets the points and keeps the space.
    void clear() noexcept { count_ = 0; }

    void swap(PointArray& other) noexcept {
        std::swap(block_, other.block_);
        std::swap(count_, other.count_);
        std::swap(capacity_, other.capacity_);
    }

private:
    struct Free {
        void operator()(Vorlanpoint* block) const noexcept { std::free(block); }
    };

    // An empty array still has a minimal block.
    static std::size_t bytes(std::int32_t points) noexcept {
        return static_cast<std::size_t>(points > 0 ? points : 1) * sizeof(Vorlanpoint);
    }

    void resize(std::int32_t capacity) {
        void* const block = std::realloc(static_cast<void*>(block_.get()), bytes(capacity));
        if (block == nullptr) stopOnAllocationFailure(bytes(capacity));
        static_cast<void>(block_.release());
        block_.reset(static_cast<Vorlanpoint*>(block));
        capacity_ = capacity;
    }

    std::unique_ptr<Vorlanpoint, Free> block_;
    std::int32_t count_ = 0;
    std::int32_t capacity_ = 0;
};

}  // namespace vorlandi
