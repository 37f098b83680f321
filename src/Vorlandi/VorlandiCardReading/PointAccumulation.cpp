#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"

#include <algorithm>

namespace vorlandi {
namespace {

struct CoordinateName {
    std::string_view name;  // lower case
    std::int32_t code;
};

constexpr CoordinateName kThreeLetters[] = {
    {"j2k", kJ2k}, {"eci", kEci}, {"efg", kEfg}, {"ecr", kEcr}, {"llh", kLlh}, {"sen", kSen},
};
constexpr CoordinateName kFiveLetters[] = {{"hcsrl", 17}, {"wptrl", 18}, {"hcsgc", 19}, {"wptgc", 20}};

template <std::size_t N>
std::int32_t codeOf(std::string_view field, const CoordinateName (&names)[N]) noexcept {
    for (const CoordinateName& row : names) {
        const std::string_view begin = field.substr(0, row.name.size());
        if (std::equal(begin.begin(), begin.end(), row.name.begin(), row.name.end(),
                       [](char given, char known) { return lowerCase(given) == known; })) {
            return row.code;
        }
    }
    return kUnknownCoordinates;
}

}  // namespace

std::int32_t coord(std::string_view field) noexcept {
    return field.size() == 3 ? codeOf(field, kThreeLetters) : codeOf(field, kFiveLetters);
}

std::int32_t coordOfThree(std::string_view field) noexcept { return codeOf(field, kThreeLetters); }

}  // namespace vorlandi
