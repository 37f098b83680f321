// Reads owner/operator text files: a date of 15 characters and a state in free form per line, from the first line on.
// Values are stored unchanged.
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadOwner";
constexpr Columns kTime{1, 15};
constexpr std::size_t kNumbersFrom = 16;

double timeOf(std::string_view line) noexcept { return date_in(columns(line, kTime.first, kTime.last)); }

void readPoint(std::string_view line, BlockInput& input, Vorlanrecord& record) {
    if (isComment(line) || isBlank(line) ||
        (input.has(Rule::HeaderEndsBlock) && input.isBeforeHeader() && isCard(line)))
        return;
    Vorlanstate point;
    point.time = timeOf(line);
    if (!(point.time > 0.0) || input.readState(columnsFrom(line, kNumbersFrom), point) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, line);
    }
    input.append(point, record);
}

}  // namespace

std::int32_t ReadOwner(BlockInput& input, Vorlanrecord& record) {
    record.coordSys = kJ2k;
    record.satNum = satNumFromFileName(input.fileName(), input.rules());
    input.goToFirstLine();
    return useLoneLinesToEnd(input, kName, record, readPoint);
}

}  // namespace vorlandi
