// Reads vector ephemeris files: for each point a line of position and a line of time and velocity, in fixed columns.
// Values are stored unchanged.
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/VectorGroups.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadVecEph";

// Position line
constexpr RealColumns kPosition{18, 33, 6};  // F16.6, km
constexpr Columns kSatNum{67, 71};
constexpr Columns kCoordinates{78, 80};

// Velocity line
constexpr Columns kTime{3, 17};
constexpr RealColumns kVelocity{18, 33, 9};  // F16.9, km/s

void readPoint(const LineGroup& lines, BlockInput& input, Vorlanrecord& record) {
    const std::string_view time = columns(lines[1], kTime.first, kTime.last);
    Vorlanstate point;
    point.time = date_in(time);
    if (!(point.time > 0.0)) return input.skipbadephempoint(kName, time);
    if (input.readColumns(lines[0], kPosition, point.pos) != ReadOutcome::Success) {
        return input.skipbadephempoint("ReadVecEph-InvalidPosition", lines[0]);
    }
    if (input.readColumns(lines[1], kVelocity, point.vel) != ReadOutcome::Success) {
        return input.skipbadephempoint("ReadVecEph-InvalidVelocity", lines[1]);
    }
    input.append(point, record);
}

constexpr VectorFormat kFormat{kName, 2, kSatNum, kCoordinates, readPoint};

}  // namespace

std::int32_t ReadVecEph(BlockInput& input, Vorlanrecord& record) { return readVectorGroups(kFormat, input, record); }

}  // namespace vorlandi
