// The pages, from cli/page, whose placeholders are filled in.
#pragma once

#include <string>
#include <string_view>

namespace vorlandi::cli {

// Shows orbits: {title}, {notes}, {panels} and {data}.
extern const std::string_view kPageTemplate;

// Reports on a delivery: {title} and {parts}.
extern const std::string_view kDeliveryPageTemplate;

// Replaces each occurrence of a placeholder by a text, which is not searched itself.
inline void fillIn(std::string& page, std::string_view place, const std::string& text) {
    for (std::size_t at = 0; (at = page.find(place, at)) != std::string::npos; at += text.size())
        page.replace(at, place.size(), text);
}

}  // namespace vorlandi::cli
