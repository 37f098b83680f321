// The trace file: one line for each message. Writing a line allocates nothing, and a pipe or terminal that accepts
// nothing doesn't stop a thread for long: what can't be written is dropped and counted, and once writing works again a
// line says how many messages were dropped.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string_view>

#include "CoreServices/OutputUnits.hpp"

namespace vorlandi {

class TraceFile {
public:
    constexpr TraceFile() noexcept = default;

    // Appends to another file from now on. Returns 0, or the errno of the failed open; then nothing changes.
    int open(std::string_view name) noexcept;
    void close() noexcept;

    // Writes "2026-01-31T23:59:59.123Z INFO  text", or ERROR, if a file is open. Control characters other than tabs
    // become blanks.
    void write(std::int32_t severity, std::string_view text) noexcept;

    // Held by whoever uses the file; fork has to wait for it.
    std::mutex& mutex() noexcept { return mutex_; }

private:
    // Replaces the previous file.
    void replace(OutputUnit&& file) noexcept;
    bool writeLine(std::int32_t severity, std::string_view text) noexcept;
    bool writePiece(std::string_view piece) noexcept;
    bool reportDropped() noexcept;

    std::mutex mutex_;
    std::atomic<bool> isOpen_{false};
    OutputUnit file_;
    bool isStuck_ = false;    // the last write failed: until one succeeds, none is waited for
    bool isMidLine_ = false;  // the last line was cut
    std::uint64_t dropped_ = 0;
};

}  // namespace vorlandi
