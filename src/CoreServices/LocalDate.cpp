#include "CoreServices/LocalDate.hpp"

#include <atomic>

namespace vorlandi {
namespace {

std::atomic<Clock> replacedClock{nullptr};

std::time_t now() noexcept {
    const Clock clock = replacedClock.load();
    return clock != nullptr ? clock() : std::time(nullptr);
}

}  // namespace

LocalDate localDate() noexcept {
    const std::time_t seconds = now();
    std::tm parts{};
    parts.tm_year = 70;  // kept if a clock returns a time that no calendar holds
    parts.tm_mday = 1;
    localtime_r(&seconds, &parts);
    return {parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday};
}

void setClock(Clock clock) noexcept { replacedClock.store(clock); }

}  // namespace vorlandi
