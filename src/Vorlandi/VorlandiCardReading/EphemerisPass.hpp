// One pass over a file in which each recognised block goes to its reader, and the record that it fills into the store.
//
// By the fixed rules there is one working record, which continues from block to block: a later block appends its points
// to the earlier ones, and a block that fails ends the pass. By the practical rules a block makes records of its own,
// and a block that fails is skipped.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "CoreServices/BoundedText.hpp"
#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"
#include "Vorlandi/VorlandiCardReading/LoadRequest.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

struct FormatRow;

// "Total ephemeris points = ..." of a record.
MessageText summaryOf(const Vorlanrecord& record) noexcept;

class EphemerisPass final : public RecordSink {
public:
    EphemerisPass(InputUnit& unit, const InputFile& file, InputTag& tag, Load& load);

    std::int32_t run();

    // Was there anything to read?
    bool foundBlock() const noexcept { return foundBlock_; }

    // Could the file not be read to its end?
    bool readFailed() const noexcept { return readFailed_; }

    // What the file holds instead of a block: a foreign format recognised by its first lines, or cards; empty if
    // neither.
    std::string_view foreignFormat() const noexcept {
        return foreign_.empty() && hasFileCards_ ? "cards, which are followed one level deep" : foreign_;
    }

private:
    std::int32_t readBlocks();
    bool readOnWorkingRecord(const FormatRow& row, std::string_view line);
    void storeWorkingRecord();
    ReadOutcome skipToFormat();
    bool readOwnRecords(const FormatRow& row, std::string_view line);
    void beginRecord();
    std::int32_t readDceBinary();
    void store(std::vector<Vorlanrecord> records, std::int64_t header) override;
    void refuse() override;
    void storeRecords(std::vector<Vorlanrecord> records, std::int64_t line, std::int64_t header);
    void add(Vorlanrecord&& record, std::int64_t line, std::int64_t header);
    void found(std::string_view format, std::int64_t line);
    bool hasData(std::string_view headerLine) const;
    const FormatRow* blockOn(std::string_view line, const FormatRow* row);
    std::string_view lineAhead();
    void skipLine(std::string_view line);
    void reportSkippedLines(std::string_view line, std::string_view reason);
    void lookForForeignFormat(std::string_view line);

    InputUnit& unit_;
    const InputFile& file_;
    InputTag& tag_;
    Load& load_;
    ThreadRequest threads_;
    Vorlanrecord record_;
    InputTag cardTag_;  // of the last tag card, or of the card that names the file
    std::string_view foreign_;
    int linesLookedAt_ = 0;    // for a foreign format
    std::int64_t header_ = 1;  // line of the block's header
    bool foundBlock_ = false;
    bool hasFileCards_ = false;
    const FormatRow* refused_ = nullptr;  // the lines now may belong to a block of this format, which was refused
    bool hasReportedLines_ = false;       // of the lines skipped since the last block
    InlineChars<kEphemerisColumns> keptLine_;
    bool hasSegments_ = false;  // the block has stored or refused segments
    bool readFailed_ = false;
};

}  // namespace vorlandi
