// Reads launch-vehicle trajectories in the EELV layout: a reference date of six numbers in the first line,
// then lines of elapsed seconds and an inertial state in feet, all in free form.
#include <limits>

#include "TimeLibrary/Calendar.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadEELV";
constexpr double kKmPerFoot = 0.0003048;

// The integer part. False for a number whose integer part passes 32 bits.
bool truncate(double value, std::int32_t& integer) noexcept {
    using Limits = std::numeric_limits<std::int32_t>;
    if (!(value > Limits::min() - 1.0 && value < Limits::max() + 1.0)) return false;
    integer = static_cast<std::int32_t>(value);
    return true;
}

// Does this date and time exist, not counting leap seconds?
bool exists(const std::array<std::int32_t, 5>& parts, double seconds) noexcept {
    const auto [year, month, day, hour, minute] = parts;
    return mmdd2jul(year, month, day) != 0 && hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && seconds >= 0.0 &&
           seconds < 60.0;
}

// Ds50UTC of year, month, day, hour, minute and seconds. False if they can't be read.
bool readReferenceEpoch(const BlockInput& input, double& epoch) noexcept {
    std::array<double, 6> numbers{};
    if (input.readFreeForm(input.headerLine(), numbers) != ReadOutcome::Success) return false;
    std::array<std::int32_t, 5> parts{};
    for (std::size_t k = 0; k < parts.size(); ++k) {
        if (!truncate(numbers[k], parts[k])) return false;
    }
    const auto [year, month, day, hour, minute] = parts;
    if (input.has(Rule::DatesExist) && !exists(parts, numbers[5])) return false;
    epoch = tcomps2utc(mmdd2jul(year, month, day), hour, minute, numbers[5], year);
    return true;
}

void readPoint(std::string_view line, double referenceEpoch, BlockInput& input, Vorlanrecord& record) {
    FreeFormList list = input.list(line);
    double seconds = 0.0;
    Vorlanstate point;
    if (list.next(seconds) != ReadOutcome::Success || readState(list, point) != ReadOutcome::Success) {
        return input.skipbadephempoint(kName, line);
    }
    point.time = referenceEpoch + seconds / kSecondsPerDay;
    scaleState(point, kKmPerFoot);
    input.append(point, record);
}

}  // namespace

std::int32_t ReadEELV(BlockInput& input, Vorlanrecord& record) {
    double referenceEpoch = 0.0;
    if (!readReferenceEpoch(input, referenceEpoch)) {
        return blockRefusedBy(input, kName, "Invalid EELV first line.",
                              "the first line is not a date: year, month, day, hour, minute and seconds.",
                              blockFailedWithLine);
    }
    record.satNum = kUncataloguedSatNum;
    record.coordSys = kEci;
    return useLoneLinesToEnd(input, kName, record, [=](std::string_view line, BlockInput& part, Vorlanrecord& points) {
        readPoint(line, referenceEpoch, part, points);
    });
}

}  // namespace vorlandi
