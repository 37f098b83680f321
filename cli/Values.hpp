// Numbers and times as csv and json have them: the shortest digits that read back to the same double. A missing value
// is empty or null.
#pragma once

#include <fmt/format.h>

#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include "ForeignTexts.hpp"
#include "Output.hpp"
#include "SatelliteRecord.hpp"

namespace vorlandi::cli {

inline std::string csvNumber(std::optional<double> value) {
    return value && std::isfinite(*value) ? fmt::format("{}", *value) : "";
}

// JSON has neither infinities nor NaN.
inline std::string jsonNumber(std::optional<double> value) {
    return value && std::isfinite(*value) ? fmt::format("{}", *value) : "null";
}

inline std::string csvTime(std::optional<Ds50> time) { return time ? isoTime(time->days) : ""; }

inline std::string jsonTime(std::optional<Ds50> time) {
    const std::string text = csvTime(time);
    return text.empty() ? "null" : jsonText(text);
}

// An array in json, an item a line; `print` writes one.
template <typename Items, typename Print>
void printJsonArray(const Items& items, Output& output, Print print) {
    const char* separator = "[\n";
    for (const auto& item : items) {
        output.write(std::exchange(separator, ",\n"));
        print(item);
    }
    output.write(items.empty() ? "[]" : "\n]");
}

}  // namespace vorlandi::cli
