// Reads OASYS text files: free text in which a line of data is known by the shape of its date, YYYY/MM/DD
// HH:MM:SS.SSS. Values are stored unchanged.
#include <utility>

#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadOASYS";
constexpr std::string_view kFormat = "OASYS";

// Satellite line
constexpr Columns kSatelliteMark{10, 20};
constexpr std::string_view kSatelliteText = "Spacecraft:";
constexpr std::size_t kSatNumFrom = 21;

// Data line
constexpr Columns kTime{1, 23};
constexpr std::size_t kNumbersFrom = 25;

struct Separator {
    std::size_t column;
    char character;
};
constexpr Separator kDateSeparators[] = {{5, '/'}, {8, '/'}, {14, ':'}, {17, ':'}};

bool beginsWithDate(std::string_view line) noexcept {
    return std::all_of(std::begin(kDateSeparators), std::end(kDateSeparators), [=](const Separator& wanted) {
        return line.size() >= wanted.column && line[wanted.column - 1] == wanted.character;
    });
}

void useLine(std::string_view line, const Vorlanrecord& before, BlockInput& input, Vorlanrecord& record) {
    if (isComment(line) || isBlank(line)) return;
    if (columns(line, kSatelliteMark.first, kSatelliteMark.last) == kSatelliteText) {
        const std::int32_t satNum = strtoint(columnsFrom(line, kSatNumFrom));
        // The points so far belong to another satellite.
        if (input.has(Rule::HeaderEndsBlock) && record.numberOfPoints() > 0 && satNum != record.satNum) {
            input.storeSegment(input.takeRecords(std::exchange(record, before)), input.place().number);
        }
        record.satNum = satNum;
    }
    if (!beginsWithDate(line)) return;
    Vorlanstate point;
    point.time = dtg2ds50utc(columns(line, kTime.first, kTime.last));
    if (input.has(Rule::DatesExist) && !(point.time > 0.0)) return input.skipBadLine(kName, kNoSuchDate);
    if (input.readState(columnsFrom(line, kNumbersFrom), point) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, line);
    }
    input.append(point, record);
}

}  // namespace

// By Rule::HeaderEndsBlock the header of the next block of this format ends one that has points.
std::int32_t ReadOASYS(BlockInput& input, Vorlanrecord& record) {
    record.coordSys = kJ2k;
    record.satNum = satNumFromFileName(input.fileName(), input.rules());
    input.goToFirstLine();
    const Vorlanrecord before = record;
    std::string_view line;
    for (;;) {
        const ReadOutcome outcome = input.readLine(line);
        if (outcome == ReadOutcome::Error) return blockFailed(input, kName, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) return blockRead(record);
        if (input.has(Rule::HeaderEndsBlock) && record.numberOfPoints() > 0 && headerOn(line).format == kFormat) {
            input.unreadLine();
            return blockRead(record);
        }
        useLine(line, before, input, record);
    }
}

}  // namespace vorlandi
