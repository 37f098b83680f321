// One text reader over any lines, without store. VORLANDI_FUZZ_HEADER is the first line of the format's
// example file; the reader is the one that this line selects. An input that brings a header line of its own
// for the same reader is read with that.
#include "FuzzSupport.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"

namespace vorlandi::fuzzing {
namespace {

constexpr std::string_view kHeader = VORLANDI_FUZZ_HEADER;
constexpr std::string_view kFileName = "folder/81001.txt";

Reader readerOf(std::string_view line) {
    const FormatRow* const row = recognise(line);
    return row != nullptr ? row->reader : nullptr;
}

// The text of a file whose first line selects the reader.
std::string fileText(std::string_view input) {
    const bool ownHeader = readerOf(splitFirstLine(input).line) == readerOf(kHeader);
    return ownHeader ? std::string(input) : std::string(kHeader).append(1, '\n').append(input);
}

void read(std::unique_ptr<ByteSource> source, Outcome& outcome, Reader reader, std::size_t inputSize) {
    InputUnit unit(std::move(source));
    std::string_view header;
    unit.readLine(kEphemerisColumns, header);
    BlockInput input(unit, header, kFileName);
    Vorlanrecord record;
    outcome.status = reader(input, record);
    requireSoundRecord(record, inputSize);
    outcome.records.push_back(bytesOf(record));
}

}  // namespace
}  // namespace vorlandi::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorlandi::fuzzing;
    static const vorlandi::Reader reader = readerOf(kHeader);
    require(reader != nullptr, "the example's first line selects a reader");
    const std::string text = fileText(textOf(data, size));
    const Outcome outcome =
        readTwice(text, [&](auto source, Outcome& made) { read(std::move(source), made, reader, text.size()); });
    require(outcome.status == vorlandi::kSuccess || outcome.status == vorlandi::kFailure,
            "a block is read or has failed");
    require(outcome.status == vorlandi::kSuccess || !outcome.messages.empty(), "a failure is logged");
    return 0;
}
