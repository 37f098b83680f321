// Name and version of the software, in one place. The version is the build's, VORLANDI_VERSION.
#pragma once

#include <string_view>

#include "CoreServices/BoundedText.hpp"

namespace vorlandi {

constexpr std::string_view kVersion = VORLANDI_VERSION;

// The information text of a library of this family.
inline BoundedText<128> getsoftwareinfo(std::string_view library) noexcept {
    return BoundedText<128>(library) << " " << kVersion;
}

}  // namespace vorlandi
