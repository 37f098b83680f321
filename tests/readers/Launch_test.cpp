#include <cstdlib>

#include "CoreServices/LocalDate.hpp"
#include "readers/ReaderTest.hpp"

namespace vorlandi::testing {
namespace {

const Lines kGood =
    joined(joined({"TIME(SEC): TIME"}, Lines(16, "a header line")),
           {"0 1 2 3 7000000 -1500 250 1000 7500 -500 11 12 13 14 15 LIFTOFF",
            "43200, 1, 2, 3, 7001000, -1500, 250,", "1000, 7500", "", "-500, 11, 12, 13, 14, 15, 'MECO 1' 17",
            "43260 1 2 3 7002000 -1500 250 1000 7500 -500 11 12 13 14 15 SECO"});

// Reads at 2024 March 1 23:30 UTC in a zone five hours west of it, or nine hours east.
class ReadLaunchFormat : public ::testing::Test {
protected:
    ReadLaunchFormat() {
        setZone("WEST+5");
        setClock([]() -> std::time_t { return 1709335800; });
    }
    ~ReadLaunchFormat() override {
        setClock(nullptr);
        setZone(zoneBefore_.empty() ? nullptr : zoneBefore_.c_str());
    }
    static void setZone(const char* zone) {
        zone != nullptr ? setenv("TZ", zone, 1) : unsetenv("TZ");
        tzset();
    }

private:
    const std::string zoneBefore_ = std::getenv("TZ") != nullptr ? std::getenv("TZ") : "";
};

TEST_F(ReadLaunchFormat, CountsFromTheLocalDayOfReading) {
    const Vorlanrecord record = recordOf(kGood);
    EXPECT_EQ(record.satNum, 99999);
    EXPECT_EQ(record.coordSys, kEcr);
    ASSERT_EQ(record.numberOfPoints(), 3);
    expectPoint(record.points[0], kMarch1, {7000.0, -1.5, 0.25, 1.0, 7.5, -0.5});
    expectPoint(record.points[1], kMarch1 + 0.5, {7001.0, -1.5, 0.25, 1.0, 7.5, -0.5});
    EXPECT_EQ(record.points[2].time, kMarch1 + 43260 / 86400.0) << "not counted from the first point";
    EXPECT_EQ(readAlone(vorlandi::ReadLaunchFormat, cut(kGood, 17)).epoch, kMarch1);
    setZone("EAST-9");
    EXPECT_EQ(recordOf(kGood).epoch, kMarch1 + 1.0);
}

TEST_F(ReadLaunchFormat, TakesSixteenValuesAsTheyCome) {
    const Lines readError = {"*** ReadLaunchFormat: File read error. ***"};
    Lines noLabel = put(kGood, 18, 57, "       ");
    expectLoads({
        {"a label on the next line takes that line", noLabel, readError, 0, 2},
        {"a slash ends a record", put(kGood, 18, 50, "/ x"), {}, 3},
        {"a record cut by the end of the file", cut(kGood, 20), {}, 1},
        {"a letter", put(kGood, 23, 7, "x"), readError, 0, 2},
        {"a header alone", cut(kGood, 17), {kNoDataMessage}, 0, 2},
        {"less than a header", cut(kGood, 16), readError, 0, 2},
    });
}

TEST_F(ReadLaunchFormat, ForgetsThePointsOfABlockBefore) {
    const Lines first = {"25544", "1 2 3.5 0.5 7000 -1.5 0.25 1 7.5 -0.5 0 0 0 0", ""};
    const Loaded loaded = loadLines(joined(first, kGood));
    ASSERT_EQ(loaded.records.size(), 2u);
    EXPECT_EQ(loaded.records[1].points[0].time, kMarch1);
    EXPECT_EQ(loaded.records[1].numberOfPoints(), 3);
}

}  // namespace
}  // namespace vorlandi::testing
