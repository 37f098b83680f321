// The options of the loading functions, and that without options nothing differs from VorlanLoadFile.
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <random>
#include <sstream>

#include "CoreServices/LocalDate.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "scanning/LoadingTest.hpp"
#include "scanning/ReadEvents.hpp"

namespace vorlandi::testing {
namespace {

class LoadOptions : public LoadingTest {
protected:
    struct Counted {
        std::int32_t status;
        std::int64_t count;
        std::vector<std::int64_t> keys;
    };
    static Counted loadFile(const std::string& path, std::int32_t options, std::int64_t capacity = 3) {
        Counted result{0, -7, {-7, -7, -7}};
        result.status = VorlanLoadFileExt(path.c_str(), options, capacity, result.keys.data(), &result.count);
        return result;
    }

    const std::string two =
        "stk.v.1\nScenarioEpoch 31 Jan 2026 0:00:00\nDistanceUnit Kilometers\nCoordinateSystem J2000\n"
        "EphemerisTimePosVel\n0 7000 1 2 3 4 5\n60 7001 1 2 3 4 5\nend Ephemeris\n";
};

TEST_F(LoadOptions, ReturnTheKeysThatTheCallStoredInOrder) {
    const std::string fleet = folder.write("10009.e", two + "EPHFIL = " + folder.write("10003.e", two) + "\n" +
                                                          "EPHFIL = " + folder.write("10005.e", two) + "\n");
    for (const std::int32_t options : {0, int(VORLAN_LOAD_PRACTICAL)}) {
        VorlanRemoveAllSats();
        const Counted all = loadFile(fleet, options);
        EXPECT_EQ(std::tuple(all.status, all.count), std::tuple(0, 3));
        EXPECT_EQ(storedPoints(), (Lines{"10003:2", "10005:2", "10009:2"}));
        EXPECT_EQ(all.keys, (std::vector{VorlanGetSatKey(10003), VorlanGetSatKey(10005), VorlanGetSatKey(10009)}));
        VorlanRemoveAllSats();
        const Counted first = loadFile(fleet, options, 1);
        EXPECT_EQ(std::tuple(first.status, first.count), std::tuple(0, 3));
        EXPECT_EQ(first.keys, (std::vector<std::int64_t>{all.keys[0], -7, -7}));
        VorlanRemoveAllSats();
        std::int64_t count = -7;
        EXPECT_EQ(VorlanLoadFileExt(fleet.c_str(), options, 3, nullptr, &count), 0);
        EXPECT_EQ(count, 3);
        const Counted again = loadFile(fleet, options);
        EXPECT_EQ(std::tuple(again.status, again.count, again.keys[0]), std::tuple(options == 0 ? 0 : 2, 0, -7))
            << "duplicates";
    }
}

TEST_F(LoadOptions, DmaKeysKeepDuplicateSatellites) {
    const std::string path = folder.write("10009.e", two);
    const Counted first = loadFile(path, VORLAN_LOAD_DMA_KEYS), second = loadFile(path, VORLAN_LOAD_DMA_KEYS),
                  ordinary = loadFile(path, 0);
    EXPECT_EQ(first.count + second.count + ordinary.count, 3);
    EXPECT_EQ(VorlanGetCount(), 3);
    EXPECT_NE(first.keys[0], second.keys[0]);
    VorlanRemoveAllSats();
    EXPECT_EQ(VorlanLoadFile(path.c_str()), 0);
    EXPECT_EQ(ordinary.keys[0], VorlanGetSatKey(10009)) << "the key modes of the process stay";
}

TEST_F(LoadOptions, WithoutCardsTheyAreReportedAndNotFollowed) {
    const std::string fleet = folder.write("10009.e", "EPHFIL = " + folder.write("10003.e", two) + "\n" + two);
    ReadEvents events(log);
    EXPECT_EQ(loadFile(fleet, VORLAN_LOAD_NO_CARDS).status, 0);
    EXPECT_EQ(storedPoints(), Lines{"10009:2"});
    EXPECT_EQ(events.heard.at(0), "5|10009.e:1|" + folder.path("10003.e"));
}

TEST_F(LoadOptions, AreCheckedBeforeAnythingIsRead) {
    const std::string path = folder.write("9.e", two);
    EXPECT_EQ(loadFile(path, 16).status, 2);
    EXPECT_EQ(loadFile(path, -1).status, 2);
    EXPECT_EQ(loadFile(path, 0, -1).status, 2);
    EXPECT_EQ(loadFile(path, 16).count, 0);
    const auto fromBytes = [](const void* bytes, std::int64_t size, std::int32_t options, std::int64_t capacity = 0) {
        std::int64_t count = -7;
        const std::int32_t status = VorlanLoadBytes(bytes, size, "9.e", options, capacity, nullptr, &count);
        EXPECT_EQ(count, 0);
        return status;
    };
    EXPECT_EQ(fromBytes(two.data(), -1, 0), 2);
    EXPECT_EQ(fromBytes(two.data(), 5, 16), 2);
    EXPECT_EQ(fromBytes(two.data(), 5, 0, -1), 2);
    EXPECT_EQ(fromBytes(nullptr, 1, 0), 2);
    EXPECT_EQ(log.infos(), Lines{});
    EXPECT_EQ(fromBytes(nullptr, 0, 0), 0);
    EXPECT_EQ(fromBytes(nullptr, 0, VORLAN_LOAD_PRACTICAL), 2) << "nothing recognised";
    EXPECT_EQ(loadFile(folder.path("none"), 0).status, ENOENT);
    EXPECT_EQ(VorlanGetCount(), 0);
}

// Everything that a load does, as text.
class SameAsBefore : public LoadingTest {
protected:
    SameAsBefore() {
        setClock([]() -> std::time_t { return 1769860800; });
    }
    ~SameAsBefore() override { setClock(nullptr); }

    template <class Load>
    Lines traceOf(Load load) {
        VorlanRemoveAllSats();
        log.clear();
        ReadEvents events(log);
        Lines trace = {std::to_string(load())};
        for (const Lines& part : {log.errors(), log.infos(), events.heard, storedPoints()}) {
            trace.push_back("--");
            trace.insert(trace.end(), part.begin(), part.end());
        }
        VorlanTree::ascending(vorlantreeroot(), [&](const Vorlanbintree& node) {
            const Vorlanrecord record = storedRecord(node.key);
            std::string& bytes = trace.emplace_back(fieldstostr(record).view());
            for (std::int32_t k = 0; k < record.numberOfPoints(); ++k) {
                const Vorlanpoint point = record.points[k];
                bytes.append(reinterpret_cast<const char*>(&point), sizeof point);
            }
        });
        return trace;
    }

    bool isSame(const std::string& path, const std::string& bytes) {
        const auto size = static_cast<std::int64_t>(bytes.size());
        const Lines before = traceOf([&] { return VorlanLoadFile(path.c_str()); });
        return before == traceOf([&] { return VorlanLoadFileExt(path.c_str(), 0, 0, nullptr, nullptr); }) &&
               before ==
                   traceOf([&] { return VorlanLoadBytes(bytes.data(), size, path.c_str(), 0, 0, nullptr, nullptr); });
    }
};

// Some bytes of the beginning changed, a line cut or left out, or two exchanged.
std::string mutated(const std::string& text, std::mt19937_64& random) {
    constexpr std::size_t kLines = 30;
    std::istringstream file(text);
    Lines lines;
    for (std::string line; lines.size() < kLines && std::getline(file, line);)
        lines.push_back(line);
    const auto any = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
    for (std::size_t times = 1 + any(3); times > 0; --times) {
        std::string& line = lines[any(lines.size())];
        switch (any(4)) {
            case 0:
                line.resize(any(line.size() + 1));
                break;
            case 1:
                std::swap(line, lines[any(lines.size())]);
                break;
            case 2:
                line += "\n" + lines[any(lines.size())];
                break;
            default:
                if (!line.empty()) line[any(line.size())] = " .-,/x09"[any(8)];
        }
    }
    return joined(lines);
}

TEST_F(SameAsBefore, WithoutOptionsNothingDiffersFromVorlanLoadFile) {
    std::mt19937_64 random(testSeed());
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(VORLANDI_EXAMPLES)) {
        const std::string whole = readFile(entry.path().string()), name = entry.path().filename().string();
        EXPECT_TRUE(isSame(entry.path().string(), whole)) << name;
        for (int k = 0; k < 20; ++k, ++files) {
            const std::string bytes = mutated(whole, random);
            EXPECT_TRUE(isSame(folder.write(name, bytes), bytes)) << bytes;
        }
    }
    EXPECT_GE(files, 300);
}

}  // namespace
}  // namespace vorlandi::testing
