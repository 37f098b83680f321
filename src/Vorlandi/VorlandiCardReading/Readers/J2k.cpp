// Reads J2K text files: a date in groups in fixed columns, then a state in free form. Values are stored
// unchanged.
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadJ2K";

// Columns 3 to 7 hold the satellite number. It isn't read: a J2K record has the number 0.
constexpr Columns kDateGroups[] = {{12, 13}, {15, 17}, {19, 20}, {22, 23}, {25, 30}};
constexpr std::size_t kDateSize = 15;
constexpr Columns kReportedDate{12, 30};
constexpr std::size_t kNumbersFrom = 32;

// The groups put together to YYDDDHHMMSS.SSS, their blanks as zeros.
double timeOf(std::string_view line) {
    std::array<char, kDateSize> date;
    char* next = date.data();
    for (const Columns& group : kDateGroups) {
        const std::size_t width = group.last - group.first + 1;
        strtochararr(columns(line, group.first, group.last), next, width);
        next += width;
    }
    return date_in(blanktozerochar({date.data(), date.size()}));
}

void readPoint(std::string_view line, BlockInput& input, Vorlanrecord& record) {
    Vorlanstate point;
    point.time = timeOf(line);
    if (!(point.time > 0.0)) {
        return input.skipbadephempoint(kName, columns(line, kReportedDate.first, kReportedDate.last));
    }
    if (input.readState(columnsFrom(line, kNumbersFrom), point) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, line);
    }
    input.append(point, record);
}

}  // namespace

std::int32_t ReadJ2K(BlockInput& input, Vorlanrecord& record) {
    record.satNum = 0;
    record.coordSys = kJ2k;
    return useLoneLinesToEnd(input, kName, record, readPoint);
}

}  // namespace vorlandi
