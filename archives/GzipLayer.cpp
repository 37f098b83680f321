#include "archives/GzipLayer.hpp"

#include <archive_entry.h>

#include <new>

namespace vorlandi::archives {

GzipLayer::GzipLayer(ByteStream& stream) : stream_(stream), archive_(archive_read_new(), archive_read_free) {
    if (!archive_) throw std::bad_alloc();
}

int GzipLayer::open(archive* handle) {
    archive* const gzip = archive_.get();
    archive_read_support_filter_gzip(gzip);
    archive_read_support_format_raw(gzip);
    archive_read_support_format_empty(gzip);
    archive_entry* entry = nullptr;
    int status = stream_.open(gzip);
    if (status == ARCHIVE_OK) status = archive_read_next_header(gzip, &entry);
    isAtEnd_ = status == ARCHIVE_EOF;
    if (status == ARCHIVE_OK || isAtEnd_) return archive_read_open(handle, this, nullptr, read, nullptr);
    archive_copy_error(handle, gzip);
    return status;
}

bool GzipLayer::isNested() const { return archive_filter_count(archive_.get()) > 2; }

bool GzipLayer::hasGoodChecksum() {
    const void* bytes = nullptr;
    la_ssize_t size = 0;
    while ((size = next(&bytes)) > 0) {
    }
    return size < 0 || checksum_.agreesWith(stream_.end());
}

la_ssize_t GzipLayer::read(archive* handle, void* self, const void** bytes) noexcept {
    auto& layer = *static_cast<GzipLayer*>(self);
    const la_ssize_t size = layer.next(bytes);
    if (size < 0) archive_copy_error(handle, layer.archive_.get());
    return size;
}

// The next piece of the unpacked bytes: its size, 0 at the end, or less than 0.
la_ssize_t GzipLayer::next(const void** bytes) noexcept {
    if (isAtEnd_) return 0;
    std::size_t size = 0;
    la_int64_t offset = 0;
    const int status = archive_read_data_block(archive_.get(), bytes, &size, &offset);
    isAtEnd_ = status == ARCHIVE_EOF;
    if (isAtEnd_) return 0;
    if (status != ARCHIVE_OK) return -1;
    checksum_.add({static_cast<const char*>(*bytes), size});
    return static_cast<la_ssize_t>(size);
}

}  // namespace vorlandi::archives
