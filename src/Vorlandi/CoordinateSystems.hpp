// Names and codes of coordinate systems.
#pragma once

#include <cstdint>
#include <string_view>

namespace vorlandi {

constexpr std::int32_t kEci = 1;
constexpr std::int32_t kJ2k = 2;
constexpr std::int32_t kEfg = 3;
constexpr std::int32_t kEcr = 4;
constexpr std::int32_t kLlh = 15;
constexpr std::int32_t kSen = 16;
constexpr std::int32_t kUnknownCoordinates = 100;

// Names of the codes 1 to 4, three letters each.
constexpr std::string_view coordstr = "ECIJ2KEFGECR";

// The three letters of a code; blanks for one outside 1 to 4.
constexpr std::string_view coordinateName(std::int32_t code) noexcept {
    return code >= kEci && code <= kEcr ? coordstr.substr(static_cast<std::size_t>(code - 1) * 3, 3) : "   ";
}

// Code of a coordinate-system name, kUnknownCoordinates for any other text. A field of exactly three characters holds
// a three-letter name; a field of another length begins with a five-letter name (codes 17 to 20). A three-letter name
// in a longer field is unknown.
std::int32_t coord(std::string_view field) noexcept;

// The same for a field of three columns, the last of which may lie after the end of the line.
std::int32_t coordOfThree(std::string_view field) noexcept;

}  // namespace vorlandi
