// The example files of every format hold one orbit, the same numbers under the frame of each format. Compares the
// states that the library answers from each with the integrated ones.
#include <cmath>
#include <ctime>
#include <sstream>

#include "CoreServices/LocalDate.hpp"
#include "CoreServices/NumberFields.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "readers/ReaderTest.hpp"
#include "scanning/ReadEvents.hpp"

namespace vorlandi::testing::examples {
namespace {

std::string examplePath(const std::string& name) { return std::string(VORLANDI_EXAMPLES) + "/" + name; }

// How far a stored point is from the integrated state: what the columns of its layout lose. One bit of the largest
// numbers is 0.9e-9 m and 0.9e-9 mm/s; three components are taken together. No layout loses time: the points are at
// whole minutes.
struct Precision {
    double m, mm_s;
    const char* reason;
};
constexpr Precision k17Digits{0.0, 0.0, "17 digits: every bit"};
constexpr Precision k13Decimals{1.0e-10, 1.0e-10, "half of the 13th decimal of km and of the 16th of km/s"};
constexpr Precision k10Decimals{9.0e-8, 9.0e-8, "half of the 10th decimal of km and of the 13th of km/s"};
constexpr Precision kMeters{2.0e-9, 2.0e-9, "every bit in meters, the last one rounded twice on the way to km"};
constexpr Precision kFeet{2.0e-9, 2.0e-9, "every bit in feet, the last one rounded twice on the way to km"};
constexpr Precision kMixed{1.0e-10, 2.0e-9, "half of the 13th decimal of km, and every bit of m/s"};

// Between the points, the same for all: times are doubles in days, off by at most 1.6e-7 s, in which a satellite moves
// 1.2 mm. Shifts of points 60 s apart tilt a curve through them by up to 0.04 mm/s. The error of four points for the
// orbit itself is far less, 3e-8 m.
constexpr Precision kTimesInDays{1.2e-3, 4.0e-2, "the rounded times of the points"};

struct Example {
    const char* fileName;
    std::int32_t satNum, coordSys;
    Precision precision;
    const char* reader;
    bool practical = false;  // read by the practical rules only

    ReadingRules rules() const { return practical ? ReadingRules::practical() : ReadingRules::fixed(); }
};

constexpr const char* kExact = "81001_universal_csv.txt";

const Example kExamples[] = {
    {"81001_universal.txt", 81001, 17, k13Decimals, "ReadKQUniversalVorlan"},
    {kExact, 81001, 18, k17Digits, "ReadKQUniversalVorlan"},
    {"81001_stk.e", 81001, kEci, kMeters, "ReadDotE"},
    {"81001_v31.txt", 81001, kEci, kMixed, "ReadV31"},
    {"81001_ecr.txt", 81001, kEcr, k17Digits, "ReadECR"},
    {"81001_itc.txt", 81001, kEci, k10Decimals, "ReadITC"},
    {"81001.dce", 81001, kEci, k17Digits, "ReadDCEBinary"},
    {"81001_dce.txt", 81001, kEci, k17Digits, "ReadDCEText"},
    {"81001_launch.txt", 99999, kEcr, kMeters, "ReadLaunchFormat"},
    {"81001_eelv.txt", 99999, kEci, kFeet, "ReadEELV"},
    {"81001_lch.txt", 81001, kEci, k17Digits, "ReadLCH"},
    {"81001_oasys.txt", 81001, kJ2k, k17Digits, "ReadOASYS"},
    {"81001_owner.txt", 81001, kJ2k, k17Digits, "ReadOwner"},
    {"81001_j2k.txt", 0, kJ2k, k17Digits, "ReadJ2K"},
    {"81001_vector.txt", 81001, kEci, k10Decimals, "ReadVecEph"},
    {"81001_simobs.txt", 81001, kEci, k13Decimals, "ReadSimObs"},
    {"81001_modified_itc.txt", 81001, kJ2k, k17Digits, "ReadModifiedITC", true},
    {"81001_oem.txt", 81001, kJ2k, k17Digits, "ReadOEM", true},
};

// Integrated states between the points, and at the first and the last one.
std::vector<State> integratedStates() {
    std::istringstream file(readFile(examplePath("81001_truth.csv")));
    std::string line;
    std::getline(file, line);
    std::vector<State> states;
    while (std::getline(file, line)) {
        const auto behindTimeText = line.substr(line.find(',') + 1);
        EXPECT_EQ(readFreeForm(behindTimeText, states.emplace_back()), ReadOutcome::Success) << line;
    }
    EXPECT_EQ(states.size(), 41u);
    return states;
}

class Examples : public StoreTest {
protected:
    // Launch times count from the day of reading: 2026 January 31, noon.
    Examples() {
        setClock([]() -> std::time_t { return 1769860800; });
    }
    ~Examples() override { setClock(nullptr); }

    static std::int64_t loadedByPracticalRules(const char* fileName) {
        std::int64_t key = 0, count = 0;
        EXPECT_EQ(VorlanLoadFileExt(examplePath(fileName).c_str(), VORLAN_LOAD_PRACTICAL, 1, &key, &count), 0);
        EXPECT_EQ(count, 1);
        return key;
    }
    static State interpolatedState(std::int64_t key, double time) {
        State state{time};
        EXPECT_EQ(VorlanDs50UTC(key, time, nullptr, &state[1], &state[4], nullptr), 0);
        return state;
    }
    static State point(std::int64_t key, std::int32_t index) {
        State state{};
        EXPECT_EQ(VorlanGetEphemeris(key, index, &state[0], &state[1], &state[4], nullptr), 0);
        return state;
    }

    static void expectNear(const State& a, const State& b, const Precision& stored, const Precision& times = {}) {
        EXPECT_EQ(a[0], b[0]);
        EXPECT_LE(1.0e3 * std::hypot(a[1] - b[1], a[2] - b[2], a[3] - b[3]), stored.m + times.m) << a[0];
        EXPECT_LE(1.0e6 * std::hypot(a[4] - b[4], a[5] - b[5], a[6] - b[6]), stored.mm_s + times.mm_s) << a[0];
    }
};

TEST_F(Examples, AnswerTheIntegratedStatesToThePrecisionOfTheirLayout) {
    const std::vector<State> truth = integratedStates();
    const std::int64_t exactKey = VorlanAddSatFrFile(examplePath(kExact).c_str());
    std::vector<State> exact;
    for (std::int32_t index = 1; index <= 361; ++index)
        exact.push_back(point(exactKey, index));
    for (const Example& example : kExamples) {
        for (const bool practical : {false, true}) {
            if (example.practical && !practical) continue;
            SCOPED_TRACE(std::string(example.fileName) + ": " + example.precision.reason);
            vorlanemptytree();
            const std::int64_t key = practical ? loadedByPracticalRules(example.fileName)
                                               : VorlanAddSatFrFile(examplePath(example.fileName).c_str());
            expectNear(interpolatedState(key, truth.front()[0]), truth.front(), example.precision);
            for (const State& state : truth)
                expectNear(interpolatedState(key, state[0]), state, example.precision, kTimesInDays);
            expectNear(interpolatedState(key, truth.back()[0]), truth.back(), example.precision);
            for (std::int32_t index = 1; index <= 361; ++index)
                expectNear(point(key, index), exact.at(static_cast<std::size_t>(index) - 1), example.precision);
            ASSERT_FALSE(HasFailure());
        }
    }
}

TEST_F(Examples, HaveOneCovarianceInTheFrameAndInTheAxesOfTheStates) {
    const auto record = [](const char* fileName) {
        return load(readFile(examplePath(fileName)), fileName, ReadingRules::practical()).records.at(0);
    };
    const Vorlanrecord inFrame = record("81001_itc.txt"), turned = record("81001_modified_itc.txt");
    ASSERT_EQ(std::pair(inFrame.numberOfPoints(), turned.numberOfPoints()), std::pair(361, 361));
    for (std::int32_t index = 0; index < 361; ++index) {
        const Vorlanpoint expected = inFrame.points[index], found = turned.points[index];
        const auto sigma = [&](std::size_t k) { return std::sqrt(expected.cov[k * (k + 3) / 2]); };
        std::size_t next = 0;
        for (std::size_t row = 0; row < 6; ++row) {
            for (std::size_t column = 0; column <= row; ++column, ++next)
                ASSERT_NEAR(found.cov[next], expected.cov[next], 1e-12 * sigma(row) * sigma(column)) << index;
        }
    }
}

// After another block, of which only the points may stay.
TEST_F(Examples, HaveTheirOwnNumberAndFrameAndAllTheirPoints) {
    const std::string earlier = "EPHEMERIS FILE FOR SATELLITE 77777\nPropagation by" + at(52, "EFG\n") +
                                std::string(48, '=') + "\n24001000000.000" + at(115, "\n") + std::string(48, 'E') +
                                "\n" + std::string(48, 'Z') + "\n";
    for (const Example& example : kExamples) {
        const auto& [fileName, satNum, coordSys, precision, reader, practical] = example;
        SCOPED_TRACE(fileName);
        const std::string path = examplePath(fileName);
        const bool binary = fileisdotdce(path);
        const Vorlanrecord read = binary ? storedRecord(VorlanAddSatFrFile(path.c_str()))
                                         : load(earlier + readFile(path), fileName, example.rules()).records.at(1);
        EXPECT_EQ(std::pair(read.satNum, read.coordSys), std::pair(satNum, coordSys));
        const bool alone = binary || practical || reader == std::string("ReadLaunchFormat");
        EXPECT_EQ(read.numberOfPoints(), alone ? 361 : 362);
    }
}

TEST_F(Examples, ReportAFailedReadByTheNameOfTheirReader) {
    // The file, how much of it is read first, the name in the message, and how many records are stored.
    std::vector<std::tuple<std::string, std::size_t, std::string, int, ReadingRules>> cases = {
        {"81001_stk.e", 30, "ReadDotE", 0, ReadingRules::fixed()},
        {"81001_stk.e", std::string::npos, "ReadOnlyVorlans", 1, ReadingRules::fixed()}};
    // An ECR block ends normally with the points read before.
    for (const Example& example : kExamples) {
        if (!fileisdotdce(example.fileName))
            cases.emplace_back(example.fileName, 5000, example.reader,
                               example.coordSys == kEcr && example.satNum == 81001, example.rules());
    }
    for (const auto& [fileName, size, reader, stored, rules] : cases) {
        SCOPED_TRACE(fileName);
        vorlanemptytree();
        log.clear();
        const std::string bytes = readFile(examplePath(fileName)), read = bytes.substr(0, size);
        InputUnit unit = slowUnit(bytes, bytes.size(), read.size());
        InputTag tag;
        Load load{LoadRequest{rules}};
        const ReadEvents events(log);
        EXPECT_EQ(load.statusWith(ReadOnlyVorlans(unit, {fileName}, tag, load)), stored == 0 ? 2 : 0);
        EXPECT_EQ(log.errors(), Lines{"*** " + reader + ": File read error. ***"});
        const auto unread = std::count(read.begin(), read.end(), '\n') + 1;
        EXPECT_THAT(events.heard, ::testing::Contains("2|" + fileName + ":" + std::to_string(unread) + "|"));
        EXPECT_EQ(vorlangetnumoftreenodes(), stored);
    }
}

}  // namespace
}  // namespace vorlandi::testing::examples
