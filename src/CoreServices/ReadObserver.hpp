// The read observer: what loading on a thread meets, told to whoever asked for it on that thread.
#pragma once

#include <cstdint>
#include <string_view>

#include "vorlandi/services.h"

namespace vorlandi {

// Sets the calling thread's observer; null takes it away.
void setReadObserver(VorlanReadObserver observer, void* userData) noexcept;

// Tells the calling thread's observer, if there is one. `line` counts from 1; of a binary file it is the
// record. Call it with no guard held: the observer may call the library.
void observeRead(std::int32_t event, std::string_view fileName, std::int64_t line, std::string_view text);

}  // namespace vorlandi
