#include "ConsoleCapture.hpp"

namespace vorlandi::cli {
namespace {

thread_local ConsoleCapture* currentCapture;

}  // namespace

ConsoleCapture::ConsoleCapture() noexcept { currentCapture = this; }

ConsoleCapture::~ConsoleCapture() { currentCapture = nullptr; }

ConsoleCapture* ConsoleCapture::current() noexcept { return currentCapture; }

void ConsoleCapture::add(bool isError, std::string_view subject, std::string_view text) {
    messages_.push_back(
        {isError, subject.empty() ? std::string(text) : std::string(subject) + ": " + std::string(text)});
}

}  // namespace vorlandi::cli
