// Reads the ECR text format: earth-fixed positions, one line per point, or positions and velocities, two lines per
// point. Values are stored unchanged.
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadECR";

// Header: the number in its first line, the label in its eighth. The label of a file without velocities
// replaces two lines, so that the point lines begin one line earlier.
constexpr Columns kSatNum{1, 5};
constexpr int kLinesBeforeLabel = 6;
constexpr std::string_view kPositionsOnly = "YYDDDHHMMSS.SSS      X(KM)          Y(KM)          Z(KM)";
constexpr int kLinesAfterPositionsOnly = 1;
constexpr int kLinesAfterOtherLabel = 2;

// Point lines
constexpr Columns kTime{1, 15};
constexpr std::size_t kNumbersFrom = 17;

ReadOutcome readThree(const BlockInput& input, std::string_view line, std::span<double> values) noexcept {
    return input.readFreeForm(columnsFrom(line, kNumbersFrom), values);
}

void readPoint(const LineGroup& lines, bool velocities, BlockInput& input, Vorlanrecord& record) {
    const std::string_view time = columns(lines[0], kTime.first, kTime.last);
    Vorlanstate point;
    point.time = date_in(time);
    if (!(point.time > 0.0)) return input.skipbadephempoint(kName, time);
    if (readThree(input, lines[0], point.pos) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, lines[0]);
    }
    if (velocities && readThree(input, lines[1], point.vel) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, lines[1]);
    }
    input.append(point, record);
}

// Reads up to the first point line; do the points have velocities? A file that ends, or fails, in here does
// so again at its first point.
bool readHeader(BlockInput& input, Vorlanrecord& record) {
    record.coordSys = kEcr;
    std::string_view line;
    if (input.readLine(line) != ReadOutcome::Success ||
        readColumns(line, kSatNum, record.satNum) != ReadOutcome::Success) {
        record.satNum = kUncataloguedSatNum;
    }
    input.skipLines(kLinesBeforeLabel);
    input.readLine(line);
    const bool velocities = !line.starts_with(kPositionsOnly);
    input.skipLines(velocities ? kLinesAfterOtherLabel : kLinesAfterPositionsOnly);
    return velocities;
}

}  // namespace

// A read error does not fail the block: the points read before it are stored.
std::int32_t ReadECR(BlockInput& input, Vorlanrecord& record) {
    const bool velocities = readHeader(input, record);
    LineGroup lines(velocities ? 2 : 1);
    for (;;) {
        const ReadOutcome outcome = lines.read(input);
        if (outcome == ReadOutcome::Error) blockFailed(input, kName, kFileReadError);
        if (outcome != ReadOutcome::Success) return blockRead(record);
        readPoint(lines, velocities, input, record);
    }
}

}  // namespace vorlandi
