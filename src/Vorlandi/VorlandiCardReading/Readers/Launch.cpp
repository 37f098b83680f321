// Reads launch trajectories: seconds of the day of reading and an earth-fixed state in meters, in free form.
#include "CoreServices/LocalDate.hpp"
#include "TimeLibrary/Calendar.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadLaunchFormat";
constexpr int kHeaderLines = 16;

// Values taken one after another, over as many lines as they need. The first of these lines is to blame for a bad
// value.
class ListOverLines {
public:
    explicit ListOverLines(BlockInput& input) noexcept : input_(input), list_(input.list({})) {}

    ReadOutcome next(std::span<double> values) {
        for (double& value : values) {
            const auto outcome = nextOverLines([&] { return list_.next(value); });
            if (outcome != ReadOutcome::Success) return outcome;
        }
        return ReadOutcome::Success;
    }

    ReadOutcome nextWord() {
        std::string_view word;
        return nextOverLines([&] { return list_.nextWord(word); });
    }

    void blameFirstLine() const noexcept {
        if (firstLine_.number > 0) input_.blame(firstLine_);
    }

private:
    // EndOfData at the end of the file.
    template <class Take>
    ReadOutcome nextOverLines(Take take) {
        for (;;) {
            const ReadOutcome outcome = take();
            begun_ = begun_ || outcome == ReadOutcome::Success;
            if (outcome == ReadOutcome::Error) blameFirstLine();
            if (outcome != ReadOutcome::EndOfData) return outcome;
            // The next read invalidates the line.
            if (begun_ && firstLine_.number == 0) firstLine_ = input_.keep();
            const ReadOutcome lineOutcome = input_.readLine(line_);
            if (lineOutcome != ReadOutcome::Success) return lineOutcome;
            list_.goOn(line_);
        }
    }

    BlockInput& input_;
    FreeFormList list_;
    std::string_view line_;
    bool begun_ = false;
    KeptLine firstLine_;  // once a second line is needed
};

// One data record: the time in seconds, three values not used, the state, five more and a label. What follows
// on the line of the label is lost.
ReadOutcome readRecord(ListOverLines& list, double& seconds, Vorlanstate& point) {
    std::array<double, 4> timeAndUnused{};
    std::array<double, 5> unused{};
    for (const std::span<double> values : {std::span<double>(timeAndUnused), std::span<double>(point.pos),
                                           std::span<double>(point.vel), std::span<double>(unused)}) {
        if (const auto outcome = list.next(values); outcome != ReadOutcome::Success) return outcome;
    }
    seconds = timeAndUnused[0];
    return list.nextWord();
}

// The local calendar date, taken as a date in UTC.
double dayOfReading() noexcept {
    const LocalDate today = localDate();
    return clocka(mmdd2jul(today.year, today.month, today.day), today.year);
}

}  // namespace

std::int32_t ReadLaunchFormat(BlockInput& input, Vorlanrecord& record) {
    record.coordSys = kEcr;
    if (input.skipLines(kHeaderLines) != ReadOutcome::Success) return blockFailed(input, kName, kFileReadError);
    record.satNum = kUncataloguedSatNum;
    const double referenceDay = dayOfReading();
    record.points.clear();
    for (;;) {
        double seconds = 0.0;
        Vorlanstate point;
        ListOverLines list(input);
        const ReadOutcome outcome = readRecord(list, seconds, point);
        if (outcome == ReadOutcome::Error) return blockFailed(input, kName, kFileReadError);
        if (outcome == ReadOutcome::EndOfData) return blockRead(record);
        point.time = referenceDay + seconds / kSecondsPerDay;
        scaleState(point, kKmPerMeter);
        list.blameFirstLine();
        input.append(point, record);
    }
}

}  // namespace vorlandi
