// Options of single formats: their names, what they mean, and which texts they can be.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "writers/Writers.hpp"

namespace vorlandi::writers {

// Lines of a file have to hold texts.
inline constexpr std::size_t kLongestText = 200;

struct FormatOption {
    std::string_view name;  // words joined by hyphens
    std::string_view target;
    std::string_view meaning;
    std::string Options::*text;  // what it sets; null for a flag
    bool Options::*flag = nullptr;
    std::span<const std::string_view> choices = {};
    std::string (*problem)(std::string_view text) = nullptr;  // where there are no choices
};

std::span<const FormatOption> formatOptions();

// Why the option can't be this text, as "must be ..."; empty if it can.
std::string problemOf(const FormatOption& option, std::string_view text);

}  // namespace vorlandi::writers
