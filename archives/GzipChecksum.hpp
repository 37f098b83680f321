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

constexpr std::uint32_t crc32Of(std::string_view bytes) {
    constexpr auto kTable = makeCrcTable();
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const char c : bytes)
        crc = (crc >> 8U) ^ kTable[(crc ^ static_cast<unsigned char>(c)) & 0xFFU];
    return ~crc;
}

static_assert(crc32Of("123456789") == 0xCBF43926U);

// False if the trailer is that of these bytes with another checksum. A file of several gzip streams ends with the size
// of the last one: it can't be compared and counts as good.
constexpr bool agreesWithTrailer(std::string_view bytes, std::string_view trailer) {
    const auto numberAt = [trailer](std::size_t first) {
        std::uint32_t number = 0;
        for (std::size_t i = 4; i-- > 0;)
            number = (number << 8U) | static_cast<unsigned char>(trailer[first + i]);
        return number;
    };
    if (trailer.size() != kGzipTrailerSize || numberAt(4) != static_cast<std::uint32_t>(bytes.size())) return true;
    return numberAt(0) == crc32Of(bytes);
}

}  // namespace vorlandi::archives
