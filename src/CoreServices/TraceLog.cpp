#include "CoreServices/TraceLog.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>

namespace vorlandi {
namespace {

// What listens to the log. `listening` spares a log without listeners the lock.
struct Listeners {
    std::mutex mutex;
    VorlanTraceHandler handler = nullptr;
    void* userData = nullptr;
    int file = -1;
    std::atomic<bool> listening{false};

    void update() noexcept { listening.store(handler != nullptr || file >= 0, std::memory_order_release); }
};

Listeners& listeners() {
    static Listeners instance;
    return instance;
}

thread_local PaddedText<512> lastError;

// Writes to another file from now on, -1 for none, and closes the one before.
void replaceFile(int file) {
    Listeners& to = listeners();
    const std::lock_guard lock(to.mutex);
    if (to.file >= 0) ::close(to.file);
    to.file = file;
    to.update();
}

std::string timeOfDay() {
    std::timespec now{};
    std::timespec_get(&now, TIME_UTC);
    std::tm utc{};
    ::gmtime_r(&now.tv_sec, &utc);
    std::array<char, 40> seconds{};
    const std::size_t size = std::strftime(seconds.data(), seconds.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    std::array<char, 8> milliseconds{};
    std::snprintf(milliseconds.data(), milliseconds.size(), ".%03dZ",
                  static_cast<int>(now.tv_nsec / 1'000'000) % 1000);
    return std::string(seconds.data(), size) + milliseconds.data();
}

void writeLine(int file, std::int32_t severity, std::string_view text) {
    std::string line = timeOfDay();
    line += severity == VORLAN_TRACE_ERROR ? " ERROR " : " INFO  ";
    line += text;
    line += '\n';
    std::string_view rest = line;
    while (!rest.empty()) {
        const ssize_t written = ::write(file, rest.data(), rest.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

void deliver(std::int32_t severity, std::string_view text) {
    if (text.data() == nullptr) text = "";  // handlers get no null pointer
    Listeners& to = listeners();
    if (!to.listening.load(std::memory_order_acquire)) return;
    VorlanTraceHandler handler = nullptr;
    void* userData = nullptr;
    {
        const std::lock_guard lock(to.mutex);
        handler = to.handler;
        userData = to.userData;
    }
    if (handler != nullptr) handler(severity, text.data(), static_cast<std::int32_t>(text.size()), userData);
    const std::lock_guard lock(to.mutex);
    if (to.file >= 0) writeLine(to.file, severity, text);
}

}  // namespace

void tracelogerror(std::string_view text) noexcept {
    text = trimmed(text);
    lastError = text;
    deliver(VORLAN_TRACE_ERROR, text);
}

void traceloginfo(std::string_view text) noexcept { deliver(VORLAN_TRACE_INFO, trimmed(text)); }

int openTraceFile(std::string_view name) noexcept {
    const std::string path(trimmed(name));
    if (path.empty()) return ENOENT;
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file < 0) return errno;
    replaceFile(file);
    return 0;
}

void closeTraceFile() { replaceFile(-1); }

void setTraceHandler(VorlanTraceHandler handler, void* userData) {
    Listeners& to = listeners();
    const std::lock_guard lock(to.mutex);
    to.handler = handler;
    to.userData = userData;
    to.update();
}

const PaddedText<512>& lastTraceError() { return lastError; }

void stopOnAllocationFailure(std::size_t bytes) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "Error allocating %lu bytes", static_cast<unsigned long>(bytes));
    std::fprintf(stderr, "%s\n", text.data());
    tracelogerror(text.data());
    std::abort();
}

}  // namespace vorlandi
