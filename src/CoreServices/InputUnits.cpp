#include "CoreServices/InputUnits.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "CoreServices/Descriptors.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::int64_t readBytes(const Descriptor& file, char* bytes, std::size_t capacity) noexcept {
    ssize_t count = 0;
    do {
        count = ::read(file.number(), bytes, capacity);
    } while (count < 0 && errno == EINTR);
    return count;
}

class FileSource : public ByteSource {
public:
    explicit FileSource(Descriptor&& file) noexcept : file_(std::move(file)) {}

    std::int64_t read(char* bytes, std::size_t capacity) override { return readBytes(file_, bytes, capacity); }

    bool rewind() override { return goTo(0); }

    std::int64_t size() const override {
        struct stat status {};
        return ::fstat(file_.number(), &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
    }
    bool goTo(std::int64_t position) override { return ::lseek(file_.number(), position, SEEK_SET) == position; }

private:
    Descriptor file_;
};

class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::string_view bytes) noexcept : bytes_(bytes) {}

    std::int64_t read(char* bytes, std::size_t capacity) override {
        const std::size_t count = bytes_.copy(bytes, capacity, position_);
        position_ += count;
        return static_cast<std::int64_t>(count);
    }

    bool rewind() override { return goTo(0); }

    std::int64_t size() const override { return static_cast<std::int64_t>(bytes_.size()); }
    bool goTo(std::int64_t position) override {
        position_ = static_cast<std::size_t>(position);
        return true;
    }

private:
    std::string_view bytes_;
    std::size_t position_ = 0;
};

// Bytes of another source, kept in pieces: growing copies nothing.
class SpooledSource : public ByteSource {
public:
    int takeFrom(ByteSource& source, std::int64_t most) {
        for (;;) {
            const std::size_t used = size_ % kPieceBytes;
            if (used == 0) pieces_.push_back(std::make_unique_for_overwrite<char[]>(kPieceBytes));
            const std::int64_t count = source.read(pieces_.back().get() + used, kPieceBytes - used);
            if (count < 0) return errno;
            if (count == 0) return 0;
            size_ += static_cast<std::size_t>(count);
            if (static_cast<std::int64_t>(size_) > most) return EFBIG;
        }
    }

    std::int64_t read(char* bytes, std::size_t capacity) override {
        const std::size_t used = position_ % kPieceBytes;
        const std::size_t count = std::min({capacity, kPieceBytes - used, size_ - position_});
        std::copy_n(pieces_[position_ / kPieceBytes].get() + used, count, bytes);
        position_ += count;
        return static_cast<std::int64_t>(count);
    }

    bool rewind() override { return goTo(0); }

    std::int64_t size() const override { return static_cast<std::int64_t>(size_); }
    bool goTo(std::int64_t position) override {
        position_ = static_cast<std::size_t>(position);
        return true;
    }

private:
    static constexpr std::size_t kPieceBytes = 1 << 20;

    std::vector<std::unique_ptr<char[]>> pieces_;  // the last one is never full
    std::size_t size_ = 0;
    std::size_t position_ = 0;
};

constexpr std::int64_t kMostBytesOfAPipe = std::int64_t{4} << 30;

// Returns when a pipe has bytes, or when its writers have come and gone.
void waitForWriter(const Descriptor& pipe) noexcept {
    pollfd bytes{pipe.number(), POLLIN, 0};
    while (::poll(&bytes, 1, -1) < 0 && errno == EINTR) {
    }
}

// Does a file that the system calls empty yield bytes, or fail? Files of /proc do, and some of them never end.
bool yieldsBytes(const Descriptor& file) noexcept {
    char byte = 0;
    return readBytes(file, &byte, 1) != 0;
}

// The number of line ends in a text. The blocks are as short as a count in a byte allows, so that many bytes are
// counted at once.
std::int64_t countLines(std::string_view text) noexcept {
    constexpr std::size_t kBlock = 255;
    std::int64_t lines = 0;
    while (!text.empty()) {
        std::uint8_t inBlock = 0;
        for (const char c : text.substr(0, kBlock))
            inBlock = static_cast<std::uint8_t>(inBlock + (c == '\n' ? 1 : 0));
        lines += inBlock;
        text.remove_prefix(std::min(kBlock, text.size()));
    }
    return lines;
}

}  // namespace

int openByteSource(std::string_view name, std::unique_ptr<ByteSource>& source, FileKind kind) {
    // Without O_NONBLOCK, pipes without a writer and some devices block here, and some files of /proc in their first
    // read, before they can be refused.
    Descriptor file;
    const int error = openDescriptor(name, O_RDONLY | O_NONBLOCK, file);
    if (error != 0) return error == ENXIO ? EINVAL : error;  // a socket, or a device that isn't there
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    const bool isPipe = S_ISFIFO(status.st_mode);
    if (isPipe ? kind == FileKind::Regular : !S_ISREG(status.st_mode)) return EINVAL;
    if (!isPipe && status.st_size == 0 && yieldsBytes(file)) return EINVAL;
    if (isPipe) waitForWriter(file);
    if (::fcntl(file.number(), F_SETFL, 0) != 0) return errno;
    auto opened = std::make_unique<FileSource>(std::move(file));
    if (isPipe) return spoolSource(*opened, kMostBytesOfAPipe, source);
    source = std::move(opened);
    return 0;
}

std::unique_ptr<ByteSource> memorySource(std::string_view bytes) { return std::make_unique<MemorySource>(bytes); }

int spoolSource(ByteSource& source, std::int64_t most, std::unique_ptr<ByteSource>& spooled) {
    auto bytes = std::make_unique<SpooledSource>();
    const int error = bytes->takeFrom(source, most);
    if (error == 0) spooled = std::move(bytes);
    return error;
}

InputUnit::InputUnit(std::unique_ptr<ByteSource> source)
    : source_(std::move(source)), buffer_(std::make_unique_for_overwrite<char[]>(kBufferBytes)) {
    next_ = end_ = buffer_.get();
}

void InputUnit::rewind() {
    next_ = buffer_.get();
    lineNumber_ = firstLine_;
    if (!source_) return;
    atStart_ = true;
    fresh_ = true;
    exhausted_ = false;
    if (holdsStart_ && bytesRead_ > 0 && !failed_ && source_->size() >= 0) return;
    failed_ = !source_->rewind();
    end_ = buffer_.get();
    bytesRead_ = 0;
    holdsStart_ = true;
}

// Reads bytes of the source. Their number, 0 at its end and when a read has failed.
std::int64_t InputUnit::readInto(char* bytes, std::size_t capacity) {
    const std::int64_t count = source_->read(bytes, capacity);
    exhausted_ = count == 0;
    failed_ = count < 0 || (exhausted_ && bytesRead_ < size_);
    if (count <= 0) return 0;
    bytesRead_ += count;
    size_ = std::max(size_, bytesRead_);
    if (std::memchr(bytes, '\0', static_cast<std::size_t>(count)) != nullptr) {
        std::replace(bytes, bytes + count, '\0', ' ');
    }
    return count;
}

// Reads more bytes, after those not handed out yet. False if there are none, for any reason.
bool InputUnit::refill() {
    if (exhausted_ || failed_ || !source_) return false;
    const auto kept = static_cast<std::size_t>(end_ - next_);
    char* const start = buffer_.get();
    if (next_ != start) holdsStart_ = false;
    if (kept > 0 && next_ != start) std::memmove(start, next_, kept);
    const std::int64_t count = readInto(start + kept, kBufferBytes - kept);
    next_ = start;
    end_ = start + kept + count;
    if (count > 0) fresh_ = true;
    return count > 0;
}

// Drops the rest of a line whose beginning fills the buffer; the beginning stays.
void InputUnit::skipLongLine() {
    char* const start = buffer_.get();
    holdsStart_ = false;
    for (;;) {
        end_ = start + kLongestLine;
        next_ = start;
        const char* const fresh = end_;
        if (!refill()) return;
        const void* const lineEnd = std::memchr(fresh, '\n', static_cast<std::size_t>(end_ - fresh));
        if (lineEnd == nullptr) continue;
        // Close the gap: the line end follows the beginning that is kept.
        const auto rest = static_cast<std::size_t>(end_ - static_cast<const char*>(lineEnd));
        std::memmove(start + kLongestLine, lineEnd, rest);
        end_ = start + kLongestLine + rest;
        return;
    }
}

void InputUnit::skipByteOrderMark() {
    while (static_cast<std::size_t>(end_ - next_) < kByteOrderMark.size() && refill()) {
    }
    if (std::string_view(next_, static_cast<std::size_t>(end_ - next_)).starts_with(kByteOrderMark)) {
        next_ += kByteOrderMark.size();
    }
    atStart_ = false;
}

// Reads until the line's end is in the buffer, or the file ends. Of a line that is longer than the buffer only the
// beginning stays there.
InputUnit::LineEnd InputUnit::findLineEnd() {
    std::size_t searched = 0;
    bool isCut = false;
    for (;;) {
        const auto available = static_cast<std::size_t>(end_ - next_);
        if (available > searched) {
            const void* const feed = std::memchr(next_ + searched, '\n', available - searched);
            if (feed != nullptr) return {static_cast<const char*>(feed), isCut};
        }
        searched = available;
        if (available < kBufferBytes) {
            if (!refill()) return {nullptr, isCut};
            continue;
        }
        skipLongLine();
        isCut = true;
        searched = kLongestLine;
        if (static_cast<std::size_t>(end_ - next_) == searched) return {nullptr, isCut};
    }
}

ReadOutcome InputUnit::readLine(std::size_t maxColumns, std::string_view& line) {
    line = {};
    isLineCut_ = false;
    if (atStart_) [[unlikely]]
        skipByteOrderMark();
    const auto [feed, isCut] = findLineEnd();
    if (feed == nullptr && (failed_ || next_ == end_)) return failed_ ? ReadOutcome::Error : ReadOutcome::EndOfData;
    const char* const last = feed != nullptr ? feed : end_;
    auto size = static_cast<std::size_t>(last - next_);
    const bool endsWithReturn = feed != nullptr && !isCut && size > 0 && next_[size - 1] == '\r';
    if (endsWithReturn) --size;
    line = {next_, std::min(size, maxColumns)};
    isLineCut_ = isCut || size > maxColumns;
    lastLine_ = next_;
    next_ = feed != nullptr ? feed + 1 : end_;
    ++lineNumber_;
    return ReadOutcome::Success;
}

void InputUnit::skipLinesWithout(std::string_view marks, bool count) {
    if (!fresh_) return;
    fresh_ = false;
    const auto size = static_cast<std::size_t>(end_ - next_);
    for (const char mark : marks) {
        if (std::memchr(next_, mark, size) != nullptr) return;
    }
    // The line that the end of the buffer cuts stays.
    const auto lineEnd = std::string_view(next_, size).rfind('\n');
    if (lineEnd == std::string_view::npos) return;
    if (count) lineNumber_ += countLines({next_, lineEnd + 1});
    next_ += lineEnd + 1;
}

namespace {

// The end of the last whole group in a text of whole lines, which begins with a group and has so many lines; 0 if no
// group is known to end in it.
std::size_t endOfGroups(std::string_view text, std::int64_t lines, LineGrouping grouping) {
    const auto beforeLastLine = [](std::string_view part) {
        part.remove_suffix(1);
        return part.rfind('\n') + 1;  // 0 if there is none
    };
    if (grouping.beginsGroup == nullptr) {
        for (auto over = lines % static_cast<std::int64_t>(grouping.size); over > 0; --over)
            text = text.substr(0, beforeLastLine(text));
        return text.size();
    }
    while (!text.empty()) {
        const std::size_t start = beforeLastLine(text);
        if (grouping.beginsGroup(text.substr(start))) return start;
        text = text.substr(0, start);
    }
    return 0;
}

}  // namespace

bool InputUnit::moveLines(InputUnit& to, std::size_t bytes, LineGrouping grouping) {
    if (atStart_) skipByteOrderMark();
    if (!to.buffer_) to.buffer_ = std::make_unique_for_overwrite<char[]>(bytes);
    char* const start = to.buffer_.get();
    const std::size_t inBuffer = std::min(bytes, static_cast<std::size_t>(end_ - next_));
    std::copy_n(next_, inBuffer, start);
    std::size_t size = inBuffer;
    while (size < bytes && !exhausted_ && !failed_)
        size += static_cast<std::size_t>(readInto(start + size, bytes - size));
    const std::string_view text(start, std::string_view(start, size).rfind('\n') + 1);
    std::int64_t lines = countLines(text);
    const std::size_t end = endOfGroups(text, lines, grouping);
    lines -= countLines(text.substr(end));

    const std::size_t rest = size - end;  // stays in this unit
    if (size == inBuffer) {
        next_ += end;
    } else if (rest <= kBufferBytes) {
        std::copy_n(start + end, rest, buffer_.get());
        next_ = buffer_.get();
        end_ = next_ + rest;
        holdsStart_ = false;
    } else {
        goTo(bytesRead_ - static_cast<std::int64_t>(size), lineNumber_);
        return false;
    }
    to.next_ = start;
    to.end_ = start + end;
    to.bytesRead_ = position();
    to.firstLine_ = to.lineNumber_ = lineNumber_;
    to.atStart_ = false;
    lineNumber_ += lines;
    return end > 0;
}

void InputUnit::goOnAfter(const InputUnit& part) { goTo(part.position(), part.lineNumber_); }

void InputUnit::goTo(std::int64_t position, std::int64_t lineNumber) {
    failed_ = !source_->goTo(position);
    next_ = end_ = buffer_.get();
    lineNumber_ = lineNumber;
    bytesRead_ = position;
    holdsStart_ = exhausted_ = false;
}

bool InputUnit::atEnd() { return next_ == end_ && !refill() && !failed_; }

int fileopenmt(std::string_view name, InputUnit& unit, FileKind kind) {
    std::unique_ptr<ByteSource> source;
    const int error = openByteSource(name, source, kind);
    if (error == 0) unit = InputUnit(std::move(source));
    return error;
}

}  // namespace vorlandi
