// Loading and saving through the exported functions: cards, tags, blocks behind one another, status codes, what a
// saved file holds, and loading by several threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include "TestSupport.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "vorlandi/vorlandi.h"

namespace vorlandi::testing {
namespace {

using ::testing::ElementsAre;
using Texts = std::vector<std::string>;

constexpr double kDay = 27790.0;  // 31 Jan 2026

// A universal file of `points` points a minute apart.
std::string universal(std::int32_t satNum, int points = 2) {
    std::string text = "KQ_UNIVERSAL_VORLANDI_V1.0   " + std::to_string(satNum);
    text.resize(39, ' ');
    text += "HCSRL     CSV\n";
    for (int k = 0; k < points; ++k) {
        text += "2026-01-31T" + std::to_string(k / 60) + ":" + std::to_string(k % 60) + ":00," +
                std::to_string(7000.0 + satNum % 1000 + k) + ",1,2,3,4,5\n";
    }
    return text;
}

// An STK block with points at the given seconds of the day.
std::string stk(std::string_view system, std::initializer_list<int> seconds) {
    std::string text =
        "stk.v.11\nScenarioEpoch 31 Jan 2026 00:00:00\nDistanceUnit Kilometers\nCoordinateSystem ";
    text.append(system).append("\nEphemerisTimePosVel\n");
    for (const int second : seconds)
        text += std::to_string(second) + " 7000 1 2 3 4 5\n";
    return text + "end Ephemeris\n";
}

std::string card(const std::string& file) { return "EPHFIL = " + file + "\n"; }

std::string summary(int points, const std::string& end, const std::string& system = "") {
    return "Total ephemeris points = " + std::to_string(points) + ", Start = 26031000000.000, End = " + end +
           ", Coord =" + (system.empty() ? "" : " " + system);
}
const std::string kNothing = "Total ephemeris points = 0";
const std::string kTwo = summary(2, "26031000100.000");
const std::string kNoData =
    "ReadOnlyVorlans: Input ephemeris does not contain any ephemeris data. It will not be stored.";

std::string reading(const std::string& name) {
    return "VorlanLoadFile: Reading VORLANs from file \"" + name + "\".";
}

std::vector<std::int64_t> storedKeys(std::int32_t order = 2) {
    std::vector<std::int64_t> keys(static_cast<std::size_t>(VorlanGetCount()));
    if (!keys.empty()) VorlanGetLoaded(order, keys.data());
    return keys;
}

// What is stored, in the order of loading or by key: satellite number, tag, base name and number of points.
Texts stored(std::int32_t order = 2) {
    Texts lines;
    for (const std::int64_t key : storedKeys(order)) {
        std::string_view message;
        const Vorlanrecord record = FindRec(key, message);
        const std::string_view file = record.fileName.view();
        lines.push_back(std::to_string(record.satNum) + "|" + std::string(record.inputTag.view()) + "|" +
                        std::string(file.substr(file.rfind('/') + 1)) + "|" +
                        std::to_string(record.numberOfPoints()));
    }
    return lines;
}

class LoadAndSave : public StoreTest {
protected:
    std::int32_t load(const std::string& path) { return VorlanLoadFile(path.c_str()); }
    std::int64_t addFrom(const std::string& path) { return VorlanAddSatFrFile(path.c_str()); }

    TemporaryFolder folder;
};

TEST_F(LoadAndSave, FollowsCardsOneLevelDeepAndThenReadsTheCardFileItself) {
    const std::string deep = folder.write("deep", universal(3));
    const std::string first = folder.write("first", universal(1));
    const std::string second = folder.write("second", card(deep) + universal(2));
    const std::string top = folder.write("top", card(first) + card(second) + universal(4));
    EXPECT_EQ(load(top), 0);
    EXPECT_THAT(stored(), ElementsAre("1||first|2", "2||second|2", "4||top|2"));
    EXPECT_THAT(log.infos(), ElementsAre(reading(top), kTwo, kTwo, kTwo));
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(LoadAndSave, KnowsEveryInputFileCard) {
    std::string cards = "\xEF\xBB\xBF";
    std::int32_t satNum = 0;
    for (const char* const name : {"EPHFIL", "EXTERNAL_EPHEMERIS", "SATFIL", "EPHINP", "VORLAN", "EPHEMFILE",
                                   "ephfil", "Vorlandi_any"}) {
        ++satNum;
        const std::string file = folder.write("f" + std::to_string(satNum), universal(satNum));
        cards += std::string(name) + " \t=" + std::string(satNum == 1 ? 900 : 1, ' ') + "\t" + file + " \r\n";
    }
    const std::string noCard = card(folder.write("none", universal(9)));
    cards += "*" + noCard + " " + noCard + "X" + noCard;
    EXPECT_EQ(load(folder.write("cards", cards)), 0);
    EXPECT_EQ(stored().size(), 8U);
    EXPECT_EQ(log.infos().back(), kNothing);
}

TEST_F(LoadAndSave, PassesOverCardsThatNameNoFileAndLooksAtNoNestedStatus) {
    const std::string bad = folder.write("bad", "stk.v.11\nCentralBody Moon\n");
    const std::string good = folder.write("good", universal(7));
    const std::string top = folder.write("top", card(folder.path("none")) + card("") + "EPHFIL\n" +
                                                    card(folder.path("")) + card(bad) + card(good));
    EXPECT_EQ(load(top), 0);
    EXPECT_THAT(stored(), ElementsAre("7||good|2"));
    EXPECT_THAT(log.errors(), ElementsAre("*** ReadDotE: Invalid file. CentralBody is not Earth. ***"));
    EXPECT_THAT(log.infos(), ElementsAre(reading(top), kTwo, kNothing));
}

TEST_F(LoadAndSave, LabelsOnlyTheFirstRecordBehindATagCard) {
    const std::string a = folder.write("a", universal(1));
    const std::string b = folder.write("b", universal(2));
    const std::string none = folder.write("none", "nothing\n");
    const std::string own = folder.write("own", "#VORLANDI = its own\n" + universal(3));
    const std::string longTag(130, 't');
    const std::string top = folder.write("top", "#VORLANDI = lost\n#vorlandi_x =  one tag \n" + card(none) +
                                                    card(a) + card(b) + "#VORLANDI = outer\n" + card(own) +
                                                    "#VORLANDI = " + longTag + "\n" + universal(4));
    EXPECT_EQ(load(top), 0);
    EXPECT_THAT(stored(), ElementsAre("1|one tag|a|2", "2||b|2", "3|its own|own|2",
                                      "4|" + longTag.substr(0, 128) + "|top|2"));
}

TEST_F(LoadAndSave, KeepsTheTagForTheNextFileBehindABinaryOne) {
    const std::string a = folder.write("a", universal(1));
    const std::string dce = folder.write("s.Dce", readFile(VORLANDI_EXAMPLES "/81001.dce"));
    EXPECT_EQ(load(folder.write("top", "#VORLANDI = tag\n" + card(dce) + card(a))), 0);
    EXPECT_THAT(stored(), ElementsAre("81001|tag|s.Dce|361", "1|tag|a|2"));
}

TEST_F(LoadAndSave, GoesOnFromTheFirstBlockOfAFileInTheSecond) {
    const std::string path = folder.write("12345_a.e", stk("Fixed", {0, 60, 120}) + "between\n" +
                                                           stk("J2000", {60, 120, 180, 240}) + "\nbehind\n");
    const std::int64_t key = addFrom(path);
    EXPECT_THAT(stored(), ElementsAre("12345||12345_a.e|3", "12345||12345_a.e|5"));
    EXPECT_EQ(key, storedKeys()[1]);
    EXPECT_THAT(log.infos(), ElementsAre(summary(5, "26031000400.000", "J2K")));
    std::string_view message;
    EXPECT_EQ(FindRec(storedKeys()[0], message).coordSys, 4) << "what is stored stays as it was";
    double start = 0.0, end = 0.0;
    EXPECT_EQ(VorlanStartEndTime(key, &start, &end), 0);
    EXPECT_EQ(start, kDay);
    EXPECT_EQ(end, kDay + 240.0 / 86400.0);
}

TEST_F(LoadAndSave, RefusesASecondBlockOfTheSameSatelliteAndSystem) {
    const std::string path = folder.write("12345_a.e", stk("Fixed", {0, 60}) + stk("Fixed", {120}));
    EXPECT_EQ(addFrom(path), 0);
    EXPECT_THAT(stored(), ElementsAre("12345||12345_a.e|2"));
    char line[64];
    std::snprintf(line, sizeof line, "AddRecToMem: Duplicated record/key %19lld found.",
                  static_cast<long long>(storedKeys()[0]));
    EXPECT_THAT(log.errors(), ElementsAre(line));
    EXPECT_THAT(log.infos(), ElementsAre(summary(3, "26031000200.000", "ECR")));
    VorlanRemoveAllSats();
    EXPECT_EQ(load(path), 0) << "a refused duplicate fails no load";
}

TEST_F(LoadAndSave, EndsAtABlockThatFailsAndKeepsWhatIsStored) {
    struct Case {
        std::string behind;
        Texts errors;
    };
    const Case cases[] = {
        {"stk.v.11\nDistanceUnit Miles\n" + stk("J2000", {600}),
         {"*** ReadDotE: Invalid distance unit. Only meters and kilometers are supported. ***"}},
        {universal(5).replace(39, 3, "ECI"), {"*** ReadKQUniversalVorlan: Invalid coordinate system. ***"}},
    };
    const std::string path = folder.path("12345_a.e");
    for (const Case& c : cases) {
        log.clear();
        folder.write("12345_a.e", stk("Fixed", {0, 60}) + c.behind);
        EXPECT_EQ(load(path), 2);
        EXPECT_EQ(log.errors(), c.errors);
        EXPECT_THAT(log.infos(), ElementsAre(reading(path)));
        EXPECT_THAT(stored(), ElementsAre("12345||12345_a.e|2"));
        VorlanRemoveAllSats();
        EXPECT_EQ(addFrom(path), -1) << "although a satellite is stored";
        EXPECT_EQ(VorlanGetCount(), 1);
        VorlanRemoveAllSats();
    }
}

TEST_F(LoadAndSave, TellsWhatAnEmptyBlockAndAnUnknownFileGive) {
    const std::string empty = folder.write("empty", universal(1, 0));
    EXPECT_EQ(load(empty), 2);
    EXPECT_THAT(log.errors(), ElementsAre(kNoData));
    EXPECT_EQ(addFrom(empty), -1);
    log.clear();
    const std::string unknown = folder.write("unknown", "nothing here\n CCSDS_OEM_VERS = 2\n");
    EXPECT_EQ(load(unknown), 0);
    EXPECT_EQ(addFrom(unknown), -1);
    EXPECT_TRUE(log.errors().empty());
    EXPECT_THAT(log.infos(), ElementsAre(reading(unknown), kNothing, kNothing));
    log.clear();
    const std::string dce = folder.write("none.dce", "");
    EXPECT_EQ(load(dce), 2);
    EXPECT_THAT(log.errors(), ElementsAre(kNoData));
    EXPECT_THAT(log.infos(), ElementsAre(reading(dce))) << "a binary file has no summary";
}

TEST_F(LoadAndSave, ReadsOneFileWithoutFollowingItsCards) {
    const std::string a = folder.write("a", universal(1));
    const std::string b = folder.write("b", card(a) + "#VORLANDI = tag\n" + universal(2));
    const std::int64_t key = addFrom("  " + b);
    EXPECT_EQ(key, storedKeys().at(0));
    EXPECT_THAT(stored(), ElementsAre("2|tag|b|2"));
    EXPECT_THAT(log.infos(), ElementsAre(kTwo)) << "no loading message";
    EXPECT_EQ(addFrom(folder.path("none")), -1);
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(LoadAndSave, GivesTheErrorOfAFileThatCannotBeOpened) {
    const std::string none = folder.path("none");
    EXPECT_EQ(load("  " + none + "  "), ENOENT);
    EXPECT_EQ(load(folder.path("")), EISDIR);
    EXPECT_EQ(load(""), ENOENT);
    EXPECT_EQ(VorlanLoadFile(nullptr), ENOENT);
    EXPECT_EQ(load(folder.path("none.dce")), ENOENT);
    EXPECT_THAT(log.infos(), ElementsAre(reading(none), reading(folder.path("")), reading(""), reading(""),
                                         reading(folder.path("none.dce"))));
    EXPECT_TRUE(log.errors().empty());
    EXPECT_EQ(VorlanSaveFile(folder.path("none/x").c_str(), 0), ENOENT);
    EXPECT_EQ(VorlanSaveFile(folder.path("").c_str(), 0), EISDIR);
    EXPECT_EQ(VorlanSaveFile(" ", 1), ENOENT);
    EXPECT_EQ(VorlanSaveFile(nullptr, 0), ENOENT);
}

const std::string kTitle = "\n\n\n*** External Ephemeris Input Files ***\n";

std::string padded(std::string text, std::size_t size) {
    text.resize(size, ' ');
    return text;
}

TEST_F(LoadAndSave, SavesTagsAndNamesInPreOrderAndAppendsOnDemand) {
    const std::string saved = folder.path("saved");
    EXPECT_EQ(VorlanSaveFile(saved.c_str(), 0), 0);
    EXPECT_EQ(readFile(saved), kTitle) << "an empty store";

    const std::string a = folder.write("a", universal(1));
    const std::string c = folder.write("c", "#VORLANDI = third\n" + universal(3));
    EXPECT_EQ(load(a), 0);
    EXPECT_GT(VorlanAddSat(2, 1, kDay, 6378.135, 0.0743), 0);
    EXPECT_EQ(load(c), 0);
    EXPECT_EQ(VorlanSaveFile(("  " + saved).c_str(), 0), 0);
    // Satellite 2 is the root of the balanced tree.
    const std::string cards = padded("EPHFIL = ", 521) + "\n" + padded("EPHFIL = " + a, 521) + "\n" +
                              padded("#VORLANDI = third", 140) + "\n" + padded("EPHFIL = " + c, 521) + "\n";
    EXPECT_EQ(readFile(saved), kTitle + cards);

    EXPECT_EQ(VorlanSaveFile(saved.c_str(), -7), 0);
    EXPECT_EQ(readFile(saved), kTitle + cards + kTitle + cards);
}

TEST_F(LoadAndSave, RebuildsTheStoreFromASavedFile) {
    std::string cards;
    for (std::int32_t satNum = 1; satNum <= 9; ++satNum) {
        if (satNum % 3 == 0) cards += "#VORLANDI = number " + std::to_string(satNum) + "\n";
        cards += card(folder.write("f" + std::to_string(satNum), universal(satNum, satNum)));
    }
    const std::string own = universal(10, 3);
    ASSERT_EQ(load(folder.write("top", cards + own)), 0);
    const Texts before = stored(3);
    ASSERT_EQ(before.size(), 10U);
    const std::string saved = folder.path("saved");
    ASSERT_EQ(VorlanSaveFile(saved.c_str(), 0), 0);
    VorlanRemoveAllSats();
    log.clear();
    EXPECT_EQ(load(saved), 0);
    EXPECT_EQ(stored(3), before) << "the card file's own block is read as a nested file's";
    EXPECT_TRUE(log.errors().empty());
}

// The store as bytes, by ascending key.
std::string contents() {
    std::string bytes;
    for (const std::int64_t key : storedKeys(3)) {
        std::string_view message;
        const Vorlanrecord record = FindRec(key, message);
        bytes += std::to_string(key) + record.fileName.padded() + record.inputTag.padded() +
                 std::to_string(record.satNum) + std::to_string(record.coordSys);
        bytes.append(reinterpret_cast<const char*>(record.points.data()),
                     static_cast<std::size_t>(record.numberOfPoints()) * sizeof(Vorlanpoint));
    }
    return bytes;
}

// No log is captured here: the handler would run on all threads.
TEST(LoadingByThreads, GivesWhatLoadingOneByOneGives) {
    constexpr std::int32_t kThreads = 4, kFiles = 24;
    const TemporaryFolder folder;
    Texts files;
    for (std::int32_t k = 0; k < kFiles; ++k) {
        const std::string name = std::to_string(10000 + k);
        std::string text = k % 2 == 0 ? universal(k, 1200) : stk("Fixed", {0, 60}) + stk("J2000", {120, 180});
        if (k % 3 == 0)
            text += "#VORLANDI = " + name + "\n" + card(folder.write(name + "n", universal(500 + k)));
        files.push_back(folder.write(name, text));
    }
    vorlanemptytree();
    for (const std::string& file : files)
        EXPECT_EQ(VorlanLoadFile(file.c_str()), 0);
    const std::string oneByOne = contents();
    const std::int32_t count = VorlanGetCount();
    ASSERT_GE(count, kFiles);
    vorlanemptytree();

    std::atomic<int> failures = 0, next = 0;
    std::vector<std::thread> threads;
    for (std::int32_t k = 0; k < kThreads; ++k) {
        threads.emplace_back([&] {
            for (int file = next++; file < kFiles; file = next++) {
                if (VorlanLoadFile(files[static_cast<std::size_t>(file)].c_str()) != 0) ++failures;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(VorlanGetCount(), count);
    EXPECT_TRUE(contents() == oneByOne);
    EXPECT_EQ(vorlantree.check(), nullptr);
    vorlanemptytree();
}

}  // namespace
}  // namespace vorlandi::testing
