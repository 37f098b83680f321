// Reads simulated observations: for each point a line of satellite and time, one of position and one of velocity, in
// fixed columns. Values are stored unchanged.
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/VectorGroups.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadSimObs";

// Identification line
constexpr Columns kSatNum{2, 6};
constexpr Columns kTime{8, 22};
constexpr Columns kUnused{23, 29};  // must be an integer
constexpr Columns kCoordinates{76, 78};

// Position line, km, and velocity line, km/s
constexpr RealColumns kVector{1, 22, 0};  // F22.0

void readPoint(const LineGroup& lines, BlockInput& input, Vorlanrecord& record) {
    const std::string_view time = columns(lines[0], kTime.first, kTime.last);
    Vorlanstate point;
    point.time = date_in(time);
    if (!(point.time > 0.0)) return input.skipbadephempoint(kName, time);
    std::int32_t unused = 0;
    if (readColumns(lines[0], kUnused, unused) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, lines[0]);
    }
    if (input.readColumns(lines[1], kVector, point.pos) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, lines[1]);
    }
    if (input.readColumns(lines[2], kVector, point.vel) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, lines[2]);
    }
    input.append(point, record);
}

constexpr VectorFormat kFormat{kName, 3, kSatNum, kCoordinates, readPoint};

}  // namespace

std::int32_t ReadSimObs(BlockInput& input, Vorlanrecord& record) { return readVectorGroups(kFormat, input, record); }

}  // namespace vorlandi
