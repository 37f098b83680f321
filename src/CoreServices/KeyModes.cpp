#include "CoreServices/KeyModes.hpp"

#include <atomic>

namespace vorlandi {
namespace {

std::atomic<std::int32_t> useAll{0};
std::atomic<std::int32_t> allMode{0};
std::atomic<std::int32_t> elsetMode{0};
std::atomic<std::int32_t> dupMode{0};

}  // namespace

std::int32_t useallkeymode() noexcept { return useAll.load(); }
std::int32_t allkeymodeget() noexcept { return allMode.load(); }
std::int32_t elsetkeymodeget() noexcept { return elsetMode.load(); }
std::int32_t dupkeymodeget() noexcept { return dupMode.load(); }

void setAllKeyMode(std::int32_t use, std::int32_t mode) noexcept {
    allMode.store(mode);
    useAll.store(use);
}
void setElsetKeyMode(std::int32_t mode) noexcept { elsetMode.store(mode); }
void setDupKeyMode(std::int32_t mode) noexcept { dupMode.store(mode); }

}  // namespace vorlandi
