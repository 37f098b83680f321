// Recognises compressed files and archives by their first bytes.
#pragma once

#include <cstddef>
#include <string_view>

namespace vorlandi::archives {

// As many bytes as detection looks at; a shorter file is recognised by those it has.
inline constexpr std::size_t kBytesToDetect = 512;

struct Packing {
    std::string_view name;  // empty if the file is not packed
    bool isRead = false;    // false for the kinds that are only named in a refusal

    explicit operator bool() const { return !name.empty(); }
};

Packing packingOf(std::string_view firstBytes);

// The name of a compressed file without its ending .gz, .xz or .zst.
std::string_view withoutPacking(std::string_view fileName);

}  // namespace vorlandi::archives
