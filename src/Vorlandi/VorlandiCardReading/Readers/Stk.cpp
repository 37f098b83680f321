// Reads the keyword-based STK ephemeris format: epoch, central body, coordinate system and distance unit in a
// header, then lines of a time offset and a state. Accelerations are not read.
#include "TimeLibrary/DateTexts.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadDotE";
constexpr std::string_view kEnd = "end Ephemeris";

constexpr std::size_t kTimeAndPosition = 4;
constexpr std::size_t kTimePositionVelocity = 7;

bool contains(std::string_view text, std::string_view part) noexcept {
    return text.find(part) != std::string_view::npos;
}

// What the header says. `problem` is set by a line that can't be used.
struct Header {
    double epoch = 0.0;  // Ds50UTC, 0.0 for a date that can't be read
    KeptLine epochLine;
    std::int32_t coordSys = kJ2k;
    bool meters = true;
    std::size_t numbersPerLine = 0;  // 0 until the line that ends the header
    std::string_view problem;
};

// A date that begins with the first sign or digit of the line. The day may have one digit.
void readEpoch(std::string_view line, Header& header) {
    constexpr std::size_t kDateWidth = 24;
    const auto first = line.find_first_of("+-0123456789");
    if (first == std::string_view::npos) {
        header.problem = "Invalid epoch time.";
        return;
    }
    const bool oneDigitDay = line.substr(first + 1, 1) == " ";
    std::string date(oneDigitDay ? "0" : "");
    date += line.substr(first, kDateWidth - date.size());
    header.epoch = dtg2ds50utc(date);
}

void readCoordinateSystem(std::string_view line, Header& header) {
    if (contains(line, "TEMEOfDate")) {
        header.coordSys = kEci;
    } else if (contains(line, "Fixed")) {
        header.coordSys = kEcr;
    } else if (contains(line, "J2000") || contains(line, "ICRF")) {
        header.coordSys = kJ2k;
    } else {
        header.problem = "Invalid coordinate system. Only Fixed, J2000, and TEMEOfDate are supported.";
    }
}

void readDistanceUnit(std::string_view line, Header& header) {
    if (contains(line, "Kilometers")) {
        header.meters = false;
    } else if (!contains(line, "Meters")) {
        header.problem = "Invalid distance unit. Only meters and kilometers are supported.";
    }
}

void readDataType(std::string_view line, Header& header) {
    if (contains(line, "PosVel")) {
        header.numbersPerLine = kTimePositionVelocity;
    } else if (contains(line, "Pos")) {
        header.numbersPerLine = kTimeAndPosition;
    } else {
        header.problem = "Invalid ephem type. Only TimePos, PosVel, and PosVelAcc are supported.";
    }
}

void readHeaderLine(std::string_view line, const BlockInput& input, Header& header) {
    if (header.epochLine.number == 0 && contains(line, "ScenarioEpoch")) {
        header.epochLine = input.keep();
        return readEpoch(line, header);
    }
    if (contains(line, "CentralBody")) {
        if (!contains(line, "Earth")) header.problem = "Invalid file. CentralBody is not Earth.";
    } else if (contains(line, "CoordinateSystem")) {
        readCoordinateSystem(line, header);
    } else if (contains(line, "DistanceUnit")) {
        readDistanceUnit(line, header);
    } else if (contains(line, "EphemerisTime") || contains(line, "EphemerisEciTime")) {
        readDataType(line, header);
    }
}

// Reads the header up to its last line, or to the end of the file.
Header readHeader(BlockInput& input) {
    Header header;
    std::string_view line;
    while (header.numbersPerLine == 0 && header.problem.empty()) {
        const ReadOutcome outcome = input.readLine(line);
        if (outcome == ReadOutcome::Error) header.problem = kFileReadError;
        if (outcome != ReadOutcome::Success) break;
        readHeaderLine(leftAdjusted(line), input, header);
    }
    return header;
}

// A point of the time offset, position and velocity on a data line.
Vorlanstate pointOf(const std::array<double, 7>& numbers, const Header& header) noexcept {
    Vorlanstate point;
    point.time = header.epoch + numbers[0] / kSecondsPerDay;
    std::copy_n(numbers.begin() + 1, 3, point.pos);
    std::copy_n(numbers.begin() + 4, 3, point.vel);
    if (header.meters) scaleState(point, kKmPerMeter);
    return point;
}

// One data line. True for the line that ends the data.
bool readDataLine(std::string_view line, const Header& header, BlockInput& input, Vorlanrecord& record) {
    if (isComment(line) || isBlank(line)) return false;
    std::array<double, 7> numbers{};
    FreeFormList list = input.list(line);
    const bool good = list.next(std::span(numbers).first(header.numbersPerLine)) == ReadOutcome::Success;
    // The mark that ends the data has no number in it: it can only be in what was not read as numbers.
    if (contains(good ? list.rest() : line, kEnd)) return true;
    if (good) {
        input.append(pointOf(numbers, header), record);
    } else {
        input.skipbadephempoint(kName, line);
    }
    return false;
}

}  // namespace

std::int32_t ReadDotE(BlockInput& input, Vorlanrecord& record) {
    record.coordSys = kJ2k;
    record.satNum = satNumFromFileName(input.fileName(), input.rules());
    const Header header = readHeader(input);
    record.coordSys = header.coordSys;
    if (!header.problem.empty()) return blockFailed(input, kName, header.problem);
    if (header.epoch == 0.0) {
        if (header.epochLine.number > 0) input.blame(header.epochLine);
        return blockFailed(input, kName, "Unable to read reference epoch time.");
    }

    input.readInChunks(record, {}, [&header](BlockInput& part, Vorlanrecord& points) {
        std::string_view line;
        while (part.readLine(line) == ReadOutcome::Success) {
            if (readDataLine(line, header, part, points)) return part.unreadLine();
        }
    });
    std::string_view line;
    for (;;) {
        const ReadOutcome outcome = input.readLine(line);
        if (outcome == ReadOutcome::Error) return blockFailed(input, kName, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) return blockRead(record);
        if (readDataLine(line, header, input, record)) return blockRead(record);
    }
}

}  // namespace vorlandi
