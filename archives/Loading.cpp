#include "archives/Loading.hpp"

#include <archive.h>
#include <archive_entry.h>

#include <clocale>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "archives/ByteStream.hpp"
#include "archives/Cards.hpp"
#include "archives/GzipLayer.hpp"
#include "archives/Member.hpp"

namespace vorlandi::archives {
namespace {

constexpr std::size_t kLongestName = 512;  // that the library accepts
constexpr int kMostFilters = 2;            // the compression, unless gzip, and the file itself
constexpr const char* kNestedReason = "an archive in an archive is not read";

// Lets libarchive return non-ASCII names on this thread in any locale of the process.
class Utf8Names {
public:
    Utf8Names() : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        if (locale_ != nullptr) before_ = uselocale(locale_);
    }
    ~Utf8Names() {
        if (locale_ == nullptr) return;
        uselocale(before_);
        freelocale(locale_);
    }
    Utf8Names(const Utf8Names&) = delete;
    Utf8Names& operator=(const Utf8Names&) = delete;

private:
    locale_t locale_;
    locale_t before_ = nullptr;
};

enum class Outcome { Complete, TooLarge, Damaged };

class Loader {
public:
    Loader(const Request& request, const Source& source, Client& client)
        : request_(request), stream_(source), client_(client), archive_(archive_read_new(), archive_read_free) {
        if (!archive_) throw std::bad_alloc();
        buffer_.reserve(kReadSize);
    }

    std::vector<std::int64_t> run() {
        const Utf8Names utf8;
        if (open()) {
            readMembers();
            cards_.resolve([this](const std::string& path, const FileCard& card) {
                // What follows the damage is unknown, and the damage has been reported.
                if (!isOver_)
                    client_.refused(memberName(path) + ":" + std::to_string(card.line),
                                    card.name + " is not in this archive");
            });
        }
        return std::move(keys_);
    }

private:
    bool open() {
        archive* const handle = archive_.get();
        archive_read_support_filter_xz(handle);
        archive_read_support_filter_zstd(handle);
        archive_read_support_format_zip(handle);
        archive_read_support_format_tar(handle);
        archive_read_support_format_raw(handle);
        archive_read_support_format_empty(handle);
        if (packingOf(stream_.begin()).name == kGzipName) gzip_.emplace(stream_);
        const int status = gzip_ ? gzip_->open(handle) : stream_.open(handle);
        if (status != ARCHIVE_OK) client_.refused(request_.name, damage());
        return status == ARCHIVE_OK;
    }

    void readMembers() {
        archive_entry* entry = nullptr;
        int status = ARCHIVE_OK;
        while ((status = archive_read_next_header(archive_.get(), &entry)) == ARCHIVE_OK || status == ARCHIVE_WARN) {
            if (isNested()) return client_.refused(request_.name, kNestedReason);
            if (!isSingle() && archive_entry_filetype(entry) == AE_IFDIR) continue;
            lastMember_ = memberName(pathOf(entry));
            ++members_;
            if (!takeMember(entry)) return;
            archive_read_data_skip(archive_.get());
            endOfMembers_ = archive_filter_bytes(archive_.get(), 0);
        }
        if (status != ARCHIVE_EOF || lacksEndOfTar()) {
            isOver_ = true;
            client_.refused(request_.name, members_ == 0 ? damage() : damage() + ", after " + lastMember_);
        } else if (members_ == 0 && !isSingle()) {
            client_.refused(request_.name, "there is no file in this archive");
        } else if (members_ == 0) {
            loadBytes(memberName(""), "");
        }
        if (!isOver_ && !isSingle() && gzip_ && !gzip_->hasGoodChecksum())
            client_.refused(request_.name,
                            "damaged: the checksum of the whole archive is wrong, so any of its files may be");
    }

    // False if nothing more can be read.
    bool takeMember(archive_entry* entry) {
        const std::string path = pathOf(entry);
        const std::string name = memberName(path);
        cards_.addMember(path);
        if (const std::string reason = reasonAgainst(entry, name); !reason.empty()) {
            client_.refused(name, reason);
            return true;
        }
        switch (readBytes()) {
            case Outcome::Damaged:
                client_.refused(name, damage());
                return !isOver_;
            case Outcome::TooLarge:
                client_.refused(name, tooLarge());
                return true;
            case Outcome::Complete:
                break;
        }
        if (isSingle() && gzip_ && !gzip_->hasGoodChecksum()) {
            client_.refused(name, "damaged: the checksum is wrong");
        } else if (packingOf(buffer_)) {
            client_.refused(name, kNestedReason);
        } else {
            loadBytes(name, path);
        }
        return true;
    }

    std::string reasonAgainst(archive_entry* entry, const std::string& name) const {
        if (archive_entry_is_encrypted(entry) != 0) return "it is encrypted";
        const bool isFile = isSingle() || archive_entry_filetype(entry) == AE_IFREG;
        if (!isFile || archive_entry_hardlink(entry) != nullptr) return "not a regular file";
        if (name.size() > kLongestName) return "the file name is too long";
        const bool isLarge =
            archive_entry_size_is_set(entry) != 0 && archive_entry_size(entry) > request_.mostMemberBytes;
        return isLarge ? tooLarge() : "";
    }

    // Fills buffer_, which keeps its memory for the next member. A size that the archive states is not trusted.
    Outcome readBytes() {
        buffer_.clear();
        std::size_t size = 0;
        while (true) {
            buffer_.resize(size + kReadSize);
            const la_ssize_t count = archive_read_data(archive_.get(), buffer_.data() + size, kReadSize);
            isOver_ = count == ARCHIVE_FATAL;
            if (count < 0) return Outcome::Damaged;
            if (count == 0) break;
            size += static_cast<std::size_t>(count);
            if (static_cast<std::int64_t>(size) > request_.mostMemberBytes) return Outcome::TooLarge;
        }
        buffer_.resize(size);
        return Outcome::Complete;
    }

    void loadBytes(const std::string& name, const std::string& path) {
        client_.memberBegins(name);
        const LoadedMember member = loadMember(buffer_, name, request_.options);
        client_.memberEnds(name, member);
        keys_.insert(keys_.end(), member.keys.begin(), member.keys.end());
        cards_.addLoaded(path, buffer_, member);
    }

    // A compressed file that is not an archive.
    bool isSingle() const {
        const int format = archive_format(archive_.get());
        return format == ARCHIVE_FORMAT_RAW || format == ARCHIVE_FORMAT_EMPTY;
    }

    bool isNested() const {
        if (gzip_ && gzip_->isNested()) return true;
        const int filters = archive_filter_count(archive_.get()) + (gzip_ ? 1 : 0);
        const bool isZip = (archive_format(archive_.get()) & ARCHIVE_FORMAT_BASE_MASK) == ARCHIVE_FORMAT_ZIP;
        return filters > kMostFilters || (isZip && filters == kMostFilters);
    }

    // Blocks of zeros end a tar archive. libarchive also accepts the end of the file.
    bool lacksEndOfTar() const {
        const bool isTar = (archive_format(archive_.get()) & ARCHIVE_FORMAT_BASE_MASK) == ARCHIVE_FORMAT_TAR;
        return isTar && members_ > 0 && archive_filter_bytes(archive_.get(), 0) == endOfMembers_;
    }

    // A name is kept as the bytes of the archive where they have no character set, else as UTF-8.
    std::string pathOf(archive_entry* entry) const {
        if (isSingle()) return "";
        const char* path = archive_entry_pathname_utf8(entry);
        if (path == nullptr) path = archive_entry_pathname(entry);
        std::string name = path != nullptr ? path : "?";
        while (name.starts_with("./"))
            name.erase(0, 2);
        return name;
    }

    std::string memberName(const std::string& path) const {
        return isSingle() ? std::string(withoutPacking(request_.name)) : request_.name + "/" + path;
    }

    std::string damage() const {
        const char* const reason = archive_error_string(archive_.get());
        return std::string("damaged: ") + (reason != nullptr ? reason : "it ends too early");
    }

    std::string tooLarge() const {
        return "larger than " + std::to_string(request_.mostMemberBytes) + " bytes, the most that a file here may have";
    }

    const Request& request_;
    ByteStream stream_;
    std::optional<GzipLayer> gzip_;
    Client& client_;
    std::unique_ptr<archive, int (*)(archive*)> archive_;
    std::string buffer_;
    Cards cards_;
    std::vector<std::int64_t> keys_;
    std::string lastMember_;
    std::int64_t members_ = 0;
    la_int64_t endOfMembers_ = 0;  // in the unpacked bytes of the archive
    bool isOver_ = false;          // after damage, nothing more can be read
};

}  // namespace

std::vector<std::int64_t> load(const Request& request, const Source& source, Client& client) {
    return Loader(request, source, client).run();
}

}  // namespace vorlandi::archives
