// Receives what the library logs on the calling thread. Any number of threads may listen at the same time.
#pragma once

#include <functional>
#include <string_view>

#include "vorlandi/vorlandi.hpp"

namespace vorlandi::cli {

// Listens while it lives, on the thread that made it. The process's own trace handler still receives every message, and
// is restored when nobody listens any more. The callable must not throw.
class ThreadMessages {
public:
    using Callable = std::function<void(vorlandi::Severity, std::string_view)>;

    explicit ThreadMessages(Callable callable);
    ~ThreadMessages();
    ThreadMessages(const ThreadMessages&) = delete;
    ThreadMessages& operator=(const ThreadMessages&) = delete;

    void hear(vorlandi::Severity severity, std::string_view text) const { callable_(severity, text); }
    const ThreadMessages* earlier() const { return earlier_; }

private:
    Callable callable_;
    const ThreadMessages* earlier_;  // of this thread
};

}  // namespace vorlandi::cli
