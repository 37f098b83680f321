// Input units: a text file read line by line, or as bytes, through one buffer; and the opening of files for reading.
//
// A line is a view into the buffer and stays valid until the next read. Lines end with LF, CR LF or the end of the
// file; a UTF-8 byte-order mark at the start is skipped and a NUL counts as a blank. A line may have any length: it is
// cut at the columns asked for, and the rest is skipped without being kept.
//
// A unit belongs to one thread; different units may be read by different threads at once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "CoreServices/NumberFields.hpp"

namespace vorlandi {

// Where the bytes of a unit come from.
class ByteSource {
public:
    virtual ~ByteSource() = default;

    // Reads up to `capacity` bytes. Returns their number, 0 at the end, -1 after an error, with errno set.
    virtual std::int64_t read(char* bytes, std::size_t capacity) = 0;

    // Starts again at the first byte; false if that fails.
    virtual bool rewind() = 0;

    // The number of bytes of a source that can go to any of them, -1 for any other. False if going there fails.
    virtual std::int64_t size() const { return -1; }
    virtual bool goTo(std::int64_t /*position*/) { return false; }
};

// A view of bytes in memory, which must outlive the source.
std::unique_ptr<ByteSource> memorySource(std::string_view bytes);

// Reads a source to its end and keeps the bytes in `spooled`, which can be rewound. Returns 0, the errno of a read that
// failed, or EFBIG if there are more than `most` bytes.
int spoolSource(ByteSource& source, std::int64_t most, std::unique_ptr<ByteSource>& spooled);

// Which lines belong together: groups of so many, or groups that each begin with a certain line.
struct LineGrouping {
    std::size_t size = 1;
    bool (*beginsGroup)(std::string_view line) = nullptr;
};

class InputUnit {
public:
    InputUnit() = default;
    explicit InputUnit(std::unique_ptr<ByteSource> source);

    // The source, to be looked at or to be exchanged for one that hands out the same bytes.
    std::unique_ptr<ByteSource>& source() noexcept { return source_; }

    // Reads the next line, cut at `maxColumns` (at most kLongestWholeLine); a shorter one counts as padded with blanks.
    // Returns Error after a failed read or rewind, EndOfData at the end of the file; the line is then empty.
    ReadOutcome readLine(std::size_t maxColumns, std::string_view& line);

    // Was the line read last longer than what was handed out? If it is longer than kLongestWholeLine, even less than
    // the wanted columns may have been returned.
    bool isLineCut() const noexcept { return isLineCut_; }

    // Hands the line read last out again at the next read. Only right after it was read.
    void unreadLine() noexcept {
        next_ = lastLine_;
        --lineNumber_;
    }

    // Skips lines ahead in which none of the marks occurs. Cheap and approximate: checks each buffer once and skips
    // nothing if a mark occurs in it. With `count` the lines count as read, which takes longer.
    void skipLinesWithout(std::string_view marks, bool count = false);

    // Goes back to the first line. If that fails, the next read returns Error. If the source can go to any byte, bytes
    // still buffered from the start are not read again.
    void rewind();

    // Moves about so many bytes, whole groups of lines, into a unit of their own, which needs no source and numbers its
    // lines as this one would. False if no group ends there, or none is left. Not with a line still to be unread.
    bool moveLines(InputUnit& to, std::size_t bytes, LineGrouping grouping);

    // Goes on, for a source that can, after the lines that have been read from a unit into which they were moved.
    void goOnAfter(const InputUnit& part);

    // The bytes of a source that can go to any of them, and those that are left; -1 for any other source.
    std::int64_t size() const { return source_ ? source_->size() : -1; }
    std::int64_t bytesLeft() const {
        const std::int64_t all = size();
        return all < 0 ? all : all - position();
    }

    // True when no line is left and no read has failed. May read ahead.
    bool atEnd();

    // Has a read failed since the unit was opened or rewound? A file that has become shorter since it was read before
    // counts as one that failed.
    bool failed() const noexcept { return failed_; }

    // The 1-based number of the line read last, 0 before the first.
    std::int64_t lineNumber() const noexcept { return lineNumber_; }

    static constexpr std::size_t kLongestLine = 1500;
    static constexpr std::size_t kLongestWholeLine = 65000;

private:
    static constexpr std::size_t kBufferBytes = 65536;

    // Where a line ends: its line feed, null if the file ends first. `isCut` if the line was longer than the buffer.
    struct LineEnd {
        const char* feed;
        bool isCut;
    };

    // The position of the next byte in the source.
    std::int64_t position() const noexcept { return bytesRead_ - (end_ - next_); }

    void goTo(std::int64_t position, std::int64_t lineNumber);
    std::int64_t readInto(char* bytes, std::size_t capacity);
    bool refill();
    void skipByteOrderMark();
    LineEnd findLineEnd();
    void skipLongLine();

    std::unique_ptr<ByteSource> source_;
    std::unique_ptr<char[]> buffer_;
    const char* next_ = nullptr;      // first byte not handed out yet
    const char* end_ = nullptr;       // one past the last byte in the buffer
    const char* lastLine_ = nullptr;  // beginning of the line read last
    std::int64_t lineNumber_ = 0;
    std::int64_t firstLine_ = 0;  // number of the line before the first; not 0 in a unit of moved lines
    std::int64_t bytesRead_ = 0;  // since the unit was opened or rewound: the position of end_ in the source
    std::int64_t size_ = 0;       // of the file, as far as it has ever been read
    bool atStart_ = true;
    bool holdsStart_ = true;  // the buffer begins with the first byte of the source, and nothing is missing up to end_
    bool fresh_ = false;      // bytes have come since marks were looked for
    bool isLineCut_ = false;
    bool exhausted_ = false;
    bool failed_ = false;
};

// What kind of file may be opened: regular files and pipes, or only regular files, which never block or go on without
// end.
enum class FileKind { Any, Regular };

// Opens a file for reading. Returns 0 or the errno of the failure: ENOENT for a blank name, EISDIR for a directory;
// EINVAL for a device, a socket, or a file that the system calls empty but that yields bytes (as in /proc).
//
// A pipe is read to its end into memory, at most 4 GiB (EFBIG), so that it can be rewound. This waits, without a limit,
// until a writer has opened the pipe, and until its writers have closed it.
int fileopenmt(std::string_view name, InputUnit& unit, FileKind kind = FileKind::Any);

// The same for a source of bytes.
int openByteSource(std::string_view name, std::unique_ptr<ByteSource>& source, FileKind kind = FileKind::Any);

}  // namespace vorlandi
