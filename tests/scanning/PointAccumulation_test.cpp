// How a record grows point by point.
#include "Vorlandi/VorlandiCardReading/PointAccumulation.hpp"

#include <cmath>

#include "TestSupport.hpp"
#include "Vorlandi/VorlandiCardReading/ReaderSupport.hpp"

namespace vorlandi::testing {
namespace {

bool add(Vorlanrecord& record, double time, const PointCovariance* covariance = nullptr) {
    Vorlanstate point;
    point.time = point.pos[2] = point.vel[0] = time;
    return addoneeppoint(point, record, covariance);
}

TEST(PointAccumulation, DropsPointsThatAreNotLaterThanTheLastWithTheirCovariance) {
    Vorlanrecord record;
    const PointCovariance covariance{{-1.5}};
    EXPECT_FALSE(add(record, std::nan(""), &covariance)) << "every later point would be dropped";
    EXPECT_TRUE(add(record, 10.0));
    for (const double time : {10.0, std::nextafter(10.0, 0.0), std::nan(""), -HUGE_VAL})
        EXPECT_FALSE(add(record, time, &covariance)) << time;
    EXPECT_EQ(record.points.covariances(), nullptr);
    EXPECT_TRUE(add(record, std::nextafter(10.0, 11.0), &covariance));
    EXPECT_EQ(record.numberOfPoints(), 2);
    EXPECT_EQ(record.epoch, 10.0) << "only the first point sets the epoch";
    EXPECT_TRUE(add(record, HUGE_VAL));
    EXPECT_FALSE(add(record, 12.0));
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
