// The number of points in the store, from public functions only, so that a program without the benchmark library can
// use it.
#pragma once

#include <cstdint>
#include <vector>

#include "vorlandi/vorlandi.h"

namespace vorlandi::bench {

inline std::int64_t pointsInStore() {
    std::vector<std::int64_t> keys(static_cast<std::size_t>(VorlanGetCount()));
    if (!keys.empty()) VorlanGetLoaded(3, keys.data());
    std::int64_t sum = 0;
    for (const std::int64_t key : keys) {
        std::int32_t points = 0;
        VorlanGetAllFields(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           &points, nullptr);
        sum += points;
    }
    return sum;
}

}  // namespace vorlandi::bench
