#include "CoreServices/TraceFile.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <utility>

#include "vorlandi/services.h"

namespace vorlandi {
namespace {

// How long a thread waits for a file that accepts nothing, once until it accepts something again.
constexpr std::chrono::milliseconds kPatience{500};

// Text in a fixed room: what does not fit is not appended.
class Piece {
public:
    std::size_t room() const noexcept { return chars_.size() - size_; }
    std::string_view view() const noexcept { return {chars_.data(), size_}; }
    void clear() noexcept { size_ = 0; }

    void append(std::string_view text) noexcept { size_ += text.copy(chars_.data() + size_, room()); }
    void append(char c) noexcept { append(std::string_view(&c, 1)); }

    // A number not below 0, with leading zeros.
    void append(std::int64_t number, std::size_t digits) noexcept {
        std::array<char, 20> text{};
        const char* const end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
        for (auto used = static_cast<std::size_t>(end - text.data()); used < digits; ++used)
            append('0');
        append(std::string_view(text.data(), static_cast<std::size_t>(end - text.data())));
    }

    // As much of a text as there is room for, on one line. Returns the rest.
    std::string_view appendOnOneLine(std::string_view text) noexcept {
        constexpr char kDelete = 0x7F;
        const std::size_t count = std::min(text.size(), room());
        std::transform(text.begin(), text.begin() + count, chars_.begin() + size_, [](char c) {
            const bool isControl = (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == kDelete;
            return isControl ? ' ' : c;
        });
        size_ += count;
        return text.substr(count);
    }

private:
    std::array<char, 4096> chars_;  // what a pipe takes in one piece or not at all
    std::size_t size_ = 0;
};

// gmtime_r and strftime may allocate and lock.
void appendTimeOfDay(Piece& line) noexcept {
    using namespace std::chrono;
    const auto now = floor<milliseconds>(system_clock::now());
    const auto today = floor<days>(now);
    const year_month_day date(today);
    const hh_mm_ss time(now - today);
    line.append(static_cast<int>(date.year()), 4);
    line.append('-');
    line.append(static_cast<unsigned>(date.month()), 2);
    line.append('-');
    line.append(static_cast<unsigned>(date.day()), 2);
    line.append('T');
    line.append(time.hours().count(), 2);
    line.append(':');
    line.append(time.minutes().count(), 2);
    line.append(':');
    line.append(time.seconds().count(), 2);
    line.append('.');
    line.append(time.subseconds().count(), 3);
    line.append('Z');
}

}  // namespace

int TraceFile::open(std::string_view name) noexcept {
    OutputUnit file;
    const int error = fileopen(name, FileMode::Append, file, WhenFull::GiveUp);
    if (error == 0) replace(std::move(file));
    return error;
}

void TraceFile::close() noexcept { replace(OutputUnit()); }

void TraceFile::replace(OutputUnit&& file) noexcept {
    const std::lock_guard lock(mutex_);
    isStuck_ = true;  // a last report is not waited for
    if (file_) reportDropped();
    std::swap(file_, file);
    isOpen_.store(static_cast<bool>(file_), std::memory_order_release);
    isStuck_ = false;
    isMidLine_ = false;
    dropped_ = 0;
}

void TraceFile::write(std::int32_t severity, std::string_view text) noexcept {
    if (!isOpen_.load(std::memory_order_acquire)) return;
    const std::lock_guard lock(mutex_);
    if (file_ && !(reportDropped() && writeLine(severity, text))) ++dropped_;
}

bool TraceFile::reportDropped() noexcept {
    if (dropped_ == 0) return true;
    Piece text;
    text.append("Messages dropped because the trace file could not be written: ");
    text.append(static_cast<std::int64_t>(dropped_), 1);
    if (!writeLine(VORLAN_TRACE_INFO, text.view())) return false;
    dropped_ = 0;
    return true;
}

bool TraceFile::writeLine(std::int32_t severity, std::string_view text) noexcept {
    Piece piece;
    if (isMidLine_) piece.append('\n');
    appendTimeOfDay(piece);
    piece.append(severity == VORLAN_TRACE_ERROR ? " ERROR " : " INFO  ");
    for (;;) {
        text = piece.appendOnOneLine(text);
        const bool isLast = piece.room() > 0;
        if (isLast) piece.append('\n');
        if (!writePiece(piece.view())) return false;
        isMidLine_ = !isLast;
        if (isLast) return true;
        piece.clear();
    }
}

bool TraceFile::writePiece(std::string_view piece) noexcept {
    const std::size_t written = file_.write(piece, isStuck_ ? std::chrono::milliseconds(0) : kPatience);
    isStuck_ = written < piece.size();
    if (written > 0) isMidLine_ = true;
    return !isStuck_;
}

}  // namespace vorlandi
