// What loading tells the read observer: each event with its file, its line and its text.
#include <thread>

#include "TestSupport.hpp"
#include "vorlandi/services.h"
#include "vorlandi/vorlandi.h"

namespace vorlandi::testing {
namespace {

using Lines = std::vector<std::string>;

class ReadObserver : public StoreTest {
protected:
    ReadObserver() { VorlanSetReadObserver(hear, &heard); }
    ~ReadObserver() override { VorlanSetReadObserver(nullptr, nullptr); }

    // The key in a text is left out; the number of satellites stands for it.
    static void hear(std::int32_t event, const char* file, std::int32_t fileSize, std::int64_t line,
                     const char* text, std::int32_t textSize, void* heard) {
        const std::string path(file, static_cast<std::size_t>(fileSize)),
            told(text, static_cast<std::size_t>(textSize));
        std::int64_t key = 0;
        if (event == VORLAN_READ_STORED) VorlanGetLoaded(2, &key);
        const bool stored = event == VORLAN_READ_STORED && told == std::to_string(key);
        static_cast<Lines*>(heard)->push_back(std::to_string(event) + "|" + path.substr(path.rfind('/') + 1) +
                                              ":" + std::to_string(line) + "|" + (stored ? "key" : told));
    }

    Lines heardIn(const std::string& name, const std::string& bytes) {
        VorlanRemoveAllSats();
        heard.clear();
        VorlanLoadFile(folder.write(name, bytes).c_str());
        return heard;
    }

    TemporaryFolder folder;
    Lines heard;
};

const std::string kText =
    "*\nKQ_UNIVERSAL_VORLANDI_V1.0   5         HCSRL     CSV\n\n26031000000.000,1,2,3,4,5,6\nno time,1\n"
    "26031000000.000,7\n26031000000.000,1,2,3,4,5,6\n";

TEST_F(ReadObserver, HearsOfFormatBadLineDroppedPointAndRecord) {
    const Lines events = {"1|u:2|UNIVERSAL", "2|u:5|no time,1", "2|u:6|26031000000.000,7",
                          "3|u:7|26031000000.000,1,2,3,4,5,6", "4|u:7|key"};
    EXPECT_EQ(heardIn("u", kText), events);
    EXPECT_EQ(heardIn("card", "EPHFIL = " + folder.path("u") + "\n"), events);
    const std::string stk =
        "stk.v.1\nScenarioEpoch 31 Jan 2026 0:00:00\nEphemerisTimePos\n0 1 2 3\nend Ephemeris\n";
    EXPECT_EQ(heardIn("s", stk + stk), (Lines{"1|s:1|STK", "4|s:5|key", "1|s:6|STK", "3|s:9|0 1 2 3"}))
        << "a duplicate is not stored";
}

TEST_F(ReadObserver, IsToldTheFirstLineOfAGroup) {
    std::string head(114, ' ');
    head.replace(64, 1, ".").replace(112, 2, "SP");
    const std::string point = "   26031000000.000" + std::string(96, '0'), numbers = "\n0 0 0 0 0 0 0";
    EXPECT_EQ(heardIn("itc", head + "\n" + point + numbers + numbers + numbers + "\n" + point + numbers +
                                 numbers + "\nx\n" + point + numbers + numbers + numbers + "\n"),
              (Lines{"1|itc:1|ITC", "2|itc:6|" + point, "3|itc:10|" + point, "4|itc:13|key"}));
}

TEST_F(ReadObserver, IsToldTheFirstLineOfARecordOverLines) {
    const std::string head = "Time(sec): Time\n" + std::string(16, '\n'), late = "\n9 0 0 0 1 2 3\n4 5 6";
    EXPECT_EQ(heardIn("launch", head + "9 0 0 0 1 2 3 4 5 6 0 0 0 0 0 a\n" + late + "\n0 0 0 0 0 b c\n" +
                                    late + " 0 0 0 0 0 d\n"),
              (Lines{"1|launch:1|LAUNCH", "3|launch:20|9 0 0 0 1 2 3", "3|launch:24|9 0 0 0 1 2 3",
                     "4|launch:25|key"}));
}

TEST_F(ReadObserver, IsToldTheRecordOfABinaryFile) {
    const std::string file = readFile(VORLANDI_EXAMPLES "/81001.dce"), points = file.substr(128, 224);
    EXPECT_EQ(heardIn("a.dce", file.substr(0, 128) + points + points.substr(0, 112)),
              (Lines{"1|a.dce:1|DCE_BINARY", "3|a.dce:6|", "4|a.dce:6|key"}));
}

TEST_F(ReadObserver, HearsItsOwnThreadAloneAndNothingOnceTakenAway) {
    const std::string path = folder.write("u", kText);
    std::thread([&] { EXPECT_EQ(VorlanLoadFile(path.c_str()), 0); }).join();
    VorlanSetReadObserver(nullptr, nullptr);
    EXPECT_EQ(VorlanGetCount(), 1);
    EXPECT_EQ(heard, Lines{});
    EXPECT_EQ(heardIn("u", kText), Lines{});
}

}  // namespace
}  // namespace vorlandi::testing
