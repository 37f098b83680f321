// TimeDirectory: the time of every 64th point of a large record, side by side. Where points are not evenly spaced, a
// search finds its place here, in the cache, and then waits for memory once or twice instead of at each bisection.
//
// 1. Entry k is the time of point 64 k, counted from 0. Points get entries when space grows or is trimmed.
// 2. Small records have no entries: they are in the cache themselves.
// 3. Entries are only added, by the owner who may append points; others who share the memory see the entries of their
//    time.
#pragma once

#include <cstdint>

#include "Vorlandi/GrowingBlock.hpp"

namespace vorlandi {

struct Vorlanstate;

class TimeDirectory {
public:
    static constexpr std::int32_t kStride = 64;    // points for an entry: 0.2 % of their memory
    static constexpr std::int32_t kLeast = 4'000;  // points that get entries

    const double* times() const noexcept { return reinterpret_cast<const double*>(block_.bytes()); }
    std::int32_t count() const noexcept { return count_; }

    // Adds the entries of points that have none. Adds none, and searches take longer, when memory is short.
    void extend(const Vorlanstate* states, std::int32_t points) noexcept;

    // Makes `other`, which must be empty, another owner of these entries, which calls unshare() before it extends them.
    void shareWith(TimeDirectory& other) const noexcept;
    void unshare() noexcept;

    void clear() noexcept { TimeDirectory().swap(*this); }
    void swap(TimeDirectory& other) noexcept;

private:
    std::size_t bytes() const noexcept { return static_cast<std::size_t>(count_) * sizeof(double); }

    GrowingBlock block_;
    std::int32_t count_ = 0;
};

}  // namespace vorlandi
