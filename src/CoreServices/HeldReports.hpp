// Held reports: messages and read events of a thread that are kept back until it is known whether they are to be
// delivered, or until their turn has come.
//
// 1. Reports are kept in memory provided in advance, so that keeping one allocates nothing and can't fail.
// 2. They are delivered through the calling thread's own channels, in the order in which they came. If that thread
//    keeps reports itself, they are kept there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vorlandi {

class HeldReports {
public:
    // `observed`: is there a read observer to receive events?
    HeldReports(std::span<char> room, bool observed) noexcept : room_(room), observed_(observed) {}
    HeldReports(const HeldReports&) = delete;
    HeldReports& operator=(const HeldReports&) = delete;

    // While it lives, reports of the thread that made it are kept.
    class OnThisThread {
    public:
        explicit OnThisThread(HeldReports& reports) noexcept;
        ~OnThisThread();
        OnThisThread(const OnThisThread&) = delete;
        OnThisThread& operator=(const OnThisThread&) = delete;

    private:
        HeldReports* const before_;
    };

    bool empty() const noexcept { return used_ == 0; }

    // Has a report been dropped?
    bool hasDropped() const noexcept { return hasDropped_; }

    // Delivers what has been kept; reports that follow are passed on at once. Throws what the read observer throws.
    void deliver();

    // Drops later reports.
    void drop() noexcept { state_ = State::Dropping; }

    // Starts keeping again, from the beginning.
    void clear() noexcept;

    // Takes a report of the thread: false if it is to be passed on. The file name of an event has to stay valid.
    bool takeMessage(std::int32_t severity, std::string_view text) noexcept;
    bool takeEvent(std::int32_t event, std::string_view fileName, std::int64_t line, std::string_view text) noexcept;

protected:
    ~HeldReports() = default;

    // There is no room for a report: decides, by deliver() or drop(), what happens to it and to later ones.
    virtual void onFull() noexcept { drop(); }

private:
    enum class State { Keeping, PassingOn, Dropping };
    struct Report;

    bool take(const Report& report, std::string_view text) noexcept;

    std::span<char> room_;
    std::size_t used_ = 0;
    bool observed_;
    bool hasDropped_ = false;
    State state_ = State::Keeping;
};

// Where the calling thread keeps its reports; null if it delivers them.
HeldReports* heldReports() noexcept;

}  // namespace vorlandi
