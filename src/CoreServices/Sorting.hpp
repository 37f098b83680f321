// Sorting of fixed-length sort strings with their keys.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

namespace vorlandi {

// A sort string of up to 32 characters, and what it belongs to.
struct SortEntry {
    std::array<char, 32> text;
    std::int64_t key;
};

// Ascending by text, compared as bytes. Ties are left in no particular order.
inline void quicksortiterative(std::span<SortEntry> entries) {
    std::sort(entries.begin(), entries.end(), [](const SortEntry& a, const SortEntry& b) { return a.text < b.text; });
}

}  // namespace vorlandi
