// Reads the ITC text format: inertial states in fixed columns, one line per point, or four with a covariance.
// Values are stored unchanged.
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadITC";

// Header
constexpr Columns kSatNum{2, 6};
constexpr Columns kCovariance{107, 111};
constexpr std::string_view kWithoutCovariance = "WOCOV";

// First line of a point
constexpr Columns kTime{4, 18};
constexpr RealColumns kPosition{19, 34, 6};  // F16.6, km
constexpr RealColumns kVelocity{67, 82, 9};  // F16.9, km/s

// The lines after it: the lower triangle, row by row, without regard to line ends
constexpr std::size_t kCovarianceLines = 3;
constexpr std::size_t kNumbersPerLine = kCovarianceSize / kCovarianceLines;

void readPoint(const LineGroup& lines, std::size_t covarianceLines, BlockInput& input, Vorlanrecord& record) {
    const std::string_view time = columns(lines[0], kTime.first, kTime.last);
    Vorlanstate point;
    point.time = date_in(time);
    if (!(point.time > 0.0)) return input.skipbadephempoint(kName, time);
    if (input.readColumns(lines[0], kPosition, point.pos) != ReadOutcome::Success ||
        input.readColumns(lines[0], kVelocity, point.vel) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, lines[0]);
    }
    if (covarianceLines == 0) return input.append(point, record);
    PointCovariance covariance;
    for (std::size_t k = 0; k < covarianceLines; ++k) {
        const auto values = std::span(covariance.cov).subspan(k * kNumbersPerLine, kNumbersPerLine);
        if (input.readFreeForm(lines[k + 1], values) != ReadOutcome::Success) {
            return input.skipbadephempoint(kName, lines[k + 1]);
        }
    }
    input.append(point, record, &covariance);
}

}  // namespace

std::int32_t ReadITC(BlockInput& input, Vorlanrecord& record) {
    const std::string_view header = input.headerLine();
    // A bad number is left out.
    readColumns(header, kSatNum, record.satNum);
    record.coordSys = kEci;
    const bool covariance = columns(header, kCovariance.first, kCovariance.last) != kWithoutCovariance;
    const std::size_t covarianceLines = covariance ? kCovarianceLines : 0;

    input.readInChunks(record, {1 + covarianceLines}, [=](BlockInput& part, Vorlanrecord& points) {
        LineGroup lines(1 + covarianceLines);
        while (lines.read(part) == ReadOutcome::Success)
            readPoint(lines, covarianceLines, part, points);
    });
    LineGroup lines(1 + covarianceLines);
    for (;;) {
        const ReadOutcome outcome = lines.read(input);
        if (outcome == ReadOutcome::Error) return blockFailed(input, kName, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) return blockRead(record);
        readPoint(lines, covarianceLines, input, record);
    }
}

}  // namespace vorlandi
