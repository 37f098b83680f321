#include "CoreServices/KeyModes.hpp"

#include <mutex>

#include "CoreServices/HeldAcrossFork.hpp"

namespace vorlandi {
namespace {

constinit std::mutex mutex;
constinit KeyModes modes;
[[maybe_unused]] const HeldAcrossFork<mutex> kHeldAcrossFork;

}  // namespace

KeyModes keyModes() noexcept {
    const std::lock_guard lock(mutex);
    return modes;
}

void setAllKeyMode(std::int32_t use, std::int32_t mode) noexcept {
    const std::lock_guard lock(mutex);
    modes.useAll = use;
    modes.all = mode;
}

void setElsetKeyMode(std::int32_t mode) noexcept {
    const std::lock_guard lock(mutex);
    modes.elset = mode;
}

void setDupKeyMode(std::int32_t mode) noexcept {
    const std::lock_guard lock(mutex);
    modes.dup = mode;
}

}  // namespace vorlandi
