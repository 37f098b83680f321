#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <set>
#include <tuple>

#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/DateTexts.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {
namespace {

constexpr std::string_view kNoData =
    "ReadOnlyVorlans: Input ephemeris does not contain any ephemeris data. It will not be stored.";

MessageText summaryOf(const Vorlanrecord& record) noexcept {
    MessageText summary("Total ephemeris points = ");
    summary << record.numberOfPoints();
    if (record.numberOfPoints() == 0) return summary;
    return summary << ", Start = " << ds50todate15(record.points.firstTime())
                   << ", End = " << ds50todate15(record.points.lastTime()) << ", Coord = " << coordstr(record.coordSys);
}

// Why a record was not stored; `key` is the result of AddRecToMem.
MessageText reasonAgainst(std::int64_t key, std::int32_t satNum, double epoch) noexcept {
    const std::int64_t ordinaryKey = createsatkey(satNum, kVorlanElsetType, epoch);
    if (key != kNoKey) return MessageText("duplicate of ") << ordinaryKey;
    return MessageText(ordinaryKey == kNoKey ? "number or first time out of range" : "out of memory");
}

// One ephemeris pass: the working record and what becomes of it. The record goes on from block to block: a later block
// appends its points to the earlier ones.
class EphemerisPass {
public:
    EphemerisPass(InputUnit& unit, std::string_view fileName, InputTag& tag, std::int64_t* satKeyOut)
        : unit_(unit), fileName_(fileName), tag_(tag), satKeyOut_(satKeyOut) {
        record_.fileName = fileName;
        record_.inputTag = tag.view();
    }

    std::int32_t run() { return fileisdotdce(fileName_) ? readDceBinary() : readBlocks(); }

    // Was there anything to read?
    bool foundBlock() const noexcept { return foundBlock_; }

    // Could the file not be read to its end, whatever it holds?
    bool readFailed() const noexcept { return readFailed_; }

private:
    std::int32_t readBlocks() {
        MessageText summary = summaryOf(record_);
        std::string_view line;
        ReadOutcome outcome = ReadOutcome::Success;
        while ((outcome = unit_.readLine(kEphemerisColumns, line)) == ReadOutcome::Success) {
            if (isComment(line) || isBlank(line)) continue;
            const FormatRow* const row = recognise(line);
            if (row == nullptr) continue;
            if (row->code == kTagCard) record_.inputTag = getinputfilename(line);
            if (row->reader == nullptr) continue;
            if (!readBlock(*row, line)) return kFailure;
            summary = summaryOf(record_);
            store();
        }
        // One that ended a block has been reported by its reader.
        if (outcome == ReadOutcome::Error && !readFailed_) {
            readFailed_ = true;
            blockFailed({fileName_, unit_.lineNumber() + 1, {}}, "ReadOnlyVorlans", kFileReadError);
        }
        traceloginfo(summary);
        return kSuccess;
    }

    // False if the block failed or the record has no points after it.
    bool readBlock(const FormatRow& row, std::string_view line) {
        found(row.name, unit_.lineNumber());
        BlockInput block(unit_, line, fileName_);
        const std::int32_t status = row.reader(block, record_);
        readFailed_ = unit_.failed();
        return status != kBlockFailed && hasData(block.headerLine());
    }

    void store() {
        // While lines are left, a further block would go on from this record.
        const bool isLast = unit_.atEnd();
        if (isLast) trimvorlanempts(record_);
        add(isLast ? std::move(record_) : shareOf(record_), unit_.lineNumber());
        tag_ = std::string_view{};
    }

    // Reads the file as a whole, opened again as bytes, which is not possible for a pipe. What was read before an error
    // is stored.
    std::int32_t readDceBinary() {
        std::unique_ptr<ByteSource> source;
        openByteSource(replacestring(fileName_, '\\', '/'), source, FileKind::Regular);
        if (source) found(kDceBinaryName, 1);
        BinaryInput input{source.get(), {fileName_, 0, {}}};
        const std::int32_t status = ReadDCEBinary(input, record_);
        readFailed_ = input.failed || !source;
        if (record_.numberOfPoints() == 0) {
            // A block that failed has been reported, with the record to blame.
            if (status == kBlockFailed) {
                tracelogerror(kNoData);
            } else {
                hasData({});
            }
            return kFailure;
        }
        trimvorlanempts(record_);
        add(std::move(record_), input.place.number);
        return status;
    }

    void found(std::string_view format, std::int64_t line) {
        foundBlock_ = true;
        header_ = line;
        observeRead(VORLAN_READ_FORMAT, fileName_, line, format);
    }

    bool hasData(std::string_view headerLine) const {
        if (record_.numberOfPoints() > 0) return true;
        observeRead(VORLAN_READ_BAD, {fileName_, header_, headerLine});
        tracelogerror(kNoData);
        return false;
    }

    void add(Vorlanrecord&& record, std::int64_t line) {
        const auto [satNum, epoch] = std::pair(record.satNum, record.epoch);
        const Vorlanbintree* stored = nullptr;
        const std::int64_t key = AddRecToMem(std::move(record), &stored);
        if (satKeyOut_ != nullptr) *satKeyOut_ = key;
        if (stored != nullptr) {
            observeRead(VORLAN_READ_STORED, fileName_, line, MessageText() << key);
        } else {
            observeRead(VORLAN_READ_REFUSED, fileName_, header_, reasonAgainst(key, satNum, epoch));
        }
    }

    InputUnit& unit_;
    std::string_view fileName_;
    InputTag& tag_;
    std::int64_t* satKeyOut_;
    Vorlanrecord record_;
    std::int64_t header_ = 1;  // line of the block's header
    bool foundBlock_ = false;
    bool readFailed_ = false;
};

// A line without these characters is not a tag card, and if it is an input-file card, it doesn't name a file.
constexpr std::string_view kCardMarks = "#=";

// A fault of the system, which may be gone at the next try, and not one of the name or the file.
constexpr bool isShortage(int error) noexcept {
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == EIO;
}

class CardPass {
public:
    CardPass(InputUnit& unit, std::string_view fileName, InputTag& tag) : unit_(unit), fileName_(fileName), tag_(tag) {}

    // Returns the number of the line that could not be read, 0 if there is none.
    std::int64_t run() {
        std::string_view line;
        ReadOutcome outcome = ReadOutcome::Success;
        while ((outcome = unit_.readLine(kCardColumns, line)) == ReadOutcome::Success) {
            const std::int32_t code = mayBeCard(line) ? vorlancardtype(line) : kUnknownFormat;
            if (code == kTagCard) tag_ = getinputfilename(line);
            if (code == kInputFileCard) follow(line);
            unit_.passOverLinesWithout(kCardMarks, readObserver().call != nullptr);
        }
        return outcome == ReadOutcome::Error ? unit_.lineNumber() + 1 : 0;
    }

private:
    // Device, inode, size and time of the last change: what tells an unchanged file from any other.
    using Identity = std::tuple<dev_t, ino_t, off_t, time_t, long>;

    static std::optional<Identity> identityOf(std::string_view name) {
        struct stat status {};
        if (::stat(std::string(name).c_str(), &status) != 0) return std::nullopt;
        return Identity(status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec);
    }

    void follow(std::string_view card) {
        const PaddedText<512> name(getinputfilename(card));
        if (name.blank()) return;
        if (isKnownAsEmpty(name.view())) return traceloginfo(summaryOf(Vorlanrecord{}));
        if (!read(name.view())) {
            observeRead(VORLAN_READ_MISSING, fileName_, unit_.lineNumber(), name.view());
        }
    }

    // Reads a file; false if it can't be read, or not to its end. Only regular files are opened: a card must not make
    // the library wait for a pipe or read a device without end.
    bool read(std::string_view name) {
        InputUnit unit;
        if (const int error = fileopenmt(name, unit, FileKind::Regular); error != 0) {
            if (isShortage(error)) {
                tracelogerror(MessageText("*** readvorlansfrfileunit: ")
                              << name << ": " << ::strerrordesc_np(error) << ". ***");
            }
            return false;
        }
        EphemerisPass pass(unit, name, tag_, nullptr);
        pass.run();
        if (pass.readFailed()) return false;
        if (!pass.foundBlock()) {
            if (const auto identity = identityOf(name)) empty_.insert(*identity);
        }
        return true;
    }

    // Has this file been read already, and no block been found in it? Then it has none now. A name that makes a binary
    // file of it is another matter.
    bool isKnownAsEmpty(std::string_view name) const {
        if (empty_.empty() || fileisdotdce(name)) return false;
        const auto identity = identityOf(name);
        return identity && empty_.contains(*identity);
    }

    InputUnit& unit_;
    std::string_view fileName_;
    InputTag& tag_;
    std::set<Identity> empty_;  // files without a block: a card file may name itself on every line
};

}  // namespace

std::int32_t readvorlansfrfile(std::string_view fileName) {
    InputUnit unit;
    if (const int error = fileopenmt(fileName, unit); error != 0) return error;
    InputTag tag;
    return fileisdotdce(fileName) ? ReadOnlyVorlans(unit, fileName, tag) : readvorlansfrfileunit(unit, fileName);
}

std::int64_t followCards(InputUnit& unit, std::string_view fileName, InputTag& tag) {
    unit.rewind();
    const std::int64_t unreadable = CardPass(unit, fileName, tag).run();
    unit.rewind();
    return unreadable;
}

std::int32_t readvorlansfrfileunit(InputUnit& unit, std::string_view fileName) {
    InputTag tag;
    const std::int64_t unreadable = followCards(unit, fileName, tag);
    EphemerisPass pass(unit, fileName, tag, nullptr);
    const std::int32_t status = pass.run();
    // An error that is still there is reported by the pass.
    if (unreadable > 0 && !pass.readFailed()) {
        blockFailed({fileName, unreadable, {}}, "readvorlansfrfileunit", kFileReadError);
    }
    return status;
}

std::int64_t addvorlanfile(std::string_view fileName) {
    InputUnit unit;
    if (fileopenmt(fileName, unit) != 0) return kNoKey;
    InputTag tag;
    std::int64_t key = kNoKey;
    return ReadOnlyVorlans(unit, fileName, tag, &key) == kSuccess ? key : kNoKey;
}

std::int32_t ReadOnlyVorlans(InputUnit& unit, std::string_view fileName, InputTag& tag, std::int64_t* satKeyOut) {
    return EphemerisPass(unit, fileName, tag, satKeyOut).run();
}

}  // namespace vorlandi
