#include "CoreServices/TraceLog.hpp"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <type_traits>

#include "CoreServices/HeldAcrossFork.hpp"
#include "CoreServices/HeldReports.hpp"
#include "CoreServices/TraceFile.hpp"

namespace vorlandi {
namespace {

// Messages are logged until the process ends, even by objects that are destroyed after the ones here would be. So
// nothing here is ever destroyed.
template <class T>
union NeverDestroyed {
    constexpr NeverDestroyed() noexcept : object() {}
    ~NeverDestroyed() {}
    T object;
};

// `isSet` spares the lock if there is no handler.
struct HandlerSlot {
    std::mutex mutex;
    TraceHandler handler;
    std::atomic<bool> isSet{false};
};

constinit HandlerSlot handlerSlot;
static_assert(std::is_trivially_destructible_v<HandlerSlot>);

constinit NeverDestroyed<TraceFile> traceFileSlot;
constinit TraceFile& traceFile = traceFileSlot.object;

constinit thread_local InlineText<512> lastError;
static_assert(std::is_trivially_destructible_v<decltype(lastError)>);

struct LogLocks {
    void lock() const {
        handlerSlot.mutex.lock();
        traceFile.mutex().lock();
    }
    void unlock() const {
        traceFile.mutex().unlock();
        handlerSlot.mutex.unlock();
    }
};

constexpr LogLocks kLogLocks;
[[maybe_unused]] const HeldAcrossFork<kLogLocks> kLogHeldAcrossFork;

bool isKeptBack(std::int32_t severity, std::string_view text) noexcept {
    HeldReports* const held = heldReports();
    return held != nullptr && held->takeMessage(severity, text);
}

void deliver(std::int32_t severity, std::string_view text) {
    if (text.data() == nullptr) text = "";  // handlers get no null pointer
    if (handlerSlot.isSet.load(std::memory_order_acquire)) {
        const auto [call, userData] = traceHandler();
        if (call != nullptr) call(severity, text.data(), static_cast<std::int32_t>(text.size()), userData);
    }
    traceFile.write(severity, text);
}

}  // namespace

void tracelogerror(std::string_view text) noexcept {
    text = trimmed(text);
    if (isKeptBack(VORLAN_TRACE_ERROR, text)) return;
    lastError = text;
    deliver(VORLAN_TRACE_ERROR, text);
}

void traceloginfo(std::string_view text) noexcept {
    text = trimmed(text);
    if (!isKeptBack(VORLAN_TRACE_INFO, text)) deliver(VORLAN_TRACE_INFO, text);
}

int openTraceFile(std::string_view name) noexcept { return traceFile.open(name); }

void closeTraceFile() noexcept { traceFile.close(); }

void setTraceHandler(VorlanTraceHandler call, void* userData) noexcept {
    const std::lock_guard lock(handlerSlot.mutex);
    handlerSlot.handler = {call, userData};
    handlerSlot.isSet.store(call != nullptr, std::memory_order_release);
}

TraceHandler traceHandler() noexcept {
    const std::lock_guard lock(handlerSlot.mutex);
    return handlerSlot.handler;
}

const InlineText<512>& lastTraceError() noexcept { return lastError; }

void stopOnAllocationFailure(std::size_t bytes) noexcept {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "Error allocating %lu bytes", static_cast<unsigned long>(bytes));
    std::fprintf(stderr, "%s\n", text.data());
    tracelogerror(text.data());
    std::abort();
}

}  // namespace vorlandi
