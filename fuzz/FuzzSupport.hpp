// Shared by the fuzz targets: the end of a run whose property fails, bytes that come in small pieces, and what holds
// for every record that a reader has filled.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CoreServices/InputUnits.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi::fuzzing {

// Names the property that doesn't hold and aborts.
void require(bool holds, const char* property);

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) noexcept {
    return {reinterpret_cast<const char*>(data), size};
}

// The text after the first line, and that line with the width of an ephemeris pass.
struct FirstLine {
    std::string line;
    std::string_view rest;
};
FirstLine splitFirstLine(std::string_view text);

// Bytes in memory that come one to thirteen at a time: the sizes of the pieces must not matter to a reader.
std::unique_ptr<ByteSource> piecewiseSource(std::string_view bytes);

// The messages that are logged while it lives.
class Messages {
public:
    Messages();
    ~Messages();
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    const std::vector<std::string>& all() const noexcept { return messages_; }

private:
    static void receive(std::int32_t severity, const char* text, std::int32_t size, void* self);

    std::vector<std::string> messages_;
};

// The outcome of one run over an input. Two runs over the same bytes have equal outcomes, bit for bit.
struct Outcome {
    std::int64_t status = 0;
    std::vector<std::int64_t> keys;
    std::vector<std::string> records;  // every field and point as bytes
    std::vector<std::string> messages;

    bool operator==(const Outcome&) const = default;
};

// Times rise strictly; a point has taken at least two bytes of the input; no more is allocated than one step
// of growth beyond the points.
void requireSoundRecord(const Vorlanrecord& record, std::size_t inputSize);

std::string bytesOf(const Vorlanrecord& record);

// Moves what the store holds into an outcome, and empties the store.
void takeStore(Outcome& outcome, std::size_t inputSize);

// The outcome of `read`, a function of a source and an outcome, on the bytes; in pieces it must be the same.
template <class Read>
Outcome readTwice(std::string_view bytes, Read read) {
    const auto once = [&](std::unique_ptr<ByteSource> source) {
        const Messages messages;
        Outcome outcome;
        read(std::move(source), outcome);
        outcome.messages = messages.all();
        return outcome;
    };
    Outcome whole = once(memorySource(bytes));
    require(whole == once(piecewiseSource(bytes)), "read again in pieces, the same");
    return whole;
}

}  // namespace vorlandi::fuzzing

// The entry point of libFuzzer.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
