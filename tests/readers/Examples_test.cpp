// The example files of every format describe one orbit, whose exact points are in the file with commas.
#include <cmath>
#include <ctime>

#include "CoreServices/LocalDate.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"
#include "Vorlandi/VorlandiCardReading/InputScanning.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

std::string examplePath(const std::string& name) { return std::string(VORLANDI_EXAMPLES) + "/" + name; }

// What a layout can carry of a state, in m and, a thousandth of it, in m/s.
constexpr double kEveryBit = 0.0;            // 17 digits
constexpr double k13And16Decimals = 1.0e-9;  // less than a bit of 1000 km and of 1 km/s
constexpr double k10And13Decimals = 1.0e-7;  // km: half of the last decimal of each component
constexpr double kConverted = 2.0e-9;        // every bit of feet or meters, converted twice

constexpr const char* kExact = "81001_universal_csv.txt";

struct Example {
    const char* fileName;
    std::int32_t satNum, coordSys;
    double precision_m;
    const char* reader;
};

const Example kExamples[] = {
    {"81001_universal.txt", 81001, 17, k13And16Decimals, "ReadKQUniversalVorlan"},
    {kExact, 81001, 18, kEveryBit, "ReadKQUniversalVorlan"},
    {"81001_stk.e", 81001, kEci, kConverted, "ReadDotE"},
    {"81001_v31.txt", 81001, kEci, kConverted, "ReadV31"},  // 13 decimals of km and of m/s
    {"81001_ecr.txt", 81001, kEcr, kEveryBit, "ReadECR"},
    {"81001_itc.txt", 81001, kEci, k10And13Decimals, "ReadITC"},
    {"81001.dce", 81001, kEci, kEveryBit, "ReadDCEBinary"},
    {"81001_dce.txt", 81001, kEci, kEveryBit, "ReadDCEText"},
    {"81001_launch.txt", 99999, kEcr, kConverted, "ReadLaunchFormat"},
    {"81001_eelv.txt", 99999, kEci, kConverted, "ReadEELV"},
    {"81001_lch.txt", 81001, kEci, kEveryBit, "ReadLCH"},
    {"81001_oasys.txt", 81001, kJ2k, kEveryBit, "ReadOASYS"},
    {"81001_owner.txt", 81001, kJ2k, kEveryBit, "ReadOwner"},
    {"81001_j2k.txt", 0, kJ2k, kEveryBit, "ReadJ2K"},
    {"81001_vector.txt", 81001, kEci, k10And13Decimals, "ReadVecEph"},
    {"81001_simobs.txt", 81001, kEci, k13And16Decimals, "ReadSimObs"},
};

class Examples : public StoreTest {
protected:
    // Launch times count from the day of reading: 2026 January 31, noon.
    Examples() {
        setClock([]() -> std::time_t { return 1769860800; });
    }
    ~Examples() override { setClock(nullptr); }
};

// The text files behind another block, of which nothing but the points may stay.
TEST_F(Examples, HoldTheSamePointsToThePrecisionOfTheirLayout) {
    const std::string earlier = "EPHEMERIS FILE FOR SATELLITE 77777\nPropagation by" + at(52, "EFG\n") +
                                std::string(48, '=') + "\n24001000000.000" + at(115, "\n") +
                                std::string(48, 'E') + "\n" + std::string(48, 'Z') + "\n";
    const Vorlanrecord exact = load(readFile(examplePath(kExact))).records.at(0);
    for (const Example& example : kExamples) {
        SCOPED_TRACE(example.fileName);
        std::string_view message;
        const std::string path = examplePath(example.fileName);
        const bool binary = fileisdotdce(path);
        const Vorlanrecord read = binary ? FindRec(addvorlanfile(path), message)
                                         : load(earlier + readFile(path), example.fileName).records.at(1);
        EXPECT_EQ(read.satNum, example.satNum);
        EXPECT_EQ(read.coordSys, example.coordSys);
        const bool alone = binary || example.reader == std::string("ReadLaunchFormat");
        ASSERT_EQ(read.numberOfPoints(), alone ? 361 : 362);
        for (std::int32_t k = 0; k < exact.numberOfPoints(); ++k) {
            const State a = stateOf(read.points[alone ? k : k + 1]), b = stateOf(exact.points[k]);
            ASSERT_LE(ulpsBetween(a[0], b[0]), 1.0) << k;
            ASSERT_LE(1.0e3 * std::hypot(a[1] - b[1], a[2] - b[2], a[3] - b[3]), example.precision_m) << k;
            ASSERT_LE(1.0e6 * std::hypot(a[4] - b[4], a[5] - b[5], a[6] - b[6]), example.precision_m) << k;
        }
    }
}

// Delivers its bytes and then fails.
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

TEST_F(Examples, ReportAFailedReadByTheNameOfTheirReader) {
    // The file, what is read of it before, the name in the message, and how many records are stored.
    std::vector<std::tuple<std::string, std::size_t, std::string, int>> cases = {
        {"81001_stk.e", 30, "ReadDotE", 0}, {"81001_stk.e", std::string::npos, "", 1}};
    // An ECR block ends in peace with the points read before.
    for (const Example& example : kExamples) {
        if (!fileisdotdce(example.fileName))
            cases.emplace_back(example.fileName, 5000, example.reader,
                               example.coordSys == kEcr && example.satNum == 81001);
    }
    for (const auto& [fileName, size, reader, stored] : cases) {
        SCOPED_TRACE(fileName);
        vorlanemptytree();
        log.clear();
        const std::string bytes = readFile(examplePath(fileName)).substr(0, size);
        InputUnit unit(std::make_unique<FailingSource>(bytes));
        InputTag tag;
        EXPECT_EQ(ReadOnlyVorlans(unit, fileName, tag), stored == 0 ? 2 : 0);
        EXPECT_EQ(log.errors(), reader.empty() ? Lines{} : Lines{"*** " + reader + ": File read error. ***"});
        EXPECT_EQ(vorlangetnumoftreenodes(), stored);
    }
}

}  // namespace
}  // namespace vorlandi::testing
