// The output of a command: standard output or a file, buffered, with every failure noticed.
#pragma once

#include <fmt/format.h>

#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace vorlandi::cli {

// The reader of the output has gone, as `head` does when it has seen enough: no error, but nothing more to
// do.
class OutputClosed {};

class OutputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline constexpr std::string_view kStandardOutput = "-";

class Output {
public:
    // Opens a file, replacing it, or takes standard output for "-".
    explicit Output(const std::string& name);
    ~Output();

    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    template <typename... Arguments>
    void print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        fmt::format_to(std::back_inserter(buffer_), format, std::forward<Arguments>(arguments)...);
        if (buffer_.size() >= kFlushSize) flush();
    }

    void write(std::string_view text);

    // Writes what is still buffered. Only after it has returned is the output known to be complete.
    void close();

private:
    static constexpr std::size_t kFlushSize = 1 << 16;

    void flush();
    void writeThrough(const char* data, std::size_t size);
    [[noreturn]] void fail(int error) const;

    std::string name_;
    int descriptor_;
    fmt::memory_buffer buffer_;
};

}  // namespace vorlandi::cli
