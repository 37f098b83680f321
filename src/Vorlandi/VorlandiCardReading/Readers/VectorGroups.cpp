#include "Vorlandi/VorlandiCardReading/Readers/VectorGroups.hpp"

namespace vorlandi {
namespace {

// Header
constexpr RealColumns kGravityModel{1, 22, 15};  // E22.15 each: ke, then the earth radius in km

constexpr std::string_view kInvalidSystem = "Invalid Coordinate system.";
constexpr std::string_view kSystemsRead = "ECI, J2K, EFG and ECR are.";

bool readHeader(const BlockInput& input, Vorlanrecord& record) noexcept {
    const std::string_view line = input.headerLine();
    std::array<double, 2> gravityModel{};
    if (input.readColumns(line, kGravityModel, gravityModel) != ReadOutcome::Success) return false;
    record.ke = gravityModel[0];
    record.earthRadius = gravityModel[1];
    return true;
}

}  // namespace

std::int32_t readVectorGroups(const VectorFormat& format, BlockInput& input, Vorlanrecord& record) {
    if (!readHeader(input, record)) return blockFailed(input, format.reader, kFileReadError);
    LineGroup lines(format.linesPerPoint);
    for (bool first = true;; first = false) {
        const ReadOutcome outcome = lines.read(input);
        if (outcome == ReadOutcome::Error) return blockFailed(input, format.reader, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) return blockRead(record);
        if (first) {
            if (readColumns(lines[0], format.satNum, record.satNum) != ReadOutcome::Success) {
                input.skipbadephempoint(format.reader, lines[0]);
                continue;
            }
            const std::string_view name = columns(lines[0], format.coordinates.first, format.coordinates.last);
            record.coordSys = coordOfThree(name);
            if (record.coordSys == kUnknownCoordinates) {
                return blockRefusedBy(input, format.reader, kInvalidSystem,
                                      MessageText("coordinates ") << name << " are not read; " << kSystemsRead,
                                      blockFailedWithLine);
            }
            if (input.has(Rule::FramesAreCartesian) && (record.coordSys == kLlh || record.coordSys == kSen)) {
                return blockRefused(input, format.reader, kInvalidSystem,
                                    MessageText("LLH and SEN are not cartesian coordinates; ") << kSystemsRead);
            }
        }
        format.readPoint(lines, input, record);
    }
}

}  // namespace vorlandi
