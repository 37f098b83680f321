// Files that are no ephemerides, or no longer: whatever is in them, loading ends, and what it has stored is sound.
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
    // Reads bytes as a file of that name in both passes. The number of points stored.
    std::int64_t expectSound(const std::string& bytes, const std::string& name) {
        vorlanemptytree();
        log.clear();
        InputUnit unit(memorySource(bytes));
        const std::int32_t status = fileisdotdce(name) ? readvorlansfrfile(folder.write(name, bytes))
                                                       : readvorlansfrfileunit(unit, name);
        EXPECT_TRUE(status == 0 || (status == 2 && !log.errors().empty())) << "a failure without a reason";
        EXPECT_EQ(vorlantree.check(), nullptr);
        std::int64_t points = 0;
        VorlanTree::ascending(vorlantreeroot(), [&](const Vorlanbintree& node) {
            const Vorlanrecord& record = *recordOf(node);
            ASSERT_GT(record.numberOfPoints(), 0);
            EXPECT_EQ(record.epoch, record.points.front().time);
            for (std::int32_t k = 1; k < record.numberOfPoints(); ++k)
                ASSERT_LT(record.points[k - 1].time, record.points[k].time) << k;
            points += record.numberOfPoints();
        });
        return points;
    }

    // Hands over the files of every format; of the long ones the beginning, which ends inside a line.
    template <class Use>
    void forEachExample(Use use) {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(VORLANDI_EXAMPLES)) {
            const std::string extension = entry.path().extension().string(),
                              name = entry.path().filename().string();
            if (extension == ".card" || extension == ".csv") continue;
            SCOPED_TRACE(name + ", seed " + std::to_string(testSeed()));
            use(readFile(entry.path().string()).substr(0, 6000), name);
            if (HasFatalFailure()) return;
            ++count;
        }
        EXPECT_GE(count, 15);
    }

    TemporaryFolder folder;
};

TEST_F(HostileInput, CutAnywhereAnExampleGivesABeginningOfIt) {
    forEachExample([&](const std::string& bytes, const std::string& name) {
        const std::int64_t whole = expectSound(bytes, name);
        EXPECT_GT(whole, 5);
        for (std::size_t size = 0; size < bytes.size(); size += size < 400 ? 13 : 157)
            ASSERT_LE(expectSound(bytes.substr(0, size), name), whole) << "cut behind byte " << size;
    });
}

// A few random edits, half of the time in the header.
std::string edited(std::string bytes, std::mt19937_64& random) {
    static const std::string kFavourites("0123456789.-+eEdD ,/*\t\r\n\xFF\0", 26);
    const std::size_t reach = random() % 2 == 0 ? 400 : bytes.size();
    for (std::uint64_t edits = 1 + random() % 20; edits > 0; --edits) {
        const std::size_t at = random() % std::min(reach, bytes.size());
        const char any = static_cast<char>(random() & 0xFF);
        const char c = random() % 3 == 0 ? any : kFavourites[random() % kFavourites.size()];
        const std::uint64_t how = random() % 4;
        bytes.replace(at, how == 0 ? 0 : how == 1 ? random() % 30 : 1, how == 1 ? 0 : 1, c);
    }
    return bytes;
}

TEST_F(HostileInput, RandomChangesOfAnExampleAndGarbageLeaveTheStoreSound) {
    std::mt19937_64 random(testSeed());
    forEachExample([&](const std::string& bytes, const std::string& name) {
        for (int round = 0; round < 200; ++round) {
            std::string garbage = bytes.substr(0, random() % 500) + "\n";
            for (int k = 0; round % 4 == 0 && k < 4000; ++k)
                garbage += static_cast<char>(random() & 0xFF);
            expectSound(round % 4 == 0 ? garbage : edited(bytes, random), name);
            ASSERT_FALSE(HasFailure()) << "round " << round;
        }
    });
    for (const char c : {'\0', '\n', '*', '\xEF', '\r'}) {
        EXPECT_EQ(expectSound(std::string(200000, c), "file"), 0);
        EXPECT_EQ(expectSound(std::string(200000, c), "file.dce"), 0);
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
    const std::string header = "KQ_UNIVERSAL_VORLANDI_V1.0   12345     HCSRL     CSV\n",
                      last = "26031000100.000,1,2,3,4,5,6";
    // Lengths around those of buffers and lines.
    for (const std::size_t size :
         {511, 512, 513, 1499, 1500, 1501, 65534, 65535, 65536, 65537, 131072, 1000000}) {
        std::string longLine = "26031000000.000,1,2,3,4,5,6,";
        longLine.resize(size, '7');
        for (const std::string lineEnd : {"\n", "\r\n"}) {
            EXPECT_EQ(expectSound(header + longLine + lineEnd + last, "file"), 2) << size;
            EXPECT_EQ(expectSound(longLine + lineEnd + header + last, "file"), 1) << size;
        }
        EXPECT_TRUE(log.errors().empty());
    }
}

}  // namespace
}  // namespace vorlandi::testing
