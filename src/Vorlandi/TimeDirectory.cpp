#include "Vorlandi/TimeDirectory.hpp"

#include <utility>

#include "Vorlandi/PointArray.hpp"
#include "Vorlandi/StorageFailure.hpp"

namespace vorlandi {

void TimeDirectory::extend(const Vorlanstate* states, std::int32_t points) noexcept {
    if (points < kLeast) return;
    const std::int32_t wanted = (points - 1) / kStride + 1;
    if (wanted <= count_) return;
    try {
        block_.grow(static_cast<std::size_t>(wanted) * sizeof(double), bytes());
    } catch (const StorageFailure&) {
        return;
    }
    auto* const times = reinterpret_cast<double*>(block_.bytes());
    for (; count_ < wanted; ++count_)
        times[count_] = states[std::ptrdiff_t{count_} * kStride].time;
}

void TimeDirectory::shareWith(TimeDirectory& other) const noexcept {
    block_.shareWith(other.block_);
    other.count_ = count_;
}

void TimeDirectory::unshare() noexcept {
    try {
        block_.unshare(bytes(), bytes());
    } catch (const StorageFailure&) {
        clear();
    }
}

void TimeDirectory::swap(TimeDirectory& other) noexcept {
    block_.swap(other.block_);
    std::swap(count_, other.count_);
}

}  // namespace vorlandi
