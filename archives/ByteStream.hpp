// Hands the bytes of a source to libarchive, and remembers the last ones.
#pragma once

#include <archive.h>

#include <cstddef>
#include <string>

#include "archives/Loading.hpp"

namespace vorlandi::archives {

inline constexpr std::size_t kReadSize = 1 << 18;

class ByteStream {
public:
    explicit ByteStream(const Source& source) : source_(source) {}

    // Opens a reader of libarchive on the source. A status of libarchive.
    int open(archive* handle);

    // The first bytes of the source.
    std::string begin() const;

    // The last `kGzipTrailerSize` bytes, once all have been read; empty if there are fewer.
    std::string end() const;

private:
    static la_ssize_t read(archive* handle, void* self, const void** bytes) noexcept;
    la_ssize_t take(const char* bytes, std::size_t size);

    const Source& source_;
    bool hasBegun_ = false;
    std::string buffer_;
    std::string tail_;
};

}  // namespace vorlandi::archives
