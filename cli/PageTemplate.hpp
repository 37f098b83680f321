// The page that shows orbits, from cli/page: {title}, {notes}, {panels} and {data} are filled in.
#pragma once

#include <string_view>

namespace vorlandi::cli {

extern const std::string_view kPageTemplate;

}  // namespace vorlandi::cli
