// Reads DCE binary files: records framed by their byte count, three for the header and then one per point. Numbers are
// big-endian; values are stored as they are.
//
// No count in the file is trusted: it is compared with the size that is needed, and a surplus is skipped piece by
// piece, without memory being taken for it.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>

#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/Calendar.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadDCEBinary";

// Bytes of the payloads
constexpr std::size_t kTitleSize = 24;
constexpr std::size_t kSatNumSize = 4;
constexpr std::size_t kDescriptionSize = 76;
constexpr std::size_t kPointSize = 104;

// Offsets in the payload of a point
constexpr std::size_t kTimeAt = 16;
constexpr std::size_t kPositionAt = 24;  // km
constexpr std::size_t kVelocityAt = 48;  // km/s

// Numbers of 4 and 8 bytes, the most significant first.
std::uint32_t countAt(const char* bytes) noexcept {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return std::endian::native == std::endian::little ? __builtin_bswap32(value) : value;
}
double realAt(const char* bytes) noexcept {
    std::uint64_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return std::bit_cast<double>(std::endian::native == std::endian::little ? __builtin_bswap64(value) : value);
}

void realsAt(const char* bytes, std::span<double> values) noexcept {
    for (double& value : values) {
        value = realAt(bytes);
        bytes += sizeof value;
    }
}

// Takes framed records from a file through a buffer of fixed size, and counts them.
class FramedRecords {
public:
    explicit FramedRecords(BinaryInput& input)
        : input_(input), buffer_(std::make_unique_for_overwrite<char[]>(kBufferSize)) {}

    // Fills `payload` with the beginning of the next record's payload. EndOfData if the file ends where a record would
    // begin; Error if it ends elsewhere, if the record is shorter, or if its two counts differ.
    ReadOutcome next(std::span<char> payload) {
        if (!require(kCountSize)) {
            return left_ == 0 && !input_.failed ? ReadOutcome::EndOfData : ReadOutcome::Error;
        }
        const auto size = countAt(take(kCountSize));
        if (size < payload.size() || !require(payload.size())) return ReadOutcome::Error;
        std::memcpy(payload.data(), take(payload.size()), payload.size());
        if (!skip(size - payload.size()) || !require(kCountSize)) return ReadOutcome::Error;
        if (countAt(take(kCountSize)) != size) return ReadOutcome::Error;
        ++input_.place.number;
        return ReadOutcome::Success;
    }

    // The payload of the next record if it has exactly this size and is intact, valid until the next record is taken.
    // Else null, and `next` says what is wrong.
    const char* nextOfSize(std::size_t size) {
        const std::size_t framed = size + 2 * kCountSize;
        if (left_ < framed && !require(framed)) return nullptr;
        if (countAt(next_) != size || countAt(next_ + kCountSize + size) != size) return nullptr;
        ++input_.place.number;
        return take(framed) + kCountSize;
    }

private:
    static constexpr std::size_t kBufferSize = 65536;
    static constexpr std::size_t kCountSize = 4;

    // Reads until `size` bytes, far fewer than fit the buffer, are left in it. False if the file has no more.
    bool require(std::size_t size) {
        while (left_ < size) {
            std::memmove(buffer_.get(), next_, left_);
            next_ = buffer_.get();
            const std::int64_t count = input_.source->read(buffer_.get() + left_, kBufferSize - left_);
            input_.failed = input_.failed || count < 0;
            if (count <= 0) return false;
            left_ += static_cast<std::size_t>(count);
        }
        return true;
    }

    // Takes bytes that are left.
    const char* take(std::size_t size) noexcept {
        const char* const bytes = next_;
        next_ += size;
        left_ -= size;
        return bytes;
    }

    bool skip(std::size_t size) {
        while (size > 0) {
            if (!require(1)) return false;
            const std::size_t skipped = std::min(size, left_);
            take(skipped);
            size -= skipped;
        }
        return true;
    }

    BinaryInput& input_;
    std::unique_ptr<char[]> buffer_;
    const char* next_ = buffer_.get();
    std::size_t left_ = 0;
};

// The header. An end of file here is reported by the first point.
bool readHeader(FramedRecords& records, Vorlanrecord& record) {
    std::array<char, kTitleSize> title{};
    std::array<char, kSatNumSize> satNum{};
    std::array<char, kDescriptionSize> description{};
    if (records.next(title) == ReadOutcome::Error) return false;
    const ReadOutcome outcome = records.next(satNum);
    if (outcome == ReadOutcome::Error) return false;
    if (outcome == ReadOutcome::Success) {
        record.satNum = std::bit_cast<std::int32_t>(countAt(satNum.data()));
    }
    return records.next(description) != ReadOutcome::Error;
}

Vorlanstate pointOf(const char* payload) noexcept {
    Vorlanstate point;
    point.time = realAt(payload + kTimeAt) + kDayZeroOf1970;
    realsAt(payload + kPositionAt, point.pos);
    realsAt(payload + kVelocityAt, point.vel);
    return point;
}

// The record to blame is the one after the last that was read.
std::int32_t readFailed(const BinaryInput& input) {
    ReadPlace place = input.place;
    ++place.number;
    return blockFailed(place, kName, kFileReadError);
}

bool isFinite(const Vorlanstate& point) noexcept {
    const auto finite = [](double value) { return std::isfinite(value); };
    return std::all_of(point.pos, point.pos + 3, finite) && std::all_of(point.vel, point.vel + 3, finite);
}

void append(const Vorlanstate& point, Vorlanrecord& record, BinaryInput& input) {
    const bool good = (!input.rules.has(Rule::TimesAreFinite) || std::isfinite(point.time)) &&
                      (!input.rules.has(Rule::ValuesAreFinite) || isFinite(point));
    if (!good) {
        observeRead(VORLAN_READ_BAD, input.place);
        tracelogerror(MessageText("*** ") << kName << " : Bad ephemeris data. ***");
        tracelogerror(reasonAt(input.place, kName, "a number in this record is not finite"));
    } else if (input.rules.has(Rule::TimesAreStorable) && !hasSatKey(point.time)) {
        observeRead(VORLAN_READ_BAD, input.place);
        tracelogerror(MessageText("*** ") << kName << " : Bad ephemeris data. ***");
        tracelogerror(reasonAt(input.place, kName, kTimeOutside));
    } else if (addoneeppoint(point, record)) {
        return;
    } else if (input.rules.has(Rule::SeamBeginsRecord)) {
        input.records.takeLate(point, nullptr, record, input.place);
    } else {
        observeRead(VORLAN_READ_DROPPED, input.place);
    }
}

}  // namespace

std::int32_t ReadDCEBinary(BinaryInput& input, Vorlanrecord& record) {
    record.coordSys = kEci;
    if (input.source == nullptr) return readFailed(input);
    FramedRecords records(input);
    if (!readHeader(records, record)) return readFailed(input);
    std::array<char, kPointSize> payload{};
    for (;;) {
        const char* bytes = records.nextOfSize(kPointSize);
        if (bytes == nullptr) {
            const ReadOutcome outcome = records.next(payload);
            if (outcome == ReadOutcome::Error) return readFailed(input);
            if (outcome == ReadOutcome::EndOfData) return blockRead(record);
            bytes = payload.data();
        }
        append(pointOf(bytes), record, input);
    }
}

}  // namespace vorlandi
