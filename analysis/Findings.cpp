#include "analysis/Findings.hpp"

#include <algorithm>

namespace vorlandi::analysis {

std::optional<Kind> kindNamed(std::string_view name) {
    const auto found = std::find(kKindNames.begin(), kKindNames.end(), name);
    if (found == kKindNames.end()) return std::nullopt;
    return static_cast<Kind>(found - kKindNames.begin());
}

const char* nameOf(Severity severity) {
    constexpr const char* kNames[] = {"error", "warning", "note"};
    return kNames[static_cast<std::size_t>(severity)];
}

}  // namespace vorlandi::analysis
