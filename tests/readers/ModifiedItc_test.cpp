#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::modified_itc {

// clang-format off
// Axes of its states: U = x, V = y, W = z. The covariance of the second point has 1 to 21 on its lower triangle.
const Lines kGood = {"created:2024-03-01 02:04:18 UTC",
    "ephemeris_start:2024-03-01 00:00:00 UTC ephemeris_stop:2024-03-02 00:00:00 UTC step_size:43200",
    "ephemeris_source:blend", "UVW",
    "2024061000000.000 7000.0 0 0 0 7.5 0", "1e-4 0 2e-4 0 0 3e-4 0", "0 0 4e-8 0 0 0 0", "5e-8 0 0 0 0 0 6e-8",
    "2024061120000.000 0 7000.0 0 -7.5 0 0", "1 2 3 4 5 6 7", "8 9 10 11 12 13 14", "15 16 17 18 19 20 21",
    "2024062000000.000 0 -7000.0 0 7.5 0 0"};
const ReadingRules kRules = ReadingRules::practical();
const std::string kShort = "the covariance of this point has fewer than three lines; the point is left out",
    kSeven = "a covariance line has seven numbers; the point is left out";

static Lines bad(int line, const std::string& reason) {
    return {"!ReadModifiedITC: test.txt:" + std::to_string(line) + ": " + reason, "@" + std::to_string(line)};
}
static Lines insert(Lines lines, std::ptrdiff_t before, const std::string& text) {
    lines.insert(lines.begin() + before - 1, text);
    return lines;
}

TEST(ReadModifiedITC, ReadsPointsWithAndWithoutCovarianceAndTurnsItFromTheAxesOfTheState) {
    struct Name { const char* fileName; std::int32_t satNum, coordSys; bool rotating; };
    const Name names[] = {{"MEME_81001_EXAMPLE-1_0610000_Operational_1_UNCLASSIFIED.txt", 81001, kJ2k, false},
        {"in/TEME_123456789_X_", 123456789, kEci, false}, {"EFG_7_X", 7, kEfg, true}, {"ITRF_7_X", 7, kEcr, true},
        {"ECR_7_X", 7, kEcr, true}, {"NEME_81001_X", 99999, kJ2k, false}, {"81002_itc.txt", 81002, kJ2k, false}};
    for (const auto& [fileName, satNum, coordSys, rotating] : names) {
        SCOPED_TRACE(fileName);
        const Loaded loaded = loadLines(kGood, fileName, kRules);
        EXPECT_EQ(loaded.errors, Lines{});
        ASSERT_EQ(loaded.records.size(), 1u);
        const Vorlanrecord& record = loaded.records[0];
        EXPECT_EQ(std::pair(record.satNum, record.coordSys), std::pair(satNum, coordSys));
        EXPECT_EQ(record.epoch, kMarch1);
        ASSERT_EQ(record.numberOfPoints(), 3);
        EXPECT_EQ(stateOf(record.points[1]), (State{kMarch1 + 0.5, 0, 7000, 0, -7.5, 0, 0}));
        // U, V, W are x, y, z at the first point, and y, -x, z at the second. The velocity that a rotating frame adds
        // is parallel to the orbit's, and turns nothing.
        EXPECT_THAT(record.points[0].cov, ::testing::ElementsAre(1e-4, 0, 2e-4, 0, 0, 3e-4, 0, 0, 0, 4e-8, 0, 0, 0, 0,
                                                                5e-8, 0, 0, 0, 0, 0, 6e-8));
        EXPECT_THAT(record.points[1].cov, ::testing::ElementsAre(3, -2, 1, -5, 4, 6, 12, -11, -13, 15, -8, 7, 9, -14,
                                                                10, -17, 16, 18, -20, 19, 21));
        EXPECT_FALSE(hasCovariance(record.points[2]));
        // A satellite at rest has axes only in a rotating frame.
        const Loaded atRest = loadLines(put(kGood, 5, "2024061000000.000 42164 0 0 0 0 0"), fileName, kRules);
        EXPECT_EQ(hasCovariance(atRest.records.at(0).points[0]), rotating);
    }
}

TEST(ReadModifiedITC, LeavesOutWhatIsBadAndReadsOnAtTheNextState) {
    const std::string noDate = "there is no such date or time", noState = "a state line has a time and six numbers";
    expectLoads("ReadModifiedITC", {
        {"blanks and tabs before the time, an empty line", insert(put(kGood, 9, 1, "\t " + kGood[8]), 6, ""), {}, 3},
        {"no such day", put(kGood, 5, 5, "999"), bad(5, noDate), 2},
        {"five numbers", put(kGood, 9, "2024061120000.000 0 7000.0 0 -7.5 0"), bad(9, noState), 2},
        {"a state that a slash ends", put(kGood, 13, "2024062000000.000 0 -7000 /"), bad(13, noState), 2},
        {"a covariance line that a slash ends", put(kGood, 7, "1 /"), bad(7, kSeven), 2},
        {"a letter in the state", put(kGood, 13, 20, "x"), bad(13, noState), 2},
        {"six numbers in a covariance line", put(kGood, 7, "0 0 4e-8 0 0 0"), bad(7, kSeven), 2},
        {"a letter in the covariance", put(kGood, 12, 1, "x"), bad(12, kSeven), 2},
        {"a short covariance before a state", [] {
             Lines lines = kGood;
             lines.erase(lines.begin() + 7);
             return lines;
         }(), bad(5, kShort), 2},
        {"a file that ends in the middle of a point", cut(kGood, 11), bad(9, kShort), 1},
        {"in the middle of a covariance line", put(cut(kGood, 11), 11, "8 9 10 11 12"), bad(11, kSeven), 1},
        {"in the middle of a state", put(kGood, 13, "2024062000000.000 0 -70"), bad(13, noState), 2},
        {"a fourth covariance line", insert(kGood, 9, "1 2 3 4 5 6 7"),
            bad(9, "there is no point for these numbers"), 3},
        {"nothing but the header", cut(kGood, 4), {kNoData}, 0},
    }, kRules);
}

TEST(ReadModifiedITC, BeginsARecordAtEachHeader) {
    Lines lines = cut(kGood, 11);
    lines.insert(lines.end(), {"Created:2024-03-02", "", "", "UVW", "2024062000000.000 0 -7000.0 0 7.5 0 0"});
    const Loaded loaded = loadLines(lines, "test.txt", kRules);
    EXPECT_EQ(loaded.errors, messages("ReadModifiedITC", {"", lines, bad(9, kShort), 0}));
    ASSERT_EQ(loaded.records.size(), 2u);
    EXPECT_EQ(std::pair(loaded.records[0].numberOfPoints(), loaded.records[1].numberOfPoints()), std::pair(1, 1));
}

TEST(ReadModifiedITC, StoresPointsWithoutCovariancesWhoseAxesItDoesNotKnow) {
    const std::string notRead = " are not read, UVW are; the covariances are left out";
    const std::string parallel = "position and velocity are parallel, which defines no axes for the covariance; "
        "the point is stored without it";
    Lines noAxes = kGood;
    noAxes.erase(noAxes.begin() + 3);
    struct AxesCase { const char* what; Lines lines; Lines errors; bool first, second; };
    const AxesCase cases[] = {
        {"blanks and tabs around the name", put(kGood, 4, "\t UVW \t"), {}, true, true},
        {"other axes, told once", put(kGood, 4, "TNW"),
            {"ReadModifiedITC: test.txt:4: covariance axes TNW" + notRead}, false, false},
        {"nor is what follows them checked", put(put(kGood, 4, "TNW"), 7, "x"),
            {"ReadModifiedITC: test.txt:4: covariance axes TNW" + notRead}, false, false},
        {"a header without axes", noAxes,
            {"ReadModifiedITC: test.txt:4: covariance axes (none)" + notRead}, false, false},
        {"no axes at this point", put(kGood, 5, "2024061000000.000 7000.0 0 0 7.5 0 0"),
            {"*** ReadModifiedITC : Bad ephemeris data. ***", "ReadModifiedITC: test.txt:5: " + parallel,
             "2024061000000.000 7000.0 0 0 7.5 0 0"}, false, true},
        {"but a covariance of zeros", put(put(put(put(kGood, 5, "2024061000000.000 7000.0 0 0 7.5 0 0"),
            6, "0 0 0 0 0 0 0"), 7, "0 0 0 0 0 0 0"), 8, "0 0 0 0 0 0 0"), {}, false, true},
    };
    for (const auto& [what, lines, errors, first, second] : cases) {
        SCOPED_TRACE(what);
        const Loaded loaded = loadLines(lines, "test.txt", kRules);
        EXPECT_EQ(loaded.errors, errors);
        EXPECT_EQ(loaded.status, 0);
        ASSERT_EQ(loaded.records.size(), 1u);
        const PointArray& points = loaded.records[0].points;
        ASSERT_EQ(points.count(), 3);
        EXPECT_EQ(std::pair(hasCovariance(points[0]), hasCovariance(points[1])), std::pair(first, second));
    }
}
// clang-format on

}  // namespace vorlandi::testing::modified_itc
