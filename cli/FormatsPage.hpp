// docs/formats.md, as a text in the program.
#pragma once

#include <string_view>

namespace vorlandi::cli {

extern const std::string_view kFormatsPage;

}  // namespace vorlandi::cli
