// Loading and saving through the exported functions: cards, tags, several blocks, status codes, the content of a saved
// file, and loading by several threads at once.
#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include "CoreServices/Sanitized.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "scanning/LoadingTest.hpp"

namespace vorlandi::testing {
namespace {

using ::testing::ElementsAre;

// A universal file of points a minute apart.
std::string universal(std::int32_t satNum, int points = 2) {
    std::string text = "KQ_UNIVERSAL_VORLANDI_V1.0   " + std::to_string(satNum);
    text = text.append(39 - text.size(), ' ') + "HCSRL     CSV\n";
    for (int k = 0; k < points; ++k)
        text += "2026-01-31T" + std::to_string(k / 60) + ":" + std::to_string(k % 60) + ":00," +
                std::to_string(7000 + satNum + k) + ",1,2,3,4,5\n";
    return text;
}

// An STK block with points at the given seconds of the day.
std::string stk(const std::string& system, std::initializer_list<int> seconds) {
    std::string text =
        "stk.v.11\nScenarioEpoch 31 Jan 2026 00:00:00\nCoordinateSystem " + system + "\nEphemerisTimePosVel\n";
    for (const int second : seconds)
        text += std::to_string(second) + " 7000 1 2 3 4 5\n";
    return text + "end Ephemeris\n";
}

std::string summary(int points, const std::string& end, const std::string& system = "") {
    return "Total ephemeris points = " + std::to_string(points) + ", Start = 26031000000.000, End = " + end +
           ", Coord =" + system;
}
const std::string kNothing = "Total ephemeris points = 0", kTwo = summary(2, "26031000100.000");
const std::string kNoData =
    "ReadOnlyVorlans: Input ephemeris does not contain any ephemeris data. It will not be stored.";

std::string reading(const std::string& name) { return "VorlanLoadFile: Reading VORLANs from file \"" + name + "\"."; }

// What is stored, in the order of loading or by key: satellite number, tag, base name and number of points.
Lines stored(std::int32_t order = 2) {
    std::vector<std::int64_t> keys(static_cast<std::size_t>(VorlanGetCount()));
    if (!keys.empty()) VorlanGetLoaded(order, keys.data());
    Lines lines;
    for (const std::int64_t key : keys) {
        const Vorlanrecord record = storedRecord(key);
        const std::string file(record.fileName.view()), tag(record.inputTag.view());
        lines.push_back(std::to_string(record.satNum) + "|" + tag + "|" + file.substr(file.rfind('/') + 1) + "|" +
                        std::to_string(record.numberOfPoints()));
    }
    return lines;
}

class LoadAndSave : public LoadingTest {
protected:
    std::int64_t add(const std::string& name, const std::string& text) {
        return VorlanAddSatFrFile(folder.write(name, text).c_str());
    }
};

TEST_F(LoadAndSave, FollowsCardsOneLevelDeepAndThenReadsTheCardFileItself) {
    const std::string deep = folder.write("deep", universal(3)), first = folder.write("first", universal(1));
    const std::string second = folder.write("second", card(deep) + universal(2));
    EXPECT_EQ(load("top", card(first) + card(second) + universal(4)), 0);
    EXPECT_THAT(stored(), ElementsAre("1||first|2", "2||second|2", "4||top|2"));
    EXPECT_THAT(log.infos(), ElementsAre(reading(folder.path("top")), kTwo, kTwo, kTwo));
    VorlanRemoveAllSats();
    EXPECT_GT(add("b", card(first) + "#VORLANDI = tag\n" + universal(2)), 0);
    EXPECT_THAT(stored(), ElementsAre("2|tag|b|2")) << "a single file is read without its cards";
    log.clear();
    EXPECT_EQ(load("loop", card(folder.path("loop")) + "5\n"), 2) << "a block without points, which ends each pass";
    EXPECT_THAT(log.errors(), ElementsAre(kNoData, kNoData)) << "once by its card, once as itself";
}

TEST_F(LoadAndSave, KnowsEveryInputFileCardAndSkipsThoseWithoutAnEphemeris) {
    const std::string bad = folder.write("bad", "stk.v.11\nCentralBody Moon\n"),
                      none = folder.write("none", universal(9));
    std::string cards = "\xEF\xBB\xBF";
    for (std::int32_t satNum = 0; const char* const name : {"EPHFIL", "EXTERNAL_EPHEMERIS", "SATFIL", "EPHINP",
                                                            "VORLAN", "EPHEMFILE", "ephfil", "Vorlandi_any"}) {
        ++satNum;
        const std::string file = folder.write("f" + std::to_string(satNum), universal(satNum));
        cards += std::string(name) + " \t=" + std::string(satNum == 1 ? 900 : 1, ' ') + "\t" + file + " \r\n";
        cards += "*" + card(none) + " " + card(none) + "X" + card(none) + card(folder.path("")) + card("") +
                 "EPHFIL\n" + card(bad) + card("/dev/null");
    }
    EXPECT_EQ(load("cards", cards), 0);
    EXPECT_EQ(stored().size(), 8U);
    EXPECT_EQ(log.infos().size(), 10U) << "of the eight files and of the cards: a device is not even read";
    EXPECT_EQ(log.infos().back(), kNothing);
    EXPECT_EQ(log.errors().size(), 8U);
}

TEST_F(LoadAndSave, LabelsOnlyTheFirstRecordAfterATagCard) {
    const std::string a = folder.write("a", universal(1)), b = folder.write("b", universal(2)),
                      none = folder.write("none", "nothing\n");
    const std::string own = folder.write("own", "#VORLANDI = its own\n" + universal(3)), longTag(130, 't');
    const std::string dce = folder.write("s.Dce", readFile(VORLANDI_EXAMPLES "/81001.dce"));
    EXPECT_EQ(load("top", "#VORLANDI = tag\n" + card(dce) + card(none) + card(a) + card(b) + card(own) +
                              "#vorlandi\t=\t " + longTag + "\n" + universal(4)),
              0);
    EXPECT_THAT(stored(), ElementsAre("81001|tag|s.Dce|361", "1|tag|a|2", "2||b|2", "3|its own|own|2",
                                      "4|" + longTag.substr(0, 128) + "|top|2"));
}

TEST_F(LoadAndSave, ContinuesTheFirstBlockOfAFileInTheSecondAndRefusesADuplicate) {
    const std::int64_t key =
        add("12345_a.e", stk("Fixed", {0, 60, 120}) + "between\n" + stk("J2000", {60, 120, 180, 240}) + "\nbehind\n");
    EXPECT_THAT(stored(), ElementsAre("12345||12345_a.e|3", "12345||12345_a.e|5"));
    EXPECT_THAT(log.infos(), ElementsAre(summary(5, "26031000400.000", " J2K")));
    EXPECT_EQ(storedRecord(key).points.lastTime(), 27790.0 + 240.0 / 86400.0);
    VorlanRemoveAllSats();
    EXPECT_EQ(load("12345_a.e", stk("Fixed", {0, 60}) + stk("Fixed", {120})), 0) << "a duplicate fails no load";
    EXPECT_THAT(stored(), ElementsAre("12345||12345_a.e|2"));
    EXPECT_EQ(add("12345_a.e", stk("Fixed", {0, 60})), 0);
    EXPECT_EQ(log.errors().size(), 2U);
    EXPECT_TRUE(log.errors().at(0).starts_with("AddRecToMem: Duplicated record/key "));
    EXPECT_EQ(log.infos().at(2), summary(3, "26031000200.000", " ECR"));
}

TEST_F(LoadAndSave, LetsTheBlocksOfAFileShareTheirPointsUntilOneChanges) {
    std::string text;
    for (int block = 1; block <= 3000; ++block)
        text += std::to_string(block) + "\n1 1 0 " + std::to_string(20000 + block) + "/\n\n";
    ASSERT_EQ(VorlanLoadFile(folder.write("blocks", text).c_str()), 0);
    ASSERT_EQ(VorlanGetCount(), 3000);
    std::string_view message;
    const auto points = [&](std::int32_t satNum) -> const PointArray& {
        return FindRecPtr(VorlanGetSatKey(satNum), message, true)->points;
    };
    EXPECT_EQ(points(2501).states(), points(2502).states()) << "a copy each would be four and a half million points";
    const double pos[3] = {1, 2, 3};
    EXPECT_EQ(VorlanAddSatEphem(VorlanGetSatKey(2502), points(2502).lastTime() + 0.5, pos, pos, 0), 0);
    EXPECT_EQ(points(2502).count(), 2503);
    EXPECT_EQ(points(2503)[2502].pos[0], 0.0);
}

TEST_F(LoadAndSave, KeepsNoSpareRoomAfterTheLastPointOfAFile) {
    for (const std::string& file :
         {folder.write("12345_a.e", stk("Fixed", {0, 60})), std::string(VORLANDI_EXAMPLES "/81001.dce")}) {
        for (const std::int32_t options : {0, int(VORLAN_LOAD_PRACTICAL)}) {
            std::int64_t key = 0, count = 0;
            ASSERT_EQ(VorlanLoadFileExt(file.c_str(), options, 1, &key, &count), 0) << file;
            const PointArray points = storedRecord(key).points;
            EXPECT_EQ(points.capacity(), points.count()) << file << " with options " << options;
            VorlanRemoveAllSats();
        }
    }
}

TEST_F(LoadAndSave, EndsAtABlockThatFailsAndKeepsWhatIsStored) {
    const std::string first = stk("Fixed", {0, 60});
    EXPECT_EQ(add("12345_a.e", first + "stk.v.11\nDistanceUnit Miles\n" + stk("J2000", {600})), -1)
        << "although a satellite is stored";
    EXPECT_EQ(load("54321_b.e", first + universal(5).replace(39, 3, "ECI")), 2);
    EXPECT_THAT(stored(), ElementsAre("12345||12345_a.e|2", "54321||54321_b.e|2"));
    EXPECT_EQ(log.errors().back(), "*** ReadKQUniversalVorlan: Invalid coordinate system. ***");
    EXPECT_THAT(log.infos(), ElementsAre(reading(folder.path("54321_b.e")))) << "no summary";
}

TEST_F(LoadAndSave, ReportsAnEmptyBlockAndAnUnknownFile) {
    EXPECT_EQ(load("empty", universal(1, 0)), 2);
    EXPECT_EQ(add("empty", universal(1, 0)), -1);
    EXPECT_EQ(load("none.dce", ""), 2);
    EXPECT_THAT(log.errors(), ElementsAre(kNoData, kNoData, kNoData));
    EXPECT_EQ(load("unknown", "nothing here\n CCSDS_OEM_VERS = 2\n"), 0);
    EXPECT_EQ(add("unknown", ""), -1);
    EXPECT_EQ(log.errors().size(), 3U);
    EXPECT_EQ(log.infos(), (Lines{reading(folder.path("empty")), reading(folder.path("none.dce")),
                                  reading(folder.path("unknown")), kNothing, kNothing}));
}

TEST_F(LoadAndSave, ReturnsTheErrorOfAFileThatCannotBeOpened) {
    const std::string directory = folder.path("");
    for (const std::string& name :
         {"  " + directory + "none/x  ", directory, std::string(), directory + "none/x.dce"}) {
        EXPECT_EQ(VorlanLoadFile(name.c_str()), name == directory ? EISDIR : ENOENT) << name;
        EXPECT_EQ(VorlanSaveFile(name.c_str(), 0), name == directory ? EISDIR : ENOENT) << name;
        EXPECT_EQ(VorlanAddSatFrFile(name.c_str()), -1) << name;
    }
    EXPECT_EQ(VorlanLoadFile(nullptr), ENOENT);
    EXPECT_EQ(VorlanSaveFile(nullptr, 0), ENOENT);
    EXPECT_EQ(log.infos().size(), 5U) << "what is read is said before it is opened";
    EXPECT_TRUE(log.errors().empty());
}

TEST_F(LoadAndSave, SavesTagsAndNamesInPreOrderAndAppendsOnDemand) {
    const auto padded = [](std::string text, std::size_t size) { return text.append(size - text.size(), ' ') + "\n"; };
    const std::string title = "\n\n\n*** External Ephemeris Input Files ***\n", saved = folder.path("saved");
    EXPECT_EQ(VorlanSaveFile(saved.c_str(), 0), 0);
    EXPECT_EQ(readFile(saved), title) << "an empty store";
    EXPECT_EQ(load("a", universal(1)), 0);
    EXPECT_GT(VorlanAddSat(2, 1, 27790.0, 6378.135, 0.0743), 0);
    EXPECT_EQ(load("c", "#VORLANDI = third\n" + universal(3)), 0);
    EXPECT_EQ(VorlanSaveFile(("  " + saved).c_str(), 0), 0);
    EXPECT_EQ(VorlanSaveFile(saved.c_str(), -7), 0);
    // Satellite 2 is the root of the balanced tree.
    const std::string cards = title + padded("EPHFIL = ", 521) + padded("EPHFIL = " + folder.path("a"), 521) +
                              padded("#VORLANDI = third", 140) + padded("EPHFIL = " + folder.path("c"), 521);
    EXPECT_EQ(readFile(saved), cards + cards);
    VorlanRemoveAllSats();
    EXPECT_EQ(VorlanLoadFile(saved.c_str()), 0);
    EXPECT_THAT(stored(), ElementsAre("1||a|2", "3|third|c|2"));
}

// No log is captured here: the handler would run on all threads.
TEST(LoadingByThreads, StoresTheSameAsLoadingOneByOne) {
    const TemporaryFolder folder;
    Lines files;
    for (std::int32_t k = 0; k < 24; ++k) {
        const std::string cards =
            "#VORLANDI = a tag\n" + card(folder.write("n" + std::to_string(k), universal(500 + k)));
        const std::string text =
            k % 2 == 0 ? universal(k, 1200) + cards : stk("Fixed", {0, 60}) + stk("J2000", {120, 180});
        files.push_back(folder.write(std::to_string(10000 + k), text));
    }
    Lines oneByOne;
    for (const std::size_t threadCount : {1U, 4U}) {
        vorlanemptytree();
        std::atomic<std::size_t> next = 0;
        std::vector<std::thread> threads;
        for (std::size_t k = 0; k < threadCount; ++k)
            threads.emplace_back([&] {
                for (std::size_t file = next++; file < files.size(); file = next++)
                    EXPECT_EQ(VorlanLoadFile(files[file].c_str()), 0);
            });
        for (std::thread& thread : threads)
            thread.join();
        Lines contents = stored(3);
        VorlanTree::ascending(vorlantreeroot(), [&](const Vorlanbintree& node) {
            const PointArray& points = vorlangetrec(node)->points;
            std::string& bytes = contents.emplace_back();
            for (std::int32_t k = 0; k < points.count(); ++k) {
                const Vorlanpoint point = points[k];
                bytes.append(reinterpret_cast<const char*>(&point), sizeof point);
            }
        });
        if (threadCount == 1) oneByOne = contents;
        EXPECT_EQ(contents.size(), 96U);
        EXPECT_TRUE(contents == oneByOne);
    }
    vorlanemptytree();
}

TEST_F(LoadAndSave, LinesAfterTheLastBlockCostNoMemory) {
    if (VORLANDI_SANITIZED) GTEST_SKIP() << "their heap is another one";
    std::string text = stk("J2000", {});
    text.resize(text.size() - std::string("end Ephemeris\n").size());
    for (int k = 0; k < 1200; ++k)
        text += std::to_string(60 * k) + " 7000 1 2 3 4 5\n";
    text += "end Ephemeris\n";
    const auto heapOf = [&](const std::string& bytes) {
        const std::size_t before = mallinfo2().uordblks;
        VorlanLoadBytes(bytes.data(), static_cast<std::int64_t>(bytes.size()), "9.e", 0, 0, nullptr, nullptr);
        const std::size_t after = mallinfo2().uordblks;
        VorlanRemoveAllSats();
        return after - before;
    };
    heapOf(text);  // pools begin
    const std::size_t expected = heapOf(text);
    for (const std::string rest : {"\n", "* a comment\n\n", "END Ephemeris\n"})
        EXPECT_NEAR(static_cast<double>(heapOf(text + rest)), static_cast<double>(expected), 1000.0) << rest;
}

}  // namespace
}  // namespace vorlandi::testing
