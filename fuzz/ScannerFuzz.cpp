// An ephemeris pass over any bytes, as the text file fuzz.txt: detection, the readers behind it, the store.
#include "CoreServices/LocalDate.hpp"
#include "FuzzSupport.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"

namespace vorlandi::fuzzing {
namespace {

Outcome pass(std::unique_ptr<ByteSource> source, std::size_t inputSize) {
    const Messages messages;
    InputUnit unit(std::move(source));
    InputTag tag(std::string_view("the first record's tag"));
    Outcome outcome;
    outcome.status = ReadOnlyVorlans(unit, "fuzz.txt", tag);
    takeStore(outcome, inputSize);
    outcome.messages = messages.all();
    return outcome;
}

}  // namespace
}  // namespace vorlandi::fuzzing

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Launch trajectories are counted from the day of reading.
    vorlandi::setClock([] { return std::time_t{1'769'817'600}; });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorlandi::fuzzing;
    const std::string_view text = textOf(data, size);
    const Outcome whole = pass(vorlandi::memorySource(text), size);
    require(whole.status == 0 || whole.status == 2, "the status is 0 or 2");
    require(whole == pass(piecewiseSource(text), size), "read again in pieces, the same is stored");
    return 0;
}
