// Recognises compressed files and archives by their first bytes.
#pragma once

#include <cstddef>
#include <string_view>

namespace vorlandi::archives {

// The number of bytes that detection looks at; shorter files are recognised by the bytes they have.
inline constexpr std::size_t kBytesToDetect = 512;

struct Packing {
    std::string_view name;  // empty if the file is not packed
    bool isRead = false;    // false for the kinds that are only named in a refusal

    explicit operator bool() const { return !name.empty(); }
};

inline constexpr std::string_view kGzipName = "gzip";

Packing packingOf(std::string_view firstBytes);

// The name of a compressed file without its ending .gz, .xz or .zst, in any letter case. One that is nothing but an
// ending stays.
std::string_view withoutPacking(std::string_view fileName);

}  // namespace vorlandi::archives
