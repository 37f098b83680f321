#include "Vorlandi/PointArray.hpp"

#include <algorithm>
#include <limits>

#include "Vorlandi/StorageFailure.hpp"

namespace vorlandi {
namespace {

constexpr PointCovariance kNoCovariance;

// Up to this many points, memory grows by a quarter.
constexpr std::int32_t kFewPoints = 256;

}  // namespace

PointArray::PointArray(const PointArray& other) {
    if (!other.present()) return;
    capacity_ = other.capacity_;
    count_ = room_ = other.count_;
    firstTime_ = other.firstTime_;
    lastTime_ = other.lastTime_;
    // An empty array still has a minimal block.
    const std::int32_t space = std::max(count_, 1);
    states_.grow(bytesOf<Vorlanstate>(space), 0);
    std::memcpy(states_.bytes(), other.states_.bytes(), bytesOf<Vorlanstate>(count_));
    directory_.extend(states(), count_);
    if (other.covariances() == nullptr) return;
    covariances_.grow(bytesOf<PointCovariance>(space), 0);
    std::memcpy(covariances_.bytes(), other.covariances_.bytes(), bytesOf<PointCovariance>(count_));
}

PointArray PointArray::share() const {
    PointArray other;
    states_.shareWith(other.states_);
    covariances_.shareWith(other.covariances_);
    other.count_ = other.capacity_ = other.room_ = count_;
    directory_.shareWith(other.directory_);
    other.firstTime_ = firstTime_;
    other.lastTime_ = lastTime_;
    other.isShare_ = true;
    return other;
}

void PointArray::clear() {
    if (states_.isShared() || covariances_.isShared()) PointArray().swap(*this);
    directory_.clear();
    count_ = 0;
    isShare_ = false;
}

void PointArray::makeRoom() {
    if (count_ == capacity_ && capacity_ > std::numeric_limits<std::int32_t>::max() - kGrowth) {
        throw StorageFailure(bytesOf<Vorlanpoint>(capacity_));
    }
    const std::int32_t capacity = count_ == capacity_ ? capacity_ + kGrowth : capacity_;
    const std::int32_t room = count_ < kFewPoints ? std::min(count_ + count_ / 4 + 1, capacity) : capacity;
    if (isShare_) {
        states_.unshare(bytesOf<Vorlanstate>(count_), bytesOf<Vorlanstate>(room));
        covariances_.unshare(bytesOf<PointCovariance>(count_), bytesOf<PointCovariance>(room));
        directory_.unshare();
        isShare_ = false;
    }
    states_.grow(bytesOf<Vorlanstate>(room), bytesOf<Vorlanstate>(count_));
    if (covariances() != nullptr) {
        covariances_.grow(bytesOf<PointCovariance>(room), bytesOf<PointCovariance>(count_));
    }
    capacity_ = capacity;
    room_ = room;
    directory_.extend(states(), count_);
}

void PointArray::makeRoomForCovariances() {
    covariances_.grow(bytesOf<PointCovariance>(room_), 0);
    std::memset(covariances_.bytes(), 0, bytesOf<PointCovariance>(count_));
}

void PointArray::setCovariance(std::int32_t index, const PointCovariance& covariance) {
    if (covariances() == nullptr) {
        if (!hasCovariance(covariance)) return;
        makeRoomForCovariances();
    }
    std::memcpy(covariances_.bytes() + bytesOf<PointCovariance>(index), &covariance, sizeof covariance);
}

void PointArray::putCovariance(const PointCovariance* covariance) {
    const bool has = covariance != nullptr && hasCovariance(*covariance);
    if (covariances() == nullptr) {
        if (!has) return;
        makeRoomForCovariances();
    }
    std::memcpy(covariances_.bytes() + bytesOf<PointCovariance>(count_), has ? covariance : &kNoCovariance,
                sizeof(PointCovariance));
}

void PointArray::trim() {
    if (!isShare_) directory_.extend(states(), count_);
    if (count_ == 0) return;
    states_.shrink(bytesOf<Vorlanstate>(count_));
    if (covariances() != nullptr) covariances_.shrink(bytesOf<PointCovariance>(count_));
    capacity_ = room_ = count_;
}

}  // namespace vorlandi
