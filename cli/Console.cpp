#include "Console.hpp"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "ConsoleCapture.hpp"
#include "ForeignTexts.hpp"

namespace vorlandi::cli {
namespace {

constexpr std::size_t kUsualColumns = 80;

bool isSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool isDumbTerminal() {
    const char* const terminal = std::getenv("TERM");
    return terminal != nullptr && std::string_view(terminal) == "dumb";
}

std::size_t terminalColumns() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualColumns;
    return size.ws_col;
}

// Writes a message in one piece, so that it never mixes with the output of other programs on the terminal. If standard
// error can't be written to, there is nowhere to report it.
void toStandardError(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace

Console::Console()
    : terminal_(isatty(STDERR_FILENO) != 0), coloured_(terminal_ && !isSet("NO_COLOR") && !isDumbTerminal()) {}

void Console::error(std::string_view subject, std::string_view text) {
    errorReported_ = true;
    if (ConsoleCapture* const capture = ConsoleCapture::current()) return capture->add(true, subject, text);
    print(subject, coloured_ ? "\x1b[1;31merror:\x1b[0m " : "error: ", text);
}

void Console::warning(std::string_view subject, std::string_view text) {
    if (ConsoleCapture* const capture = ConsoleCapture::current()) return capture->add(false, subject, text);
    print(subject, coloured_ ? "\x1b[1;33mwarning:\x1b[0m " : "warning: ", text);
}

void Console::information(std::string_view subject, std::string_view text) {
    if (verbose_) print(subject, "", text);
}

void Console::note(std::string_view subject, std::string_view text) { print(subject, "", text); }

void Console::print(std::string_view subject, std::string_view severity, std::string_view text) {
    if (ConsoleCapture::current() != nullptr) return;
    clearProgress();
    std::string line = "vorlandi: ";
    if (!subject.empty()) line += printable(subject) + ": ";
    line += severity;
    line += printable(text);
    toStandardError(line + '\n');
}

void Console::progress(const std::string& text) {
    constexpr std::chrono::seconds kQuick(1);
    if (!terminal_ || std::chrono::steady_clock::now() - start_ < kQuick) return;
    if (ConsoleCapture::current() != nullptr) return;
    // A line that wraps could not be cleared again.
    const std::string line = printable(text);
    toStandardError("\r\x1b[K" + std::string(cutToWidth(line, terminalColumns() - 1)));
    progressShown_ = true;
}

void Console::clearProgress() {
    if (progressShown_) toStandardError("\r\x1b[K");
    progressShown_ = false;
}

}  // namespace vorlandi::cli
