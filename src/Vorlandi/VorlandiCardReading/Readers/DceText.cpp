// Reads DCE text files: a line with the satellite number, then lines of fourteen free-form numbers, the same as in the
// binary files. Values are stored unchanged.
#include "TimeLibrary/Calendar.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadDCEText";

// Two integers, a real, the time, the state (km, km/s), four reals. All must be numbers; time and state are
// used.
ReadOutcome readPoint(FreeFormList list, Vorlanstate& point) noexcept {
    std::int32_t integer = 0;
    for (int k = 0; k < 2; ++k) {
        if (const auto outcome = list.nextInteger(integer); outcome != ReadOutcome::Success) return outcome;
    }
    std::array<double, 2> realAndTime{};
    if (const auto outcome = list.next(realAndTime); outcome != ReadOutcome::Success) return outcome;
    point.time = realAndTime[1] + kDayZeroOf1970;
    if (const auto outcome = readState(list, point); outcome != ReadOutcome::Success) return outcome;
    std::array<double, 4> unused{};
    return list.next(unused);
}

}  // namespace

// A line that can't be read ends the block: one that is too short ends it normally, any other fails it.
std::int32_t ReadDCEText(BlockInput& input, Vorlanrecord& record) {
    record.satNum = strtoint(input.headerLine());
    record.coordSys = kEci;
    for (;;) {
        std::string_view line;
        Vorlanstate point;
        ReadOutcome outcome = input.readPointLine(line);
        const bool hasLine = outcome == ReadOutcome::Success;
        if (hasLine) outcome = readPoint(input.list(line), point);
        if (outcome == ReadOutcome::Error) return blockFailed(input, kName, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) {
            if (hasLine && input.has(Rule::HeaderEndsBlock)) input.unreadLine();  // it may be the next header
            return blockRead(record);
        }
        input.append(point, record);
    }
}

}  // namespace vorlandi
