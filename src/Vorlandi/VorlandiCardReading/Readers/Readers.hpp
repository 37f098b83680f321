// The readers, one for each format and one file each. A reader fills the record from the lines behind the one
// that was recognised and gives kBlockRead, or kBlockFailed after its message. It knows neither the store nor
// another reader.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"

namespace vorlandi {

using Reader = std::int32_t (*)(BlockInput& input, Vorlanrecord& record);

std::int32_t ReadKQUniversalVorlan(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadDotE(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadV31(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadECR(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadITC(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadDCEText(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadLaunchFormat(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadEELV(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadLCH(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadOASYS(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadOwner(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadJ2K(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadVecEph(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadSimObs(BlockInput& input, Vorlanrecord& record);

// Where a binary file stands: its name, and the number of the record read last.
struct RecordPlace {
    std::string_view fileName;
    std::int64_t number = 0;
};

// Reads a binary file as a whole, from its first byte, and moves `place` along. No source stands for a file
// that could not be opened: a read error like any other.
std::int32_t ReadDCEBinary(ByteSource* source, Vorlanrecord& record, RecordPlace& place);
inline std::int32_t ReadDCEBinary(ByteSource* source, Vorlanrecord& record) {
    RecordPlace place;
    return ReadDCEBinary(source, record, place);
}

}  // namespace vorlandi
