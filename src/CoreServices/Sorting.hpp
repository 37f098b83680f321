// Sorting of fixed-length sort strings, or other sort criteria, with their keys.
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
    bool operator<(const SortEntry& other) const noexcept { return text < other.text; }  // as bytes
};

// Ascending. Ties are left in no particular order.
template <class Entry>
void quicksortiterative(std::span<Entry> entries) {
    std::sort(entries.begin(), entries.end());
}

}  // namespace vorlandi
