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

TEST_F(HostileInput, RandomChangesOfAnExampleAndGarbageLeaveTheStoreSound) {
    const std::string favourites("0123456789.-+eEdD ,/*\t\r\n\xFF\0", 26);
    std::mt19937_64 random(testSeed());
    forEachExample([&](const std::string& bytes, const std::string& name) {
        for (int round = 0; round < 200; ++round) {
            std::string edited = bytes;
            // Every fourth time garbage behind a beginning; half of the edits in the header.
            if (round % 4 == 0)
                std::generate(edited.begin() + static_cast<int>(random() % 500), edited.end(), random);
            const std::size_t reach = round % 2 == 0 ? 400 : bytes.size() / 2;
            for (std::uint64_t edits = 1 + random() % 20; edits > 0; --edits) {
                const bool insert = random() % 2 == 0;
                edited.replace(random() % reach, insert ? random() % 2 : random() % 30, insert ? 1 : 0,
                               favourites[random() % favourites.size()]);
            }
            expectSound(edited, name);
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

}  // namespace
}  // namespace vorlandi::testing
