// The readers, one for each format and one file each. A reader fills the record from the lines that follow the
// recognised one and returns kSuccess, or kFailure after its message. It knows neither the store nor another
// reader.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "Vorlandi/VorlandiCardReading/ReaderSupport.hpp"

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

// By the practical rules only.
std::int32_t ReadSTK(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadOEM(BlockInput& input, Vorlanrecord& record);
std::int32_t ReadModifiedITC(BlockInput& input, Vorlanrecord& record);

// The input of the reader of binary files: a file from its first byte on, and what has become of reading it.
struct BinaryInput {
    ByteSource* source = nullptr;  // null for a file that can't be opened: a read error like any other
    ReadPlace place{};             // the record read last
    bool failed = false;           // a read has failed, which says nothing about the content of the file
    ReadingRules rules = ReadingRules::fixed();
    BlockRecords records{};
};
std::int32_t ReadDCEBinary(BinaryInput& input, Vorlanrecord& record);
inline std::int32_t ReadDCEBinary(ByteSource* source, Vorlanrecord& record) {
    BinaryInput input{source};
    return ReadDCEBinary(input, record);
}

}  // namespace vorlandi
