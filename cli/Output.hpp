// The output of a command: standard output or a file, buffered. Every failure is reported.
#pragma once

#include <fmt/format.h>

#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "OutputError.hpp"
#include "PendingFile.hpp"

namespace vorlandi::cli {

inline constexpr std::string_view kStandardOutput = "-";

// Why an output is not written; the option is the one that allows it.
inline std::string existsText(std::string_view option = "--force") {
    return fmt::format("exists; {} replaces it", option);
}

// A file that exists keeps its content until close().
class Output {
public:
    // Opens a file, or standard output for "-". All members throw an OutputError on failure.
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

    // Writes what is still buffered and replaces the file. The output is complete once this has returned.
    void close();

private:
    static constexpr std::size_t kFlushSize = 1 << 16;

    void flush();
    void writeThrough(const char* data, std::size_t size);
    [[noreturn]] void fail(int error) const;

    std::string name_;
    std::unique_ptr<PendingFile> pending_;  // null if the output is written directly
    int descriptor_;
    fmt::memory_buffer buffer_;
};

}  // namespace vorlandi::cli
