#include "CoreServices/HeldReports.hpp"

#include <cstring>
#include <utility>

#include "CoreServices/ReadObserver.hpp"
#include "CoreServices/TraceLog.hpp"

namespace vorlandi {
namespace {

constinit thread_local HeldReports* held = nullptr;

}  // namespace

// A report precedes its text.
struct HeldReports::Report {
    bool isEvent;
    std::int32_t code;  // event or severity
    std::string_view fileName;
    std::int64_t line;
    std::size_t textSize;
};

HeldReports* heldReports() noexcept { return held; }

HeldReports::OnThisThread::OnThisThread(HeldReports& reports) noexcept : before_(std::exchange(held, &reports)) {}
HeldReports::OnThisThread::~OnThisThread() { held = before_; }

bool HeldReports::takeMessage(std::int32_t severity, std::string_view text) noexcept {
    return take({false, severity, {}, 0, text.size()}, text);
}

bool HeldReports::takeEvent(std::int32_t event, std::string_view fileName, std::int64_t line,
                            std::string_view text) noexcept {
    if (!observed_) return state_ != State::PassingOn;
    return take({true, event, fileName, line, text.size()}, text);
}

bool HeldReports::take(const Report& report, std::string_view text) noexcept {
    const std::size_t size = sizeof report + text.size();
    if (state_ == State::Keeping && room_.size() - used_ < size) onFull();
    if (state_ == State::PassingOn) return false;
    if (state_ == State::Dropping) {
        hasDropped_ = true;
        return true;
    }
    std::memcpy(room_.data() + used_, &report, sizeof report);
    text.copy(room_.data() + used_ + sizeof report, text.size());
    used_ += size;
    return true;
}

void HeldReports::deliver() {
    state_ = State::PassingOn;
    const std::size_t end = std::exchange(used_, 0);
    for (std::size_t at = 0; at < end;) {
        Report report;
        std::memcpy(&report, room_.data() + at, sizeof report);
        const std::string_view text(room_.data() + at + sizeof report, report.textSize);
        if (report.isEvent) {
            observeRead(report.code, report.fileName, report.line, text);
        } else if (report.code == VORLAN_TRACE_ERROR) {
            tracelogerror(text);
        } else {
            traceloginfo(text);
        }
        at += sizeof report + text.size();
    }
}

void HeldReports::clear() noexcept {
    state_ = State::Keeping;
    used_ = 0;
    hasDropped_ = false;
}

}  // namespace vorlandi
