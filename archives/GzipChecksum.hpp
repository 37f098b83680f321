// The checksum at the end of a gzip file, which libarchive does not compare.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace vorlandi::archives {

inline constexpr std::size_t kGzipTrailerSize = 8;  // CRC-32 and size, little-endian

constexpr std::array<std::uint32_t, 256> makeCrcTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit)
            value = (value >> 1U) ^ ((value & 1U) != 0 ? 0xEDB88320U : 0U);
        table[byte] = value;
    }
    return table;
}

// The checksum of bytes that arrive in pieces.
class GzipChecksum {
public:
    constexpr void add(std::string_view bytes) {
        constexpr auto kTable = makeCrcTable();
        for (const char c : bytes)
            crc_ = (crc_ >> 8U) ^ kTable[(crc_ ^ static_cast<unsigned char>(c)) & 0xFFU];
        size_ += static_cast<std::uint32_t>(bytes.size());
    }

    constexpr std::uint32_t crc() const { return ~crc_; }

    // False if the trailer has the size of these bytes but another checksum. A file of several gzip streams ends with
    // the size of the last one: it can't be compared and counts as good.
    constexpr bool agreesWith(std::string_view trailer) const {
        const auto numberAt = [trailer](std::size_t first) {
            std::uint32_t number = 0;
            for (std::size_t i = 4; i-- > 0;)
                number = (number << 8U) | static_cast<unsigned char>(trailer[first + i]);
            return number;
        };
        return trailer.size() != kGzipTrailerSize || numberAt(4) != size_ || numberAt(0) == crc();
    }

private:
    std::uint32_t crc_ = 0xFFFFFFFFU;
    std::uint32_t size_ = 0;  // modulo 2^32, as the trailer has it
};

static_assert([] {
    GzipChecksum checksum;
    checksum.add("1234");
    checksum.add("56789");
    return checksum.crc();
}() == 0xCBF43926U);

}  // namespace vorlandi::archives
