// One text reader over any lines, without the store. VORLANDI_FUZZ_HEADER is the first line of the format's example
// file; the reader is the one that this line selects: with VORLANDI_FUZZ_PRACTICAL by the practical rules, else by the
// fixed ones or, if they have none, by the practical ones. An input that has its own header line for the same reader is
// read with that.
#include "CoreServices/Status.hpp"
#include "FuzzSupport.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"

namespace vorlandi::fuzzing {
namespace {

constexpr std::string_view kHeader = VORLANDI_FUZZ_HEADER;
constexpr std::string_view kFileName = "folder/81001.txt";

Reader readerOf(std::string_view line, ReadingRules rules) {
    const FormatRow* const row = recognise(line, rules);
    return row != nullptr ? row->readerBy(rules) : nullptr;
}

ReadingRules rulesOfHeader() {
#ifdef VORLANDI_FUZZ_PRACTICAL
    return ReadingRules::practical();
#else
    return readerOf(kHeader, ReadingRules::fixed()) != nullptr ? ReadingRules::fixed() : ReadingRules::practical();
#endif
}

// Takes the segments that a reader stores before the end of its block.
class Segments final : public RecordSink {
public:
    Segments(Outcome& outcome, std::size_t inputSize) noexcept : outcome_(outcome), inputSize_(inputSize) {}

    void store(std::vector<Vorlanrecord> records, std::int64_t) override {
        for (const Vorlanrecord& record : records) {
            require(record.numberOfPoints() > 0, "a stored record has points");
            requireSoundRecord(record, inputSize_);
            outcome_.records.push_back(bytesOf(record));
        }
    }
    void refuse() override {}

private:
    Outcome& outcome_;
    std::size_t inputSize_;
};

// The text of a file whose first line selects the reader.
std::string fileText(std::string_view input) {
    const ReadingRules rules = rulesOfHeader();
    const bool ownHeader = readerOf(splitFirstLine(input).line, rules) == readerOf(kHeader, rules);
    return ownHeader ? std::string(input) : std::string(kHeader).append(1, '\n').append(input);
}

void read(std::unique_ptr<ByteSource> source, Outcome& outcome, Reader reader, std::size_t inputSize) {
    InputUnit unit(std::move(source));
    std::string_view header;
    unit.readLine(kEphemerisColumns, header);
    Segments segments(outcome, inputSize);
    BlockInput input(unit, header, kFileName, rulesOfHeader(), &segments);
    Vorlanrecord record;
    outcome.status = reader(input, record);
    requireSoundRecord(record, inputSize);
    outcome.records.push_back(bytesOf(record));
}

}  // namespace
}  // namespace vorlandi::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorlandi::fuzzing;
    static const vorlandi::Reader reader = readerOf(kHeader, rulesOfHeader());
    require(reader != nullptr, "the example's first line selects a reader");
    const std::string text = fileText(textOf(data, size));
    const Outcome outcome =
        readTwice(text, [&](auto source, Outcome& made) { read(std::move(source), made, reader, text.size()); });
    require(outcome.status == vorlandi::kSuccess || outcome.status == vorlandi::kFailure,
            "a block is read or has failed");
    require(outcome.status == vorlandi::kSuccess || !outcome.messages.empty(), "a failure is logged");
    return 0;
}
