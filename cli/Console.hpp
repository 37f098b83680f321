// What the tool says beside its output: messages and progress on standard error.
#pragma once

#include <string>
#include <string_view>

namespace vorlandi::cli {

class Console {
public:
    Console();

    // Information is shown only when asked for; errors always.
    void setVerbose(bool verbose) { verbose_ = verbose; }

    // The subject is the file or satellite that the message is about; it may be empty.
    void error(std::string_view subject, std::string_view text);
    void information(std::string_view subject, std::string_view text);

    bool hasReportedError() const { return error_reported_; }

    // One line that the next one replaces; nothing unless standard error is a terminal.
    void progress(const std::string& text);
    void clearProgress();

private:
    void print(std::string_view subject, std::string_view severity, std::string_view text);

    bool terminal_;
    bool coloured_;
    bool verbose_ = false;
    bool error_reported_ = false;
    bool progress_shown_ = false;
};

}  // namespace vorlandi::cli
