// The trace log: every message of the library goes through here, to the calling thread's last-error slot, the handler
// and the trace file, in this order. Log with no lock and no side of the store's guard held: the handler may call the
// library. Logging allocates nothing, and works until the process has ended.
#pragma once

#include <cstdint>
#include <string_view>

#include "CoreServices/Texts.hpp"
#include "vorlandi/services.h"

namespace vorlandi {

// A handler and its context; no handler if `call` is null.
struct TraceHandler {
    VorlanTraceHandler call = nullptr;
    void* userData = nullptr;
};

// Trailing blanks are cut; the text is otherwise exactly the message.
void tracelogerror(std::string_view text) noexcept;
void traceloginfo(std::string_view text) noexcept;

// Opens the trace file, replacing the previous one. Returns 0 or the errno of the failed open.
int openTraceFile(std::string_view name) noexcept;
void closeTraceFile() noexcept;

void setTraceHandler(VorlanTraceHandler call, void* userData) noexcept;
TraceHandler traceHandler() noexcept;

// The calling thread's last error message; blank if there was none.
const InlineText<512>& lastTraceError() noexcept;

// Reports that memory has run out and ends the process: a record or its points can't be kept.
[[noreturn]] void stopOnAllocationFailure(std::size_t bytes) noexcept;

}  // namespace vorlandi
