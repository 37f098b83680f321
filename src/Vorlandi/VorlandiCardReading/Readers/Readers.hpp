// The readers, one for each format and one file each. A reader fills the record from the lines behind the one that was
// recognised and gives kBlockRead, or kBlockFailed after its message. It knows neither the store nor another reader.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"

namespace vorlandi {

using Reader = std::int32_t (*)(BlockInput& input, Vorlanrecord& record);

std::int32_t ReadKQUniversalVorlan(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadDotE(BlockInput& input, Vorlanrecord& record);

}  // namespace vorlandi
