// The key modes: how satellites added from now on are keyed, and whether duplicates are reported. All 0 at
// the start.
#pragma once

#include <cstdint>

namespace vorlandi {

constexpr std::int32_t kSatKeyMode = 0;  // ordinary keys, made from satellite number and epoch
constexpr std::int32_t kDmaKeyMode = 1;  // DMA keys, which name an object in memory

struct KeyModes {
    std::int32_t useAll = 0;  // not 0: `all` is in force, else `elset`
    std::int32_t all = 0;
    std::int32_t elset = 0;
    std::int32_t dup = 0;
};

// A snapshot of all modes: never half of a change of two modes.
KeyModes keyModes() noexcept;

inline std::int32_t useallkeymode() noexcept { return keyModes().useAll; }
inline std::int32_t allkeymodeget() noexcept { return keyModes().all; }
inline std::int32_t elsetkeymodeget() noexcept { return keyModes().elset; }
inline std::int32_t dupkeymodeget() noexcept { return keyModes().dup; }

void setAllKeyMode(std::int32_t use, std::int32_t mode) noexcept;
void setElsetKeyMode(std::int32_t mode) noexcept;
void setDupKeyMode(std::int32_t mode) noexcept;

// The mode in force.
inline std::int32_t effectiveKeyMode() noexcept {
    const KeyModes modes = keyModes();
    return modes.useAll != 0 ? modes.all : modes.elset;
}

}  // namespace vorlandi
