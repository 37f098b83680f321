// Files that are no ephemerides, or no longer: whatever is in them, loading ends, and what it has stored is sound.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "CoreServices/InputUnits.hpp"
#include "TestSupport.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi::testing {
namespace {

class HostileInput : public StoreTest {
protected:
    // Reads bytes as a file of that name in both passes, into a store that is emptied again. The number of points
    // stored.
    std::int64_t expectSound(const std::string& bytes, const std::string& name) {
        vorlanemptytree();
        log.clear();
        if (fileisdotdce(name)) {
            status_ = readvorlansfrfile(folder.write(name, bytes));
        } else {
            InputUnit unit(memorySource(bytes));
            status_ = readvorlansfrfileunit(unit, name);
        }
        EXPECT_TRUE(status_ == 0 || status_ == 2) << status_;
        EXPECT_FALSE(status_ == 2 && log.errors().empty()) << "a failure without a reason";
        EXPECT_EQ(vorlantree.check(), nullptr);
        const std::int64_t points = pointsOfSoundRecords();
        vorlanemptytree();
        return points;
    }

    TemporaryFolder folder;
    std::int32_t status_ = 0;

private:
    static std::int64_t pointsOfSoundRecords() {
        std::int64_t points = 0;
        VorlanTree::ascending(vorlantreeroot(), [&](const Vorlanbintree& node) {
            const Vorlanrecord& record = *recordOf(node);
            ASSERT_GT(record.numberOfPoints(), 0);
            EXPECT_EQ(record.points.capacity(), record.numberOfPoints());
            EXPECT_EQ(record.epoch, record.points.front().time);
            for (std::int32_t k = 1; k < record.numberOfPoints(); ++k)
                ASSERT_LT(record.points[k - 1].time, record.points[k].time) << k;
            points += record.numberOfPoints();
        });
        return points;
    }
};

struct Example {
    std::string name;
    std::string bytes;
};

// The files of every format; of the long ones the beginning, which ends inside a line.
std::vector<Example> examples() {
    constexpr std::size_t kMostBytes = 6000;
    std::vector<Example> found;
    for (const auto& entry : std::filesystem::directory_iterator(VORLANDI_EXAMPLES)) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".card" || extension == ".csv") continue;
        found.push_back(
            {entry.path().filename().string(), readFile(entry.path().string()).substr(0, kMostBytes)});
    }
    std::sort(found.begin(), found.end(), [](const Example& a, const Example& b) { return a.name < b.name; });
    return found;
}

TEST_F(HostileInput, CutAnywhereAnExampleGivesABeginningOfIt) {
    ASSERT_GE(examples().size(), 15U);
    for (const Example& example : examples()) {
        SCOPED_TRACE(example.name);
        const std::int64_t whole = expectSound(example.bytes, example.name);
        EXPECT_GT(whole, 5);
        for (std::size_t size = 0; size < example.bytes.size(); size += size < 400 ? 13 : 157) {
            SCOPED_TRACE("cut behind byte " + std::to_string(size));
            const std::int64_t points = expectSound(example.bytes.substr(0, size), example.name);
            ASSERT_LE(points, whole);
            if (HasFailure()) return;
        }
    }
}

// A few random edits, half of the time in the header.
std::string edited(std::string bytes, std::mt19937_64& random) {
    static const std::string kFavourites = std::string("0123456789.-+eEdD ,/*\t\r\n\xFF") + '\0';
    const std::size_t reach = random() % 2 == 0 ? 400 : bytes.size();
    for (std::uint64_t edits = 1 + random() % 20; edits > 0; --edits) {
        const std::size_t at = random() % std::min(reach, bytes.size());
        const char any = static_cast<char>(random() & 0xFF);
        const char c = random() % 3 == 0 ? any : kFavourites[random() % kFavourites.size()];
        switch (random() % 4) {
            case 0:
                bytes.insert(at, 1 + random() % 3, c);
                break;
            case 1:
                bytes.erase(at, 1 + random() % 30);
                break;
            default:
                bytes[at] = c;
        }
    }
    return bytes;
}

// The first lines, and then bytes or what a number may be written with.
std::string withGarbage(const std::string& bytes, std::mt19937_64& random) {
    static const std::string kTextual("0123456789012345678901234567890123456789....---++eED   ,,/*\t\n\n");
    std::size_t headerEnd = 0;
    for (std::uint64_t lines = random() % 12; lines > 0 && headerEnd != std::string::npos; --lines)
        headerEnd = bytes.find('\n', headerEnd + 1);
    std::string result = bytes.substr(0, headerEnd) + "\n";
    const bool textual = random() % 2 == 0;
    for (int k = 0; k < 4000; ++k)
        result += textual ? kTextual[random() % kTextual.size()] : static_cast<char>(random() & 0xFF);
    return result;
}

TEST_F(HostileInput, RandomChangesOfAnExampleLeaveTheStoreSound) {
    SCOPED_TRACE("seed " + std::to_string(testSeed()));
    std::mt19937_64 random(testSeed());
    for (const Example& example : examples()) {
        SCOPED_TRACE(example.name);
        for (int round = 0; round < 200; ++round) {
            expectSound(round % 4 == 0 ? withGarbage(example.bytes, random) : edited(example.bytes, random),
                        example.name);
            if (HasFailure()) FAIL() << "round " << round;
        }
    }
}

TEST_F(HostileInput, GarbageAndEmptyFilesStoreNothing) {
    SCOPED_TRACE("seed " + std::to_string(testSeed()));
    std::mt19937_64 random(testSeed());
    std::string garbage(300000, '\0');
    for (char& c : garbage)
        c = static_cast<char>(random() & 0xFF);
    for (const std::string& bytes :
         {garbage, std::string(), std::string("\xEF\xBB\xBF"), std::string("\xEF"), std::string("\r\n\r\n"),
          std::string(200000, '\0'), std::string(200000, '\n'), std::string(200000, '*')}) {
        EXPECT_EQ(expectSound(bytes, "file"), 0);
        EXPECT_EQ(expectSound(bytes, "file.dce"), 0);
        EXPECT_EQ(status_, 2);
    }
}

// Gives its bytes and then an error.
class BrokenSource : public ByteSource {
public:
    explicit BrokenSource(std::string bytes) : bytes_(std::move(bytes)) {}
    std::int64_t read(char* bytes, std::size_t capacity) override {
        const std::size_t count = bytes_.copy(bytes, capacity, at_);
        at_ += count;
        return count > 0 ? static_cast<std::int64_t>(count) : -1;
    }
    bool rewind() override {
        at_ = 0;
        return true;
    }

private:
    std::string bytes_;
    std::size_t at_ = 0;
};

TEST_F(HostileInput, AReadErrorFailsABlockAndEndsAFileBetweenBlocks) {
    const std::string universal =
        "KQ_UNIVERSAL_VORLANDI_V1.0   5         HCSRL     CSV\n26031000000.000,1,2,3,4,5,6\n";
    const std::string stk =
        "stk.v.1\nScenarioEpoch 31 Jan 2026 0:00:00\nEphemerisTimePos\n0 1000 2 3\nend Ephemeris\n";
    const std::string universalError = "*** ReadKQUniversalVorlan: File read error. ***";
    const std::string stkError = "*** ReadDotE: File read error. ***";
    struct Case {
        std::string bytes;
        std::int32_t status;
        std::vector<std::string> errors;
        std::int32_t stored;
    };
    for (const Case& c : {Case{universal, 2, {universalError}, 0}, Case{stk.substr(0, 30), 2, {stkError}, 0},
                          Case{stk.substr(0, stk.size() - 5), 2, {stkError}, 0}, Case{stk, 0, {}, 1}}) {
        SCOPED_TRACE(c.bytes);
        vorlanemptytree();
        log.clear();
        InputUnit unit(std::make_unique<BrokenSource>(c.bytes));
        EXPECT_EQ(readvorlansfrfileunit(unit, "file"), c.status);
        EXPECT_EQ(log.errors(), c.errors);
        EXPECT_EQ(log.infos().size(), c.status == 0 ? 1U : 0U) << "the summary";
        EXPECT_EQ(vorlangetnumoftreenodes(), c.stored);
    }
}

TEST_F(HostileInput, TakesACardFileThatNamesItselfOnce) {
    const std::string path = folder.path("loop");
    folder.write("loop", "EPHFIL = " + path + "\nVORLAN = " + path + "\nEPHINP = " + folder.path("") + "\n");
    EXPECT_EQ(readvorlansfrfile(path), 0);
    EXPECT_EQ(log.infos().size(), 3U);
    EXPECT_EQ(vorlangetnumoftreenodes(), 0);
}

TEST_F(HostileInput, CutsALineOfAMegabyteAndReadsOnBehindIt) {
    const std::string header = "KQ_UNIVERSAL_VORLANDI_V1.0   12345     HCSRL     CSV\n";
    // Lengths around those of buffers and lines.
    for (const std::size_t size : std::initializer_list<std::size_t>{511, 512, 513, 1499, 1500, 1501, 65534,
                                                                     65535, 65536, 65537, 131072, 1000000}) {
        SCOPED_TRACE(size);
        std::string longLine = "26031000000.000,1,2,3,4,5,6,";
        longLine.resize(size, '7');
        for (const std::string lineEnd : {"\n", "\r\n"}) {
            const std::string last = "26031000100.000,1,2,3,4,5,6";  // no line end
            EXPECT_EQ(expectSound(header + longLine + lineEnd + last, "file"), 2);
            EXPECT_EQ(expectSound(longLine + lineEnd + header + last, "file"), 1);
            EXPECT_EQ(expectSound(header + longLine, "file"), 1);
        }
        EXPECT_TRUE(log.errors().empty());
    }
}

}  // namespace
}  // namespace vorlandi::testing
