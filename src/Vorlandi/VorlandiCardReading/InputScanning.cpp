#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"

#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/DateTexts.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kNoData =
    "ReadOnlyVorlans: Input ephemeris does not contain any ephemeris data. It will not be stored.";

std::string dateText(double ds50UTC) {
    const auto date = ds50todate15(ds50UTC);
    return std::string(date.data(), date.size());
}

std::string summaryOf(const Vorlanrecord& record) {
    if (record.numberOfPoints() == 0) return "Total ephemeris points = 0";
    return "Total ephemeris points = " + std::to_string(record.numberOfPoints()) +
           ", Start = " + dateText(record.points.front().time) +
           ", End = " + dateText(record.points.back().time) +
           ", Coord = " + std::string(coordinateName(record.coordSys));
}

// One ephemeris pass: the working record and what becomes of it. The record goes on from block to block: a
// later block adds its points behind the earlier ones.
class EphemerisPass {
public:
    EphemerisPass(InputUnit& unit, std::string_view fileName, InputTag& tag, std::int64_t* satKeyOut)
        : unit_(unit), fileName_(fileName), tag_(tag), satKeyOut_(satKeyOut) {
        record_.fileName = fileName;
        record_.inputTag = tag.view();
    }

    std::int32_t run() {
        std::string summary = summaryOf(record_);
        std::string_view line;
        while (unit_.readLine(kEphemerisColumns, line) == ReadOutcome::Success) {
            if (isComment(line) || isBlank(line)) continue;
            const FormatRow* const row = recognise(line);
            if (row == nullptr) continue;
            if (row->code == kTagCard) record_.inputTag = getinputfilename(line);
            if (row->reader == nullptr) continue;
            BlockInput block(unit_, line, fileName_);
            if (row->reader(block, record_) == kBlockFailed) return kFailure;
            if (record_.numberOfPoints() == 0) {
                tracelogerror(kNoData);
                return kFailure;
            }
            summary = summaryOf(record_);
            store();
        }
        traceloginfo(summary);
        return kSuccess;
    }

private:
    // Stores the record; a copy of it while lines are left, from which a further block would go on.
    void store() {
        trimvorlanempts(record_);
        const std::int64_t key = unit_.atEnd() ? AddRecToMem(std::move(record_)) : AddRecToMem(record_);
        if (satKeyOut_ != nullptr) *satKeyOut_ = key;
        tag_ = std::string_view{};
    }

    InputUnit& unit_;
    std::string_view fileName_;
    InputTag& tag_;
    std::int64_t* satKeyOut_;
    Vorlanrecord record_;
};

// Follows an input-file card; a file that can't be opened is passed over.
void readNestedFile(std::string_view card, InputTag& tag) {
    const PaddedText<512> name(getinputfilename(card));
    InputUnit nested;
    if (fileopenmt(name.view(), nested) == 0) ReadOnlyVorlans(nested, name.view(), tag);
}

}  // namespace

std::int32_t readvorlansfrfile(std::string_view fileName) {
    InputUnit unit;
    if (const int error = fileopenmt(fileName, unit); error != 0) return error;
    InputTag tag;
    return fileisdotdce(fileName) ? ReadOnlyVorlans(unit, fileName, tag)
                                  : readvorlansfrfileunit(unit, fileName);
}

std::int32_t readvorlansfrfileunit(InputUnit& unit, std::string_view fileName) {
    InputTag tag;
    unit.rewind();
    std::string_view line;
    while (unit.readLine(kCardColumns, line) == ReadOutcome::Success) {
        if (!mayBeCard(line)) continue;
        const std::int32_t code = vorlancardtype(line);
        if (code == kTagCard) tag = getinputfilename(line);
        if (code == kInputFileCard) readNestedFile(line, tag);
    }
    unit.rewind();
    return ReadOnlyVorlans(unit, fileName, tag);
}

std::int64_t addvorlanfile(std::string_view fileName) {
    InputUnit unit;
    if (fileopenmt(fileName, unit) != 0) return kNoKey;
    InputTag tag;
    std::int64_t key = kNoKey;
    return ReadOnlyVorlans(unit, fileName, tag, &key) == kSuccess ? key : kNoKey;
}

std::int32_t ReadOnlyVorlans(InputUnit& unit, std::string_view fileName, InputTag& tag,
                             std::int64_t* satKeyOut) {
    return EphemerisPass(unit, fileName, tag, satKeyOut).run();
}

}  // namespace vorlandi
