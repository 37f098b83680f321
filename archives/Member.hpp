// Loads one member from memory and collects the records that it stored and the cards in it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorlandi::archives {

// A card that names a file.
struct FileCard {
    std::int64_t line;
    std::string name;
};

struct LoadedMember {
    std::int32_t status = 0;  // of VorlanLoadBytes
    std::vector<std::int64_t> keys;
    std::vector<FileCard> cards;
};

LoadedMember loadMember(std::string_view bytes, const std::string& name, std::int32_t options);

}  // namespace vorlandi::archives
