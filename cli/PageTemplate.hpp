// The pages, from cli/page, whose placeholders are filled in.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

namespace vorlandi::cli {

// Shows orbits: {title}, {notes}, {panels} and {data}.
extern const std::string_view kPageTemplate;

// Reports on a delivery: {title} and {parts}.
extern const std::string_view kDeliveryPageTemplate;

struct Filling {
    std::string_view place;
    std::string_view text;
};

// The page with each placeholder replaced by its text. The texts are not searched themselves.
inline std::string filledIn(std::string_view page, std::initializer_list<Filling> fillings) {
    std::string filled;
    while (!page.empty()) {
        const auto filling = std::find_if(fillings.begin(), fillings.end(),
                                          [&](const Filling& each) { return page.starts_with(each.place); });
        const bool isPlace = filling != fillings.end();
        // Placeholders begin with a brace: what comes before the next one is copied at once.
        const std::size_t length = isPlace ? filling->place.size() : std::min(page.find('{', 1), page.size());
        filled += isPlace ? filling->text : page.substr(0, length);
        page.remove_prefix(length);
    }
    return filled;
}

}  // namespace vorlandi::cli
