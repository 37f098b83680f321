// Shared by the vector and the simulated-observation format: a header with the constants of the gravity model and an
// epoch, and groups of lines, one per point, whose first one names satellite and coordinates.
#pragma once

#include <string_view>

#include "Vorlandi/VorlandiCardReading/ReaderSupport.hpp"

namespace vorlandi {

struct VectorFormat {
    std::string_view reader;
    std::size_t linesPerPoint;
    Columns satNum;       // in a group's first line
    Columns coordinates;  // in the same line, three columns
    void (*readPoint)(const LineGroup& lines, BlockInput& input, Vorlanrecord& record);
};

// Reads header and groups up to the end of the file. Satellite and coordinates are only looked for in the first group:
// if it fails before they are found, the record keeps what it has.
std::int32_t readVectorGroups(const VectorFormat& format, BlockInput& input, Vorlanrecord& record);

}  // namespace vorlandi
