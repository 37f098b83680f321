// The reader of binary files over any bytes.
#include "FuzzSupport.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi::fuzzing {
namespace {

constexpr std::size_t kPointRecordSize = 4 + 104 + 4;  // with both counts

void read(std::unique_ptr<ByteSource> source, Outcome& outcome, std::size_t inputSize) {
    Vorlanrecord record;
    outcome.status = ReadDCEBinary(source.get(), record);
    requireSoundRecord(record, inputSize);
    require(static_cast<std::size_t>(record.numberOfPoints()) <= inputSize / kPointRecordSize,
            "every point has a record of its own");
    outcome.records.push_back(bytesOf(record));
}

}  // namespace
}  // namespace vorlandi::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorlandi::fuzzing;
    readTwice(textOf(data, size), [=](auto source, Outcome& outcome) { read(std::move(source), outcome, size); });
    return 0;
}
