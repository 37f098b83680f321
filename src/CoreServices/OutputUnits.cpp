#include "CoreServices/OutputUnits.hpp"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <mutex>

namespace vorlandi {
namespace {

using Clock = std::chrono::steady_clock;

// Keeps the SIGPIPE of a failed write from this thread while it lives. The signal's disposition belongs to the host
// program and stays as it is; a SIGPIPE that was pending before stays pending.
class PipeSignalBlock {
public:
    PipeSignalBlock() noexcept {
        ::sigemptyset(&pipeSignal_);
        ::sigaddset(&pipeSignal_, SIGPIPE);
        wasPending_ = isPending();
        ::pthread_sigmask(SIG_BLOCK, &pipeSignal_, &before_);
    }
    ~PipeSignalBlock() {
        const int error = errno;
        // A failed write sends the signal to the writing thread, where it is now pending.
        const std::timespec noWait{};
        if (!wasPending_ && isPending()) {
            while (::sigtimedwait(&pipeSignal_, nullptr, &noWait) < 0 && errno == EINTR) {
            }
        }
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
        errno = error;
    }
    PipeSignalBlock(const PipeSignalBlock&) = delete;
    PipeSignalBlock& operator=(const PipeSignalBlock&) = delete;

private:
    static bool isPending() noexcept {
        sigset_t pending;
        ::sigpending(&pending);
        return ::sigismember(&pending, SIGPIPE) == 1;
    }

    sigset_t pipeSignal_;
    sigset_t before_;
    bool wasPending_ = false;
};

// Waits until a descriptor may take bytes; false when the deadline has passed, with errno EAGAIN.
bool waitForRoom(int descriptor, Clock::time_point deadline) noexcept {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd room{descriptor, POLLOUT, 0};
        const int ready = left.count() > 0 ? ::poll(&room, 1, static_cast<int>(left.count())) : 0;
        if (ready > 0) return true;
        if (ready < 0 && errno == EINTR) continue;
        errno = EAGAIN;
        return false;
    }
}

std::size_t writeAll(int descriptor, std::string_view bytes, std::chrono::milliseconds patience) noexcept {
    const Clock::time_point deadline = Clock::now() + patience;
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count = ::write(descriptor, bytes.data() + written, bytes.size() - written);
        if (count > 0) {
            written += static_cast<std::size_t>(count);
            continue;
        }
        const bool mayGoOn = count < 0 && (errno == EINTR || (errno == EAGAIN && waitForRoom(descriptor, deadline)));
        if (!mayGoOn) break;
    }
    return written;
}

// The turns that threads have now, or wait for with `turnsEnded`. Trivially destructible: files may be saved until the
// process ends.
constinit std::mutex turnsMutex;
constinit OutputTurn* turns = nullptr;
constinit std::atomic<int> turnsEnded{0};

// A child of fork has none of the threads that had a turn.
[[maybe_unused]] const int kTurnsOverFork = ::pthread_atfork([] { turnsMutex.lock(); }, [] { turnsMutex.unlock(); },
                                                             [] {
                                                                 turns = nullptr;
                                                                 turnsMutex.unlock();
                                                             });

}  // namespace

std::size_t OutputUnit::write(std::string_view bytes, std::chrono::milliseconds patience) noexcept {
    if (isRegular_) return writeAll(file_.number(), bytes, patience);
    const PipeSignalBlock block;
    return writeAll(file_.number(), bytes, patience);
}

int OutputUnit::empty() noexcept { return isRegular_ && ::ftruncate(file_.number(), 0) != 0 ? errno : 0; }

int fileopen(std::string_view name, FileMode mode, OutputUnit& unit, WhenFull whenFull) noexcept {
    const int flags = O_WRONLY | O_CREAT | (mode == FileMode::Append ? O_APPEND : 0) |
                      (whenFull == WhenFull::GiveUp ? O_NONBLOCK : 0);
    Descriptor file;
    if (const int error = openDescriptor(name, flags, file); error != 0) return error;
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) return errno;
    unit = OutputUnit(std::move(file), {status.st_dev, status.st_ino}, S_ISREG(status.st_mode));
    return 0;
}

OutputTurn::OutputTurn(const OutputUnit& unit) noexcept : identity_(unit.identity()) {
    for (;;) {
        int ended = 0;
        {
            const std::lock_guard lock(turnsMutex);
            if (isFree()) {
                next_ = std::exchange(turns, this);
                return;
            }
            ended = turnsEnded;
        }
        turnsEnded.wait(ended);
    }
}

OutputTurn::~OutputTurn() {
    {
        const std::lock_guard lock(turnsMutex);
        OutputTurn** link = &turns;
        while (*link != nullptr && *link != this)
            link = &(*link)->next_;
        if (*link != nullptr) *link = next_;
        ++turnsEnded;
    }
    turnsEnded.notify_all();
}

bool OutputTurn::isFree() const noexcept {
    for (const OutputTurn* turn = turns; turn != nullptr; turn = turn->next_) {
        if (turn->identity_ == identity_) return false;
    }
    return true;
}

}  // namespace vorlandi
