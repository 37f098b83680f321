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
           ", Start = " + dateText(record.points.firstTime()) +
           ", End = " + dateText(record.points.lastTime()) +
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

    std::int32_t run() { return fileisdotdce(fileName_) ? readDceBinary() : readBlocks(); }

private:
    std::int32_t readBlocks() {
        std::string summary = summaryOf(record_);
        std::string_view line;
        while (unit_.readLine(kEphemerisColumns, line) == ReadOutcome::Success) {
            if (isComment(line) || isBlank(line)) continue;
            const FormatRow* const row = recognise(line);
            if (row == nullptr) continue;
            if (row->code == kTagCard) record_.inputTag = getinputfilename(line);
            if (row->reader == nullptr) continue;
            observeRead(VORLAN_READ_FORMAT, fileName_, unit_.lineNumber(), row->name);
            BlockInput block(unit_, line, fileName_);
            if (row->reader(block, record_) == kBlockFailed) return kFailure;
            if (record_.numberOfPoints() == 0) return noData();
            summary = summaryOf(record_);
            // While lines are left, a further block would go on from this record.
            const bool isLast = unit_.atEnd();
            if (isLast) trimvorlanempts(record_);
            const Vorlanbintree* stored = nullptr;
            const std::int64_t key = AddRecToMem(isLast ? std::move(record_) : shareOf(record_), &stored);
            keep(key, stored, unit_.lineNumber());
            tag_ = std::string_view{};
        }
        traceloginfo(summary);
        return kSuccess;
    }

    // The whole file, opened anew as bytes, which a pipe can't be. What was read before an error is stored
    // all the same.
    std::int32_t readDceBinary() {
        std::unique_ptr<ByteSource> source;
        openByteSource(replacestring(fileName_, '\\', '/'), source, FileKind::Regular);
        RecordPlace place{fileName_};
        if (source) observeRead(VORLAN_READ_FORMAT, fileName_, 1, kDceBinaryName);
        const std::int32_t status = ReadDCEBinary(source.get(), record_, place);
        if (record_.numberOfPoints() == 0) return noData();
        trimvorlanempts(record_);
        const Vorlanbintree* stored = nullptr;
        const std::int64_t key = AddRecToMem(std::move(record_), &stored);
        keep(key, stored, place.number);
        return status;
    }

    std::int32_t noData() const {
        tracelogerror(kNoData);
        return kFailure;
    }

    // Hands out the key of a record; `stored` is null if it was refused.
    void keep(std::int64_t key, const Vorlanbintree* stored, std::int64_t line) {
        if (satKeyOut_ != nullptr) *satKeyOut_ = key;
        if (stored != nullptr) observeRead(VORLAN_READ_STORED, fileName_, line, std::to_string(key));
    }

    InputUnit& unit_;
    std::string_view fileName_;
    InputTag& tag_;
    std::int64_t* satKeyOut_;
    Vorlanrecord record_;
};

// A line without them is no tag card, and if it is an input-file card, it names no file.
constexpr std::string_view kCardMarks = "#=";

// Follows an input-file card; a file that can't be opened is passed over. Only regular files are: a card must
// not make the library wait for a pipe or read a device without end.
void readNestedFile(std::string_view card, InputTag& tag) {
    const PaddedText<512> name(getinputfilename(card));
    InputUnit nested;
    if (fileopenmt(name.view(), nested, FileKind::Regular) == 0) ReadOnlyVorlans(nested, name.view(), tag);
}

}  // namespace

std::int32_t readvorlansfrfile(std::string_view fileName) noexcept {
    InputUnit unit;
    if (const int error = fileopenmt(fileName, unit); error != 0) return error;
    InputTag tag;
    return fileisdotdce(fileName) ? ReadOnlyVorlans(unit, fileName, tag)
                                  : readvorlansfrfileunit(unit, fileName);
}

void followCards(InputUnit& unit, InputTag& tag) {
    unit.rewind();
    std::string_view line;
    while (unit.readLine(kCardColumns, line) == ReadOutcome::Success) {
        const std::int32_t code = mayBeCard(line) ? vorlancardtype(line) : kUnknownFormat;
        if (code == kTagCard) tag = getinputfilename(line);
        if (code == kInputFileCard) readNestedFile(line, tag);
        unit.passOverLinesWithout(kCardMarks);
    }
    unit.rewind();
}

std::int32_t readvorlansfrfileunit(InputUnit& unit, std::string_view fileName) {
    InputTag tag;
    followCards(unit, tag);
    return ReadOnlyVorlans(unit, fileName, tag);
}

std::int64_t addvorlanfile(std::string_view fileName) noexcept {
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
