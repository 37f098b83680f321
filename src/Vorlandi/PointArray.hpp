// PointArray: the points of one record, whose capacity grows by 1000 points at a time.
//
// 1. States and covariances are stored apart: a state is a cache line, and covariances take no space until a point has
//    one. A request for a state reads nothing else.
// 2. Capacity grows by kGrowth points and never by doubling. Memory for the first few points is taken as they arrive,
//    then for all of the capacity: the system provides pages only as points fill them.
// 3. count() points are in use; the spare ones after them are not initialised.
// 4. An array is absent until the first point is appended. A copy is deep and keeps the capacity.
// 5. Appending and trimming invalidate pointers to points.
// 6. A share sees the points that existed when it was made; the original may append after them. It copies before its
//    first change.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "Vorlandi/GrowingBlock.hpp"
#include "Vorlandi/TimeDirectory.hpp"

namespace vorlandi {

constexpr std::size_t kCovarianceSize = 21;

// A point without its covariance: 8 slots of 64 bits.
struct Vorlanstate {
    double time = 0.0;        // Ds50UTC
    double pos[3] = {};       // km
    double vel[3] = {};       // km/s
    std::int32_t rev = 0;     // revolution number, in the first half of its slot
    std::int32_t unused = 0;  // the second half
};

// The lower triangle of a 6x6 covariance, row by row.
struct PointCovariance {
    double cov[kCovarianceSize] = {};
};

// Does the point have a covariance: is any value other than zero? Negative zeros are zeros.
inline bool hasCovariance(const PointCovariance& covariance) noexcept {
    return std::any_of(covariance.cov, covariance.cov + kCovarianceSize, [](double value) { return value != 0.0; });
}

// One time-tagged state with its covariance: 29 slots of 64 bits.
struct Vorlanpoint : Vorlanstate, PointCovariance {};
static_assert(sizeof(Vorlanstate) == 64 && sizeof(Vorlanpoint) == 29 * sizeof(double));
static_assert(std::is_trivially_copyable_v<Vorlanpoint>);

// Marks, as the second covariance value, that the first one is an auxiliary scalar and not a covariance.
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
    PointArray(const PointArray& other);
    PointArray& operator=(const PointArray& other) {
        if (this != &other) PointArray(other).swap(*this);
        return *this;
    }

    // A copy that costs nothing, for as long as it isn't changed.
    PointArray share() const;

    bool present() const noexcept { return states() != nullptr; }
    std::int32_t count() const noexcept { return count_; }
    std::int32_t capacity() const noexcept { return capacity_; }

    // All states; all covariances, null if no point has one.
    const Vorlanstate* states() const noexcept { return reinterpret_cast<const Vorlanstate*>(states_.bytes()); }
    const PointCovariance* covariances() const noexcept {
        return reinterpret_cast<const PointCovariance*>(covariances_.bytes());
    }

    // The times of the first and last points, without reading the points.
    double firstTime() const noexcept { return firstTime_; }
    double lastTime() const noexcept { return lastTime_; }

    const TimeDirectory& directory() const noexcept { return directory_; }

    // A state, or a whole point, by its index from 0.
    const Vorlanstate& state(std::int32_t index) const noexcept { return states()[index]; }
    const Vorlanstate& front() const noexcept { return state(0); }
    Vorlanpoint operator[](std::int32_t index) const noexcept {
        return {state(index), covariances() == nullptr ? PointCovariance{} : covariances()[index]};
    }

    // Appends a point, with zeros where no covariance is given. Throws StorageFailure, and appends nothing, when memory
    // is short.
    void append(const Vorlanstate& state, const PointCovariance* covariance = nullptr) {
        if (count_ == room_) makeRoom();
        std::memcpy(states_.bytes() + bytesOf<Vorlanstate>(count_), &state, sizeof state);
        if (covariance != nullptr || covariances() != nullptr) putCovariance(covariance);
        if (count_ == 0) firstTime_ = state.time;
        lastTime_ = state.time;
        ++count_;
    }

    // Sets the covariance of a stored point. Not for an array that is shared. Throws StorageFailure if memory is short.
    void setCovariance(std::int32_t index, const PointCovariance& covariance);

    // Releases the spare space.
    void trim();

    // Forgets the points, and keeps the space where nobody shares it.
    void clear();

    void swap(PointArray& other) noexcept {
        states_.swap(other.states_);
        covariances_.swap(other.covariances_);
        directory_.swap(other.directory_);
        std::swap(firstTime_, other.firstTime_);
        std::swap(lastTime_, other.lastTime_);
        std::swap(count_, other.count_);
        std::swap(capacity_, other.capacity_);
        std::swap(room_, other.room_);
        std::swap(isShare_, other.isShare_);
    }

private:
    template <class Element>
    static std::size_t bytesOf(std::int32_t elements) noexcept {
        return static_cast<std::size_t>(elements) * sizeof(Element);
    }

    // For at least one more point.
    void makeRoom();
    // For the first covariance: the points so far get zeros.
    void makeRoomForCovariances();
    void putCovariance(const PointCovariance* covariance);

    GrowingBlock states_;
    GrowingBlock covariances_;
    double firstTime_ = 0.0;
    double lastTime_ = 0.0;
    TimeDirectory directory_;
    std::int32_t count_ = 0;
    std::int32_t capacity_ = 0;
    std::int32_t room_ = 0;  // points that there is memory for, at most the capacity
    bool isShare_ = false;   // made by share(), and not changed since: capacity is count
};

}  // namespace vorlandi
