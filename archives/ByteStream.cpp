#include "archives/ByteStream.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "archives/GzipChecksum.hpp"
#include "archives/Packing.hpp"

namespace vorlandi::archives {
namespace {}  // namespace

int ByteStream::open(archive* handle) {
    if (source_.begin.empty()) return archive_read_open_fd(handle, source_.descriptor, kReadSize);
    buffer_.resize(kReadSize);
    return archive_read_open(handle, this, nullptr, read, nullptr);
}

std::string ByteStream::begin() const {
    if (!source_.begin.empty()) return source_.begin.substr(0, kBytesToDetect);
    std::string bytes(kBytesToDetect, '\0');
    const ssize_t size = pread(source_.descriptor, bytes.data(), bytes.size(), 0);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return bytes;
}

std::string ByteStream::end() const {
    constexpr auto kWanted = static_cast<off_t>(kGzipTrailerSize);
    if (!source_.begin.empty()) return tail_;
    std::string tail(kGzipTrailerSize, '\0');
    const off_t size = lseek(source_.descriptor, 0, SEEK_END);
    const bool isRead =
        size >= kWanted && pread(source_.descriptor, tail.data(), tail.size(), size - kWanted) == kWanted;
    return isRead ? tail : "";
}

la_ssize_t ByteStream::read(archive* handle, void* self, const void** bytes) noexcept {
    auto& stream = *static_cast<ByteStream*>(self);
    if (!std::exchange(stream.hasBegun_, true)) {
        *bytes = stream.source_.begin.data();
        return stream.take(stream.source_.begin.data(), stream.source_.begin.size());
    }
    ssize_t size = 0;
    do
        size = ::read(stream.source_.descriptor, stream.buffer_.data(), stream.buffer_.size());
    while (size < 0 && errno == EINTR);
    if (size < 0) archive_set_error(handle, errno, "reading failed");
    *bytes = stream.buffer_.data();
    return size > 0 ? stream.take(stream.buffer_.data(), static_cast<std::size_t>(size)) : size;
}

la_ssize_t ByteStream::take(const char* bytes, std::size_t size) {
    const std::size_t kept = std::min(size, kGzipTrailerSize);
    tail_.append(bytes + size - kept, kept);
    tail_.erase(0, tail_.size() - std::min(tail_.size(), kGzipTrailerSize));
    return static_cast<la_ssize_t>(size);
}

}  // namespace vorlandi::archives
