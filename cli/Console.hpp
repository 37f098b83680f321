// Messages and progress, on standard error.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace vorlandi::cli {

class Console {
public:
    Console();

    // Information is shown only when verbose; errors and warnings always.
    void setVerbose(bool verbose) { verbose_ = verbose; }
    bool isVerbose() const { return verbose_; }

    // The subject is the file, place or satellite that the message is about; it may be empty. A warning does not
    // change the exit status.
    void error(std::string_view subject, std::string_view text);
    void warning(std::string_view subject, std::string_view text);
    void information(std::string_view subject, std::string_view text);

    // Always shown; says what was done, where nothing is wrong.
    void note(std::string_view subject, std::string_view text);

    bool hasReportedError() const { return errorReported_; }

    // Shows a line that the next one replaces. Does nothing unless standard error is a terminal, or within the first
    // second: quick work needs no progress.
    void progress(const std::string& text);
    void clearProgress();

private:
    void print(std::string_view subject, std::string_view severity, std::string_view text);

    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    bool terminal_;
    bool coloured_;
    bool verbose_ = false;
    bool errorReported_ = false;
    bool progressShown_ = false;
};

// Limits the messages of a kind: admits the first ten and counts the others. With --verbose it admits all.
class Quota {
public:
    explicit Quota(const Console& console) : unlimited_(console.isVerbose()) {}

    // Counts a message. True if it may be shown.
    bool admits() { return ++count_ <= kMostShown || unlimited_; }

    std::size_t heldBack() const { return unlimited_ || count_ <= kMostShown ? 0 : count_ - kMostShown; }

private:
    static constexpr std::size_t kMostShown = 10;

    bool unlimited_;
    std::size_t count_ = 0;
};

}  // namespace vorlandi::cli
