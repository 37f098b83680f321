// The practical rules compared with the fixed ones: the results of either for the same bytes.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <set>
#include <sstream>

#include "Vorlandi/VorlandiCardReading/ReadingRules.hpp"
#include "scanning/LoadingTest.hpp"

namespace vorlandi::testing {
namespace {

class PracticalRules : public LoadingTest {
protected:
    struct Outcome {
        std::int32_t status;
        Lines records, messages;
    };

    // Messages without the folder of the file.
    Outcome load(const std::string& path, std::int32_t options) {
        VorlanRemoveAllSats();
        log.clear();
        const std::int32_t status = VorlanLoadFileExt(path.c_str(), options, 0, nullptr, nullptr);
        Lines messages = log.errors();
        const std::string directory = folder.path("");
        for (std::string& message : messages) {
            if (const auto at = message.find(directory); at != std::string::npos) message.erase(at, directory.size());
        }
        return {status, storedPoints(), messages};
    }
};

// Blocks of STK, which end before the file does.
std::string stk(const Lines& states, const std::string& unit = "Kilometers", const std::string& system = "J2000") {
    Lines lines = {"stk.v.1", "ScenarioEpoch 31 Jan 2026 0:00:00", "DistanceUnit " + unit, "CoordinateSystem " + system,
                   "EphemerisTimePosVel"};
    lines.insert(lines.end(), states.begin(), states.end());
    lines.push_back("end Ephemeris");
    return joined(lines);
}

std::string withCommas(const Lines& lines) {
    return "KQ_UNIVERSAL_VORLANDI_V1.0   5         HCSRL     CSV\n" + joined(lines);
}

// The first lines of an example, with a text written over one of them from a column on; both are counted from 1.
std::string example(const std::string& name, std::size_t count, std::size_t edited = 1, std::size_t column = 1,
                    const std::string& by = "") {
    std::istringstream file(readFile(std::string(VORLANDI_EXAMPLES "/") + name));
    Lines lines(count);
    for (std::string& line : lines)
        std::getline(file, line);
    lines.at(edited - 1).replace(column - 1, by.size(), by);
    return joined(lines);
}

// The first five points of the binary example, with a double in the third one replaced.
std::string binaryWith(std::size_t offsetInPayload, double value) {
    constexpr std::size_t kHeader = 128, kPoint = 112, kCount = 4;
    std::string bytes = readFile(VORLANDI_EXAMPLES "/81001.dce").substr(0, kHeader + 5 * kPoint);
    std::array<char, sizeof value> text{};
    std::memcpy(text.data(), &value, sizeof value);
    std::reverse(text.begin(), text.end());
    return bytes.replace(kHeader + 2 * kPoint + kCount + offsetInPayload, sizeof value, text.data(), sizeof value);
}

TEST_F(PracticalRules, DifferFromTheFixedOnesOnTheSameBytes) {
    const Lines two = {"0 7000 1 2 3 4 5", "60 7001 1 2 3 4 5"}, later = {"120 7002 1 2 3 4 5"};
    const std::string bad = "*** ReadKQUniversalVorlan : Bad ephemeris data. ***";
    const std::string four =
        "26031000000.000,1,2,3,4,5,6\n26031000100.000,1,2,3,4,5,6\n"
        "26031000200.000,1,2,3,4,5,6\n26031000300.000,1,2,3,4,5,6\n";
    const std::string other = "KQ_UNIVERSAL_VORLANDI_V1.0   6         HCSRL     CSV\n26031000400.000,1,2,3,4,5,6\n";
    const std::string longLine = "26031000400.000,1,2,3,4,5," + std::string(500, ' ') + "6",
                      tooLong = "26031000400.000,1,2,3,4,5,6 ," + std::string(65000, ' ') + "1";
    // A second apart, the sixth point inside the leap second
    std::string leap = stk({"0 1 2 3 4 5 6", "1 2 2 3 4 5 6", "2 3 2 3 4 5 6", "3 4 2 3 4 5 6", "4 5 2 3 4 5 6",
                            "5 6 2 3 4 5 6", "6 7 2 3 4 5 6"});
    leap.replace(leap.find("31 Jan 2026 0:00:00"), 19, "31 Dec 2016 23:59:55");
    const std::string seam = "26031000300.000,1,2,3,4,5,7\n26031000400.000,1,2,3,4,5,7\n";
    folder.write("10007.e", stk(two));
    const Lines badRecord = {"*** ReadDCEBinary : Bad ephemeris data. ***",
                             "ReadDCEBinary: f.dce:6: a number in this record is not finite"};
    const double infinity = std::numeric_limits<double>::infinity();
    const std::string lch = example("81001_lch.txt", 15, 14, 1, "26399"),
                      simObs = example("81001_simobs.txt", 4, 2, 76, "LLH");
    const auto lineOf = [](const std::string& text, int number) {
        std::istringstream lines(text);
        std::string line;
        while (number-- > 0)
            std::getline(lines, line);
        return std::string(trimmed(line));
    };
    const std::string longName = "MEME_44713_NAME_2541200_Operational_1465603200_UNCLASSIFIED.e";
    std::set<Rule> shown;
    const struct {
        Rule rule;
        std::string name, bytes;
        Outcome fixed, practical;
    } cases[] = {
        {Rule::UnrecognisedFileFails,
         "f",
         "nothing\n",
         {0, {}, {}},
         {2, {}, {"VorlanLoadFileExt: No ephemeris format recognised in f."}}},
        {Rule::BlockIsRecord,
         "10005.e",
         stk(two) + stk(later, "Kilometers", "Fixed"),
         {0, {"10005:2", "10005:3"}, {}},
         {0, {"10005:2", "10005:1"}, {}}},
        {Rule::HeaderEndsBlock, "f", withCommas({four}) + other, {0, {"5:5"}, {bad, ""}}, {0, {"5:4", "6:1"}, {}}},
        {Rule::TimesAreStorable,
         "f",
         withCommas({four, "2300/01/01 00:00:00.000,1,2,3,4,5,6"}),
         {0, {"5:5"}, {}},
         {0,
          {"5:4"},
          {"*** ReadOnlyVorlans : Bad ephemeris data. ***", "ReadOnlyVorlans: f:7: its time is not in 1950 to 2199",
           "2300/01/01 00:00:00.000,1,2,3,4,5,6"}}},
        {Rule::LeapSecondsAreDropped,
         "10005.e",
         leap,
         {0, {"10005:7"}, {}},
         {0,
          {"10005:6"},
          {"VorlanLoadFileExt: 10005.e:11: 1 point dropped, the first of them here: in a leap second, which days "
           "cannot "
           "tell from the second after it."}}},
        {Rule::LinesAreWhole,
         "f",
         withCommas({four, longLine}),
         {0, {"5:4"}, {bad, longLine.substr(0, 26)}},
         {0, {"5:5"}, {}}},
        {Rule::LinesAreWhole,
         "f",
         withCommas({four, tooLong}),
         {0, {"5:5"}, {}},
         {0,
          {"5:4"},
          {"*** ReadOnlyVorlans : Bad ephemeris data. ***", "ReadOnlyVorlans: f:7: it has more than 65000 columns",
           tooLong.substr(0, 29)}}},
        {Rule::FailedBlockIsRefused,
         "10005.e",
         stk(two) + stk(two, "Miles") + stk(later),
         {2, {"10005:2"}, {"*** ReadDotE: Invalid distance unit. Only meters and kilometers are supported. ***"}},
         {2,
          {"10005:2", "10005:1"},
          {"ReadSTK: 10005.e:11: DistanceUnit Miles is not read; Meters, Kilometers are.", "DistanceUnit Miles",
           "*** ReadSTK: Invalid distance unit. ***"}}},
        {Rule::LinesAfterBlockAreReported,
         "10005.e",
         stk(two) + "# note\n* note\n120 7002\n180 7003\n" + stk(later, "Kilometers", "Fixed"),
         {0, {"10005:2", "10005:3"}, {}},
         {0,
          {"10005:2", "10005:1"},
          {"*** ReadOnlyVorlans : Bad ephemeris data. ***",
           "ReadOnlyVorlans: 10005.e:11: lines after the end of a block are not read", "120 7002"}}},
        {Rule::SeamBeginsRecord, "f", withCommas({four + seam}), {0, {"5:5"}, {}}, {0, {"5:4", "5:2"}, {}}},
        {Rule::DroppedPointsAreCounted,
         "f",
         withCommas({four, four}),
         {0, {"5:4"}, {}},
         {0,
          {"5:4"},
          {"VorlanLoadFileExt: f:7: 4 points dropped, the first of them here: not later than the point "
           "before."}}},
        {Rule::ValuesAreFinite, "f.dce", binaryWith(24, infinity), {0, {"81001:5"}, {}}, {0, {"81001:4"}, badRecord}},
        {Rule::TimesAreFinite, "f.dce", binaryWith(16, infinity), {0, {"81001:3"}, {}}, {0, {"81001:4"}, badRecord}},
        {Rule::TimesAreFinite, "f.dce", binaryWith(16, NAN), {0, {"81001:4"}, {}}, {0, {"81001:4"}, badRecord}},
        {Rule::DatesExist,
         "f",
         lch,
         {0, {"81001:4"}, {}},
         {0,
          {"81001:4"},
          {"*** ReadLCH : Bad ephemeris data. ***", "ReadLCH: f:14: there is no such date or time", lineOf(lch, 14)}}},
        {Rule::FramesAreCartesian,
         "f",
         simObs,
         {0, {"81001:1"}, {}},
         {2,
          {},
          {"ReadSimObs: f:2: LLH and SEN are not cartesian coordinates; ECI, J2K, EFG and ECR are.", lineOf(simObs, 2),
           "*** ReadSimObs: Invalid Coordinate system. ***"}}},
        {Rule::MissingFileFails,
         "fleet",
         "EPHFIL = no-such-file\nEPHFIL = " + folder.path("10007.e") + "\n",
         {0, {"10007:2"}, {}},
         {2, {"10007:2"}, {"VorlanLoadFileExt: fleet:1: no-such-file: No such file or directory."}}},
        {Rule::NamesBesideCard, "fleet", "EPHFIL = 10007.e\n", {0, {}, {}}, {0, {"10007:2"}, {}}},
        {Rule::ExponentWithoutLetter,
         "f",
         withCommas({four, "26031000400.000,1.5+1,2,3,4,5,6"}),
         {0, {"5:4"}, {bad, "26031000400.000,1.5+1,2,3,4,5,6"}},
         {0, {"5:5"}, {}}},
        {Rule::NumberFromLongName, longName, stk(two), {0, {"99999:2"}, {}}, {0, {"44713:2"}, {}}},
        {Rule::NumberFromLongName, "123456789x.e", stk(two), {0, {"12345:2"}, {}}, {0, {"123456789:2"}, {}}},
        {Rule::NumberFromLongName, "MEME_x_NAME.e", stk(two), {0, {"99999:2"}, {}}, {0, {"99999:2"}, {}}},
    };
    for (const auto& [rule, name, bytes, fixed, practical] : cases) {
        SCOPED_TRACE(bytes);
        const std::string path = folder.write(name, bytes);
        for (const auto& [options, expected] :
             {std::pair(0, fixed), std::pair(int(VORLAN_LOAD_PRACTICAL), practical)}) {
            const Outcome outcome = load(path, options);
            EXPECT_EQ(outcome.status, expected.status) << options;
            EXPECT_EQ(outcome.records, expected.records) << options;
            EXPECT_EQ(outcome.messages, expected.messages) << options;
        }
        shown.insert(rule);
    }
    EXPECT_EQ(shown.size(), std::size(kPracticalRules)) << "every rule has its case";
}

std::string withNumber81002(std::string text) {
    for (std::size_t at = 0; (at = text.find("81001", at)) != std::string::npos;)
        text.replace(at, 5, "81002");
    return text;
}

TEST_F(PracticalRules, EndABlockWithPointsOrWithoutAtTheHeaderOfTheNext) {
    const struct {
        std::string name;
        std::size_t lines;
        bool mayBeginAnywhere, hasFreeText, hasFreeHeader;
    } formats[] = {
        {"universal.txt", 5, true, false, false}, {"universal_csv.txt", 5, true, false, false},
        {"itc.txt", 13, true, false, false},      {"vector.txt", 7, true, false, false},
        {"simobs.txt", 10, true, false, false},   {"j2k.txt", 5, true, false, false},
        {"stk.e", 12, true, true, true},          {"v31.txt", 7, true, true, true},
        {"launch.txt", 21, true, true, true},     {"oem.txt", 18, true, true, true},
        {"ecr.txt", 17, false, false, true},      {"lch.txt", 14, false, false, true},
        {"oasys.txt", 6, false, true, true},      {"modified_itc.txt", 16, false, false, false},
        {"dce.txt", 5, false, false, false},
    };
    constexpr std::int32_t kOptions = VORLAN_LOAD_PRACTICAL | VORLAN_LOAD_DMA_KEYS;
    const auto recordsOf = [&](const std::string& bytes) { return load(folder.write("f", bytes), kOptions).records; };
    for (const auto& first : formats) {
        for (const auto& second : formats) {
            if (second.name == "dce.txt" && first.name != second.name)
                continue;  // its header is a line of data as well
            SCOPED_TRACE(first.name + " " + second.name);
            const std::string block = example("81001_" + first.name, first.lines),
                              next = withNumber81002(example("81001_" + second.name, second.lines));
            const Lines ofNext = recordsOf(next);
            Lines ofBoth = recordsOf(block);
            ofBoth.insert(ofBoth.end(), ofNext.begin(), ofNext.end());
            const bool isSeen = second.mayBeginAnywhere || first.name == second.name;
            if (isSeen || !first.hasFreeText) {
                const Outcome outcome = load(folder.write("f", block + next), kOptions);
                EXPECT_EQ(outcome.records, ofBoth);
                EXPECT_EQ(outcome.messages, Lines{});
            }
            if (second.mayBeginAnywhere || !first.hasFreeHeader) {
                EXPECT_EQ(recordsOf(block.substr(0, block.find('\n') + 1) + next), ofNext);
            }
        }
    }
}

TEST_F(PracticalRules, ReadOrReportWhatFollowsABlockInAFormatKnownByTheShapeOfItsLines) {
    const std::string dce = example("81001_dce.txt", 6), dce2 = withNumber81002(dce),
                      badDce = example("81001_dce.txt", 6, 3, 1, "x"), owner = example("81001_owner.txt", 4),
                      eelv = example("81001_eelv.txt", 4), badStk = stk({"0 1 2 3 4 5 6"}, "Miles"),
                      v31 = example("81001_v31.txt", 6),
                      end = std::string(48, 'E') + "\n" + std::string(48, 'Z') + "\n",
                      elements =
                          "1 25544U 98067A   26031.50000000  .00016717  00000-0  10270-3 0  9005\n"
                          "2 25544  51.6400 208.9163 0006317  69.9862  25.2906 15.54225995 67660\n";
    std::string spacecraft = withNumber81002(example("81001_oasys.txt", 5));
    spacecraft.erase(0, spacecraft.find('\n') + 1);
    const struct {
        std::string bytes;
        int status;
        Lines records;
        std::string said;  // in a message
    } cases[] = {
        {badDce + "\n" + dce2, 2, {"81002:5"}, ""},
        {badStk + dce2, 2, {"81002:5"}, ""},
        {example("81001_eelv.txt", 4, 1, 24, "1.3000000000000000e+01") + eelv, 2, {"99999:3"}, ""},
        {badStk + example("81001_oasys.txt", 6), 2, {"81001:3"}, ""},
        {example("81001_oasys.txt", 5) + spacecraft, 0, {"81001:2", "81002:2"}, ""},
        {badStk + owner, 2, {}, "look like OWNER are not read"},
        {badStk + eelv, 2, {}, "look like EELV are not read"},
        {v31 + end + owner, 0, {"81001:3", "99999:4"}, ""},
        {"#VORLANDI = T\nEPHFIL =\n" + owner, 0, {"99999:4"}, ""},
        {"0 ISS (ZARYA)\n" + elements, 2, {}, "element sets"},
        {"25544\n" + elements, 2, {}, "element sets"},
    };
    for (const auto& [bytes, status, records, said] : cases) {
        SCOPED_TRACE(bytes);
        const Outcome outcome = load(folder.write("f", bytes), VORLAN_LOAD_PRACTICAL);
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.records, records);
        EXPECT_EQ(outcome.messages.empty(), status == 0);
        const auto says = [&said = said](const std::string& message) {
            return message.find(said) != std::string::npos;
        };
        EXPECT_EQ(std::any_of(outcome.messages.begin(), outcome.messages.end(), says), status != 0) << said;
    }
}

TEST_F(PracticalRules, SayWhyABlockIsRefused) {
    const std::pair<std::string, std::string> cases[] = {
        {example("81001_universal.txt", 4, 1, 40, "ECI  "),
         "ReadKQUniversalVorlan: f:1: coordinate system ECI is not read; HCSRL, WPTRL, HCSGC and WPTGC are."},
        {example("81001_v31.txt", 4, 2, 66, "TOD"), "ReadV31: f:2: coordinates TOD are not read; ECI and EFG are."},
        {example("81001_vector.txt", 4, 2, 78, "TOD"),
         "ReadVecEph: f:2: coordinates TOD are not read; ECI, J2K, EFG and ECR are."},
        {example("81001_eelv.txt", 4, 1, 24, "1.3000000000000000e+01"),
         "ReadEELV: f:1: the first line is not a date: year, month, day, hour, minute and seconds."},
    };
    for (const auto& [bytes, reason] : cases) {
        const Outcome outcome = load(folder.write("f", bytes), VORLAN_LOAD_PRACTICAL);
        EXPECT_EQ(outcome.status, 2);
        ASSERT_EQ(outcome.messages.size(), 3u);
        EXPECT_EQ(outcome.messages[0], reason);
    }
    folder.write("inner", "EPHFIL = nothing\n");
    EXPECT_EQ(
        load(folder.write("f", "EPHFIL = inner\n"), VORLAN_LOAD_PRACTICAL).messages,
        Lines{"VorlanLoadFileExt: No ephemeris format recognised in inner. It seems to hold cards, which are followed "
              "one level deep."});
}

TEST_F(PracticalRules, AreOnThePageOfFormatsWordForWord) {
    const std::string page = readFile(VORLANDI_DOCS "/formats.md"), begin = "<!-- rules: begin -->\n";
    std::string table = "| what | fixed rules | practical rules |\n|---|---|---|\n";
    for (const auto& [rule, subject, fixed, practical] : kPracticalRules) {
        for (const std::string_view cell : {subject, fixed, practical})
            table += "| " + std::string(cell) + " ";
        table += "|\n";
    }
    const auto at = page.find(begin);
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(page.substr(at + begin.size(), page.find("<!-- rules: end -->") - at - begin.size()), table);
}

}  // namespace
}  // namespace vorlandi::testing
