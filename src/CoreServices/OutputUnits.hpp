// Output units: files that text is written to. Writing allocates nothing, and a pipe whose reader is gone is an error
// like any other: no SIGPIPE reaches the process.
//
// A unit belongs to one thread. Threads that write to the same file take turns, see OutputTurn.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "CoreServices/Descriptors.hpp"

namespace vorlandi {

// How an output file is opened.
enum class FileMode { Replace, Append };

// What to do when a pipe or a terminal accepts nothing for a while. A unit that gives up can't be opened for a pipe
// that has no reader (ENXIO); one that waits also waits while opening.
enum class WhenFull { Wait, GiveUp };

// Identifies a file of the system, under any name.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};

class OutputUnit {
public:
    constexpr OutputUnit() noexcept = default;
    OutputUnit(Descriptor file, FileIdentity identity, bool isRegular) noexcept
        : file_(std::move(file)), identity_(identity), isRegular_(isRegular) {}

    explicit operator bool() const noexcept { return static_cast<bool>(file_); }
    FileIdentity identity() const noexcept { return identity_; }

    // Writes the bytes, with a single call where the system takes them all. Returns how many were written: fewer after
    // an error, with errno set; EAGAIN if the unit gives up when full and that lasted longer than `patience`.
    std::size_t write(std::string_view bytes, std::chrono::milliseconds patience = {}) noexcept;

    // Empties a regular file and leaves any other alone. Returns 0 or errno.
    int empty() noexcept;

private:
    Descriptor file_;
    FileIdentity identity_;
    bool isRegular_ = false;  // not a pipe, a terminal or another device
};

// Opens a file for writing and creates it if it does not exist. A file to be replaced keeps its bytes until empty().
// Returns 0 or the errno of the failure: ENOENT for a blank name, EISDIR for a directory.
int fileopen(std::string_view name, FileMode mode, OutputUnit& unit, WhenFull whenFull = WhenFull::Wait) noexcept;

// A thread's turn to write to a file. The constructor waits until no other thread of the process has a turn for the
// same file; other files are not waited for, however long a write to them takes.
class OutputTurn {
public:
    explicit OutputTurn(const OutputUnit& unit) noexcept;
    ~OutputTurn();
    OutputTurn(const OutputTurn&) = delete;
    OutputTurn& operator=(const OutputTurn&) = delete;

private:
    bool isFree() const noexcept;

    FileIdentity identity_;
    OutputTurn* next_ = nullptr;
};

}  // namespace vorlandi
