// The input of a reader: the unit, positioned after the recognised header line, that line, the file name, and the rules
// by which the file is read. Lines and numbers come from here, and points go back through it.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "CoreServices/InputUnits.hpp"
#include "CoreServices/Texts.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/VorlandiCardReading/BlockHeaders.hpp"
#include "Vorlandi/VorlandiCardReading/BlockRecords.hpp"
#include "Vorlandi/VorlandiCardReading/ChunkedReading.hpp"
#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"
#include "Vorlandi/VorlandiCardReading/ReadPlace.hpp"
#include "Vorlandi/VorlandiCardReading/ReadingRules.hpp"

namespace vorlandi {

constexpr std::size_t kEphemerisColumns = 512;  // width of a line in an ephemeris pass, except by Rule::LinesAreWhole
constexpr std::size_t kCardColumns = 1500;      // and in a card pass

// Begins messages about lines that are the same for all formats.
constexpr std::string_view kScanner = "ReadOnlyVorlans";
constexpr std::string_view kTimeOutside = "its time is not in 1950 to 2199";

// Receives the records of a block as soon as they are complete.
class RecordSink {
public:
    // `header` is the line of the header they belong to.
    virtual void store(std::vector<Vorlanrecord> records, std::int64_t header) = 0;

    // A part of a block has been refused, and reported; the rest is still read.
    virtual void refuse() = 0;

protected:
    ~RecordSink() = default;
};

// Position and velocity, six numbers, from a list into a point.
inline ReadOutcome readState(FreeFormList& list, Vorlanstate& point) noexcept {
    const ReadOutcome outcome = list.next(point.pos);
    return outcome == ReadOutcome::Success ? list.next(point.vel) : outcome;
}

class BlockInput {
public:
    BlockInput(InputUnit& unit, std::string_view headerLine, std::string_view fileName,
               ReadingRules rules = ReadingRules::fixed(), RecordSink* sink = nullptr, ThreadRequest* threads = nullptr)
        : unit_(&unit),
          sink_(sink),
          threads_(threads),
          place_{fileName, unit.lineNumber(), {}},
          rules_(rules),
          headerNumber_(unit.lineNumber()) {
        headerLine_ = headerLine;
        place_.line = headerLine_;
    }
    BlockInput(const BlockInput&) = delete;
    BlockInput& operator=(const BlockInput&) = delete;

    std::string_view headerLine() const noexcept { return headerLine_; }
    std::string_view fileName() const noexcept { return place_.fileName; }
    ReadingRules rules() const noexcept { return rules_; }
    bool has(Rule rule) const noexcept { return rules_.has(rule); }

    // ---- Lines ----

    // The next line, which stays valid until the next one is read. By Rule::HeaderEndsBlock a header of another block
    // is left for that block, and ends the data here. Only distinct headers count, and none of `ownFormat`.
    ReadOutcome readLine(std::string_view& line, std::string_view ownFormat = {}) {
        const ReadOutcome outcome = readAnyLine(line);
        return mayEndAt(line) ? endAtHeader(line, true, ownFormat) : outcome;
    }

    // The same where lines are points, not free text: every header counts.
    ReadOutcome readPointLine(std::string_view& line) {
        const ReadOutcome outcome = readAnyLine(line);
        return mayEndAt(line) ? endAtHeader(line, false, {}) : outcome;
    }

    ReadOutcome readAnyLine(std::string_view& line) {
        const ReadOutcome outcome =
            unit_->readLine(has(Rule::LinesAreWhole) ? InputUnit::kLongestWholeLine : kEphemerisColumns, line);
        blame(line.substr(0, kEphemerisColumns), unit_->lineNumber());
        if (unit_->isLineCut() && has(Rule::LinesAreWhole)) [[unlikely]]
            skipLongLine(line);
        if (outcome != ReadOutcome::Success) [[unlikely]]
            ++place_.number;
        return outcome;
    }

    // Leaves the last line read for the next block. Only right after it was read.
    void unreadLine() noexcept { unit_->unreadLine(); }

    // The line to blame for what goes wrong now. At first it is the header; then the line read last, or, if it could
    // not be read, the empty one after the last; a reader of groups sets it to the first line of a group.
    const ReadPlace& place() const noexcept { return place_; }
    void blame(std::string_view line, std::int64_t number) noexcept {
        place_.line = line;
        place_.number = number;
    }
    void blame(const KeptLine& kept) noexcept { blame(kept.text, kept.number); }
    KeptLine keep() const { return KeptLine(place_); }

    // Skips lines. Error or EndOfData if the file doesn't have that many.
    ReadOutcome skipLines(int count);

    // Reads many lines that don't depend on their place by several threads, if the load allows it. They begin with a
    // group. `read(part, record)` reads the lines of a part, up to its end or to one that it leaves; it runs on several
    // threads at once. Lines may be left, even all of them.
    template <class Read>
    void readInChunks(Vorlanrecord& record, LineGrouping grouping, const Read& read) {
        if (threads_ != nullptr) vorlandi::readInChunks(*this, *unit_, record, grouping, PartReader(read), *threads_);
    }

    // Takes lines from another unit while `read` runs.
    template <class Read>
    void readFrom(InputUnit& unit, Read read) {
        struct Back {
            ~Back() { input.unit_ = before; }
            BlockInput& input;
            InputUnit* before;
        } const back{*this, std::exchange(unit_, &unit)};
        read();
    }

    // This input has lines of another one.
    void setPartOf(const BlockInput& whole) noexcept { headerNumber_ = whole.headerNumber_; }

    // The block is not the first of its file.
    void setFollowsAnother() noexcept { followsAnother_ = true; }

    // For a format without a header: goes to the first line of the file, where its lines may have begun; by
    // Rule::HeaderEndsBlock not into another block, but to the line that was recognised. Only before the first line is
    // read.
    void goToFirstLine() {
        if (followsAnother_ && rules_.has(Rule::HeaderEndsBlock)) {
            unit_->unreadLine();
        } else {
            unit_->rewind();
        }
    }

    // Has the line read last been left out, and reported, since it is too long?
    bool isLineLeftOut() const noexcept { return unit_->isLineCut() && has(Rule::LinesAreWhole); }

    // Is this line, read last, before the one that was recognised?
    bool isBeforeHeader() const noexcept { return place_.number < headerNumber_; }

    // ---- Numbers, in the forms that the rules allow ----

    FreeFormList list(std::string_view text) const noexcept { return FreeFormList(text, rules_.exponents()); }

    ReadOutcome readFreeForm(std::string_view text, std::span<double> values) const noexcept {
        return list(text).next(values);
    }
    ReadOutcome readColumns(std::string_view line, RealColumns where, std::span<double> values) const noexcept {
        return vorlandi::readColumns(line, where, values, rules_.exponents());
    }

    // Position and velocity, six numbers, from the beginning of a text.
    ReadOutcome readState(std::string_view text, Vorlanstate& point) const noexcept {
        FreeFormList numbers = list(text);
        return vorlandi::readState(numbers, point);
    }

    // ---- Points and records ----

    // Appends a point of revolution number 0. One that is not later than the last is dropped, or by the practical rules
    // may begin the next record. By Rule::TimesAreStorable a time that no record can begin with is a bad line.
    void append(const Vorlanstate& point, Vorlanrecord& record, const PointCovariance* covariance = nullptr) {
        if (has(Rule::TimesAreStorable) && !hasSatKey(point.time)) [[unlikely]]
            return skipBadLine(kScanner, kTimeOutside);
        if (!addoneeppoint(point, record, covariance)) [[unlikely]]
            appendLate(point, record, covariance);
    }

    // Has a point been appended that is not later than the last one, or been dropped?
    bool hasLatePoints() const noexcept { return hasLatePoints_; }

    // Drops the point on this line, which is inside a leap second.
    void dropInLeapSecond() {
        hasLatePoints_ = true;
        records_.dropInLeapSecond(place_);
    }

    // What divides the points of this block into records.
    BlockRecords& records() noexcept { return records_; }

    // Stores records of this block before its end, from one of several segments: the result of takeRecords for its
    // points. `header` is the line of the segment's header.
    void storeSegment(std::vector<Vorlanrecord> records, std::int64_t header) {
        sink_->store(std::move(records), header);
    }

    // Forgets the points read so far: their segment is refused.
    void refuseSegment(Vorlanrecord& record);

    // The records made of the points read so far, at the end of the block or of a segment.
    std::vector<Vorlanrecord> takeRecords(Vorlanrecord&& record) {
        return records_.take(std::move(record), fileName());
    }

    // Reports data that can't be used, in two messages: "*** reader : Bad ephemeris data. ***" and the text. The second
    // form says why in a message between them, "reader: file:line: reason".
    void skipbadephempoint(std::string_view reader, std::string_view text) const;
    void skipBadLine(std::string_view reader, std::string_view reason) const;

private:
    bool mayEndAt(std::string_view line) const noexcept {
        return rules_.has(Rule::HeaderEndsBlock) && mayBeHeader(line);
    }
    ReadOutcome endAtHeader(std::string_view& line, bool isFreeText, std::string_view ownFormat);
    void skipLongLine(std::string_view& line) const;
    void appendLate(const Vorlanstate& point, const Vorlanrecord& record, const PointCovariance* covariance);

    InputUnit* unit_;
    RecordSink* sink_;
    ThreadRequest* threads_;  // null: only one thread
    InlineChars<kEphemerisColumns> headerLine_;
    ReadPlace place_;
    ReadingRules rules_;
    std::int64_t headerNumber_;
    bool followsAnother_ = false;
    BlockRecords records_;
    bool hasLatePoints_ = false;
};

}  // namespace vorlandi
