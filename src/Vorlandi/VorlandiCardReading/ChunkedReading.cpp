#include "Vorlandi/VorlandiCardReading/ChunkedReading.hpp"

#include <sched.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include "CoreServices/HeldReports.hpp"
#include "CoreServices/ReadObserver.hpp"
#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"

namespace vorlandi {
namespace {

class ChunkReports final : public HeldReports {
public:
    explicit ChunkReports(bool observed) noexcept : HeldReports(room_, observed) {}

private:
    std::array<char, 8192> room_;
};

struct Chunk {
    explicit Chunk(bool observed) noexcept : reports(observed) {}

    InputUnit unit;
    Vorlanrecord record;
    ChunkReports reports;
    bool isRead = false;  // guarded by the crew's mutex, which hands the chunk from thread to thread
    bool isSure = false;  // its points and reports are those that the calling thread would make
};

// While it lives, threads start with all signals blocked: the program's own threads handle them.
class SignalsBlocked {
public:
    SignalsBlocked() noexcept {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

// The threads that read one block, and the chunks that they read: a ring, filled in the order of the file and emptied
// in the same order. The mutex guards the ring and the unit.
class Crew {
public:
    Crew(BlockInput& input, InputUnit& unit, Vorlanrecord& record, LineGrouping grouping, const PartReader& read,
         std::size_t chunkBytes) noexcept
        : input_(input), unit_(unit), record_(record), grouping_(grouping), read_(read), chunkBytes_(chunkBytes) {}
    ~Crew() { dismiss(); }
    Crew(const Crew&) = delete;
    Crew& operator=(const Crew&) = delete;

    // Starts as many further threads as the system allows. Nothing is begun if it throws.
    void start(unsigned threads);

    // Reads and appends until no chunk is left, or one has lines that are not for it.
    void run();

private:
    static constexpr int kMostReadAgain = 4;

    Chunk* begin() noexcept;
    void readApart(Chunk& chunk) noexcept;
    void readApart(Chunk& chunk, std::unique_lock<std::mutex>& lock);
    void work();
    bool followsLast(const PointArray& points) const noexcept;
    bool append(Chunk& chunk, bool follows);
    void dismiss() noexcept;
    Chunk& at(std::size_t number) noexcept { return *ring_[number % ring_.size()]; }

    BlockInput& input_;
    InputUnit& unit_;
    Vorlanrecord& record_;
    const LineGrouping grouping_;
    const PartReader& read_;
    const std::size_t chunkBytes_;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::unique_ptr<Chunk>> ring_;
    std::size_t begun_ = 0, appended_ = 0;
    bool isOver_ = false;  // no chunk is begun any more
    int readAgain_ = 0;    // successive chunks
    std::vector<std::thread> threads_;
};

void Crew::start(unsigned threads) {
    constexpr std::size_t kChunksPerThread = 2;
    const bool observed = readObserver().call != nullptr;
    ring_.resize(threads * kChunksPerThread);
    for (auto& chunk : ring_)
        chunk = std::make_unique<Chunk>(observed);
    threads_.reserve(threads - 1);
    const SignalsBlocked forNewThreads;
    try {
        while (threads_.size() < threads - 1)
            threads_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
        // continues with the threads that there are, which may have begun chunks
    } catch (const std::bad_alloc&) {
    }
}

void Crew::dismiss() noexcept {
    {
        const std::lock_guard lock(mutex_);
        isOver_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_)
        thread.join();
    threads_.clear();
}

// The next chunk, with its lines; null if there is no room for one, or none is left.
Chunk* Crew::begin() noexcept {
    if (isOver_ || begun_ - appended_ == ring_.size()) return nullptr;
    Chunk& chunk = at(begun_);
    try {
        isOver_ = !unit_.moveLines(chunk.unit, chunkBytes_, grouping_);
    } catch (const std::bad_alloc&) {
        isOver_ = true;  // nothing was moved: the lines are left to the caller
    }
    if (isOver_) return nullptr;
    chunk.isRead = false;
    ++begun_;
    return &chunk;
}

void Crew::readApart(Chunk& chunk) noexcept {
    chunk.isSure = false;
    chunk.reports.clear();
    chunk.record.points.clear();
    chunk.record.coordSys = record_.coordSys;
    const HeldReports::OnThisThread keeping(chunk.reports);
    try {
        BlockInput part(chunk.unit, input_.headerLine(), input_.fileName(), input_.rules());
        part.setPartOf(input_);
        read_(part, chunk.record);
        // Where rules depend on more than the last point, a late point can only be judged in the whole block.
        chunk.isSure = !chunk.reports.hasDropped() && !(part.hasLatePoints() && part.has(Rule::SeamBeginsRecord));
    } catch (...) {
        // The exception comes again when the chunk is read again.
    }
}

void Crew::readApart(Chunk& chunk, std::unique_lock<std::mutex>& lock) {
    lock.unlock();
    readApart(chunk);
    lock.lock();
    chunk.isRead = true;
}

void Crew::work() {
    std::unique_lock lock(mutex_);
    while (!isOver_) {
        if (Chunk* const chunk = begin(); chunk != nullptr) {
            readApart(*chunk, lock);
            changed_.notify_all();
        } else if (!isOver_) {
            changed_.wait(lock);
        }
    }
    changed_.notify_all();
}

void Crew::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        if (appended_ < begun_ && at(appended_).isRead) {
            Chunk& chunk = at(appended_);
            const bool follows = chunk.isSure && followsLast(chunk.record.points);
            const bool mayReport = !follows || !chunk.reports.empty();
            // Reports may make a trial look ahead in the unit, which the other threads must not read meanwhile.
            if (!mayReport) lock.unlock();
            const bool goesOn = append(chunk, follows);
            if (!mayReport) lock.lock();
            // Where chunks are read twice, one thread is quicker.
            readAgain_ = follows ? 0 : readAgain_ + 1;
            isOver_ = isOver_ || readAgain_ == kMostReadAgain;
            if (!goesOn) {
                lock.unlock();
                dismiss();
                unit_.goOnAfter(chunk.unit);
                return;
            }
            ++appended_;
            changed_.notify_all();
        } else if (Chunk* const chunk = begin(); chunk != nullptr) {
            readApart(*chunk, lock);
        } else if (appended_ == begun_) {
            return;
        } else {
            changed_.wait(lock);
        }
    }
}

bool Crew::followsLast(const PointArray& points) const noexcept {
    return points.count() == 0 || record_.numberOfPoints() == 0 || record_.points.lastTime() < points.firstTime();
}

// Appends a chunk whose points follow the last one; rereads any other. False if lines of the chunk are left.
bool Crew::append(Chunk& chunk, bool follows) {
    const PointArray& points = chunk.record.points;
    if (follows) {
        if (record_.numberOfPoints() == 0 && points.count() > 0) record_.epoch = points.firstTime();
        const PointCovariance* const covariances = points.covariances();
        for (std::int32_t k = 0; k < points.count(); ++k)
            record_.points.append(points.state(k), covariances == nullptr ? nullptr : covariances + k);
        chunk.reports.deliver();
    } else {
        chunk.unit.rewind();
        input_.readFrom(chunk.unit, [&] { read_(input_, record_); });
    }
    return chunk.unit.atEnd();
}

// Of those that the process may run on.
unsigned processorCount() noexcept {
    cpu_set_t usable;
    const bool isKnown = ::sched_getaffinity(0, sizeof usable, &usable) == 0;
    return isKnown ? static_cast<unsigned>(CPU_COUNT(&usable)) : std::max(std::thread::hardware_concurrency(), 1U);
}

unsigned threadsFor(const ThreadRequest& request, std::int64_t bytes) noexcept {
    const unsigned processors = request.most > 0 ? request.most : processorCount();
    return static_cast<unsigned>(std::min<std::int64_t>(processors, bytes / request.bytesPerThread));
}

}  // namespace

void readInChunks(BlockInput& input, InputUnit& unit, Vorlanrecord& record, LineGrouping grouping,
                  const PartReader& read, ThreadRequest& request) {
    if (!request.isAllowed || unit.size() < request.fromBytes) return;
    const std::int64_t before = unit.bytesLeft();
    const unsigned threads = threadsFor(request, before);
    if (threads < 2) return;
    {
        Crew crew(input, unit, record, grouping, read, request.chunkBytes);
        try {
            crew.start(threads);
        } catch (const std::bad_alloc&) {
            return;
        }
        crew.run();
    }
    // Where so little can be read at a time, one thread is as quick.
    request.isAllowed = before - unit.bytesLeft() >= request.bytesPerThread;
}

}  // namespace vorlandi
