#include "Output.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace vorlandi::cli {
namespace {

constexpr int kClosed = -1;

bool isFile(const std::string& name) { return name != kStandardOutput; }

int openDirectly(const std::string& name) {
    if (!isFile(name)) return STDOUT_FILENO;
    return open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kReadAndWriteForAll);
}

}  // namespace

Output::Output(const std::string& name)
    : name_(name),
      pending_(isFile(name) ? PendingFile::beside(name) : nullptr),
      descriptor_(pending_ ? pending_->descriptor() : openDirectly(name)) {
    if (descriptor_ == kClosed) fail(errno);
}

Output::~Output() {
    if (!pending_ && descriptor_ > STDERR_FILENO) ::close(descriptor_);
}

void Output::write(std::string_view text) {
    buffer_.append(text.data(), text.data() + text.size());
    if (buffer_.size() >= kFlushSize) flush();
}

void Output::close() {
    flush();
    const int descriptor = std::exchange(descriptor_, kClosed);
    if (pending_) {
        if (const int error = pending_->commit(); error != 0) fail(error);
        return;
    }
    // Some file systems report a full disk only here. Standard output is closed too: nothing follows.
    if (::close(descriptor) != 0) fail(errno);
}

void Output::flush() {
    writeThrough(buffer_.data(), buffer_.size());
    buffer_.clear();
}

void Output::writeThrough(const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(descriptor_, data, size);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) fail(errno);
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

void Output::fail(int error) const {
    if (error == EPIPE) throw OutputClosed();
    throw OutputError(isFile(name_) ? std::string_view(name_) : "standard output", error);
}

}  // namespace vorlandi::cli
