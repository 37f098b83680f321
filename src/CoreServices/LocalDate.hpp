// The calendar date of today, in local time.
#pragma once

#include <ctime>

namespace vorlandi {

struct LocalDate {
    int year, month, day;
};

LocalDate localDate() noexcept;

// The clock that localDate() reads, in seconds since 1970; null for the system's. A test sets one and removes it again.
using Clock = std::time_t (*)();
void setClock(Clock clock) noexcept;

}  // namespace vorlandi
