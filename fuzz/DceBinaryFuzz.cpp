// The reader of binary files over any bytes.
#include "FuzzSupport.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi::fuzzing {
namespace {

constexpr std::size_t kPointRecordSize = 4 + 104 + 4;  // with both counts

Outcome read(std::unique_ptr<ByteSource> source, std::size_t inputSize) {
    const Messages messages;
    Vorlanrecord record;
    Outcome outcome;
    outcome.status = ReadDCEBinary(source.get(), record);
    requireSoundRecord(record, inputSize);
    require(static_cast<std::size_t>(record.numberOfPoints()) <= inputSize / kPointRecordSize,
            "every point has a record of its own");
    outcome.records.push_back(bytesOf(record));
    outcome.messages = messages.all();
    return outcome;
}

}  // namespace
}  // namespace vorlandi::fuzzing

extern "C" int LLVMFuzzerInitialize(int*, char***) { return 0; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorlandi::fuzzing;
    const std::string_view bytes = textOf(data, size);
    const Outcome whole = read(vorlandi::memorySource(bytes), size);
    require(whole == read(piecewiseSource(bytes), size), "read again in pieces, the same");
    return 0;
}
