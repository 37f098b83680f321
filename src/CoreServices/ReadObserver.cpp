#include "CoreServices/ReadObserver.hpp"

namespace vorlandi {
namespace {

struct Observer {
    VorlanReadObserver call = nullptr;
    void* userData = nullptr;
};

thread_local Observer observer;

}  // namespace

void setReadObserver(VorlanReadObserver call, void* userData) noexcept { observer = {call, userData}; }

void observeRead(std::int32_t event, std::string_view fileName, std::int64_t line, std::string_view text) {
    if (observer.call == nullptr) return;
    if (text.data() == nullptr) text = "";  // observers get no null pointer
    observer.call(event, fileName.data(), static_cast<std::int32_t>(fileName.size()), line, text.data(),
                  static_cast<std::int32_t>(text.size()), observer.userData);
}

}  // namespace vorlandi
