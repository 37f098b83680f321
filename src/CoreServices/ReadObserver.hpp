// The read observer: receives what loading on its thread encounters.
#pragma once

#include <cstdint>
#include <string_view>

#include "vorlandi/services.h"

namespace vorlandi {

// An observer and its context; no observer if `call` is null.
struct ReadObserver {
    VorlanReadObserver call = nullptr;
    void* userData = nullptr;
};

// Sets the calling thread's observer; null removes it.
void setReadObserver(VorlanReadObserver call, void* userData) noexcept;
ReadObserver readObserver() noexcept;

// Tells the calling thread's observer, if there is one. `line` counts from 1; in a binary file it is the record. Call
// it with no guard held: the observer may call the library.
void observeRead(std::int32_t event, std::string_view fileName, std::int64_t line, std::string_view text);

}  // namespace vorlandi
