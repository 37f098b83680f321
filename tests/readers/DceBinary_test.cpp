#include <bit>

#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

template <class Unsigned>
std::string bigEndian(Unsigned value) {
    std::string bytes(sizeof value, '\0');
    for (std::size_t k = 0; k < sizeof value; ++k)
        bytes[k] = static_cast<char>(value >> 8 * (sizeof value - 1 - k) & 0xFF);
    return bytes;
}

std::string framed(const std::string& payload) {
    const std::string count = bigEndian(static_cast<std::uint32_t>(payload.size()));
    return count + payload + count;
}

// A point of `size` bytes of payload: the numbers 0, 0, the time, then 1 to 10.
std::string point(double time, std::size_t size = 104) {
    std::string payload = bigEndian(std::uint64_t{0}) + bigEndian(std::uint64_t{0});
    payload += bigEndian(std::bit_cast<std::uint64_t>(time));
    for (int k = 1; k <= 10; ++k)
        payload += bigEndian(std::bit_cast<std::uint64_t>(static_cast<double>(k)));
    payload.resize(size, 'x');
    return framed(payload);
}

const std::string kHeader =
    framed(std::string(24, 't')) + framed(bigEndian(std::uint32_t{25544})) + framed(std::string(76, 'd'));
const std::string kGood = kHeader + point(1.0) + point(2.0);
const Lines kReadError = {"*** ReadDCEBinary: File read error. ***"};

// Hands out a few bytes at a time.
class DrippingSource : public ByteSource {
public:
    explicit DrippingSource(std::string_view bytes) : source_(memorySource(bytes)) {}
    std::int64_t read(char* bytes, std::size_t capacity) override {
        return source_->read(bytes, std::min<std::size_t>(capacity, 7));
    }
    bool rewind() override { return source_->rewind(); }

private:
    std::unique_ptr<ByteSource> source_;
};

TEST(ReadDCEBinary, ReadsWholeRecordsFromAnyPieces) {
    DrippingSource source(kGood);
    Vorlanrecord record;
    record.coordSys = kEcr;
    EXPECT_EQ(ReadDCEBinary(&source, record), kBlockRead);
    EXPECT_EQ(record.satNum, 25544);
    EXPECT_EQ(record.coordSys, kEci);
    EXPECT_EQ(record.epoch, 7306.0);
    ASSERT_EQ(record.numberOfPoints(), 2);
    expectPoint(record.points[1], 7307.0, {1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
}

TEST(ReadDCEBinary, TrustsNoCount) {
    const auto withCounts = [](std::uint32_t front, std::uint32_t behind) {
        return kGood + bigEndian(front) + point(3.0).substr(4, 104) + bigEndian(behind);
    };
    std::string littleEndian = kGood;
    std::reverse(littleEndian.begin(), littleEndian.begin() + 4);
    struct BinaryCase {
        const char* what;
        std::string bytes;
        std::int32_t points;
        std::int32_t status;
    };
    const BinaryCase cases[] = {
        {"an empty file", "", 0, kBlockRead},
        {"a header alone", kHeader, 0, kBlockRead},
        {"half a header", kHeader.substr(0, 100), 0, kBlockFailed},
        {"longer records", kGood + point(3.0, 1'000'000) + point(4.0, 105), 4, kBlockRead},
        {"a shorter record", kGood + point(3.0, 103), 2, kBlockFailed},
        {"the end inside a payload", kGood + point(3.0).substr(0, 60), 2, kBlockFailed},
        {"the end behind a payload", kGood + point(3.0).substr(0, 108), 2, kBlockFailed},
        {"the end inside a count", kGood + std::string(3, '\0'), 2, kBlockFailed},
        {"another count behind", withCounts(104, 103), 2, kBlockFailed},
        {"the largest count", withCounts(0xFFFFFFFF, 0xFFFFFFFF), 2, kBlockFailed},
        {"little-endian", littleEndian, 0, kBlockFailed},
    };
    for (const BinaryCase& c : cases) {
        SCOPED_TRACE(c.what);
        const LogCapture log;
        Vorlanrecord record;
        EXPECT_EQ(ReadDCEBinary(memorySource(c.bytes).get(), record), c.status);
        EXPECT_EQ(record.numberOfPoints(), c.points);
        EXPECT_EQ(log.errors(), c.status == kBlockRead ? Lines{} : kReadError);
    }
}

using DceBinaryFile = StoreTest;

TEST_F(DceBinaryFile, IsStoredWithWhatWasReadBeforeAnError) {
    const TemporaryFolder folder;
    const std::string name = folder.write("cut.Dce", kGood + "x");
    EXPECT_EQ(readvorlansfrfile(name), 2);
    EXPECT_EQ(log.errors(), kReadError);
    EXPECT_EQ(log.infos(), Lines{}) << "no summary";
    EXPECT_EQ(vorlangetnumoftreenodes(), 1);
    log.clear();
    EXPECT_EQ(readvorlansfrfile(folder.write("empty.dce", kHeader)), 2);
    EXPECT_EQ(log.errors(), Lines{kNoDataMessage});
}

TEST_F(DceBinaryFile, MayBeNamedWithBackslashes) {
    const TemporaryFolder folder;
    std::string name = folder.write("good.dce", kGood);
    name.replace(name.rfind('/'), 1, "\\");
    InputUnit unit;
    InputTag tag(std::string_view("a tag"));
    std::int64_t key = -1;
    EXPECT_EQ(ReadOnlyVorlans(unit, name, tag, &key), 0);
    std::string_view message;
    EXPECT_EQ(FindRec(key, message).numberOfPoints(), 2);
    EXPECT_EQ(ReadOnlyVorlans(unit, folder.path("missing.dce"), tag), 2);
    EXPECT_EQ(log.errors(), (Lines{kReadError.front(), kNoDataMessage}));
}

}  // namespace
}  // namespace vorlandi::testing
