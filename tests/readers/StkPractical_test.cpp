// STK by the practical rules: one good file and tables of edits to it, with what each stores and reports.
#include <algorithm>
#include <cmath>
#include <iterator>
#include <sstream>

#include "TimeLibrary/ElapsedTime.hpp"
#include "readers/ReaderTest.hpp"

namespace vorlandi::testing::stk_practical {
namespace {

constexpr double kDay = 27790.0;  // 2026 January 31

// A record in short: "frame number-of-points@first second of the day".
std::string inShort(const Vorlanrecord& record) {
    const double second = std::round((record.points.firstTime() - kDay) * 86400.0);
    return std::string(coordinateName(record.coordSys)) + " " + std::to_string(record.numberOfPoints()) + "@" +
           std::to_string(static_cast<int>(second));
}

Loaded loadPractical(const Lines& lines, std::string_view name = "f.e") {
    return loadLines(lines, name, ReadingRules::practical());
}

// What is stored, and the reasons in the messages, without the name of reader and file.
void expectPractical(const std::string& what, const Lines& lines, const Lines& records, const Lines& reasons = {}) {
    SCOPED_TRACE(what);
    const Loaded loaded = loadPractical(lines);
    Lines stored, told;
    for (const Vorlanrecord& record : loaded.records)
        stored.push_back(inShort(record));
    for (const std::string& error : loaded.errors) {
        for (const std::string_view begin : {"ReadSTK: f.e:", "VorlanLoadFileExt: f.e:"}) {
            if (error.starts_with(begin)) told.push_back(error.substr(begin.size()));
        }
    }
    EXPECT_EQ(stored, records);
    EXPECT_EQ(told, reasons);
}

// Lines in place of others.
Lines replaced(Lines lines, std::size_t first, std::size_t count, const Lines& by) {
    const auto at = lines.begin() + static_cast<std::ptrdiff_t>(first) - 1;
    lines.insert(lines.erase(at, at + static_cast<std::ptrdiff_t>(count)), by.begin(), by.end());
    return lines;
}
Lines with(const Lines& lines, std::size_t before, const Lines& more) { return replaced(lines, before, 0, more); }

Lines words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

std::string state(double second, double x = 7000.0) {
    return std::to_string(second) + " " + std::to_string(x) + " 1 2 3 4 5";
}

const Lines kGood = {"stk.v.11.0",
                     "BEGIN Ephemeris",
                     "NumberOfEphemerisPoints 6",
                     "\tScenarioEpoch 31 Jan 2026 00:00:00.000000000",
                     "CentralBody Earth",
                     "CoordinateSystem ICRF",
                     "DistanceUnit Kilometers",
                     "EphemerisTimePosVel",
                     state(0),
                     state(60),
                     state(120),
                     state(180),
                     state(240),
                     state(300),
                     "END Ephemeris"};
constexpr std::size_t kEpoch = 4, kBody = 5, kFrame = 6, kUnit = 7, kKind = 8, kStates = 9, kEnd = 15;

TEST(ReadSTK, ReadsSettingsInAnyCaseAndRefusesByNameWhatItDoesNotRead) {
    const Lines j2k = {"J2K 6@0"};
    expectPractical("as it is", kGood, j2k);
    for (const auto& [value, code] : {std::pair("TEMEOfDate", "ECI"),
                                      {"TEME", "ECI"},
                                      {"J2000", "J2K"},
                                      {"Inertial", "J2K"},
                                      {"fixed", "ECR"},
                                      {"\"ITRF\"  # of 2014", "ECR"}})
        expectPractical(value, put(kGood, kFrame, std::string("coordinatesystem ") + value),
                        {std::string(code) + " 6@0"});
    expectPractical("an epoch of the frame", with(kGood, kUnit, {"CoordinateSystemEpoch 1 Jan 2000 12:00:00"}), j2k);
    expectPractical("comments, and settings that aren't known", with(kGood, kStates + 2, {"# 1 2 3", "*", " # x"}),
                    j2k);
    expectPractical("a setting of another name", with(kGood, kUnit, {"MyCoordinateSystem Moon", "TimeNote x"}), j2k);
    expectPractical("everything in capitals",
                    put(put(put(kGood, 2, "begin EPHEMERIS"), kKind, "begin EPHEMERISTIMEPOSVEL"), kEnd, "end"), j2k);

    const std::string frames = "TEMEOfDate, TEME, J2000, ICRF, Inertial, Fixed, ITRF are.";
    const struct {
        std::size_t line;
        std::string text, reason;
    } refused[] = {
        {kBody, "CentralBody Moon", "5: CentralBody Moon is not read; Earth is."},
        {kFrame, "CoordinateSystem TrueOfEpoch", "6: CoordinateSystem TrueOfEpoch is not read; " + frames},
        {kFrame, "CoordinateSystem FixedEarth", "6: CoordinateSystem FixedEarth is not read; " + frames},
        {kUnit, "DistanceUnit Feet", "7: DistanceUnit Feet is not read; Meters, Kilometers are."},
        {kEpoch, "ScenarioEpoch 31 Feb 2026 00:00:00",
         "4: ScenarioEpoch 31 Feb 2026 00:00:00 is not a date, such as "
         "31 Jan 2026 00:00:00.000."},
        {kEpoch, "", "8: there is no ScenarioEpoch before the states."},
        {kKind, "EphemerisLLATimePosVel",
         "8: EphemerisLLATimePosVel is not read; EphemerisTimePos, EphemerisTimePosVel, EphemerisTimePosVelAcc, "
         "EphemerisEciTimePos, EphemerisEciTimePosVel, EphemerisEciTimePosVelAcc are."},
    };
    for (const auto& [line, text, reason] : refused) {
        Lines both = put(kGood, line, text);
        both.insert(both.end(), kGood.begin(), kGood.end());
        expectPractical(text + ", and a good block after it", both, j2k, {reason});
    }
    EXPECT_EQ(loadPractical(put(kGood, kBody, "CentralBody Moon")).status, 2);
    // After the states a setting may only repeat how they were read.
    const std::string late = " has to be before the states.";
    for (const char* const setting : {"DistanceUnit Meters", "CoordinateSystem Fixed"})
        expectPractical(setting, with(kGood, kEnd, {setting}), {}, {std::string("15: ") + setting + late});
    expectPractical("the same once more", with(kGood, kEnd, {"DistanceUnit Kilometers", "CoordinateSystem J2000"}),
                    j2k);
    Lines deep(65, "BEGIN EphemerisTimePosVel");
    expectPractical("sections without an end", with(cut(kGood, 14), kStates, deep), {},
                    {"72: sections are nested 64 deep."});
}

TEST(ReadSTK, ReadsPositionsVelocitiesAndLeavesAccelerationsOut) {
    const auto first = [](const Lines& lines) { return stateOf(loadPractical(lines).records.at(0).points[0]); };
    const Lines metres = put(kGood, kUnit, "DistanceUnit meters"), unknown = put(kGood, kUnit, "");
    EXPECT_EQ(first(kGood), (State{kDay, 7000, 1, 2, 3, 4, 5}));
    EXPECT_EQ(first(metres), (State{kDay, 7000 * 0.001, 0.001, 0.002, 0.003, 0.004, 5 * 0.001}));
    EXPECT_EQ(first(unknown), first(metres));
    EXPECT_EQ(first(put(kGood, kKind, "EphemerisTimePos")), (State{kDay, 7000, 1, 2}));
    const Lines accelerations = put(kGood, kKind, "EphemerisTimePosVelAcc");
    EXPECT_EQ(first(put(accelerations, kStates, state(0) + " 6 7 8 9")), first(kGood));
    Lines reasons;
    for (int line = 10; line <= 14; ++line)
        reasons.push_back(std::to_string(line) + ": a line of EphemerisTimePosVelAcc has 10 numbers.");
    expectPractical("ten numbers", put(accelerations, kStates, state(0) + " 6 7 8"), {"J2K 1@0"}, reasons);
    for (const char* const leavesOut : {"60 7000 /", "60 7000 1,,3 4 5 6"})
        expectPractical(leavesOut, put(kGood, 10, leavesOut), {"J2K 5@0"},
                        {"10: a line of EphemerisTimePosVel has 7 numbers."});
    const Loaded bad = loadPractical(put(kGood, 10, "60 7o00 1 2 3 4 5"));
    EXPECT_EQ(bad.errors,
              (Lines{"*** ReadSTK : Bad ephemeris data. ***",
                     "ReadSTK: f.e:10: a line of EphemerisTimePosVel has 7 numbers.", "60 7o00 1 2 3 4 5"}));
    EXPECT_EQ(bad.status, 0);
}

TEST(ReadSTK, CountsElapsedSecondsAcrossLeapSeconds) {
    const auto times = [](const std::string& epoch, const Lines& offsets) {
        Lines lines = cut(put(kGood, kEpoch, "ScenarioEpoch " + epoch), kKind);
        for (const std::string& offset : offsets)
            lines.push_back(offset + " 7000 1 2 3 4 5");
        std::vector<double> read;
        const Vorlanrecord record = loadPractical(lines).records.at(0);
        read.reserve(static_cast<std::size_t>(record.numberOfPoints()));
        for (std::int32_t k = 0; k < record.numberOfPoints(); ++k)
            read.push_back(record.points[k].time);
        return read;
    };
    EXPECT_EQ(times("1 Feb 2026 00:00:00.12345678901 UTCG", {"-0.1", "43200.7"}),
              (std::vector{27791.0 + 0.12345678901 / 86400 + -0.1 / 86400,
                           27791.0 + 0.12345678901 / 86400 + 43200.7 / 86400}));
    const double newYear = 24473.0;  // 2017 January 1, after a leap second
    EXPECT_EQ(times("31 Dec 2016 12:00:00", {"0", "43199", "43200.5", "43201", "43202", "86401"}),
              (std::vector{newYear - 0.5, newYear - 1 / 86400.0, newYear, newYear + 1 / 86400.0,
                           newYear + 0.5}));  // a point in the leap second is dropped
    EXPECT_EQ(times("1 Jan 2017 00:00:00", {"-86401", "-1.5", "0", "1"}),
              (std::vector{newYear - 1, newYear + -0.5 / 86400, newYear, newYear + 1 / 86400.0}));
    // An epoch in a leap second
    EXPECT_EQ(times("31 Dec 2016 23:59:60.5", {"-1", "0", "0.5", "1.5"}),
              (std::vector{newYear + 0.5 / 86400 + -1 / 86400.0, newYear + 0.5 / 86400 + -0.5 / 86400,
                           newYear + 0.5 / 86400 + 0.5 / 86400}));
    for (const char* const epoch : {"31 Dec 2016 23:59: 60 UTCG", "2016366235960.000", "2016/366 2359 60.000"})
        EXPECT_EQ(times(epoch, {"1"}), std::vector{newYear}) << epoch;
    EXPECT_EQ(times("2016060.", {"1"}), std::vector{24166.0 + 1 / 86400.0});
    // Over several leap seconds, and before the first.
    EXPECT_EQ(times("1 Jan 2026 00:00:00", {"-1388534417"}), std::vector{27760.0 - 16071.0});
    ElapsedTime fromNow(27760.0);
    for (const double days : {-25000.0, -20000.0, 1.0, -16000.0, 3.0})
        EXPECT_NEAR(fromNow.utcAt(days * 86400) - (27760.0 + days),
                    days == -16000 ? 17.0 / 86400
                    : days < 0     ? 27.0 / 86400
                                   : 0.0,
                    1e-11);
}

TEST(ReadSTK, ReadsPastSectionsThatItDoesNotKnow) {
    const Lines all = {"J2K 6@0"};
    const std::string known =
        " is not read; EphemerisTimePos, EphemerisTimePosVel, EphemerisTimePosVelAcc, "
        "EphemerisEciTimePos, EphemerisEciTimePosVel, EphemerisEciTimePosVelAcc are, and CovarianceTimePos, "
        "CovarianceTimePosVel and SegmentBoundaryTimes.";
    const Lines numbers = {"10 1 2 3 4 5 6", "CentralBody Moon", "11 1 2 3 4 5 6"};
    const Lines begun = replaced({"BEGIN Notes", "END notes"}, 2, 0, numbers);
    expectPractical("before the states", with(kGood, kUnit, begun), all, {"7: section Notes" + known});
    expectPractical("among the states", with(kGood, 11, begun), all, {"11: section Notes" + known});
    expectPractical("without BEGIN, after the states",
                    with(kGood, kEnd, {"AttitudeTimeQuaternions", "400 1 2 3 4 5 6"}), all,
                    {"15: section AttitudeTimeQuaternions" + known});
    expectPractical("a section that is read inside another one",
                    with(put(kGood, kKind, "BEGIN EphemerisTimePosVel"), 11,
                         {"BEGIN SegmentBoundaryTimes", "END SegmentBoundaryTimes"}),
                    all);
    expectPractical(
        "numbers in no section, and a word among the states",
        with(with(kGood, 12, {"nan 1 2 3 4 5 6", "END EphemerisTimePosVel"}), kUnit, {"1.5", "- x"}), {"J2K 3@0"},
        {"7: the line is in no section.", "14: a line of EphemerisTimePosVel has 7 numbers.",
         "16: the line is in no section.", "17: the line is in no section.", "18: the line is in no section."});
    expectPractical("settings after the states",
                    with(kGood, 11, {"InterpolationMethod Lagrange", "ScenarioEpoch 1 Jan 2026 00:00:00"}), all,
                    {"12: ScenarioEpoch has to be before the states."});
    Lines twice = cut(kGood, 14);
    twice.insert(twice.end(), kGood.begin(), kGood.end());
    expectPractical("no END before the next block", put(twice, 14 + kEpoch, "ScenarioEpoch 31 Jan 2026 01:00:00"),
                    {"J2K 6@0", "J2K 6@3600"});
    expectPractical("without an end", cut(kGood, 14), all);
}

// A file of states, its segment boundaries, and the records in short; the reason "13-2" means that two points are
// dropped from line 13 on, "+" that no point is at a boundary. A quote after a second changes x.
struct Division {
    const char *what, *seconds, *boundaries, *records;
    Lines reasons;
};

Lines boundarySection(const std::string& seconds) {
    return {"BEGIN SegmentBoundaryTimes", seconds, "END segmentboundarytimes"};
}

Lines withStatesAt(const std::string& seconds) {
    Lines lines = cut(kGood, kStates - 1);
    for (const std::string& word : words(seconds))
        lines.push_back(
            state(std::stod(word), 7000.0 + static_cast<double>(std::count(word.begin(), word.end(), '\''))));
    lines.push_back(kGood.back());
    return lines;
}

// The boundaries, if any, before the states and after them.
void expectDivisions(const std::vector<Division>& divisions) {
    for (const auto& [what, seconds, boundaries, records, reasons] : divisions) {
        const Lines lines = withStatesAt(seconds);
        const Lines section = *boundaries != '\0' ? boundarySection(boundaries) : Lines{};
        for (const std::size_t at : {kKind, lines.size()}) {
            Lines expected, stored;
            for (const std::string& record : words(records))
                stored.push_back("J2K " + record);
            for (const std::string& reason : reasons) {
                if (reason == "+") {
                    expected.push_back(std::to_string(at + 1) +
                                       ": no point at a segment boundary; the record is divided there.");
                    continue;
                }
                const std::size_t line = std::stoul(reason) + (at == kKind ? section.size() : 0);
                const std::string count = reason.substr(reason.find('-') + 1);
                expected.push_back(std::to_string(line) + ": " + count + (count == "1" ? " point" : " points") +
                                   " dropped, the first of them here: not later than the point before.");
            }
            expectPractical(what, with(lines, at, section), stored, expected);
        }
    }
}

TEST(ReadSTK, DividesAtSegmentBoundaries) {
    const char *const good = "0 60 120 180 240 300", *const doubled = "0 60 120 180 180' 240 300",
                      *const repeated = "0 60 120 180 180 240 300";
    expectDivisions({
        {"the point there closes and opens", good, "180", "4@0 3@180", {}},
        {"to a microsecond", good, "180.0000005", "4@0 3@180", {}},
        {"of two the first closes", doubled, "180", "4@0 3@180", {}},
        {"of two that differ in time as well", "0 60 120 180 180.000001' 240 300", "180", "4@0 3@180", {}},
        {"two equal ones are regular", repeated, "180", "4@0 3@180", {}},
        {"two equal ones at both ends", "0 0 60 120 180 240 300 300", "0 300", "6@0", {}},
        {"two equal ones at another time", repeated, "60", "2@0 5@60", {"13-1"}},
        {"three equal ones, and an earlier one", "0 60 120 180 180 180 170 240 300", "180", "4@0 3@180", {"14-2"}},
        {"between points", good, "200", "4@0 2@240", {"+"}},
        {"twice, and at the ends", good, "200 0, 300 180 200.0 400 -5 180", "4@0 1@180 2@240", {"+"}},
        {"not in order, with few points", good, "120 60", "2@0 2@60 4@120", {}},
        {"after a seam", doubled, "200", "4@0 1@180 2@240", {"+"}},
        {"a point that begins a record already", good, "150 180", "3@0 3@180", {"+"}},
        {"two of which the first begins a record already", doubled, "150 180", "3@0 3@180", {"+", "13-1"}},
        {"a seam of too few points after a boundary", doubled, "60", "2@0 5@60", {"13-1"}},
        {"a seam of just enough points", "0 60 120 180 240 240' 300", "60", "2@0 4@60 2@240", {}},
    });
    const Loaded loaded = loadPractical(with(withStatesAt(doubled), kKind, boundarySection("180")));
    EXPECT_EQ(loaded.records.at(0).points[3].pos[0], 7000);
    EXPECT_EQ(loaded.records.at(1).points[0].pos[0], 7001);
    expectPractical("a word among them", with(kGood, kKind, boundarySection("180 x")), {"J2K 4@0", "J2K 3@180"},
                    {"9: a segment boundary is a number of seconds."});
}

TEST(ReadSTK, BeginsARecordAtASeam) {
    expectDivisions({
        {"another state", "0 60 120 180 180' 240 300", "", "4@0 3@180", {}},
        {"the same state", "0 60 120 180 180 240 300", "", "6@0", {"13-1"}},
        {"after three points", "0 60 120 120' 180 240 300", "", "6@0", {"12-1"}},
        {"twice the same seam", "0 60 120 180 180' 180' 240 300", "", "4@0 3@180", {"14-1"}},
        {"two other states: the last one", "0 60 120 180 180' 180'' 240 300", "", "4@0 3@180", {"13-1"}},
        {"back to the first state", "0 60 120 180 180' 180 240 300", "", "6@0", {"13-2"}},
        {"an earlier point after it", "0 60 120 180 180' 170' 240 300", "", "6@0", {"13-2"}},
        {"at the end", "0 60 120 180 240 300 300'", "", "6@0", {"15-1"}},
        {"a second seam too soon", "0 60 120 180 180' 200 220 220' 240 300", "", "4@0 5@180", {"16-1"}},
    });
    for (const auto& [seconds, x] : {std::pair("0 60 120 180 180' 240", 7001), {"0 60 120 180 180' 180'' 240", 7002}})
        EXPECT_EQ(loadPractical(withStatesAt(seconds)).records.at(1).points[0].pos[0], x);
}

// 1.01, 1.02, ...: the values of a triangle.
std::string values(int count, int first = 1) {
    std::string text;
    for (int k = first; k < first + count; ++k)
        text += " " + std::to_string(100 + k) + "e-2";
    return text;
}

// The covariances of the points: "point: first and last value", in hundredths and without the 100; "-" without one.
Lines covariances(const Loaded& loaded) {
    Lines texts;
    for (const Vorlanrecord& record : loaded.records) {
        std::string text;
        for (std::int32_t k = 0; k < record.numberOfPoints(); ++k) {
            const Vorlanpoint point = record.points[k];
            const auto hundredths = [](double value) { return std::to_string(std::lround(value * 100) - 100); };
            text += hasCovariance(point) ? hundredths(point.cov[0]) + ".." + hundredths(point.cov[20]) + " " : "- ";
        }
        texts.push_back(text);
    }
    return texts;
}

TEST(ReadSTK, AssignsCovariancesToThePointsOfTheirTimeBeforeOrAfterThem) {
    const Lines section = {"CovarianceFormat LowerTriangular", "CovarianceTimePosVel"};
    const std::string oneLine = "60 " + values(21), second = "120.0000001 " + values(21, 2);
    const std::string bad = ": a covariance is a time and 21 numbers, and ends its line.",
                      none = ": no state without a covariance at this time.";
    const struct {
        std::string what;
        Lines lines;
        std::string given;
        Lines reasons;
    } cases[] = {
        {"one a line", {oneLine, second}, "- 1..21 2..22 - - - ", {}},
        {"on lines of more than 512 columns",
         {oneLine, "120" + std::string(900, ' ') + values(21, 2)},
         "- 1..21 2..22 - - - ",
         {}},
        {"across lines", {"60", values(1), values(20, 2), second}, "- 1..21 2..22 - - - ", {}},
        {"a time without a point", {"61 " + values(21), second}, "- - 2..22 - - - ", {"+0" + none}},
        {"twice", {oneLine, "60 " + values(21, 5)}, "- 1..21 - - - - ", {"+1" + none}},
        {"a word in it", {"60 1 x " + values(19), second}, "- - 2..22 - - - ", {"+0" + bad}},
        {"a value is missing: the next one is also lost",
         {"60 " + values(20), second, "180" + values(21, 3)},
         "- - - 3..23 - - ",
         {"+0" + bad}},
        {"cut at its end", {oneLine, "120 1 2"}, "- 1..21 - - - - ", {"+1" + bad}},
        {"nothing but zeros", {"60 0 /", second}, "- - 2..22 - - - ", {}},
    };
    for (const auto& [what, lines, given, reasons] : cases) {
        for (const std::size_t at : {kKind, kEnd}) {
            const Lines whole = with(with(kGood, at, lines), at, section);
            Lines expected = reasons;
            for (std::string& reason : expected)
                reason = std::to_string(at + 2 + static_cast<std::size_t>(reason[1] - '0')) + reason.substr(2);
            expectPractical(what, whole, {"J2K 6@0"}, expected);
            EXPECT_EQ(covariances(loadPractical(whole)), Lines{given}) << what << " before line " << at;
        }
    }
    // If two points have one time, a single covariance is for both; of two, the second is for the second point.
    const Lines doubled = with(kGood, kStates + 4, {state(180, 7001)});
    const auto of = [&](const Lines& lines) {
        return covariances(loadPractical(with(with(doubled, kEnd + 1, lines), kEnd + 1, section)));
    };
    EXPECT_EQ(of({"180" + values(21)}), (Lines{"- - - 1..21 ", "1..21 - - "}));
    EXPECT_EQ(of({"180" + values(21), "180" + values(21, 2), "240" + values(21, 3)}),
              (Lines{"- - - 1..21 ", "2..22 3..23 - "}));
    // At a segment boundary two are regular: for two equal points, and equal ones for a single point.
    const Lines repeated = with(kGood, kStates + 4, {state(180)}), at180 = {"SegmentBoundaryTimes", "180"};
    const struct {
        const Lines &points, boundary;
        int firstValue;
        Lines given, reasons;
    } doubles[] = {
        {repeated, at180, 2, {"- - - 1..21 ", "2..22 - - "}, {}},
        {kGood, at180, 1, {"- - - 1..21 ", "1..21 - - "}, {}},
        {kGood, at180, 2, {"- - - 1..21 ", "1..21 - - "}, {none}},
        {kGood, {}, 1, {"- - - 1..21 - - "}, {none}},
    };
    for (const auto& [points, boundary, firstValue, given, reasons] : doubles) {
        const Lines covered = {section[0], section[1], "180" + values(21), "180" + values(21, firstValue)};
        for (const std::size_t at : {kKind, points.size()}) {
            const Lines whole = with(with(points, points.size(), boundary), at, covered);
            const Loaded loaded = loadPractical(whole);
            EXPECT_EQ(covariances(loaded), given);
            EXPECT_EQ(loaded.errors.size(), 3 * reasons.size());
        }
    }
}

TEST(ReadSTK, PutsTheTrianglesOfACovarianceInOrderAndInKilometres) {
    const auto covariance = [](const std::string& format, const std::string& section, const std::string& line,
                               const std::string& unit = "Kilometers") {
        const Lines lines =
            with(put(kGood, kUnit, "DistanceUnit " + unit), kEnd, {"CovarianceFormat " + format, section, line});
        const Vorlanpoint point = loadPractical(lines).records.at(0).points[0];
        return std::vector<double>(point.cov, point.cov + 21);
    };
    std::vector<double> lower, position(21, 0.0);
    std::string upper;
    for (int row = 1; row <= 6; ++row) {
        for (int column = 1; column <= 6; ++column) {
            if (column <= row) lower.push_back(10 * column + row);
            if (column >= row) upper += " " + std::to_string(10 * row + column);
        }
    }
    std::copy_n(lower.begin(), 6, position.begin());
    EXPECT_EQ(covariance("UpperTriangular", "CovarianceTimePosVel", "0" + upper), lower);
    EXPECT_EQ(covariance("lowertriangular", "covariancetimepos", "0 11 12 22 13 23 33"), position);
    EXPECT_EQ(covariance("'UpperTriangular'", "BEGIN CovarianceTimePos", "0 11 12 13 22 23 33"), position);
    EXPECT_EQ(covariance("LowerTriangular", "CovarianceTimePos", "0 1 2 3 4 5 6", "Meters")[5], 6 * (0.001 * 0.001));
}

TEST(ReadSTK, LeavesOutCovariancesOfWhichItDoesNotKnowOrderOrAxes) {
    const std::string out = "; the covariances are left out.", line = "0 1 2 3 4 5 6";
    const struct {
        Lines settings;
        std::string reason;
    } cases[] = {
        {{}, ": a section without CovarianceFormat is not read; LowerTriangular, UpperTriangular are" + out},
        {{"CovarianceFormat Full"}, ": CovarianceFormat Full is not read; LowerTriangular, UpperTriangular are" + out},
        {{"CovarianceFormat LowerTriangular", "CovarianceCoordinateSystem RIC"},
         ": CovarianceCoordinateSystem RIC is not read; the states' CoordinateSystem is" + out},
        {{"CovarianceFormat LowerTriangular", "CovarianceCoordinateSystem Fixed"},
         ": CovarianceCoordinateSystem Fixed is not read; the states' CoordinateSystem is" + out},
        {{"CovarianceFormat LowerTriangular", "CovarianceCoordinateSystem j2000"}, ""},
    };
    for (const auto& [settings, reason] : cases) {
        for (const std::size_t at : {kKind, kEnd}) {
            const Lines whole = with(with(kGood, at, {"CovarianceTimePos", line}), at, settings);
            const Lines reasons = reason.empty() ? Lines{} : Lines{std::to_string(at + settings.size()) + reason};
            expectPractical(reason, whole, {"J2K 6@0"}, reasons);
            EXPECT_EQ(covariances(loadPractical(whole)).at(0)[0] == '-', !reason.empty());
        }
    }
}

}  // namespace
}  // namespace vorlandi::testing::stk_practical
