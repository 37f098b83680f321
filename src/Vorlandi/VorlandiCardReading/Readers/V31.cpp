// Reads the fixed-column V31 ephemeris format: data sections between a line of "=" and a line of "E", up to a
// line of "Z". Positions are km, velocities m/s.
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadV31";
constexpr std::string_view kNameOfBadTime = "ReadV31-Invalid ephemeris time format";

// Header
constexpr Columns kSatNum{30, 34};

// Coordinate line
constexpr std::string_view kCoordinateLine = "Propagation by";
constexpr Columns kCoordinates{66, 68};

// Data line
constexpr Columns kTime{1, 15};
constexpr std::size_t kStateFrom = 16;
constexpr RealColumns kPosition{16, 34, 8};  // F19.8
constexpr RealColumns kVelocity{73, 91, 8};

// A line that begins with 48 equal characters marks where something begins or ends.
constexpr bool isMark(std::string_view line, char mark) noexcept {
    constexpr std::size_t kMarkWidth = 48;
    return line.size() >= kMarkWidth && line.substr(0, kMarkWidth).find_first_not_of(mark) == line.npos;
}

bool readCoordinates(std::string_view line, Vorlanrecord& record) noexcept {
    const std::string_view name = columns(line, kCoordinates.first, kCoordinates.last);
    if (name != "ECI" && name != "EFG") return false;
    record.coordSys = name == "ECI" ? kEci : kEfg;
    return true;
}

void readPoint(std::string_view line, BlockInput& input, Vorlanrecord& record) {
    if (isComment(line) || isBlank(line)) return;
    const std::string_view time = columns(line, kTime.first, kTime.last);
    Vorlanstate point;
    point.time = date_in(time);
    if (!(point.time > 0.0)) return input.skipbadephempoint(kNameOfBadTime, time);
    if (input.readColumns(line, kPosition, point.pos) != ReadOutcome::Success ||
        input.readColumns(line, kVelocity, point.vel) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, columnsFrom(line, kStateFrom));
    }
    for (double& value : point.vel)
        value *= kKmPerMeter;
    input.append(point, record);
}

}  // namespace

std::int32_t ReadV31(BlockInput& input, Vorlanrecord& record) {
    if (readColumns(input.headerLine(), kSatNum, record.satNum) != ReadOutcome::Success) {
        return blockFailedWithLine(input, kName, "Invalid satellite number.");
    }
    bool inData = false;
    std::string_view line;
    for (;;) {
        const ReadOutcome outcome = input.readLine(line);
        if (outcome == ReadOutcome::Error) return blockFailed(input, kName, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) return blockRead(record);
        if (inData) {
            inData = !isMark(line, 'E');
            if (inData) readPoint(line, input, record);
        } else if (isMark(line, 'Z')) {
            return blockRead(record);
        } else if (isMark(line, '=')) {
            inData = true;
        } else if (line.starts_with(kCoordinateLine) && !readCoordinates(line, record)) {
            return blockRefusedBy(input, kName, "Unrecognized Coordinates.",
                                  MessageText("coordinates ") << columns(line, kCoordinates.first, kCoordinates.last)
                                                              << " are not read; ECI and EFG are.",
                                  blockFailedWithLine);
        }
    }
}

}  // namespace vorlandi
