// Unpacks gzip for a second libarchive reader, which reads the content, and compares the checksum.
#pragma once

#include <archive.h>

#include <memory>

#include "archives/ByteStream.hpp"
#include "archives/GzipChecksum.hpp"

namespace vorlandi::archives {

class GzipLayer {
public:
    explicit GzipLayer(ByteStream& stream);

    // Opens the second reader on the unpacked bytes. A status of libarchive.
    int open(archive* handle);

    // Is it gzip in gzip?
    bool isNested() const;

    // Reads the rest. False if the checksum is wrong; a read error doesn't count here.
    bool hasGoodChecksum();

private:
    static la_ssize_t read(archive* handle, void* self, const void** bytes) noexcept;
    la_ssize_t next(const void** bytes) noexcept;

    ByteStream& stream_;
    std::unique_ptr<archive, int (*)(archive*)> archive_;
    GzipChecksum checksum_;
    bool isAtEnd_ = false;
};

}  // namespace vorlandi::archives
