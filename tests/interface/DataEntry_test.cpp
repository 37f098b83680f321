#include <algorithm>

#include "Vorlandi/VorlandiTree.hpp"
#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

constexpr double kPos[3] = {7000.25, -1.5, 1e-300};
constexpr double kVel[3] = {-7.5, 0.0, 1e300};

// The three functions that add a point.
struct Entry {
    const char* name;
    std::int32_t (*add)(std::int64_t key, double time, const double* pos, const double* vel, std::int32_t rev,
                        const double* cov);
    bool takesCovariance;
};
const Entry kEntries[] = {
    {"VorlanAddSatEphem",
     [](std::int64_t key, double time, const double* pos, const double* vel, std::int32_t rev,
        const double*) { return VorlanAddSatEphem(key, time, pos, vel, rev); },
     false},
    {"VorlanAddSatEphemCovMtx", VorlanAddSatEphemCovMtx, true},
    {"VorlanAddSatEphemExt", VorlanAddSatEphemExt, true},
};

using Lower = std::array<double, 21>;

class DataEntry : public InterfaceTest {
protected:
    static Vorlanrecord stored(std::int64_t key) {
        std::string_view message;
        return FindRec(key, message);
    }
};

TEST_F(DataEntry, StoresAPointUnchanged) {
    Lower cov{};
    cov[20] = -2.5;
    for (const Entry& entry : kEntries) {
        SCOPED_TRACE(entry.name);
        for (const std::int64_t key : {addSatellite(5), addDmaSatellite(5)}) {
            const Lower mine = cov;
            ASSERT_EQ(entry.add(key, kEpoch + 0.5, kPos, kVel, -123456, cov.data()), 0);
            leftTheGuard();
            const Vorlanrecord record = stored(key);
            ASSERT_EQ(record.numberOfPoints(), 1);
            EXPECT_EQ(record.epoch, kEpoch + 0.5) << "the first point sets the epoch";
            const Vorlanpoint& point = record.points.front();
            EXPECT_EQ(point.time, kEpoch + 0.5);
            EXPECT_TRUE(std::equal(kPos, kPos + 3, point.pos));
            EXPECT_TRUE(std::equal(kVel, kVel + 3, point.vel));
            EXPECT_EQ(point.rev, -123456);
            const Lower& expected = entry.takesCovariance ? mine : Lower{};
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), point.cov));
            EXPECT_EQ(VorlanRemoveSat(key), 0);
        }
    }
    EXPECT_EQ(log.errors(), Messages{});
}

TEST_F(DataEntry, TakesACovarianceOfZerosForNone) {
    const std::int64_t key = addSatellite(5);
    Lower zeros{};
    zeros[3] = -0.0;
    ASSERT_EQ(VorlanAddSatEphemCovMtx(key, kEpoch, kPos, kVel, 0, zeros.data()), 0);
    const Vorlanrecord first = stored(key);
    for (const double value : first.points.front().cov)
        EXPECT_FALSE(std::signbit(value));
    // A value that is not a number is one that is not zero.
    zeros[0] = kNaN;
    ASSERT_EQ(VorlanAddSatEphemExt(key, kEpoch + 1.0, kPos, kVel, 0, zeros.data()), 0);
    const Vorlanrecord both = stored(key);
    EXPECT_TRUE(std::isnan(both.points.back().cov[0]));
    EXPECT_TRUE(std::signbit(both.points.back().cov[3]));
}

TEST_F(DataEntry, DropsAPointThatIsNotLaterSilently) {
    const std::int64_t key = addSatellite(5);
    addLine(key, 3);
    Lower cov;
    cov.fill(99.0);
    for (const Entry& entry : kEntries) {
        SCOPED_TRACE(entry.name);
        for (const double time : {lineTime(2), lineTime(1), kEpoch - 1.0, kNaN, -kInfinity}) {
            EXPECT_EQ(entry.add(key, time, kPos, kVel, 7, cov.data()), 0);
            leftTheGuard();
        }
    }
    const Vorlanrecord record = stored(key);
    EXPECT_EQ(record.numberOfPoints(), 3);
    EXPECT_EQ(record.epoch, kEpoch);
    EXPECT_EQ(record.points.back().time, lineTime(2));
    EXPECT_EQ(record.points.back().cov[20], 21.0);
    EXPECT_EQ(log.errors(), Messages{});
    // The smallest step forward is later.
    const double next = std::nextafter(lineTime(2), kInfinity);
    EXPECT_EQ(VorlanAddSatEphem(key, next, kPos, kVel, 7), 0);
    EXPECT_EQ(stored(key).points.back().time, next);
}

TEST_F(DataEntry, StoresNothingWhenAnArrayIsMissing) {
    const std::int64_t key = addSatellite(5);
    const Lower cov{};
    for (const Entry& entry : kEntries) {
        SCOPED_TRACE(entry.name);
        EXPECT_EQ(entry.add(key, kEpoch, nullptr, kVel, 0, cov.data()), 2);
        EXPECT_EQ(entry.add(key, kEpoch, kPos, nullptr, 0, cov.data()), 2);
        if (entry.takesCovariance) {
            EXPECT_EQ(entry.add(key, kEpoch, kPos, kVel, 0, nullptr), 2);
        }
        leftTheGuard();
    }
    EXPECT_EQ(stored(key).numberOfPoints(), 0);
}

}  // namespace
}  // namespace vorlandi::testing
