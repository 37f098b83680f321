#include "Vorlandi/VorlandiCardReading/SatelliteEntry.hpp"

#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {

std::int64_t createnewsatentry(std::int32_t satNum, double epoch, double earthRadius, double ke,
                               std::int32_t typeCode) {
    Vorlanrecord record;
    record.satNum = satNum;
    record.epoch = epoch;
    record.earthRadius = earthRadius;
    record.ke = ke;
    record.coordSys = typeCode % 10;
    record.codeTens = typeCode / 10 * 10;
    return AddRecToMem(std::move(record));
}

}  // namespace vorlandi
