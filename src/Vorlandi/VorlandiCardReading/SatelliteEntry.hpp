// A new satellite without points.
#pragma once

#include <cstdint>

namespace vorlandi {

// Stores an empty record. The last digit of the type code is the coordinate system, its tens are stored separately.
// Returns the result of AddRecToMem.
std::int64_t createnewsatentry(std::int32_t satNum, double epoch, double earthRadius, double ke, std::int32_t typeCode);

}  // namespace vorlandi
