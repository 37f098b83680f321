// Reads CCSDS OEM in its text form: segments of metadata, lines of an epoch and a state, and blocks of covariances. A
// segment is a record; one that can't be read is refused, and reading goes on at the next. Accelerations are not read.
#include <optional>
#include <utility>

#include "Vorlandi/VorlandiCardReading/Readers/OemCovariances.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/OemMetadata.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

#include "CoreServices/Status.hpp"
#include "CoreServices/TraceLog.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kName = "ReadOEM";
constexpr std::string_view kFormat = "OEM";
constexpr std::string_view kVersion = "CCSDS_OEM_VERS";
constexpr std::string_view kMetaStart = "META_START";
constexpr std::string_view kMetaStop = "META_STOP";
constexpr std::string_view kCovarianceStart = "COVARIANCE_START";
constexpr std::string_view kCovarianceStop = "COVARIANCE_STOP";

// A refused segment is skipped: first the rest of its metadata, then its data.
enum class Section { Header, Metadata, States, Covariances, RefusedMetadata, RefusedData };

constexpr bool isRefused(Section section) noexcept {
    return section == Section::RefusedMetadata || section == Section::RefusedData;
}

bool beginsNumber(std::string_view text) noexcept {
    return isDigit(text[0]) || text[0] == '-' || text[0] == '+' || text[0] == '.';
}

class OemBlock {
public:
    OemBlock(BlockInput& input, Vorlanrecord& record)
        : input_(input), record_(record), empty_(record), covariances_(input, record, kName) {}

    std::int32_t read();

private:
    struct Segment {
        std::vector<Vorlanrecord> records;
        std::int64_t header;
        std::int32_t satNum;  // -1 if its metadata has none
    };

    bool readVersion(std::string_view text);
    bool beginFile(std::string_view text);
    bool readLine(std::string_view text);
    void readNumbers(std::string_view text);
    void readEntry(const OemEntry& entry);
    void readPoint(std::string_view text);
    bool readState(std::string_view text, Vorlanstate& point) const noexcept;
    void beginSegment();
    bool beginsUnmarked(const OemEntry& entry) const noexcept;
    void endMetadata();
    void endRefusedMetadata();
    void endSegment();
    void refuseSegment(std::string_view reason, Section next = Section::RefusedData);
    void noteObject();
    std::int32_t numberOf(const OemObject& object) const noexcept;
    void storeSegments();
    void skip(std::string_view reason) { input_.skipBadLine(kName, reason); }

    BlockInput& input_;
    Vorlanrecord& record_;
    const Vorlanrecord empty_;  // what a segment begins with
    Section section_ = Section::Header;
    KeptLine header_;  // of the segment
    OemMetadata metadata_;
    OemCovariances covariances_;
    LastDay lastDay_;

    // Segments are stored at the end: whether the file's name numbers them depends on all of them.
    std::vector<Segment> segments_;
    std::optional<OemObject> object_;       // the first one
    std::optional<OemObject> otherObject_;  // the first one that differs from it
    bool isUnnumbered_ = false;             // is there one without a number?
    bool objectIsNoted_ = false;            // the one of this segment
};

std::int32_t OemBlock::read() {
    bool good = readVersion(stripped(input_.headerLine()));
    while (good) {
        std::string_view line;
        const ReadOutcome outcome = input_.readLine(line, kFormat);
        if (outcome == ReadOutcome::Error) {
            record_ = empty_;
            blockFailed(input_, kName, kFileReadError);
            good = false;
        } else if (outcome == ReadOutcome::EndOfData) {
            endSegment();
            break;
        } else {
            good = readLine(stripped(line));
        }
    }
    storeSegments();
    return good ? blockRead(record_) : kFailure;
}

bool OemBlock::readVersion(std::string_view text) {
    const MessageText problem = problemOfOemVersion(oemEntry(text));
    if (!problem.view().empty()) blockRefused(input_, kName, "Invalid version.", problem);
    return problem.view().empty();
}

// One line, without blanks around it. False if the rest of the file can't be read.
bool OemBlock::readLine(std::string_view text) {
    if (text.empty()) return true;
    if (beginsNumber(text)) {
        readNumbers(text);
        return true;
    }
    const OemEntry entry = oemEntry(text);
    if (entry.is(kVersion)) return beginFile(text);
    if (entry.is("COMMENT")) return true;
    if (entry.is(kMetaStart)) {
        beginSegment();
        return true;
    }
    if (beginsUnmarked(entry)) {
        skip(MessageText(entry.key) << " before a META_START; it begins a segment");
        beginSegment();
    }
    readEntry(entry);
    return true;
}

// A file that follows another one in the same file.
bool OemBlock::beginFile(std::string_view text) {
    endSegment();
    section_ = Section::Header;
    const ReadPlace place = input_.place();
    observeRead(VORLAN_READ_FORMAT, place.fileName, place.number, kFormat);
    return readVersion(text);
}

void OemBlock::readNumbers(std::string_view text) {
    switch (section_) {
        case Section::States:
            return readPoint(text);
        case Section::Covariances:
            if (text.find('T') == std::string_view::npos) return covariances_.takeRow(text);
            covariances_.end();
            section_ = Section::States;
            skip("a state before the COVARIANCE_STOP; it is read");
            return readPoint(text);
        case Section::Header:
            return skip("numbers before a META_START");
        case Section::Metadata:
            endMetadata();
            if (section_ != Section::States) return;
            skip("a state before the META_STOP; it is read");
            return readPoint(text);
        case Section::RefusedMetadata:
            return endRefusedMetadata();
        case Section::RefusedData:
            return;
    }
}

void OemBlock::readEntry(const OemEntry& entry) {
    switch (section_) {
        case Section::Header:
            if (isOemHeaderKey(entry.key) && entry.value) return;
            break;
        case Section::Metadata:
            if (entry.is(kMetaStop)) return endMetadata();
            if (metadata_.take(entry)) {
                if (!metadata_.problem().empty()) refuseSegment(metadata_.problem(), Section::RefusedMetadata);
                return;
            }
            if (!entry.is(kCovarianceStart)) break;
            endMetadata();
            if (isRefused(section_)) return;
            section_ = Section::Covariances;
            return skip("COVARIANCE_START before the META_STOP");
        case Section::States:
            if (!entry.is(kCovarianceStart)) break;
            section_ = Section::Covariances;
            return;
        case Section::Covariances:
            if (covariances_.take(entry)) return;
            if (!entry.is(kCovarianceStop)) break;
            covariances_.end();
            section_ = Section::States;
            return;
        case Section::RefusedMetadata:
            if (entry.is(kMetaStop) || entry.is(kCovarianceStart)) {
                endRefusedMetadata();
            } else {
                metadata_.take(entry);  // it may name its object
            }
            return;
        case Section::RefusedData:
            return;
    }
    skip(MessageText(entry.key.substr(0, kShown)) << " is not read here");
}

void OemBlock::readPoint(std::string_view text) {
    std::string_view epoch = text.substr(0, text.find(' '));
    epoch = epoch.substr(0, epoch.find('\t'));
    bool inLeapSecond = false;
    const auto time = epochToDs50utc(epoch, metadata_.timeScale(), lastDay_, inLeapSecond);
    if (!time) return skip(kNoSuchDate);
    Vorlanstate point;
    point.time = *time;
    if (!readState(text.substr(epoch.size()), point)) return skip("a state is an epoch and six or nine numbers");
    if (inLeapSecond) return input_.dropInLeapSecond();
    input_.append(point, record_);
}

bool OemBlock::readState(std::string_view text, Vorlanstate& point) const noexcept {
    // In a list of numbers these would mean numbers that are left out.
    if (text.find(',') != std::string_view::npos || text.find('/') != std::string_view::npos) return false;
    FreeFormList list = input_.list(text);
    if (vorlandi::readState(list, point) != ReadOutcome::Success) return false;
    if (list.rest().empty()) return true;
    double acceleration[3];
    return list.next(acceleration) == ReadOutcome::Success && list.rest().empty();
}

void OemBlock::beginSegment() {
    endSegment();
    header_ = input_.keep();
    metadata_ = {};
    objectIsNoted_ = false;
    section_ = Section::Metadata;
}

// The states after metadata without a META_START must not go to the previous segment.
bool OemBlock::beginsUnmarked(const OemEntry& entry) const noexcept {
    return section_ != Section::Metadata && section_ != Section::RefusedMetadata && saysWhatStatesAre(entry);
}

void OemBlock::endMetadata() {
    metadata_.complete();
    if (!metadata_.problem().empty()) return refuseSegment(metadata_.problem());
    noteObject();
    record_.coordSys = metadata_.coordSys();
    if (record_.inputTag.blank()) record_.inputTag = metadata_.object().name();
    covariances_.beginSegment(metadata_.timeScale(), metadata_.coordSys());
    section_ = Section::States;
}

void OemBlock::endRefusedMetadata() {
    noteObject();
    section_ = Section::RefusedData;
}

void OemBlock::endSegment() {
    if (section_ == Section::RefusedMetadata) endRefusedMetadata();
    if (section_ == Section::Header || isRefused(section_)) return;
    if (section_ == Section::Covariances) covariances_.end();
    if (record_.numberOfPoints() == 0) {
        const ReadPlace here = input_.place();
        input_.blame(header_);
        refuseSegment("the segment has no states");
        input_.blame(here.line, here.number);
        return;
    }
    segments_.push_back({input_.takeRecords(std::move(record_)), header_.number, numberOf(metadata_.object())});
    record_ = empty_;
}

void OemBlock::refuseSegment(std::string_view reason, Section next) {
    if (next != Section::RefusedMetadata) noteObject();
    blockRefused(input_, kName, "Segment refused.", reason);
    input_.refuseSegment(record_);
    record_ = empty_;
    section_ = next;
}

// The name of a file can't number one of several satellites.
void OemBlock::noteObject() {
    const OemObject& object = metadata_.object();
    if (std::exchange(objectIsNoted_, true) || !object.isKnown()) return;
    const bool wasReported = isUnnumbered_ && otherObject_;
    if (!object_) object_ = object;
    if (!otherObject_ && object.differsFrom(*object_)) otherObject_ = object;
    isUnnumbered_ = isUnnumbered_ || numberOf(object) < 0;
    if (wasReported || !isUnnumbered_ || !otherObject_) return;
    tracelogerror(reasonAt(input_.place(), kName,
                           MessageText("segments name different objects, ")
                               << object_->text().substr(0, kShown) << " and " << otherObject_->text().substr(0, kShown)
                               << ": the number of those without one is 99999."));
}

// The number that an object has, or that the first one has if it is the same; -1 if there is none.
std::int32_t OemBlock::numberOf(const OemObject& object) const noexcept {
    const std::int32_t number = object.satNum();
    return number >= 0 || !object.isKnown() || !object_ || object.differsFrom(*object_) ? number : object_->satNum();
}

void OemBlock::storeSegments() {
    const std::int32_t fileSatNum =
        otherObject_ ? kUncataloguedSatNum : satNumFromFileName(input_.fileName(), input_.rules());
    for (auto& [records, header, satNum] : segments_) {
        for (Vorlanrecord& record : records)
            record.satNum = satNum >= 0 ? satNum : fileSatNum;
        input_.storeSegment(std::move(records), header);
    }
}

}  // namespace

std::int32_t ReadOEM(BlockInput& input, Vorlanrecord& record) { return OemBlock(input, record).read(); }

}  // namespace vorlandi
