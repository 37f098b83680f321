#include "writers/FormatOptions.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace vorlandi::writers {
namespace {

constexpr std::string_view kFrameLabels[] = {"HCSRL", "WPTRL", "HCSGC", "WPTGC"};
constexpr std::string_view kOemVersions[] = {"3.0", "2.0"};

std::string problemOfLine(std::string_view text) {
    const bool isPrintable = std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
    if (!text.empty() && text.size() <= kLongestText && isPrintable && text.front() != ' ' && text.back() != ' ')
        return {};
    return fmt::format("must be 1 to {} printable ASCII characters without blanks around them", kLongestText);
}

std::string problemOfName(std::string_view text) {
    constexpr std::size_t kLongest = 64;
    const auto isAllowed = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    };
    if (!text.empty() && text.size() <= kLongest && std::ranges::all_of(text, isAllowed)) return {};
    return "must be a name of 1 to 64 letters, digits, - and _";
}

constexpr FormatOption kOptions[] = {
    {"frame-label", "universal", "write HCSRL, WPTRL, HCSGC or WPTGC for a frame that has no name there",
     &Options::universalFrame, nullptr, kFrameLabels},
    {"oem-version", "oem", "3.0 or 2.0", &Options::oemVersion, nullptr, kOemVersions},
    {"ref-frame", "oem", "write this name for every frame", &Options::refFrame, nullptr, {}, problemOfName},
    {"originator", "oem", "who made the file; UNKNOWN if not given", &Options::originator, nullptr, {}, problemOfLine},
    {"object-name",
     "oem",
     "the object's name; its number if not given",
     &Options::objectName,
     nullptr,
     {},
     problemOfLine},
    {"object-id",
     "oem",
     "the object's international designator; its number if not given",
     &Options::objectId,
     nullptr,
     {},
     problemOfLine},
    {"useable", "oem", "name the times between which states are interpolated from points on both sides", nullptr,
     &Options::useable},
};

}  // namespace

std::span<const FormatOption> formatOptions() { return kOptions; }

std::string problemOf(const FormatOption& option, std::string_view text) {
    if (option.problem != nullptr) return option.problem(text);
    if (std::ranges::find(option.choices, text) != option.choices.end()) return {};
    return fmt::format("must be {}", fmt::join(option.choices, " or "));
}

}  // namespace vorlandi::writers
