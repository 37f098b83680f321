#include "Vorlandi/VorlandiCardReading/EphemerisPass.hpp"

#include "CoreServices/KeyModes.hpp"
#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/DateTexts.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"
#include "Vorlandi/VorlandiCardReading/Trial.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kNoData =
    "ReadOnlyVorlans: Input ephemeris does not contain any ephemeris data. It will not be stored.";
constexpr std::string_view kName = kScanner;
constexpr std::string_view kOutOfMemory = "out of memory";

// Why a record was not stored; `key` is the result of AddRecToMem.
MessageText reasonAgainst(std::int64_t key, std::int32_t keyMode, std::int32_t satNum, double epoch) noexcept {
    if (keyMode == kDmaKeyMode) return key != kNoKey ? MessageText("duplicate of ") << key : MessageText(kOutOfMemory);
    const std::int64_t ordinaryKey = createsatkey(satNum, kVorlanElsetType, epoch);
    if (key != kNoKey) return MessageText("duplicate of ") << ordinaryKey;
    return MessageText(ordinaryKey == kNoKey ? "number or first time out of range" : kOutOfMemory);
}

}  // namespace

MessageText summaryOf(const Vorlanrecord& record) noexcept {
    MessageText summary("Total ephemeris points = ");
    summary << record.numberOfPoints();
    if (record.numberOfPoints() == 0) return summary;
    return summary << ", Start = " << ds50todate15(record.points.firstTime())
                   << ", End = " << ds50todate15(record.points.lastTime())
                   << ", Coord = " << coordinateName(record.coordSys);
}

EphemerisPass::EphemerisPass(InputUnit& unit, const InputFile& file, InputTag& tag, Load& load)
    : unit_(unit), file_(file), tag_(tag), load_(load), threads_(load.request.threads) {
    record_.fileName = file_.name;
    cardTag_ = tag.view();
    record_.inputTag = cardTag_.view();
}

std::int32_t EphemerisPass::run() { return fileisdotdce(file_.name) ? readDceBinary() : readBlocks(); }

std::int32_t EphemerisPass::readBlocks() {
    const ReadingRules rules = load_.request.rules;
    MessageText summary = summaryOf(record_);
    std::string_view line;
    ReadOutcome outcome = ReadOutcome::Success;
    while ((outcome = unit_.readLine(kEphemerisColumns, line)) == ReadOutcome::Success) {
        if (isComment(line) || isBlank(line)) continue;
        const FormatRow* row = recognise(line, rules);
        if (row != nullptr && row->byShape && rules.has(Rule::HeaderEndsBlock)) {
            if (row->confirmedBy != nullptr) line = keptLine_ = line;
            row = blockOn(line, row);
        } else if (row == nullptr) {
            skipLine(line);
        }
        if (row != nullptr && row->code == kInputFileCard) hasFileCards_ = true;
        if (row != nullptr && row->code == kTagCard) record_.inputTag = (cardTag_ = getinputfilename(line)).view();
        if (row == nullptr || row->readerBy(rules) == nullptr) continue;
        if (rules.has(Rule::BlockIsRecord)) {
            refused_ = readOwnRecords(*row, line) ? nullptr : row;
            if (refused_ != nullptr) load_.miss();
            continue;
        }
        if (!readOnWorkingRecord(*row, line)) return kFailure;
        summary = summaryOf(record_);
        storeWorkingRecord();
    }
    // An error that ended a block has been reported by its reader.
    if (outcome == ReadOutcome::Error && !readFailed_) {
        readFailed_ = true;
        blockFailed({file_.name, unit_.lineNumber() + 1, {}}, kName, kFileReadError);
        if (rules.arePractical()) load_.miss();
    }
    if (!rules.arePractical()) traceloginfo(summary);
    return kSuccess;
}

// False if the block failed or the record has no points after it.
bool EphemerisPass::readOnWorkingRecord(const FormatRow& row, std::string_view line) {
    found(row.name, unit_.lineNumber());
    BlockInput block(unit_, line, file_.name, load_.request.rules, nullptr, &threads_);
    const std::int32_t status = row.reader(block, record_);
    readFailed_ = unit_.failed();
    return status != kFailure && hasData(block.headerLine());
}

void EphemerisPass::storeWorkingRecord() {
    const std::int64_t line = unit_.lineNumber();
    const bool isLast = skipToFormat() == ReadOutcome::EndOfData;
    // The next block would continue this record.
    if (isLast) trimvorlanempts(record_);
    add(isLast ? std::move(record_) : shareOf(record_), line, header_);
    tag_ = std::string_view{};
}

// Skips the lines ahead that have no format.
ReadOutcome EphemerisPass::skipToFormat() {
    std::string_view line;
    for (;;) {
        const ReadOutcome outcome = unit_.readLine(kEphemerisColumns, line);
        if (outcome != ReadOutcome::Success) return outcome;
        if (isComment(line) || isBlank(line) || recognise(line, load_.request.rules) == nullptr) continue;
        unit_.unreadLine();
        return outcome;
    }
}

// False if the block failed or has no points.
bool EphemerisPass::readOwnRecords(const FormatRow& row, std::string_view line) {
    const bool followsAnother = foundBlock_;
    found(row.name, unit_.lineNumber());
    beginRecord();
    hasSegments_ = false;
    BlockInput block(unit_, line, file_.name, load_.request.rules, this, &threads_);
    if (followsAnother) block.setFollowsAnother();
    const std::int32_t status = row.practicalReader(block, record_);
    readFailed_ = unit_.failed();
    if (status == kFailure) return false;
    if (record_.numberOfPoints() == 0) return hasSegments_ || hasData(block.headerLine());
    store(block.takeRecords(std::move(record_)), header_);
    return true;
}

void EphemerisPass::beginRecord() {
    record_ = Vorlanrecord{};
    record_.fileName = file_.name;
    record_.inputTag = cardTag_.view();
}

void EphemerisPass::store(std::vector<Vorlanrecord> records, std::int64_t header) {
    storeRecords(std::move(records), unit_.lineNumber(), header);
}

void EphemerisPass::storeRecords(std::vector<Vorlanrecord> records, std::int64_t line, std::int64_t header) {
    hasSegments_ = true;
    for (Vorlanrecord& record : records) {
        trimvorlanempts(record);
        const MessageText summary = summaryOf(record);
        add(std::move(record), line, header);
        traceloginfo(summary);
    }
    tag_ = std::string_view{};
}

void EphemerisPass::refuse() {
    hasSegments_ = true;
    load_.miss();
}

// Reads the file as a whole, opened again as bytes, which is not possible for a pipe. What was read before an error is
// stored.
std::int32_t EphemerisPass::readDceBinary() {
    std::unique_ptr<ByteSource> source;
    file_.openBytes(source);
    if (source) found(kDceBinaryName, 1);
    BinaryInput input{source.get(), {file_.name, 0, {}}, false, load_.request.rules};
    const std::int32_t status = ReadDCEBinary(input, record_);
    readFailed_ = input.failed || !source;
    if (record_.numberOfPoints() == 0) {
        // A block that failed has been reported, with the record to blame.
        if (status == kFailure) {
            tracelogerror(kNoData);
        } else {
            hasData({});
        }
        return kFailure;
    }
    if (load_.request.rules.arePractical()) {
        storeRecords(input.records.take(std::move(record_), file_.name), input.place.number, 1);
        return status;
    }
    trimvorlanempts(record_);
    add(std::move(record_), input.place.number, header_);
    return status;
}

void EphemerisPass::found(std::string_view format, std::int64_t line) {
    foundBlock_ = true;
    hasReportedLines_ = false;
    header_ = line;
    observeRead(VORLAN_READ_FORMAT, file_.name, line, format);
}

bool EphemerisPass::hasData(std::string_view headerLine) const {
    if (record_.numberOfPoints() > 0) return true;
    observeRead(VORLAN_READ_BAD, {file_.name, header_, headerLine});
    tracelogerror(kNoData);
    return false;
}

void EphemerisPass::add(Vorlanrecord&& record, std::int64_t line, std::int64_t header) {
    if (load_.trial != nullptr && !load_.trial->settle()) return;
    const auto [satNum, epoch] = std::pair(record.satNum, record.epoch);
    const Vorlanbintree* stored = nullptr;
    const std::int32_t keyMode = load_.request.keyMode.value_or(effectiveKeyMode());
    const std::int64_t key = AddRecToMem(std::move(record), &stored, keyMode);
    load_.lastKey = key;
    if (stored != nullptr) {
        load_.stored.add(key);
        observeRead(VORLAN_READ_STORED, file_.name, line, MessageText() << key);
        return;
    }
    const MessageText reason = reasonAgainst(key, keyMode, satNum, epoch);
    observeRead(VORLAN_READ_REFUSED, file_.name, header, reason);
    if (!load_.request.rules.arePractical()) return;
    tracelogerror(MessageText(kPracticalLoader) << ": " << file_.name << ":" << header << ": satellite " << satNum
                                                << " is not stored: " << reason << ".");
    load_.miss();
}

// The format of a line that has the shape of one, null if it is skipped: a block of another kind that was refused may
// have such lines.
const FormatRow* EphemerisPass::blockOn(std::string_view line, const FormatRow* row) {
    const std::string_view next = row->confirmedBy != nullptr ? lineAhead() : std::string_view{};
    if (!vorlandi::foreignFormat(next).empty()) {
        skipLine(line);
        return nullptr;
    }
    const bool isHeader = refused_ == nullptr || headerOn(line) ||
                          (row->confirmedBy != nullptr && row->confirmedBy(next)) ||
                          (row == refused_ && row->isHeaderAmongOwn != nullptr && row->isHeaderAmongOwn(line));
    if (isHeader) return row;
    reportSkippedLines(line, MessageText("lines after a refused block that look like ")
                                 << row->name << " are not read: they may be its own");
    return nullptr;
}

// The next line, which is read again; empty if there is none.
std::string_view EphemerisPass::lineAhead() {
    std::string_view line;
    if (unit_.readLine(kEphemerisColumns, line) == ReadOutcome::Success) unit_.unreadLine();
    return line;
}

// Skips a line that no block begins with.
void EphemerisPass::skipLine(std::string_view line) {
    if (!foundBlock_) return lookForForeignFormat(line);
    if (refused_ == nullptr && !line.starts_with('#'))
        reportSkippedLines(line, "lines after the end of a block are not read");
}

// Reports the first line that is skipped after a block.
void EphemerisPass::reportSkippedLines(std::string_view line, std::string_view reason) {
    if (!load_.has(Rule::LinesAfterBlockAreReported) || hasReportedLines_) return;
    hasReportedLines_ = true;
    reportBadLine({file_.name, unit_.lineNumber(), line}, kName, reason);
}

void EphemerisPass::lookForForeignFormat(std::string_view line) {
    constexpr int kLinesLookedAt = 3;
    if (!foreign_.empty() || linesLookedAt_ == kLinesLookedAt) return;
    ++linesLookedAt_;
    foreign_ = vorlandi::foreignFormat(line);
}

}  // namespace vorlandi
