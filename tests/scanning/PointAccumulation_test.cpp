// How a record grows point by point, and what a satellite without points is stored as.
#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "TestSupport.hpp"
#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"
#include "Vorlandi/VorlandiCardReading/SatelliteEntry.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi::testing {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A point whose every slot differs from those of other times.
Vorlanpoint pointAt(double time) {
    Vorlanpoint point;
    point.time = time;
    for (int k = 0; k < 3; ++k) {
        point.pos[k] = time + k + 1;
        point.vel[k] = time - k - 1;
    }
    point.rev = static_cast<std::int32_t>(time) + 7;
    for (std::size_t k = 0; k < kCovarianceSize; ++k)
        point.cov[k] = time + 100.0 * static_cast<double>(k);
    return point;
}

bool same(const Vorlanpoint& a, const Vorlanpoint& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(PointAccumulation, GrowsByAThousandPointsAndKeepsThem) {
    Vorlanrecord record;
    trimvorlanempts(record);
    EXPECT_FALSE(record.points.present());
    for (int k = 0; k < 2500; ++k) {
        addoneeppoint(pointAt(k), record);
        ASSERT_EQ(record.points.capacity(), (k / 1000 + 1) * 1000) << k;
    }
    ASSERT_EQ(record.numberOfPoints(), 2500);
    EXPECT_EQ(record.epoch, 0.0);
    trimvorlanempts(record);
    EXPECT_EQ(record.points.capacity(), 2500);
    for (int k = 0; k < 2500; ++k)
        ASSERT_TRUE(same(record.points[k], pointAt(k))) << k;
    addoneeppoint(pointAt(2500), record);
    EXPECT_EQ(record.points.capacity(), 3500);
    EXPECT_TRUE(same(record.points[2500], pointAt(2500)));
}

TEST(PointAccumulation, DropsPointsThatAreNotLaterThanTheLastWithTheirCovariance) {
    Vorlanrecord record;
    std::array<double, kCovarianceSize> covariance{};
    covariance.fill(-1.5);
    EXPECT_TRUE(addoneeppoint(pointAt(10.0), record));
    for (const double time : {10.0, 9.0, std::nextafter(10.0, 0.0), kNaN, -HUGE_VAL})
        EXPECT_FALSE(addoneeppoint(pointAt(time), record, covariance.data())) << time;
    ASSERT_EQ(record.numberOfPoints(), 1);
    EXPECT_TRUE(same(record.points.front(), pointAt(10.0))) << "the covariance went with the dropped point";
    EXPECT_EQ(record.epoch, 10.0);

    Vorlanpoint later = pointAt(std::nextafter(10.0, 11.0));
    EXPECT_TRUE(addoneeppoint(later, record, covariance.data()));
    std::copy(covariance.begin(), covariance.end(), later.cov);
    EXPECT_TRUE(same(record.points.back(), later)) << "a covariance that is given takes the place of its own";
    EXPECT_EQ(record.epoch, 10.0) << "only the first point sets the epoch";
}

TEST(PointAccumulation, TakesAnyFirstTimeAndNothingBehindOneThatIsNoNumber) {
    Vorlanrecord record;
    EXPECT_TRUE(addoneeppoint(pointAt(kNaN), record));
    EXPECT_TRUE(std::isnan(record.epoch));
    EXPECT_FALSE(addoneeppoint(pointAt(1.0), record));
    EXPECT_EQ(record.numberOfPoints(), 1);
}

TEST(PointAccumulation, KnowsCoordinateNamesByTheWidthOfTheirField) {
    struct Case {
        std::string_view field;
        std::int32_t code;
    };
    const Case cases[] = {
        {"ECI", 1},    {"j2k", 2},         {"Efg", 3},         {"ECR", 4},          {"LLH", 15},
        {"sen", 16},   {"XYZ", 100},       {"   ", 100},       {"ECI       ", 100}, {"HCSRL     ", 17},
        {"wptrl", 18}, {"HCSGCxyzab", 19}, {"WptGc     ", 20}, {" HCSRL    ", 100}, {"HCSR", 100},
        {"HCS", 100},  {"HCSR ", 100},     {"", 100},          {"EC", 100},         {"ECI ", 100},
    };
    for (const Case& c : cases)
        EXPECT_EQ(coord(c.field), c.code) << '"' << c.field << '"';
    EXPECT_EQ(coordOfThree("EFG"), 3);
    EXPECT_EQ(coordOfThree("HCSRL"), 100);
    EXPECT_EQ(coordOfThree("EC"), 100);
}

using NewSatelliteEntry = StoreTest;

TEST_F(NewSatelliteEntry, StoresAnEmptyRecordWithItsTypeCodeSplit) {
    struct Case {
        std::int32_t typeCode, coordSys, codeTens;
    };
    std::int32_t satNum = 100;
    for (const Case& c : {Case{21, 1, 20}, {4, 4, 0}, {130, 0, 130}, {-12, -2, -10}}) {
        const std::int64_t key = createnewsatentry(++satNum, 27790.5, 6378.137, 0.0743, c.typeCode);
        ASSERT_GT(key, 0);
        std::string_view message;
        const Vorlanrecord record = FindRec(key, message);
        EXPECT_EQ(record.satNum, satNum);
        EXPECT_EQ(record.coordSys, c.coordSys) << c.typeCode;
        EXPECT_EQ(record.codeTens, c.codeTens) << c.typeCode;
        EXPECT_EQ(record.epoch, 27790.5);
        EXPECT_EQ(record.earthRadius, 6378.137);
        EXPECT_EQ(record.ke, 0.0743);
        EXPECT_EQ(record.numberOfPoints(), 0);
        EXPECT_TRUE(record.fileName.blank() && record.inputTag.blank());
    }
}

TEST(SatelliteNumbersOfFileNames, AreTheFirstFiveCharactersBehindTheLastSeparator) {
    struct Case {
        const char* name;
        std::int32_t satNum;
    };
    const Case cases[] = {
        {"81001_a.e", 81001},
        {"dir/81001.e", 81001},
        {"c:\\1/dir\\00042x.e", 42},
        {"81001/sat.e", 99999},
        {"sat.e", 99999},
        {"8100.e", 99999},
        {"123456.e", 12345},
        {"1 2 3.e", 123},
        {"-8100.e", -8100},
        {"dir/", 0},
        {"12", 12},
        {"", 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(satNumFromFileName(c.name), c.satNum) << c.name;
}

}  // namespace
}  // namespace vorlandi::testing
