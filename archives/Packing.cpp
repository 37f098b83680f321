#include "archives/Packing.hpp"

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace vorlandi::archives {
namespace {

using namespace std::string_view_literals;

struct Mark {
    std::string_view bytes;
    Packing packing;
};

constexpr Mark kMarks[] = {
    {"\x1F\x8B"sv, {kGzipName, true}},
    {"\xFD\x37zXZ\0"sv, {"xz", true}},
    {"\x28\xB5\x2F\xFD"sv, {"zstd", true}},
    {"PK\3\4"sv, {"zip", true}},
    {"PK\5\6"sv, {"zip", true}},
    {"PK\7\x08"sv, {"zip in several parts", false}},
    {"7z\xBC\xAF\x27\x1C"sv, {"7z", false}},
    {"Rar!\x1A\x07"sv, {"rar", false}},
    {"\x1F\x9D"sv, {"compress", false}},
    {"\x04\x22\x4D\x18"sv, {"lz4", false}},
};

constexpr std::string_view kEndings[] = {".gz", ".xz", ".zst"};

// The name without an ending in any letter case; empty if it doesn't have that ending, or has nothing else.
std::string_view without(std::string_view ending, std::string_view fileName) {
    const std::size_t size = fileName.size() - std::min(fileName.size(), ending.size());
    const bool has = std::equal(ending.begin(), ending.end(), fileName.begin() + size, fileName.end(),
                                [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b); });
    return has && size > 0 && fileName[size - 1] != '/' ? fileName.substr(0, size) : std::string_view();
}

// "BZh", the size of a block, and the mark of the first block.
bool isBzip2(std::string_view bytes) { return bytes.starts_with("BZh") && bytes.substr(3).find("1AY&SY") == 1; }

// The sum of a header's bytes, its own field counted as blanks, is in octal digits at 148.
bool isTar(std::string_view bytes) {
    constexpr std::size_t kSumAt = 148, kSumSize = 8;
    if (bytes.size() < kBytesToDetect) return false;
    std::uint32_t stored = 0;
    const std::string_view digits = bytes.substr(kSumAt, kSumSize);
    const auto first = digits.find_first_not_of(' ');
    const auto last = digits.find_first_not_of("01234567", first);
    if (first == std::string_view::npos || first == last) return false;
    for (const char digit : digits.substr(first, last - first))
        stored = stored * 8 + static_cast<std::uint32_t>(digit - '0');
    const auto sumOf = [](std::string_view part) {
        return std::accumulate(part.begin(), part.end(), std::uint32_t{0},
                               [](std::uint32_t sum, char c) { return sum + static_cast<unsigned char>(c); });
    };
    return stored == sumOf(bytes.substr(0, kBytesToDetect)) - sumOf(digits) + kSumSize * ' ';
}

}  // namespace

Packing packingOf(std::string_view firstBytes) {
    for (const auto& [bytes, packing] : kMarks)
        if (firstBytes.starts_with(bytes)) return packing;
    if (isBzip2(firstBytes)) return {"bzip2", false};
    if (isTar(firstBytes)) return {"tar", true};
    return {};
}

std::string_view withoutPacking(std::string_view fileName) {
    for (const std::string_view ending : kEndings)
        if (const std::string_view name = without(ending, fileName); !name.empty()) return name;
    return fileName;
}

}  // namespace vorlandi::archives
