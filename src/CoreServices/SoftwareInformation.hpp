// Name and version of the software, in one place. The version is the build's, VORLANDI_VERSION.
#pragma once

#include <string>
#include <string_view>

namespace vorlandi {

constexpr std::string_view kVersion = VORLANDI_VERSION;

// The information text of a library of this family.
inline std::string getsoftwareinfo(std::string_view library) noexcept {
    return std::string(library) + " " + std::string(kVersion);
}

}  // namespace vorlandi
