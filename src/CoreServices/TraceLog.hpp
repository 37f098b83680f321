// The trace log: every message of the library goes through here, to the calling thread's last-error slot, the
// handler and the trace file, in this order. Call it with no lock and no side of the store's guard held: the
// handler may call the library.
#pragma once

#include <cstdint>
#include <string_view>

#include "CoreServices/Texts.hpp"
#include "vorlandi/services.h"

namespace vorlandi {

// Trailing blanks are cut; the text is otherwise exactly the message.
void tracelogerror(std::string_view text) noexcept;
void traceloginfo(std::string_view text) noexcept;

// Opens the trace file in place of the one before; 0, or the errno.
int openTraceFile(std::string_view name) noexcept;
void closeTraceFile();
void setTraceHandler(VorlanTraceHandler handler, void* userData);

// The calling thread's last error message; blank if none.
const PaddedText<512>& lastTraceError();

// Reports that memory has run out and ends the process: a record or its points can't be kept.
[[noreturn]] void stopOnAllocationFailure(std::size_t bytes);

}  // namespace vorlandi
