// Pages of 2 MiB, which the system gives to memory that asks for them.
#pragma once

#include <sys/mman.h>

#include <cstddef>

namespace vorlandi {

constexpr std::size_t kLargePage = std::size_t{2} << 20;

inline void wantLargePages(void* memory, std::size_t size) noexcept { ::madvise(memory, size, MADV_HUGEPAGE); }

}  // namespace vorlandi
