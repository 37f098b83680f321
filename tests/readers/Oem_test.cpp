#include "CoreServices/InputUnits.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "Vorlandi/VorlandiProcessing/CovarianceAxes.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "readers/ReaderTest.hpp"
#include "scanning/ReadEvents.hpp"

namespace vorlandi::testing::oem {
namespace {

// clang-format off
const Lines kGood = {" \tccsds_OEM_vers = 2.0", "CREATION_DATE = 2026-01-31T00:00:00", "ORIGINATOR = ANYBODY",
    "META_START", "OBJECT_NAME = ALPHA 1", "OBJECT_ID = 25544", "CENTER_NAME = EARTH", "REF_FRAME = EME2000",
    "TIME_SYSTEM = UTC", "META_STOP", "COMMENT 1 = 2",
    "2024-03-01T00:00:00.000 7000 -1.5 .25 1 7.5 -.5",
    "2024-061T12:00:00Z\t7001 -1.5 0.25 1.0E0 7.5 -0.5  0 0 1e-9  ",
    "COVARIANCE_START", "EPOCH = 2024-03-01T12:00:00", "1", "2 3", "4 5 6", "7 8 9 10", "11 12 13 14 15",
    "16 17 18 19 20 21", "COVARIANCE_STOP"};
// clang-format on
constexpr double kNoon = kMarch1 + 0.5;
const std::string kUnmarked = " before a META_START; it begins a segment";

Lines operator+(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

// Lines of metadata and one state.
Lines segment(const std::string& name, const std::string& id, const std::string& frame = "TEME") {
    return {"META_START",          "OBJECT_NAME = " + name, "OBJECT_ID = " + id, "REF_FRAME = " + frame,
            "CENTER_NAME = EARTH", "TIME_SYSTEM = UTC",     "META_STOP",         "2024-03-02T00:00:00 7002 0 0 0 7 0"};
}

// A matrix with an epoch, and a frame if one is given.
Lines matrix(const std::string& epoch, const std::string& frame = "") {
    Lines lines = cut(kGood, 21);
    lines.erase(lines.begin(), lines.begin() + 15);
    if (!frame.empty()) lines.insert(lines.begin(), "COV_REF_FRAME = " + frame);
    lines.insert(lines.begin(), "EPOCH = " + epoch);
    return lines;
}

Loaded loadOem(const Lines& lines, std::string_view fileName = "test.txt") {
    return loadLines(lines, fileName, ReadingRules::practical());
}

std::vector<std::int32_t> pointCounts(const Loaded& loaded) {
    std::vector<std::int32_t> counts;
    for (const Vorlanrecord& record : loaded.records)
        counts.push_back(record.numberOfPoints());
    return counts;
}

// The messages of a report in short: "!12 reason" for a bad line, "#12 reason" for a segment refused there.
Lines inFull(const Lines& reports, const Lines& lines) {
    Lines messages;
    for (const std::string& report : reports) {
        const auto space = report.find(' ');
        const std::string place = "ReadOEM: test.txt:" + report.substr(1, space - 1) + ": " + report.substr(space + 1);
        if (report[0] != '!' && report[0] != '#') {
            messages.push_back(report);
            continue;
        }
        const std::string line(trimmed(lines.at(std::stoul(report.substr(1)) - 1)));
        if (report[0] == '!') {
            messages.insert(messages.end(), {"*** ReadOEM : Bad ephemeris data. ***", place, line});
        } else {
            messages.insert(messages.end(), {place, line, "*** ReadOEM: Segment refused. ***"});
        }
    }
    return messages;
}

struct OemCase {
    std::string what;
    Lines lines;
    Lines reports;
    std::vector<std::int32_t> points;  // of each record
};

void expectOem(const std::vector<OemCase>& cases) {
    for (const auto& [what, lines, reports, points] : cases) {
        SCOPED_TRACE(what);
        const Loaded loaded = loadOem(lines);
        EXPECT_EQ(loaded.errors, inFull(reports, lines));
        EXPECT_EQ(pointCounts(loaded), points);
        const bool refused = std::any_of(reports.begin(), reports.end(), [](const auto& r) { return r[0] == '#'; });
        EXPECT_EQ(loaded.status, refused ? 2 : 0);
    }
}

TEST(ReadOEM, ReadsSegmentsOfMetadataStatesAndCovariances) {
    const Loaded loaded = loadOem(kGood + segment("BETA", "123456789", "ITRF-97"));
    EXPECT_EQ(loaded.errors, Lines{});
    EXPECT_EQ(loaded.status, 0);
    ASSERT_EQ(pointCounts(loaded), (std::vector<std::int32_t>{2, 1}));
    const Vorlanrecord &first = loaded.records[0], &second = loaded.records[1];
    EXPECT_EQ(stateOf(first.points[0]), usual(kMarch1));
    EXPECT_EQ(stateOf(first.points[1]), usual(kNoon, 7001));
    EXPECT_FALSE(hasCovariance(first.points[0]));
    for (int k = 0; k < 21; ++k)
        EXPECT_EQ(first.points[1].cov[k], k + 1.0);
    EXPECT_EQ(std::tuple(first.satNum, first.coordSys, first.epoch, first.inputTag.view()),
              std::tuple(25544, kJ2k, kMarch1, std::string_view("ALPHA 1")));
    EXPECT_EQ(std::tuple(second.satNum, second.coordSys, second.inputTag.view()),
              std::tuple(123456789, kEcr, std::string_view("BETA")));
    EXPECT_EQ(second.points.covariances(), nullptr);
}

TEST(ReadOEM, AcceptsTheFramesTimeSystemsAndVersionsThatItNames) {
    const std::string frames =
        " is not read; EME2000, J2000, ICRF, GCRF, TEME, TEMEOFDATE, EFG, FIXED_EARTH and ITRF are.";
    const std::pair<const char*, std::int32_t> coordSystems[] = {
        {"eme2000", kJ2k}, {"J2000", kJ2k},       {"ICRF", kJ2k},       {"GCRF", kJ2k},     {"TEME", kEci},
        {"Efg", kEfg},     {"TEMEofDate", kEci},  {"ITRF", kEcr},       {"ITRF2014", kEcr}, {"ITRF-2020", kEcr},
        {"itrf-93", kEcr}, {"FIXED_EARTH", kEcr}, {"ITRF\t2014", kEcr}, {"TOD", 0},         {"ITRF-", 0},
        {"ITRF-2020x", 0}, {"ITRF-12345", 0}};
    for (const auto& [frame, coordSys] : coordSystems) {
        SCOPED_TRACE(frame);
        const Lines lines = put(kGood, 8, std::string("REF_FRAME=") + frame);
        const Loaded loaded = loadOem(lines);
        const Lines refused = inFull({std::string("#8 REF_FRAME ") + frame + frames}, lines);
        EXPECT_EQ(loaded.errors, coordSys != 0 ? Lines{} : refused);
        ASSERT_EQ(loaded.records.size(), coordSys != 0 ? 1u : 0u);
        if (coordSys != 0) {
            EXPECT_EQ(loaded.records[0].coordSys, coordSys);
        }
    }
    for (const auto& [system, seconds] : {std::pair("tai", 37), {"GPS", 18}, {"TT", 69}, {"UTC", 0}}) {
        const Loaded loaded = loadOem(put(kGood, 9, std::string("TIME_SYSTEM = ") + system));
        ASSERT_EQ(loaded.records.size(), 1u) << system;
        EXPECT_NEAR(loaded.records[0].epoch, kMarch1 - seconds / 86400.0, 0.2 / 86400.0) << system;
        EXPECT_TRUE(hasCovariance(loaded.records[0].points[1])) << system;
    }
    for (const auto& [version, read] : {std::pair("1.0", true), {"3.0", true}, {"3.1", false}, {"x", false}}) {
        const Loaded loaded = loadOem(put(kGood, 1, std::string("CCSDS_OEM_VERS = ") + version));
        EXPECT_EQ(loaded.records.size(), read ? 1u : 0u) << version;
        EXPECT_EQ(loaded.status, read ? 0 : 2);
        const std::string reason = std::string("CCSDS_OEM_VERS ") + version + " is not read; 1.0 to 3.0 are.";
        if (!read) {
            EXPECT_EQ(loaded.errors.at(0), "ReadOEM: test.txt:1: " + reason);
        }
    }
}

TEST(ReadOEM, RefusesASegmentAndReadsTheNextOne) {
    const Lines next = segment("BETA", "7"), both = kGood + next;
    const std::string frames = "EME2000, J2000, ICRF, GCRF, TEME, TEMEOFDATE, EFG, FIXED_EARTH and ITRF are.";
    const std::string unordered = "TIME_SYSTEM = TAI\nREF_FRAME = TEME\nCENTER_NAME = Earth\nOBJECT_ID = 5";
    expectOem({
        {"another centre", put(both, 7, "CENTER_NAME = MOON"), {"#7 CENTER_NAME MOON is not read; EARTH is."}, {1}},
        {"no centre", put(both, 7, ""), {"#10 CENTER_NAME is missing; EARTH is."}, {1}},
        {"no frame", put(both, 8, ""), {"#10 REF_FRAME is missing; " + frames}, {1}},
        {"no time system",
         put(both, 9, "TIME_SYSTEM ="),
         {"#9 TIME_SYSTEM is missing; UTC, TAI, GPS and TT are."},
         {1}},
        {"another time system",
         put(both, 9, "TIME_SYSTEM = TDB"),
         {"#9 TIME_SYSTEM TDB is not read; UTC, TAI, GPS and TT are."},
         {1}},
        {"a frame of another date",
         put(put(both, 8, "REF_FRAME = TEME"), 5, "REF_FRAME_EPOCH = 2000-01-01T12:00:00"),
         {"#10 REF_FRAME TEME at a REF_FRAME_EPOCH is not read; TEME of date is."},
         {1}},
        {"no states", cut(both, 11) + next, {"#4 the segment has no states"}, {1}},
        {"refused in the line that ends one without states",
         cut(both, 11) + Lines{"REF_FRAME = TOD"},
         {"!12 REF_FRAME" + kUnmarked, "#4 the segment has no states", "#12 REF_FRAME TOD is not read; " + frames},
         {}},
        {"refused before data without META_STOP",
         put(put(both, 7, ""), 10, ""),
         {"#12 CENTER_NAME is missing; EARTH is."},
         {1}},
        {"the next one without META_START", put(both, 23, ""), {"!24 OBJECT_NAME" + kUnmarked}, {2, 1}},
        {"without META_START after a block of covariances that does not end",
         put(put(both, 23, ""), 22, "START_TIME = 2024"),
         {"!22 START_TIME is not read here", "!24 OBJECT_NAME" + kUnmarked},
         {2, 1}},
        {"without META_START after a refused one",
         put(put(put(both, 23, ""), 10, ""), 7, "CENTER_NAME = MOON"),
         {"#7 CENTER_NAME MOON is not read; EARTH is.", "!24 OBJECT_NAME" + kUnmarked},
         {1}},
    });
    EXPECT_EQ(loadOem(put(both, 7, "CENTER_NAME = MOON")).status, 2);
    EXPECT_EQ(loadOem(cut(kGood, 3)).errors, Lines{kNoData});
    const Loaded loaded = loadOem(put(put(put(put(kGood, 6, ""), 7, ""), 8, ""), 9, unordered));
    ASSERT_EQ(loaded.records.size(), 1u);
    EXPECT_EQ(loaded.records[0].satNum, 5);
}

TEST(ReadOEM, SkipsABadLine) {
    const std::string numbers = "a state is an epoch and six or nine numbers", noDate = "there is no such date or time";
    std::vector<OemCase> cases = {
        {"an unknown word", put(kGood, 11, "COMENT = 3"), {"!11 COMENT is not read here"}, {2}},
        {"in the header", put(kGood, 3, "START_TIME = 2024"), {"!3 START_TIME is not read here"}, {2}},
        {"in the metadata", put(kGood, 5, "START_TIME 2024"), {"!5 START_TIME is not read here"}, {2}},
        {"numbers before the metadata", put(kGood, 3, "1 2 3"), {"!3 numbers before a META_START"}, {2}},
        {"no META_STOP", put(kGood, 10, ""), {"!12 a state before the META_STOP; it is read"}, {2}},
        {"no META_START", put(kGood, 4, ""), {"!5 OBJECT_NAME" + kUnmarked}, {2}},
        {"no COVARIANCE_START",
         put(kGood, 14, ""),
         {"!15 EPOCH is not read here", "!16 " + noDate, "!17 " + noDate, "!18 " + noDate, "!19 " + noDate,
          "!20 " + noDate, "!21 " + noDate, "!22 COVARIANCE_STOP is not read here"},
         {2}},
        {"an epoch of its own form", put(kGood, 12, "24061000000.000 7000 -1.5 .25 1 7.5 -.5"), {"!12 " + noDate}, {1}},
        {"a second 60", put(kGood, 12, "2024-02-29T23:59:60 7000 -1.5 .25 1 7.5 -.5"), {"!12 " + noDate}, {1}},
        {"the same state again",
         put(kGood, 11, kGood[11]),
         {"VorlanLoadFileExt: test.txt:12: 1 point dropped, the first of them here: not later than the point before."},
         {2}},
        {"epochs out of order",
         put(kGood, 11, "2024-03-02T00:00:00 1 2 3 4 5 6"),
         {"!15 no state without a covariance at this epoch",
          "VorlanLoadFileExt: test.txt:12: 2 points dropped, the first of them here: not later than the point before."},
         {1}},
    };
    for (const char* const rest : {"7000 -1.5 .25 1 7.5", "7000 -1.5 .25 1 7.5 -.5 0", "7000 -1.5 .25 1 7.5 -.5 0 0",
                                   "7000 -1.5 .25 1 7.5 -.5 0 0 0 0", "7000 -1.5 .25 1 7.5 x",
                                   "7000,,-1.5 .25 1 7.5 -.5", "7000 /", "7000 -1.5 .25 1 7.5 -.5 km", ""}) {
        cases.push_back({rest, put(kGood, 12, "2024-03-01T00:00:00 " + std::string(rest)), {"!12 " + numbers}, {1}});
    }
    expectOem(cases);
}

TEST(ReadOEM, AssignsCovariancesToThePointsOfTheirEpoch) {
    const Lines states = cut(kGood, 14), stop = {"COVARIANCE_STOP"};
    const std::string noon = "2024-03-01T12:00:00", early = "2024-03-01T00:00:00",
                      noPoint = "no state without a covariance at this epoch";
    const std::string fewer = "the covariance of this epoch has fewer than 21 numbers";
    const auto row = [](int size) {
        return "row " + std::to_string(size) + " of a covariance has " + std::to_string(size) +
               (size == 1 ? " number" : " numbers");
    };
    expectOem({
        {"other epochs",
         states + matrix("2024-03-01T12:00:00.000002") + matrix("2024-03-01T06:00:00"),
         {"!15 " + noPoint, "!22 " + noPoint},
         {2}},
        {"before the states",
         put(kGood, 11,
             "COVARIANCE_START\nEPOCH = 2024-03-01T12:00:00\n1\n2 3\n4 5 6\n7 8 9 10\n1 2 3 4 5\n1 2 3 4 5 "
             "6\nCOVARIANCE_STOP"),
         {"*** ReadOEM : Bad ephemeris data. ***", "ReadOEM: test.txt:12: " + noPoint, "EPOCH = 2024-03-01T12:00:00"},
         {2}},
        {"a second one", states + matrix(noon) + matrix(noon, "RTN") + stop, {"!22 " + noPoint}, {2}},
        {"too short", put(kGood, 21, ""), {"!15 " + fewer}, {2}},
        {"too short, before one without a point",
         cut(kGood, 16) + matrix("2024-03-01T06:00:00") + stop,
         {"!15 " + fewer, "!17 " + noPoint},
         {2}},
        {"too short, before a bad epoch",
         cut(kGood, 15) + Lines{"EPOCH = noon"} + stop,
         {"!15 " + fewer, "!16 there is no such date or time"},
         {2}},
        {"cut by the next segment", cut(kGood, 20) + segment("B", "2"), {"!15 " + fewer}, {2, 1}},
        {"cut by a state",
         cut(kGood, 20) + Lines{"2024-03-02T00:00:00 1 2 3 4 5 6", "2024-03-03T00:00:00 1 2 3 4 5 6"},
         {"!15 " + fewer, "!21 a state before the COVARIANCE_STOP; it is read"},
         {4}},
        {"a long row", put(kGood, 16, "1 2"), {"!16 " + row(1)}, {2}},
        {"a short row", put(kGood, 17, "2"), {"!17 " + row(2)}, {2}},
        {"a word in a row", put(kGood, 21, "1 2 3 4 5 x"), {"!21 " + row(6)}, {2}},
        {"empty values", put(kGood, 21, "1,,2 3 4 5"), {"!21 " + row(6)}, {2}},
        {"no epoch", put(kGood, 15, ""), {"!16 a covariance needs an EPOCH before its numbers"}, {2}},
        {"a bad epoch", states + matrix("noon", "RTN") + stop, {"!15 there is no such date or time"}, {2}},
        {"seven rows", put(kGood, 22, "1"), {"!22 a covariance needs an EPOCH before its numbers"}, {2}},
        {"frames that are not read",
         states + matrix(early, "TOD") + matrix(noon, "tod") + stop,
         {"ReadOEM: test.txt:15: covariances with COV_REF_FRAME TOD are left out; those in the frame of the states, "
          "RTN, RSW, RIC, TNW are read."},
         {2}},
        {"no axes",
         put(states + matrix(early, "RTN") + stop, 12, "2024-03-01T00:00:00 7000 0 0 1 0 0"),
         {"!15 position and velocity of the point at this epoch are parallel and have no axes"},
         {2}},
    });
}

TEST(ReadOEM, TurnsCovariancesIntoTheFrameOfTheStates) {
    struct Row {
        const char* frame;
        const char* statesFrame;
        std::optional<CovarianceAxes> axes;
        bool rotates;
    };
    const Row rows[] = {
        {"RTN", "EME2000", CovarianceAxes::Uvw, false}, {"rsw", "TEME", CovarianceAxes::Uvw, false},
        {"RIC", "ITRF", CovarianceAxes::Uvw, true},     {"TNW", "EFG", CovarianceAxes::Tnw, true},
        {"J2000", "EME2000", std::nullopt, false},
    };
    for (const auto& [frame, statesFrame, axes, rotates] : rows) {
        SCOPED_TRACE(frame);
        // The frame applies only to its own matrix, and may come before the epoch.
        Lines turned = matrix("2024-03-01T12:00:00", frame);
        if (rotates) std::swap(turned[0], turned[1]);
        const Lines lines =
            put(cut(kGood, 14) + turned + matrix("2024-03-01T00:00:00"), 8, std::string("REF_FRAME = ") + statesFrame);
        const Loaded loaded = loadOem(lines);
        EXPECT_EQ(loaded.errors, Lines{});
        ASSERT_EQ(loaded.records.size(), 1u);
        const Vorlanpoint plain = loaded.records[0].points[0], point = loaded.records[0].points[1];
        PointCovariance expected = plain;
        for (int k = 0; k < 21; ++k)
            EXPECT_EQ(plain.cov[k], k + 1.0);
        if (axes) {
            EXPECT_TRUE(turnToFrame(point, rotates, *axes, expected));
        }
        EXPECT_TRUE(std::equal(point.cov, point.cov + 21, expected.cov));
    }
}

TEST(ReadOEM, NumbersAndTagsSatellites) {
    const Lines file = cut(kGood, 3);
    const std::string differ =
        "ReadOEM: MEME_42_X_1.oem:18: segments name different objects, 2020-001A and 2020-001B: the "
        "number of those without one is 99999.";
    const auto expectNumbers = [](const Lines& lines, const std::vector<std::int32_t>& numbers, const Lines& errors) {
        const Loaded loaded = loadOem(lines, "MEME_42_X_1.oem");
        std::vector<std::int32_t> found;
        for (const Vorlanrecord& record : loaded.records)
            found.push_back(record.satNum);
        EXPECT_EQ(found, numbers);
        EXPECT_EQ(loaded.errors, errors);
    };
    const Lines a = segment("ALPHA", "2020-001A"),
                laterA = put(segment("alpha b", "2020-001a"), 8, "2024-03-03T00:00:00 1 2 3 4 5 6");
    const Lines b = put(segment("BETA", "2020-001B"), 8, "2024-03-03T00:00:00 1 2 3 4 5 6");
    expectNumbers(file + a + laterA, {42, 42}, {});
    expectNumbers(file + a + b, {99999, 99999}, {differ});
    expectNumbers(
        file + a + segment("BETA", "77") + put(b, 3, "OBJECT_ID = 1234567890"), {99999, 77, 99999},
        {"ReadOEM: MEME_42_X_1.oem:18: segments name different objects, 2020-001A and 77: the number of those "
         "without one is 99999."});
    // Objects are compared by what both segments say, even if one is refused, in any order of its keys.
    const Lines numbered = segment("ALPHA", "77"), nameAlone = put(laterA, 3, "COMMENT");
    expectNumbers(file + a + put(nameAlone, 2, "OBJECT_NAME = alpha"), {42, 42}, {});
    expectNumbers(file + numbered + put(nameAlone, 2, "OBJECT_NAME = alpha"), {77, 77}, {});
    expectNumbers(
        file + segment("BETA", "77") + laterA, {77, 99999},
        {"ReadOEM: MEME_42_X_1.oem:18: segments name different objects, 77 and 2020-001a: the number of those "
         "without one is 99999."});
    Lines refused = segment("BETA", "2020-001B", "TOD");
    std::rotate(refused.begin() + 1, refused.begin() + 3, refused.begin() + 4);
    const Loaded besideRefused = loadOem(file + a + refused, "MEME_42_X_1.oem");
    EXPECT_EQ(besideRefused.records.at(0).satNum, 99999);
    EXPECT_EQ(besideRefused.errors.back(), differ);
    expectNumbers(file + segment("55", "2020-001A"), {55}, {});
    // A file after another one in the same file
    const Lines second = file + b;
    EXPECT_EQ(loadOem(file + a + second).records.size(), 2u);
    const Loaded badVersion = loadOem(put(file + a + second, 12, "CCSDS_OEM_VERS = 9.0"));
    EXPECT_EQ(badVersion.records.size(), 1u);
    EXPECT_EQ(badVersion.status, 2);
    // A point in a leap second is dropped, on every scale.
    for (const auto& [scale, epochs] :
         {std::pair("UTC", Lines{"2016-12-31T23:59:59", "2016-12-31T23:59:60", "2017-01-01T00:00:00"}),
          {"TAI", {"2017-01-01T00:00:35", "2017-01-01T00:00:36.5", "2017-01-01T00:00:37"}}}) {
        Lines leap = put(segment("A", "1"), 6, std::string("TIME_SYSTEM = ") + scale);
        leap.pop_back();
        for (const std::string& epoch : epochs)
            leap.push_back(epoch + " 7000 0 " + std::to_string(leap.size()) + " 0 7 0");
        const Loaded loaded = loadOem(file + leap);
        ASSERT_EQ(pointCounts(loaded), std::vector{2});
        EXPECT_EQ(loaded.records[0].points[1].time, 24473.0);
        EXPECT_EQ(loaded.records[0].points[1].pos[2], 9.0);
        EXPECT_EQ(loaded.errors.size(), 1u);
    }
    // The tag of a card wins.
    const Loaded tagged = loadOem(Lines{"#VORLANDI = mine"} + file + a + b);
    for (const Vorlanrecord& record : tagged.records)
        EXPECT_EQ(record.inputTag.view(), "mine");
}

class ReadOEMEvents : public StoreTest {};

TEST_F(ReadOEMEvents, ReportEachBlockAndEachRecord) {
    std::string text;
    for (const std::string& line : kGood + segment("B", "2") + kGood)
        text += line + '\n';
    const auto heard = [&](std::size_t failAt) {
        vorlanemptytree();
        log.clear();
        const ReadEvents events(log);
        InputUnit unit = slowUnit(text, 1000, failAt);
        InputTag tag;
        Load load{LoadRequest{ReadingRules::practical()}};
        load.statusWith(ReadOnlyVorlans(unit, {"x.oem"}, tag, load));
        return events.heard;
    };
    EXPECT_THAT(heard(SIZE_MAX),
                ::testing::ElementsAre("1|x.oem:1|OEM", "1|x.oem:31|OEM", ::testing::StartsWith("4|x.oem:52|"),
                                       ::testing::StartsWith("4|x.oem:52|"),
                                       ::testing::StartsWith("6|x.oem:34|duplicate of ")));
    // The complete segments of a file that can't be read to its end are stored.
    EXPECT_THAT(heard(text.find("META_START", 200) + 20), ::testing::Contains(::testing::StartsWith("4|")));
}

}  // namespace
}  // namespace vorlandi::testing::oem
