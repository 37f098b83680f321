// Reads LCH text files: nine header lines, then a date of 17 characters and seven free-form numbers per line.
// Values are stored unchanged.
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadLCH";

// Header: the number in the fifth of nine lines
constexpr int kLinesBeforeSatNum = 4;
constexpr Columns kSatNum{44, 48};
constexpr int kLinesAfterSatNum = 4;

// Data line
constexpr Columns kTime{1, 17};
constexpr std::size_t kNumbersFrom = 19;
constexpr std::size_t kReportedColumns = 128;  // of a bad line

// False if the file ends before the points. A number that can't be read is left out.
bool readHeader(BlockInput& input, Vorlanrecord& record) {
    std::string_view line;
    if (input.skipLines(kLinesBeforeSatNum) != ReadOutcome::Success || input.readLine(line) != ReadOutcome::Success) {
        return false;
    }
    readColumns(line, kSatNum, record.satNum);
    return input.skipLines(kLinesAfterSatNum) == ReadOutcome::Success;
}

void readPoint(std::string_view line, BlockInput& input, Vorlanrecord& record) {
    if (isComment(line) || isBlank(line)) return;
    Vorlanstate point;
    PointCovariance scalar;  // the seventh number, in place of a covariance
    point.time = datestr2ds50(columns(line, kTime.first, kTime.last));
    if (input.has(Rule::DatesExist) && !(point.time > 0.0)) return input.skipBadLine(kName, kNoSuchDate);
    FreeFormList list = input.list(columnsFrom(line, kNumbersFrom));
    if (readState(list, point) != ReadOutcome::Success || list.next(scalar.cov[0]) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, line.substr(0, kReportedColumns));
    }
    scalar.cov[1] = kScalarMarker;
    input.append(point, record, &scalar);
}

}  // namespace

std::int32_t ReadLCH(BlockInput& input, Vorlanrecord& record) {
    record.coordSys = kEci;
    if (!readHeader(input, record)) return blockFailed(input, kName, kFileReadError);
    return useLoneLinesToEnd(input, kName, record, readPoint);
}

}  // namespace vorlandi
