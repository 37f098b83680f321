#include "CoreServices/InputUnits.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "CoreServices/Texts.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

class FileSource : public ByteSource {
public:
    explicit FileSource(int descriptor) noexcept : descriptor_(descriptor) {}
    ~FileSource() override { ::close(descriptor_); }
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;

    std::int64_t read(char* bytes, std::size_t capacity) override {
        ssize_t count = 0;
        do {
            count = ::read(descriptor_, bytes, capacity);
        } while (count < 0 && errno == EINTR);
        return count;
    }

    bool rewind() override { return ::lseek(descriptor_, 0, SEEK_SET) == 0; }

private:
    int descriptor_;
};

class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::string_view bytes) noexcept : bytes_(bytes) {}
    explicit MemorySource(std::string&& owned) noexcept : owned_(std::move(owned)), bytes_(owned_) {}

    std::int64_t read(char* bytes, std::size_t capacity) override {
        const std::size_t count = bytes_.copy(bytes, capacity, position_);
        position_ += count;
        return static_cast<std::int64_t>(count);
    }

    bool rewind() override {
        position_ = 0;
        return true;
    }

private:
    std::string owned_;
    std::string_view bytes_;
    std::size_t position_ = 0;
};

// All that a source holds; false when a read fails.
bool slurp(ByteSource& source, std::string& bytes) {
    std::string chunk(65536, '\0');
    for (;;) {
        const std::int64_t count = source.read(chunk.data(), chunk.size());
        if (count < 0) return false;
        if (count == 0) return true;
        bytes.append(chunk, 0, static_cast<std::size_t>(count));
    }
}

}  // namespace

std::unique_ptr<ByteSource> memorySource(std::string_view bytes) {
    return std::make_unique<MemorySource>(bytes);
}

InputUnit::InputUnit(std::unique_ptr<ByteSource> source)
    : source_(std::move(source)), buffer_(std::make_unique_for_overwrite<char[]>(kBufferBytes)) {
    next_ = end_ = buffer_.get();
}

void InputUnit::rewind() {
    if (!source_) return;
    failed_ = !source_->rewind();
    next_ = end_ = buffer_.get();
    lineNumber_ = 0;
    atStart_ = true;
    exhausted_ = false;
}

// Brings further bytes behind those not handed out yet. False when there are none, for whatever reason.
bool InputUnit::refill() {
    if (exhausted_ || failed_ || !source_) return false;
    const auto kept = static_cast<std::size_t>(end_ - next_);
    char* const start = buffer_.get();
    if (kept > 0 && next_ != start) std::memmove(start, next_, kept);
    const std::int64_t count = source_->read(start + kept, kBufferBytes - kept);
    next_ = start;
    end_ = start + kept + std::max<std::int64_t>(count, 0);
    failed_ = count < 0;
    exhausted_ = count == 0;
    if (count <= 0) return false;
    fresh_ = true;
    char* const fresh = start + kept;
    if (std::memchr(fresh, '\0', static_cast<std::size_t>(count)) != nullptr) {
        std::replace(fresh, fresh + count, '\0', ' ');
    }
    return true;
}

// Drops the rest of a line whose beginning fills the buffer, and keeps that beginning.
void InputUnit::passOverLongLine() {
    char* const start = buffer_.get();
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

ReadOutcome InputUnit::readLine(std::size_t maxColumns, std::string_view& line) {
    line = {};
    if (atStart_) {
        while (static_cast<std::size_t>(end_ - next_) < kByteOrderMark.size() && refill()) {
        }
        if (std::string_view(next_, static_cast<std::size_t>(end_ - next_)).starts_with(kByteOrderMark)) {
            next_ += kByteOrderMark.size();
        }
        atStart_ = false;
    }
    std::size_t searched = 0;
    bool isCut = false;
    const char* lineEnd = nullptr;
    for (;;) {
        const auto available = static_cast<std::size_t>(end_ - next_);
        lineEnd = available == searched
                      ? nullptr
                      : static_cast<const char*>(std::memchr(next_ + searched, '\n', available - searched));
        if (lineEnd != nullptr) break;
        if (available == kBufferBytes) {
            passOverLongLine();
            isCut = true;
            searched = kLongestLine;
            if (static_cast<std::size_t>(end_ - next_) == searched) break;
            continue;
        }
        searched = available;
        if (!refill()) break;
    }
    if (lineEnd == nullptr && (failed_ || next_ == end_)) {
        return failed_ ? ReadOutcome::Error : ReadOutcome::EndOfData;
    }
    const char* const last = lineEnd != nullptr ? lineEnd : end_;
    auto size = static_cast<std::size_t>(last - next_);
    const bool endsWithReturn = lineEnd != nullptr && !isCut && size > 0 && next_[size - 1] == '\r';
    if (endsWithReturn) --size;
    line = {next_, std::min(size, maxColumns)};
    next_ = lineEnd != nullptr ? lineEnd + 1 : end_;
    ++lineNumber_;
    return ReadOutcome::Success;
}

void InputUnit::passOverLinesWithout(std::string_view marks) {
    if (!fresh_) return;
    fresh_ = false;
    const auto size = static_cast<std::size_t>(end_ - next_);
    for (const char mark : marks) {
        if (std::memchr(next_, mark, size) != nullptr) return;
    }
    // The line that the buffer ends in stays.
    const auto lineEnd = std::string_view(next_, size).rfind('\n');
    if (lineEnd != std::string_view::npos) next_ += lineEnd + 1;
}

bool InputUnit::atEnd() { return next_ == end_ && !refill() && !failed_; }

int openByteSource(std::string_view name, std::unique_ptr<ByteSource>& source, FileKind kind) {
    const std::string path(trimmed(name));
    if (path.empty()) return ENOENT;
    // Opening a pipe that nobody writes to must not block when it would be refused anyway.
    const int wait = kind == FileKind::Regular ? O_NONBLOCK : 0;
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | wait);
    if (descriptor < 0) return errno;
    auto file = std::make_unique<FileSource>(descriptor);
    struct stat status {};
    if (::fstat(descriptor, &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    if (kind == FileKind::Regular && !S_ISREG(status.st_mode)) return EINVAL;
    if (file->rewind()) {
        source = std::move(file);
        return 0;
    }
    std::string bytes;
    if (!slurp(*file, bytes)) return errno;
    source = std::make_unique<MemorySource>(std::move(bytes));
    return 0;
}

int fileopenmt(std::string_view name, InputUnit& unit, FileKind kind) {
    std::unique_ptr<ByteSource> source;
    const int error = openByteSource(name, source, kind);
    if (error == 0) unit = InputUnit(std::move(source));
    return error;
}

int fileopen(std::string_view name, FileMode mode, OutputUnit& unit) {
    const std::string path(trimmed(name));
    if (path.empty()) return ENOENT;
    const char* const how = mode == FileMode::Replace ? "we" : mode == FileMode::Append ? "ae" : "re";
    unit.reset(std::fopen(path.c_str(), how));
    return unit ? 0 : errno;
}

}  // namespace vorlandi
