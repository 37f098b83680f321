#include <bit>

#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "readers/ReaderTest.hpp"
#include "vorlandi/vorlandi.h"

namespace vorlandi::testing::dce_binary {
namespace {

std::string bigEndian(std::uint64_t value, std::size_t size) {
    std::string bytes;
    for (std::size_t k = size; k-- > 0;)
        bytes += static_cast<char>(value >> 8 * k & 0xFF);
    return bytes;
}

std::string framed(const std::string& payload) {
    const std::string count = bigEndian(payload.size(), 4);
    return count + payload + count;
}

// A point of `size` bytes of payload: the numbers 0, 0, the time, then 1 to 6.
std::string point(double time, std::size_t size = 104) {
    std::string payload;
    for (const double value : {0.0, 0.0, time, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0})
        payload += bigEndian(std::bit_cast<std::uint64_t>(value), 8);
    payload.resize(size, 'x');
    return framed(payload);
}

const std::string kHeader = framed(std::string(24, 't')) + framed(bigEndian(25544, 4)) + framed(std::string(76, 'd'));
const std::string kGood = kHeader + point(1.0) + point(2.0), kThird = point(3.0);
const Lines kFailed = {"*** ReadDCEBinary: File read error. ***"};

TEST(ReadDCEBinary, TrustsNoCount) {
    struct BinaryCase {
        const char* what;
        std::string bytes;
        std::int32_t points;
        bool read = false;
    };
    // clang-format off
    const BinaryCase cases[] = {
        {"good", kGood, 2, true}, {"an empty file", "", 0, true}, {"a header alone", kHeader, 0, true},
        {"longer records", kGood + point(3.0, 1'000'000) + point(4.0, 105), 4, true},
        {"half a header", kHeader.substr(0, 100), 0}, {"a shorter record", kGood + point(3.0, 103), 2},
        {"the end in a payload", kGood + kThird.substr(0, 60), 2},
        {"the end in a count", kGood + "\1\1\1", 2},
        {"the end after a payload", kGood + kThird.substr(0, 108), 2},
        {"another count after it", kGood + kThird.substr(0, 108) + bigEndian(103, 4), 2},
        {"the largest count", kGood + bigEndian(0xFFFFFFFF, 4) + kThird.substr(4, 104) + bigEndian(0xFFFFFFFF,
            4), 2},
        {"little-endian", "\30" + std::string(3, '\0') + kGood.substr(4), 0},
    };
    // clang-format on
    for (const BinaryCase& c : cases) {
        SCOPED_TRACE(c.what);
        const LogCapture log;
        Vorlanrecord record;
        EXPECT_EQ(ReadDCEBinary(memorySource(c.bytes).get(), record), c.read ? kSuccess : kFailure);
        EXPECT_EQ(log.errors(), c.read ? Lines{} : kFailed);
        ASSERT_EQ(record.numberOfPoints(), c.points);
        if (c.points == 0) continue;
        EXPECT_EQ(record.satNum, 25544);
        EXPECT_EQ(stateOf(record.points[1]), (State{7307.0, 1.0, 2.0, 3.0, 4.0, 5.0, 6.0}));
    }
}

using DceBinaryFile = StoreTest;

TEST_F(DceBinaryFile, IsStoredWithWhatWasReadBeforeAnErrorAndMayBeNamedWithBackslashes) {
    const TemporaryFolder folder;
    std::string name = folder.write("cut.Dce", kGood + "x");
    EXPECT_EQ(VorlanLoadFile(name.c_str()), 2);
    EXPECT_EQ(log.errors(), kFailed);
    EXPECT_EQ(log.infos().size(), 1u) << "no summary";
    EXPECT_EQ(VorlanGetCount(), 1);
    VorlanRemoveAllSats();
    InputUnit unit;
    InputTag tag;
    Load load;
    EXPECT_EQ(ReadOnlyVorlans(unit, {name.replace(name.rfind('/'), 1, "\\")}, tag, load), 2);
    EXPECT_EQ(VorlanGetCount(), 1);
    EXPECT_EQ(ReadOnlyVorlans(unit, {folder.path("missing.dce")}, tag, load), 2);
    EXPECT_EQ(log.errors().back(), kNoData);
}

}  // namespace
}  // namespace vorlandi::testing::dce_binary
