// Takes the messages of a thread's consoles, for callers that have no standard error.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorlandi::cli {

// Collects errors and warnings, instead of standard error, for as long as it lives; other messages and progress are
// dropped. One at a time on a thread.
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

    // That of this thread; null if there is none.
    static ConsoleCapture* current() noexcept;

    void add(bool isError, std::string_view subject, std::string_view text);
    const std::vector<Message>& messages() const { return messages_; }

private:
    std::vector<Message> messages_;
};

}  // namespace vorlandi::cli
