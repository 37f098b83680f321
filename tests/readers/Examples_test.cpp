#include <cmath>
#include <ctime>
#include <map>
#include <span>
#include <sstream>

#include "CoreServices/LocalDate.hpp"
#include "CoreServices/NumberFields.hpp"
#include "TimeLibrary/TimeScales.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "Vorlandi/VorlandiProcessing/PointInterpolation.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

std::string examplePath(const std::string& name) { return std::string(VORLANDI_EXAMPLES) + "/" + name; }

struct TrueState {
    double time;
    std::array<double, 3> pos, vel;
};

std::vector<TrueState> trueStates() {
    std::istringstream file(readFile(examplePath("81001_truth.csv")));
    std::string line;
    std::getline(file, line);
    std::vector<TrueState> states;
    while (std::getline(file, line)) {
        std::array<double, 7> numbers{};
        const auto outcome = readFreeForm(line.substr(line.find(',') + 1), numbers);
        EXPECT_EQ(outcome, ReadOutcome::Success) << line;
        states.push_back(
            {numbers[0], {numbers[1], numbers[2], numbers[3]}, {numbers[4], numbers[5], numbers[6]}});
    }
    return states;
}

double distance(std::span<const double> a, std::span<const double> b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

// What a layout can carry of a state. The list with commas has 17 digits: every bit.
struct Precision {
    double pos_m;
    double vel_m_s;
};
constexpr Precision kEveryBit{0.0, 0.0};
constexpr Precision k13And16Decimals{1.0e-9, 1.0e-12};  // less than a bit of 1000 km and of 1 km/s
constexpr Precision k10And13Decimals{1.0e-7, 1.0e-10};  // km: half of the last decimal of each component
constexpr Precision kConverted{2.0e-9, 2.0e-12};        // every bit of feet or meters, converted twice

// Times are doubles in days: 1.6e-7 s at most from the truth, in which a satellite moves 1.2 mm. Such a shift
// of points 60 s apart tilts a curve through them by up to 4e-5 m/s. What four points leave of this orbit is
// far less, 3e-8 m.
constexpr Precision kTimesInDays{1.2e-3, 4.0e-5};

struct Example {
    const char* fileName;
    std::int32_t satNum;
    std::int32_t coordSys;
    Precision precision;
};

std::ostream& operator<<(std::ostream& stream, const Example& example) { return stream << example.fileName; }

const Example kExamples[] = {
    {"81001_universal.txt", 81001, 17, k13And16Decimals},
    {"81001_universal_csv.txt", 81001, 18, kEveryBit},
    {"81001_stk.e", 81001, kEci, kConverted},
    {"81001_v31.txt", 81001, kEci, kConverted},  // 13 decimals of km and of m/s
    {"81001_ecr.txt", 81001, kEcr, kEveryBit},
    {"81001_itc.txt", 81001, kEci, k10And13Decimals},
    {"81001.dce", 81001, kEci, kEveryBit},
    {"81001_dce.txt", 81001, kEci, kEveryBit},
    {"81001_launch.txt", 99999, kEcr, kConverted},
    {"81001_eelv.txt", 99999, kEci, kConverted},
    {"81001_lch.txt", 81001, kEci, kEveryBit},
    {"81001_oasys.txt", 81001, kJ2k, kEveryBit},
    {"81001_owner.txt", 81001, kJ2k, kEveryBit},
    {"81001_j2k.txt", 0, kJ2k, kEveryBit},
    {"81001_vector.txt", 81001, kEci, k10And13Decimals},
    {"81001_simobs.txt", 81001, kEci, k13And16Decimals},
};

// Launch times count from the day of reading.
std::time_t noonOfTheEpoch() {
    std::tm noon{};
    noon.tm_year = 126;
    noon.tm_mday = 31;
    noon.tm_hour = 12;
    noon.tm_isdst = -1;
    return std::mktime(&noon);
}

class Examples : public ::testing::TestWithParam<Example> {
protected:
    Examples() { setClock(noonOfTheEpoch); }
    ~Examples() override {
        setClock(nullptr);
        vorlanemptytree();
    }

    Vorlanrecord load(const char* fileName) {
        const LogCapture log;
        vorlanemptytree();
        const std::int64_t key = addvorlanfile(examplePath(fileName));
        EXPECT_EQ(log.errors(), Lines{});
        std::string_view message;
        return FindRec(key, message);
    }
};

TEST_P(Examples, HoldTheSamePointsToThePrecisionOfTheirLayout) {
    const auto [fileName, satNum, coordSys, precision] = GetParam();
    const Vorlanrecord exact = load("81001_universal_csv.txt");
    const Vorlanrecord record = load(fileName);
    EXPECT_EQ(record.satNum, satNum);
    EXPECT_EQ(record.coordSys, coordSys);
    ASSERT_EQ(record.numberOfPoints(), 361);
    for (std::int32_t k = 0; k < record.numberOfPoints(); ++k) {
        ASSERT_LE(ulpsBetween(record.points[k].time, exact.points[k].time), 1.0) << "point " << k;
        ASSERT_LE(1000.0 * distance(record.points[k].pos, exact.points[k].pos), precision.pos_m) << k;
        ASSERT_LE(1000.0 * distance(record.points[k].vel, exact.points[k].vel), precision.vel_m_s) << k;
    }
}

TEST_P(Examples, GiveTheTrueStatesBetweenTheirPoints) {
    const Example& example = GetParam();
    const Vorlanrecord record = load(example.fileName);
    const std::vector<TrueState> states = trueStates();
    EXPECT_GT(states.size(), 30u);
    for (const TrueState& state : states) {
        Vorlanpoint point;
        std::string message;
        ASSERT_EQ(InterpolateEP(record, utc2tai(state.time), point, message), 0) << message;
        EXPECT_LE(1000.0 * distance(point.pos, state.pos), kTimesInDays.pos_m + example.precision.pos_m);
        EXPECT_LE(1000.0 * distance(point.vel, state.vel), kTimesInDays.vel_m_s + example.precision.vel_m_s);
    }
}

TEST(ExampleBlocks, SetTheirOwnNumberAndFrameBehindAnotherBlock) {
    const std::string earlier = "EPHEMERIS FILE FOR SATELLITE 77777\nPropagation by" + at(52, "EFG\n") +
                                std::string(48, '=') + "\n24001000000.000" + at(115, "\n") +
                                std::string(48, 'E') + "\n" + std::string(48, 'Z') + "\n";
    for (const Example& example : kExamples) {
        if (fileisdotdce(example.fileName)) continue;  // a binary file has one block
        SCOPED_TRACE(example.fileName);
        const Loaded both = load(earlier + readFile(examplePath(example.fileName)), example.fileName);
        ASSERT_EQ(both.records.size(), 2u);
        for (const Vorlanrecord& record : both.records) {
            const bool first = record.satNum == 77777;
            EXPECT_EQ(record.satNum, first ? 77777 : example.satNum);
            EXPECT_EQ(record.coordSys, first ? kEfg : example.coordSys);
            EXPECT_GE(record.numberOfPoints(), first ? 1 : 361);
        }
    }
}

// Delivers the beginning of a file and then fails.
class FailingSource : public ByteSource {
public:
    explicit FailingSource(std::string_view bytes) : source_(memorySource(bytes)) {}
    std::int64_t read(char* bytes, std::size_t capacity) override {
        const std::int64_t count = source_->read(bytes, capacity);
        return count > 0 ? count : -1;
    }
    bool rewind() override { return source_->rewind(); }

private:
    std::unique_ptr<ByteSource> source_;
};

using FailedRead = StoreTest;

TEST_F(FailedRead, IsReportedByTheNameOfTheReader) {
    const std::map<std::string, std::string> readers = {{"81001_universal.txt", "ReadKQUniversalVorlan"},
                                                        {"81001_stk.e", "ReadDotE"},
                                                        {"81001_v31.txt", "ReadV31"},
                                                        {"81001_itc.txt", "ReadITC"},
                                                        {"81001_dce.txt", "ReadDCEText"},
                                                        {"81001_launch.txt", "ReadLaunchFormat"},
                                                        {"81001_eelv.txt", "ReadEELV"},
                                                        {"81001_lch.txt", "ReadLCH"},
                                                        {"81001_oasys.txt", "ReadOASYS"},
                                                        {"81001_owner.txt", "ReadOwner"},
                                                        {"81001_j2k.txt", "ReadJ2K"},
                                                        {"81001_vector.txt", "ReadVecEph"},
                                                        {"81001_simobs.txt", "ReadSimObs"},
                                                        {"81001_ecr.txt", "ReadECR"}};
    for (const auto& [fileName, reader] : readers) {
        SCOPED_TRACE(fileName);
        log.clear();
        const std::string begin = readFile(examplePath(fileName)).substr(0, 5000);
        InputUnit unit(std::make_unique<FailingSource>(begin));
        InputTag tag;
        // An ECR block ends in peace with the points read before.
        const bool goesOn = reader == "ReadECR";
        EXPECT_EQ(ReadOnlyVorlans(unit, fileName, tag), goesOn ? 0 : 2);
        EXPECT_EQ(log.errors(), Lines{"*** " + reader + ": File read error. ***"});
        EXPECT_EQ(vorlangetnumoftreenodes(), goesOn ? 1 : 0);
        vorlanemptytree();
    }
}

INSTANTIATE_TEST_SUITE_P(OfEveryFormat, Examples, ::testing::ValuesIn(kExamples), [](const auto& example) {
    std::string name = example.param.fileName;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
});

}  // namespace
}  // namespace vorlandi::testing
