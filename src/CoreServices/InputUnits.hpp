// Input units: a text file read line by line, or as bytes, through one buffer; and the opening of files.
//
// A line is a view into the buffer and stays valid until the next read. Lines end with LF, CR LF or the end
// of the file; a UTF-8 byte-order mark at the start is skipped and a NUL counts as a blank. A line may be of
// any length: it is cut at the columns asked for, and the rest passed over without being kept.
//
// A unit belongs to one thread; different units may be read by different threads at once.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "CoreServices/NumberFields.hpp"

namespace vorlandi {

// Where the bytes of a unit come from.
class ByteSource {
public:
    virtual ~ByteSource() = default;

    // Up to `capacity` bytes; their number, 0 at the end, -1 on an error.
    virtual std::int64_t read(char* bytes, std::size_t capacity) = 0;

    // Starts again at the first byte; false if that fails.
    virtual bool rewind() = 0;
};

// Bytes in memory, which must outlive the unit.
std::unique_ptr<ByteSource> memorySource(std::string_view bytes);

class InputUnit {
public:
    InputUnit() = default;
    explicit InputUnit(std::unique_ptr<ByteSource> source);

    // The next line, cut at `maxColumns` (at most kLongestLine), blanks behind it imagined. Error after a
    // failed read, EndOfData at the end of the file; the line is then empty.
    ReadOutcome readLine(std::size_t maxColumns, std::string_view& line);

    // Passes over, and doesn't count, lines ahead that hold none of the marks. Cheap, and may pass over none:
    // whole buffers are looked at, each once.
    void passOverLinesWithout(std::string_view marks);

    // Back to the first line.
    void rewind();

    // True when no line is left. May read ahead.
    bool atEnd();

    // The 1-based number of the line read last, 0 before the first.
    std::int64_t lineNumber() const noexcept { return lineNumber_; }

    static constexpr std::size_t kLongestLine = 1500;

private:
    static constexpr std::size_t kBufferBytes = 65536;

    bool refill();
    void passOverLongLine();

    std::unique_ptr<ByteSource> source_;
    std::unique_ptr<char[]> buffer_;
    const char* next_ = nullptr;  // first byte not handed out yet
    const char* end_ = nullptr;   // behind the last byte in the buffer
    std::int64_t lineNumber_ = 0;
    bool atStart_ = true;
    bool fresh_ = false;  // bytes have come since marks were looked for
    bool exhausted_ = false;
    bool failed_ = false;
};

// A file for writing; closed when it goes out of scope.
struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using OutputUnit = std::unique_ptr<std::FILE, FileCloser>;

// Mode codes of the openers.
enum class FileMode : std::int32_t { Replace = 0, Read = 1, Append = 2 };

// What kind of file may be opened. Regular leaves out pipes and devices, which may block or never end.
enum class FileKind { Any, Regular };

// Opens a file for reading. 0, or the errno of the failure: a blank name is ENOENT, a directory EISDIR. What
// can't be rewound (a pipe) is read into memory as a whole.
int fileopenmt(std::string_view name, InputUnit& unit, FileKind kind = FileKind::Any);

// A file as a source of bytes; the result as above.
int openByteSource(std::string_view name, std::unique_ptr<ByteSource>& source, FileKind kind = FileKind::Any);

// Opens a file in any of the modes. 0, or the errno as above.
int fileopen(std::string_view name, FileMode mode, OutputUnit& unit);

}  // namespace vorlandi
