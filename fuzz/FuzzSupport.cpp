#include "FuzzSupport.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "CoreServices/LocalDate.hpp"
#include "CoreServices/TraceLog.hpp"
#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi::fuzzing {
namespace {

class PiecewiseSource : public ByteSource {
public:
    explicit PiecewiseSource(std::string_view bytes) noexcept : bytes_(bytes) {}

    std::int64_t read(char* bytes, std::size_t capacity) override {
        constexpr std::size_t kMostBytes = 13;
        const std::size_t piece = 1 + (bytes_.size() + reads_++ * 7) % kMostBytes;
        const std::size_t count = bytes_.copy(bytes, std::min(piece, capacity), position_);
        position_ += count;
        return static_cast<std::int64_t>(count);
    }

    bool rewind() override {
        position_ = 0;
        return true;
    }

private:
    std::string_view bytes_;
    std::size_t position_ = 0;
    std::size_t reads_ = 0;  // goes on over a rewind: the second pass is cut elsewhere
};

template <class Value>
void append(std::string& bytes, const Value& value) {
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

}  // namespace

void require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "Property does not hold: %s\n", property);
    std::abort();
}

FirstLine splitFirstLine(std::string_view text) {
    InputUnit unit(memorySource(text));
    std::string_view line;
    unit.readLine(kEphemerisColumns, line);
    const auto lineEnd = std::min(text.find('\n'), text.size());
    return {std::string(line), text.substr(std::min(lineEnd + 1, text.size()))};
}

std::unique_ptr<ByteSource> piecewiseSource(std::string_view bytes) { return std::make_unique<PiecewiseSource>(bytes); }

Messages::Messages() { setTraceHandler(receive, this); }
Messages::~Messages() { setTraceHandler(nullptr, nullptr); }

void Messages::receive(std::int32_t severity, const char* text, std::int32_t size, void* self) {
    static_cast<Messages*>(self)->messages_.push_back(
        std::to_string(severity).append(text, static_cast<std::size_t>(size)));
}

void requireSoundRecord(const Vorlanrecord& record, std::size_t inputSize) {
    const PointArray& points = record.points;
    require(points.count() >= 0 && points.count() <= points.capacity(), "the points fit their capacity");
    require(points.capacity() <= points.count() + PointArray::kGrowth, "one step of growth to spare");
    require(static_cast<std::size_t>(points.count()) <= inputSize / 2 + 1, "two bytes of input a point");
    for (std::int32_t k = 1; k < points.count(); ++k)
        require(points[k - 1].time < points[k].time, "times rise strictly");
}

std::string bytesOf(const Vorlanrecord& record) {
    std::string bytes(record.fileName.view());
    bytes.append(1, '\n').append(record.inputTag.view()).append(1, '\n').append(record.text8.view());
    append(bytes, record.satNum);
    append(bytes, record.coordSys);
    append(bytes, record.codeTens);
    append(bytes, record.epoch);
    append(bytes, record.earthRadius);
    append(bytes, record.ke);
    append(bytes, record.points.count());
    for (std::int32_t k = 0; k < record.points.count(); ++k)
        append(bytes, record.points[k]);
    return bytes;
}

void takeStore(Outcome& outcome, std::size_t inputSize) {
    const std::int32_t nodes = vorlangetnumoftreenodes();
    require(nodes >= 0, "the store counts its satellites");
    outcome.keys.resize(static_cast<std::size_t>(nodes));
    std::int32_t listed = 0;
    vorlangettreekeys(listed, outcome.keys.data(), 2);
    require(listed == nodes, "as many keys as satellites");
    require(vorlantree.check() == nullptr, "the store's tree keeps its invariants");
    for (const std::int64_t key : outcome.keys) {
        const RecordAccess found(key);
        require(static_cast<bool>(found), "a listed key finds its record");
        const Vorlanrecord& record = *found;
        requireSoundRecord(record, inputSize);
        require(record.numberOfPoints() > 0, "a stored record has points");
        require(record.epoch == record.points.front().time, "the first point's time is the epoch");
        outcome.records.push_back(bytesOf(record));
    }
    vorlanemptytree();
    require(vorlantreeisempty() && vorlangetnumoftreenodes() == 0, "the store is empty again");
}

}  // namespace vorlandi::fuzzing

// Called by libFuzzer before anything else. Launch trajectories are counted from the day of reading.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    vorlandi::setClock([] { return std::time_t{1'769'817'600}; });
    return 0;
}
