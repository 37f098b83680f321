#include "ThreadMessages.hpp"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <forward_list>
#include <mutex>
#include <utility>

namespace vorlandi::cli {
namespace {

struct TraceHandler {
    VorlanTraceHandler function;
    void* data;

    bool operator==(const TraceHandler&) const = default;
};

std::mutex listening;
int listenerCount = 0;                            // on all threads
std::forward_list<TraceHandler> knownHandlers;    // never removed: another thread may be about to call one
std::atomic<const TraceHandler*> outerHandler;    // the process's own
thread_local const ThreadMessages* lastListener;  // of this thread

const TraceHandler* remembered(const TraceHandler& handler) {
    const auto known = std::find(knownHandlers.begin(), knownHandlers.end(), handler);
    return known != knownHandlers.end() ? &*known : &knownHandlers.emplace_front(handler);
}

TraceHandler currentHandler() {
    TraceHandler handler{};
    VorlanTraceGetHandler(&handler.function, &handler.data);
    return handler;
}

void passOn(std::int32_t severity, const char* text, std::int32_t length, void* /*data*/) {
    if (lastListener != nullptr)
        lastListener->hear(static_cast<vorlandi::Severity>(severity), {text, static_cast<std::size_t>(length)});
    const TraceHandler* const handler = outerHandler;
    if (handler != nullptr && handler->function != nullptr) handler->function(severity, text, length, handler->data);
}

// A child of fork has only the forking thread.
void countOwnListeners() {
    listenerCount = 0;
    for (const ThreadMessages* own = lastListener; own != nullptr; own = own->earlier())
        ++listenerCount;
    listening.unlock();
}

[[maybe_unused]] const int kListenersOverFork =
    ::pthread_atfork([] { listening.lock(); }, [] { listening.unlock(); }, countOwnListeners);

}  // namespace

ThreadMessages::ThreadMessages(Callable callable)
    : callable_(std::move(callable)), earlier_(std::exchange(lastListener, this)) {
    const std::lock_guard lock(listening);
    if (listenerCount++ > 0) return;
    const TraceHandler handler = currentHandler();
    if (handler.function != passOn) outerHandler = remembered(handler);
    VorlanTraceSetHandler(passOn, nullptr);
}

ThreadMessages::~ThreadMessages() {
    lastListener = earlier_;
    const std::lock_guard lock(listening);
    if (--listenerCount > 0) return;
    const TraceHandler* const handler = outerHandler;
    if (currentHandler().function == passOn) VorlanTraceSetHandler(handler->function, handler->data);
}

}  // namespace vorlandi::cli
