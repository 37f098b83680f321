// The key modes: how satellites added from now on are keyed, and whether duplicates are reported. All 0 at
// the start.
#pragma once

#include <cstdint>

namespace vorlandi {

constexpr std::int32_t kSatKeyMode = 0;  // ordinary keys, made from satellite number and epoch
constexpr std::int32_t kDmaKeyMode = 1;  // DMA keys, which name an object in memory

std::int32_t useallkeymode() noexcept;
std::int32_t allkeymodeget() noexcept;
std::int32_t elsetkeymodeget() noexcept;
std::int32_t dupkeymodeget() noexcept;

void setAllKeyMode(std::int32_t use, std::int32_t mode) noexcept;
void setElsetKeyMode(std::int32_t mode) noexcept;
void setDupKeyMode(std::int32_t mode) noexcept;

// The mode in force.
inline std::int32_t effectiveKeyMode() noexcept {
    return useallkeymode() != 0 ? allkeymodeget() : elsetkeymodeget();
}

}  // namespace vorlandi
