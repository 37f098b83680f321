#include "DllExports/DllDoor.hpp"

#include "CoreServices/BoundedText.hpp"
#include "CoreServices/TraceLog.hpp"

namespace vorlandi {

void reportException(std::string_view function) noexcept {
    try {
        throw;
    } catch (const StorageFailure& failure) {
        stopOnAllocationFailure(failure.bytes());
    } catch (const std::bad_alloc&) {
        tracelogerror(MessageText(function) << ": Out of memory.");
    } catch (...) {
        tracelogerror(MessageText(function) << ": Unexpected exception.");  // of a read observer
    }
}

}  // namespace vorlandi
