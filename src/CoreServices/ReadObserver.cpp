#include "CoreServices/ReadObserver.hpp"

#include <type_traits>

#include "CoreServices/HeldReports.hpp"

namespace vorlandi {
namespace {

// Never destroyed: a file may be loaded while the thread ends.
constinit thread_local ReadObserver observer;
static_assert(std::is_trivially_destructible_v<ReadObserver>);

}  // namespace

void setReadObserver(VorlanReadObserver call, void* userData) noexcept { observer = {call, userData}; }

ReadObserver readObserver() noexcept { return observer; }

void observeRead(std::int32_t event, std::string_view fileName, std::int64_t line, std::string_view text) {
    HeldReports* const held = heldReports();
    if (held != nullptr && held->takeEvent(event, fileName, line, text)) return;
    if (observer.call == nullptr) return;
    if (text.data() == nullptr) text = "";  // observers get no null pointer
    observer.call(event, fileName.data(), static_cast<std::int32_t>(fileName.size()), line, text.data(),
                  static_cast<std::int32_t>(text.size()), observer.userData);
}

}  // namespace vorlandi
