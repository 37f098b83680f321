// Captures the messages of a thread's consoles, for callers without a standard error.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorlandi::cli {

// Collects errors and warnings while it lives, instead of printing them; other messages and progress are dropped. One
// per thread at a time.
class ConsoleCapture {
public:
    struct Message {
        bool isError;
        std::string text;  // "subject: text"
    };

    ConsoleCapture() noexcept;
    ~ConsoleCapture();
    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    // This thread's capture; null if there is none.
    static ConsoleCapture* current() noexcept;

    void add(bool isError, std::string_view subject, std::string_view text);
    const std::vector<Message>& messages() const { return messages_; }

private:
    std::vector<Message> messages_;
};

}  // namespace vorlandi::cli
