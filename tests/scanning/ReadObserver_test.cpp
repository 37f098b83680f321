// The events that a load sends to the read observer, each with its file, line and text.
#include <stdexcept>
#include <thread>

#include "scanning/LoadingTest.hpp"
#include "scanning/ReadEvents.hpp"

namespace vorlandi::testing {
namespace {

class ReadObserver : public LoadingTest {
protected:
    Lines heardIn(const std::string& name, const std::string& bytes) {
        VorlanRemoveAllSats();
        log.clear();
        events.clear();
        load(name, bytes);
        return events.heard;
    }

    ReadEvents events{log};
};

const std::string kHeader = "KQ_UNIVERSAL_VORLANDI_V1.0   5         HCSRL     CSV";
const std::string kUniversal = "*\n" + kHeader +
                               "\n\n26031000000.000,1,2,3,4,5,6\nno time,1\n"
                               "26031000000.000,7\n26031000000.000,1,2,3,4,5,6\n";

TEST_F(ReadObserver, ReportsFormatBadLineDroppedPointAndRecord) {
    const Lines told = {"1|u:2|UNIVERSAL", "2|u:5|no time,1", "2|u:6|26031000000.000,7",
                        "3|u:7|26031000000.000,1,2,3,4,5,6", "4|u:7|key"};
    EXPECT_EQ(heardIn("u", kUniversal), told);
    EXPECT_EQ(heardIn("card", "EPHFIL = " + folder.path("u") + "\n"), told);
    const std::string stk = "stk.v.1\nScenarioEpoch 31 Jan 2026 0:00:00\nEphemerisTimePos\n0 1 2 3\nend Ephemeris\n";
    for (const std::int32_t dupMode : {0, 1}) {
        VorlanSetDupKeyMode(dupMode);
        EXPECT_EQ(heardIn("s", stk + stk),
                  (Lines{"1|s:1|STK", "4|s:5|key", "1|s:6|STK", "3|s:9|0 1 2 3", "6|s:6|duplicate of key"}));
    }
    EXPECT_EQ(heardIn("x", "1x\n1 1 0 20485/\n"), (Lines{"1|x:1|DCE_TEXT", "6|x:1|number or first time out of range"}));
}

TEST_F(ReadObserver, ReportsTheLineThatEndsABlockBeforeTheMessage) {
    const std::string v31 = "EPHEMERIS FILE FOR SATELLITE 25544", launch = "TIME(SEC): TIME\n",
                      stk = "stk.v.1\nScenarioEpoch ", eci = kHeader.substr(0, 39) + "ECI";
    const std::string vectorHeader = std::string(56, '0') + "." + std::string(17, ' ') + "SP";
    std::string eelv;
    for (int number = 0; number < 6; ++number)
        eelv += "." + std::string(22, ' ');
    const std::string binary = readFile(VORLANDI_EXAMPLES "/81001.dce");
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"V31", "\n" + v31.substr(0, 32) + "x\n", "2|" + v31.substr(0, 32) + "x"},
        {"V31", v31 + "\n" + v31 + "\nPropagation by\n", "3|Propagation by"},
        {"UNIVERSAL", "\n" + eci + "\n26031000000.000,7\n", "2|" + eci},
        {"UNIVERSAL", "\n" + kHeader + "\nno time,1\n", "2|" + kHeader},  // a block without a point
        {"DCE_TEXT", "5\n1 1 0 20485/\n1 1 x\n1 1 0 20486/\n", "3|1 1 x"},
        {"EELV", " " + eelv + "\n", "1| " + eelv},
        {"LAUNCH", launch + std::string(16, '\n') + "9 0 0 0\n1\nx\n", "18|9 0 0 0"},
        {"LAUNCH", launch + std::string(15, '\n'), "17|"},
        {"STK", stk + "31 Jan 2026 0:00:00\nCentralBody Moon\nx\n", "3|CentralBody Moon"},
        {"STK", stk + "31 Feb 2026 0:00:00\n\nEphemerisTimePos\n", "2|ScenarioEpoch 31 Feb 2026 0:00:00"},
        {"STK", "stk.v.1\nEphemerisTimePos\n0 1 2 3\n", "2|EphemerisTimePos"},
        {"VECTOR", "x" + vectorHeader.substr(1) + "\n", "1|x" + vectorHeader.substr(1)},
        {"VECTOR", std::string(56, ' ') + vectorHeader.substr(56) + "\na\nb\n", "2|a"},
        {"DCE_BINARY", binary.substr(0, 60), "3|"},
        {"DCE_BINARY", binary.substr(0, 128 + 112 + 50), "5|"},
    };
    for (const auto& [format, bytes, line] : cases) {
        SCOPED_TRACE(bytes);
        const std::string name = format == "DCE_BINARY" ? "f.dce" : "f";
        const Lines heard = heardIn(name, bytes);
        std::size_t bad = 1;
        while (bad < heard.size() && heard[bad].starts_with("2|f:3|no time"))
            ++bad;
        ASSERT_GT(heard.size(), bad);
        EXPECT_TRUE(heard[0].ends_with(format)) << heard[0];
        EXPECT_EQ(heard[bad], "2|" + name + ":" + line);
        EXPECT_EQ(events.errorsBefore[bad], 2 * (bad - 1));
        EXPECT_GT(log.errors().size(), events.errorsBefore[bad]);
    }
}

TEST_F(ReadObserver, ReportsTheFirstLineOfAGroupOrTheRecordOfABinaryFile) {
    std::string itc(114, ' ');
    itc.replace(64, 1, ".").replace(112, 2, "SP");
    const std::string point = "   26031000000.000" + std::string(96, '0'), numbers = "\n0 0 0 0 0 0 0";
    const std::string launch = "Time(sec): Time\n" + std::string(16, '\n'), late = "\n9 0 0 0 1 2 3\n4 5 6";
    const std::string binary = readFile(VORLANDI_EXAMPLES "/81001.dce").substr(0, 128 + 224);
    const std::tuple<std::string, std::string, Lines> cases[] = {
        {"itc",
         itc + "\n" + point + numbers + numbers + numbers + "\n" + point + numbers + numbers + "\nx\n" + point +
             numbers + numbers + numbers + "\n",
         {"1|itc:1|ITC", "2|itc:6|" + point, "3|itc:10|" + point, "4|itc:13|key"}},
        {"launch",
         launch + "9 0 0 0 1 2 3 4 5 6 0 0 0 0 0 a\n" + late + "\n0 0 0 0 0 b c\n" + late + " 0 0 0 0 0 d\n",
         {"1|launch:1|LAUNCH", "3|launch:20|9 0 0 0 1 2 3", "3|launch:24|9 0 0 0 1 2 3", "4|launch:25|key"}},
        {"a.dce", binary + binary.substr(128, 112), {"1|a.dce:1|DCE_BINARY", "3|a.dce:6|", "4|a.dce:6|key"}},
    };
    for (const auto& [name, bytes, heard] : cases)
        EXPECT_EQ(heardIn(name, bytes), heard);
    events.clear();
    VorlanRemoveAllSats();
    VorlanLoadFileExt(folder.write("b.dce", binary).c_str(), VORLAN_LOAD_PRACTICAL, 0, nullptr, nullptr);
    EXPECT_EQ(events.heard, (Lines{"1|b.dce:1|DCE_BINARY", "4|b.dce:5|key"}));
}

TEST_F(ReadObserver, ThatThrowsEndsOnlyTheLoad) {
    VorlanSetReadObserver(
        [](auto event, auto...) {
            if (event == VORLAN_READ_DROPPED) throw std::runtime_error("not allowed");
        },
        nullptr);
    EXPECT_EQ(VorlanLoadFile(folder.write("u", kUniversal).c_str()), 2);
    EXPECT_EQ(log.errors().back(), "VorlanLoadFile: Unexpected exception.");
    EXPECT_EQ(VorlanGetCount(), 0);
}

TEST_F(ReadObserver, ReportsOnlyItsOwnThreadAndNothingOnceRemoved) {
    const std::string path = folder.write("u", kUniversal);
    std::thread([&] { EXPECT_EQ(VorlanLoadFile(path.c_str()), 0); }).join();
    VorlanSetReadObserver(nullptr, nullptr);
    EXPECT_EQ(VorlanGetCount(), 1);
    EXPECT_EQ(events.heard, Lines{});
    EXPECT_EQ(heardIn("u", kUniversal), Lines{});
}

}  // namespace
}  // namespace vorlandi::testing
