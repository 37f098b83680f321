#include "Vorlandi/CoordinateSystems.hpp"

#include <algorithm>

#include "CoreServices/Texts.hpp"

namespace vorlandi {
namespace {

struct CoordinateSystem {
    std::string_view name;
    std::int32_t code;
};

constexpr CoordinateSystem kCoordinateSystems[] = {
    {coordinateName(kEci), kEci},
    {coordinateName(kJ2k), kJ2k},
    {coordinateName(kEfg), kEfg},
    {coordinateName(kEcr), kEcr},
    {"LLH", kLlh},
    {"SEN", kSen},
    {"HCSRL", 17},
    {"WPTRL", 18},
    {"HCSGC", 19},
    {"WPTGC", 20},
};

// The code of the system with a name of this length at the beginning of the field.
std::int32_t codeOf(std::string_view field, std::size_t nameLength) noexcept {
    const std::string_view begin = field.substr(0, nameLength);
    for (const auto& [name, code] : kCoordinateSystems) {
        if (name.size() == nameLength && std::equal(begin.begin(), begin.end(), name.begin(), name.end(),
                                                    [](char given, char known) { return touppercase(given) == known; }))
            return code;
    }
    return kUnknownCoordinates;
}

}  // namespace

std::int32_t coord(std::string_view field) noexcept { return codeOf(field, field.size() == 3 ? 3 : 5); }

std::int32_t coordOfThree(std::string_view field) noexcept { return codeOf(field, 3); }

}  // namespace vorlandi
