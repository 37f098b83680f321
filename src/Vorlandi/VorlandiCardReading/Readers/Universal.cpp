// Reads the universal ephemeris format: a header with satellite number and coordinate system, then one line per point,
// in fixed columns or separated by commas. Values are stored unchanged.
#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadKQUniversalVorlan";

// Header
constexpr Columns kSatNum{30, 39};
constexpr Columns kCoordinateSystem{40, 49};
constexpr Columns kLayout{50, 53};
constexpr std::string_view kCommaSeparated = "CSV ";

// Point line in fixed columns
constexpr Columns kTime{1, 26};
constexpr RealColumns kState{28, 46, 0, 1};  // six fields F19.0, a column between them: km, km/s

// Point line with commas: the first one, after the time, is at this column or before
constexpr std::size_t kLastFirstComma = 27;

std::string_view textIn(std::string_view line, Columns where) noexcept {
    return columns(line, where.first, where.last);
}

struct State {
    std::array<double, 6> values{};

    Vorlanstate at(double time) const noexcept {
        Vorlanstate point;
        point.time = time;
        std::copy_n(values.begin(), 3, point.pos);
        std::copy_n(values.begin() + 3, 3, point.vel);
        return point;
    }
};

void readFixedColumns(std::string_view line, BlockInput& input, Vorlanrecord& record) {
    const double time = dtg2ds50utc(textIn(line, kTime));
    if (!(time > 0.0)) return input.skipbadephempoint(kName, textIn(line, kTime));
    State state;
    if (input.readColumns(line, kState, state.values) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, line);
    }
    input.append(state.at(time), record);
}

void readCommas(std::string_view line, BlockInput& input, Vorlanrecord& record) {
    const auto comma = line.substr(0, kLastFirstComma).find(',');
    if (comma == std::string_view::npos) return input.skipbadephempoint(kName, {});
    const double time = dtg2ds50utc(line.substr(0, comma));
    if (!(time > 0.0)) return input.skipbadephempoint(kName, line.substr(0, comma));
    State state;
    if (input.readFreeForm(line.substr(comma + 1), state.values) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, line);
    }
    input.append(state.at(time), record);
}

// A field of the header in its full width: its length tells `coord` which names it may hold.
std::string padded(std::string_view line, Columns where) {
    std::string text(textIn(line, where));
    text.resize(where.last - where.first + 1, ' ');
    return text;
}

}  // namespace

std::int32_t ReadKQUniversalVorlan(BlockInput& input, Vorlanrecord& record) {
    const std::string_view header = input.headerLine();
    const std::int32_t coordSys = coord(padded(header, kCoordinateSystem));
    if (coordSys == kUnknownCoordinates) {
        return blockRefusedBy(input, kName, "Invalid coordinate system.",
                              MessageText("coordinate system ") << stripped(textIn(header, kCoordinateSystem))
                                                                << " is not read; HCSRL, WPTRL, HCSGC and WPTGC are.",
                              [](auto&... said) { return blockFailed(said...); });
    }
    record.coordSys = coordSys;
    record.satNum = strtoint(textIn(header, kSatNum));
    if (record.satNum == kNoInteger) return blockFailed(input, kName, "Invalid satellite number.");
    const auto readPoint = padded(header, kLayout) == kCommaSeparated ? readCommas : readFixedColumns;

    return useLoneLinesToEnd(input, kName, record, [=](std::string_view line, BlockInput& part, Vorlanrecord& points) {
        if (!isComment(line) && !isBlank(line)) readPoint(line, part, points);
    });
}

}  // namespace vorlandi
