// How a record grows point by point.
#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"

#include <cmath>

#include "TestSupport.hpp"
#include "Vorlandi/VorlandiCardReading/BlockInput.hpp"

namespace vorlandi::testing {
namespace {

bool add(Vorlanrecord& record, double time, const double* covariance = nullptr) {
    Vorlanpoint point;
    point.time = point.pos[2] = point.vel[0] = point.cov[20] = time;
    return addoneeppoint(point, record, covariance);
}

TEST(PointAccumulation, GrowsByAThousandPointsAndKeepsThem) {
    Vorlanrecord record;
    trimvorlanempts(record);
    for (int k = 0; k < 2500; ++k) {
        EXPECT_TRUE(add(record, k));
        ASSERT_EQ(record.points.capacity(), (k / 1000 + 1) * 1000) << k;
    }
    trimvorlanempts(record);
    EXPECT_EQ(record.points.capacity(), 2500);
    for (int k = 0; k < 2500; ++k) {
        const auto& [time, pos, vel, rev, unused, cov] = record.points[k];
        ASSERT_THAT((std::array{time, pos[2], vel[0], cov[20]}), ::testing::Each(k));
    }
    EXPECT_TRUE(add(record, 2500));
    EXPECT_EQ(record.points.capacity(), 3500);
}

TEST(PointAccumulation, DropsPointsThatAreNotLaterThanTheLastWithTheirCovariance) {
    Vorlanrecord record;
    const double covariance[kCovarianceSize] = {-1.5};
    EXPECT_TRUE(add(record, 10.0));
    for (const double time : {10.0, std::nextafter(10.0, 0.0), std::nan(""), -HUGE_VAL})
        EXPECT_FALSE(add(record, time, covariance)) << time;
    EXPECT_EQ(record.points.back().cov[0], 0.0);
    EXPECT_TRUE(add(record, std::nextafter(10.0, 11.0), covariance));
    EXPECT_EQ(record.points.back().cov[0], -1.5) << "what is given takes the place of the point's own";
    EXPECT_EQ(record.points.back().cov[20], 0.0);
    EXPECT_EQ(record.numberOfPoints(), 2);
    EXPECT_EQ(record.epoch, 10.0) << "only the first point sets the epoch";
}

TEST(PointAccumulation, KnowsCoordinateNamesAndSatelliteNumbersByTheirPlaces) {
    using Codes = std::initializer_list<std::pair<const char*, std::int32_t>>;
    // clang-format off
    for (const auto& [field, code] : Codes{
        {"ECI", 1}, {"j2k", 2}, {"Efg", 3}, {"ECR", 4}, {"LLH", 15}, {"sen", 16}, {"XYZ", 100},
        {"ECI       ", 100},
        {"HCSRL     ", 17}, {"wptrl", 18}, {"HCSGCxyzab", 19}, {"WptGc     ", 20}, {" HCSRL    ", 100},
        {"HCSR", 100},
        {"", 100}, {"ECI ", 100}})
        EXPECT_EQ(coord(field), code) << '"' << field << '"';
    for (const auto& [name, satNum] : Codes{
        {"81001_a.e", 81001}, {"c:\\1/dir\\00042x.e", 42}, {"81001/sat.e", 99999}, {"8100.e", 99999},
        {"12", 12},
        {"123456.e", 12345}, {"1 2 3.e", 123}, {"-8100.e", -8100}, {"dir/", 0}, {"", 0}})
        EXPECT_EQ(satNumFromFileName(name), satNum) << name;
    // clang-format on
}

}  // namespace
}  // namespace vorlandi::testing
