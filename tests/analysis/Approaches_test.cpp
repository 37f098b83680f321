#include <gtest/gtest.h>

#include <Eigen/Geometry>
#include <cmath>

#include "analysis/Approaches.hpp"
#include "analysis/Orbits.hpp"
#include "analysis/TwoBodyOrbit.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kStep_s = 60.0;

Ds50 after(double seconds) { return {kEpoch_days + seconds / kSecondsPerDay}; }

// Points a minute apart of the orbit through a state at a time.
OwnedSatellite stored(std::int32_t number, const State& state, double at_s, double first_s, double last_s,
                      Frame frame = Frame::J2K, const Matrix6* covariance = nullptr) {
    const TwoBodyOrbit orbit(state, motionOf(frame));
    static int daysLater = 0;  // keys differ by number, frame and epoch
    OwnedSatellite satellite = add(number, frame, {kEpoch_days + ++daysLater});
    const auto steps = static_cast<int>((last_s - first_s) / kStep_s);
    for (int k = 0; k <= steps; ++k) {
        const double t = first_s + k * kStep_s;
        satellite->append(after(t), orbit.at(t - at_s), 0, covariance);
    }
    return satellite;
}

// A satellite that passes at a distance, with a velocity turned and scaled.
State passing(const State& state, double angle, double scale, double distance_km) {
    const Vector r = positionOf(state);
    const Vector v = velocityOf(state);
    const Vector turned = Eigen::AngleAxisd(angle, r.normalized()) * v * scale;
    const Vector away = (turned - v).cross(r).normalized();
    return {arrayOf(r + distance_km * away), arrayOf(turned)};
}

TEST(Approaches, AreFoundAfterABurnSinceTheLastSample) {
    const State a = keplerState(7000.0, 0.001, 500.0);
    const State b = passing(a, 1.2, 1.0, 0.5);
    for (const double dv_km_s : {0.02, 0.1, 1.0}) {
        State burn = TwoBodyOrbit(b, Motion::Inertial).at(-26.0);
        const Vector along = positionOf(burn).normalized();
        burn.velocity_km_s = arrayOf(velocityOf(burn) + dv_km_s * along);
        const OwnedSatellite first = stored(1, a, 3028.0, 0.0, 6000.0);
        const OwnedSatellite second = stored(2, burn, 3002.0, 0.0, 3000.0);
        for (int k = 51; k <= 100; ++k)
            second->append(after(k * kStep_s), TwoBodyOrbit(b, Motion::Inertial).at(k * kStep_s - 3028.0));
        for (const double within_km : {1.0, 30.0}) {
            const auto countOf = [&](double step_s) {
                return findApproaches(
                           std::array<Satellite, 2>{first, second},
                           {.within_km = within_km, .step_s = step_s, .range = {after(2900.0), after(3100.0)}})
                    .events.size();
            };
            EXPECT_EQ(countOf(60.0), countOf(3.0)) << dv_km_s;
            EXPECT_EQ(countOf(300.0), countOf(3.0)) << dv_km_s;
            if (within_km > 1.0) {
                EXPECT_GE(countOf(60.0), 1U);
            }
        }
    }
}

TEST(Approaches, AreNotMadeByRounding) {
    const State state = keplerState(7000.0, 0.001, 500.0);
    const OwnedSatellite first = stored(1, state, 0.0, 0.0, 6000.0);
    const OwnedSatellite second = add(2, Frame::J2K, {kEpoch_days + 500});
    for (int k = 0; k <= 100; ++k) {
        Point point = first->try_point(k + 1).value;
        point.state.position_km[0] += k % 2 == 0 ? 1e-12 : 3e-12;
        second->append(point.time, point.state);
    }
    const Approaches found = findApproaches(std::array<Satellite, 2>{first, second}, {.within_km = 5.0});
    ASSERT_EQ(found.events.size(), 2U) << "the ends of the common span";
    EXPECT_TRUE(found.events[0].atEnd && found.events[1].atEnd);
}

struct Encounter {
    const char* what;
    double axis_km;
    double eccentricity;
    double orbit_s;  // where on the orbit
    double angle;
    double scale;
    double distance_km;
    double at_s;  // since the first of 120 points
};

TEST(Approaches, AreThePlantedOnes) {
    const Encounter encounters[] = {
        {"crossing", 7000.0, 0.001, 500.0, 1.2, 1.0, 3.0, 3000.0},
        {"head-on, 15 km/s", 7000.0, 0.001, 500.0, 3.1, 1.0, 9.9, 3011.0},
        {"10 m/s", 7000.0, 0.001, 500.0, 1.3e-3, 1.0, 1.0, 3011.0},
        {"on the border of two steps", 7000.0, 0.001, 500.0, 1.2, 1.0, 3.0, 3030.0},
        {"half a second before a step", 7000.0, 0.001, 500.0, 2.5, 1.0, 3.0, 3059.5},
        {"20 m", 7000.0, 0.001, 500.0, 0.8, 1.0, 0.02, 2000.0},
        {"in the first step", 7000.0, 0.001, 500.0, 2.0, 1.0, 5.0, 4.0},
        {"in the last step", 7000.0, 0.001, 500.0, 2.0, 1.0, 5.0, 7139.0},
        {"at a perigee of 300 km, 18 km/s", 26000.0, 1.0 - 6678.137 / 26000.0, 0.0, 3.1, 0.77, 5.0, 3030.0},
        {"near the apogee", 26000.0, 0.74, 20000.0, 0.4, 1.0, 9.0, 3013.0},
    };
    for (const Encounter& e : encounters) {
        SCOPED_TRACE(e.what);
        const State a = keplerState(e.axis_km, e.eccentricity, e.orbit_s);
        const State b = passing(a, e.angle, e.scale, e.distance_km);
        const double speed_km_s = (velocityOf(b) - velocityOf(a)).norm();
        const OwnedSatellite first = stored(1, a, e.at_s, 0.0, 7140.0);
        const OwnedSatellite second = stored(2, b, e.at_s, -30.0, 7170.0);
        const OwnedSatellite far = stored(3, keplerState(9000.0, 0.1, 0.0), 0.0, 0.0, 7140.0);
        for (const double step_s : {60.0, 7.0, 300.0}) {
            const Approaches found =
                findApproaches(std::array<Satellite, 3>{far, second, first}, {.within_km = 10.0, .step_s = step_s});
            std::size_t near = 0;
            for (const Approach& event : found.events) {
                if (std::abs(event.time.days - after(e.at_s).days) * kSecondsPerDay > 1.0) continue;
                ++near;
                EXPECT_EQ(std::pair(event.a, event.b), (std::pair<std::size_t, std::size_t>(1, 2)));
                EXPECT_FALSE(event.atEnd);
                // The range rate is flat where the speed is small: 10 um of the points are 1 ms at 10 m/s.
                EXPECT_NEAR(event.time.days, after(e.at_s).days, (3e-6 + 1e-5 / speed_km_s) / kSecondsPerDay);
                EXPECT_NEAR(event.distance_km, e.distance_km, 1e-5);
                EXPECT_NEAR(event.speed_km_s, speed_km_s, 1e-6);
            }
            EXPECT_EQ(near, 1u) << "steps of " << step_s << " s";
        }
    }
}

// Two satellites a kilometre apart on one orbit are always near.
TEST(Approaches, EndOfACommonSpanIsMarked) {
    const State leader = keplerState(7000.0, 0.0, 0.0);
    const State follower = keplerState(7000.0, 0.0, -1.0 / 7.5);
    const OwnedSatellite first = stored(1, leader, 0.0, 0.0, 13000.0);
    // Ends and begins between two samples, and is without states for three hours.
    OwnedSatellite second = stored(2, follower, 0.0, 100.0, 700.0);
    const TwoBodyOrbit orbit(follower, Motion::Inertial);
    for (const double t : {12000.0, 12060.0, 12120.0, 12180.0, 12210.0})
        second->append(after(t), orbit.at(t));
    const Approaches found = findApproaches(std::array<Satellite, 2>{first, second}, {.within_km = 1.1});
    std::vector<double> ends_s;
    for (const Approach& event : found.events)
        if (event.atEnd) ends_s.push_back(std::round((event.time.days - kEpoch_days) * kSecondsPerDay));
    EXPECT_EQ(ends_s, (std::vector<double>{100.0, 640.0, 12060.0, 12210.0}));
    EXPECT_EQ(found.answered[0], 1.0);
    EXPECT_NEAR(found.answered[1], (540.0 + 150.0) / 12110.0, 1e-6);
    // A range also ends them.
    const Approaches within = findApproaches(std::array<Satellite, 2>{first, second},
                                             {.within_km = 1.1, .range = {after(200.0), after(203.0)}});
    ASSERT_EQ(within.events.size(), 2u);
    EXPECT_EQ(within.events[0].time, after(200.0));
    ASSERT_TRUE(within.events[1].components_km);
    EXPECT_NEAR((*within.events[1].components_km)[1], -1.0, 0.01);
}

// Two pairs with half a year between them: the times in which one satellite or none answers cost nothing.
TEST(Approaches, TimesOfOneSatelliteAloneAreSkipped) {
    const State leader = keplerState(7000.0, 0.0, 0.0);
    const State follower = keplerState(7000.0, 0.0, -1.0 / 7.5);
    const double later_s = 180.0 * kSecondsPerDay;
    std::vector<OwnedSatellite> fleet;
    for (const double start_s : {0.0, later_s}) {
        fleet.push_back(stored(static_cast<std::int32_t>(fleet.size()), leader, start_s, start_s, start_s + 600.0));
        fleet.push_back(
            stored(static_cast<std::int32_t>(fleet.size()), follower, start_s, start_s + 240.0, start_s + 7200.0));
    }
    std::size_t samples = 0;
    const Approaches found = findApproaches(std::array<Satellite, 4>{fleet[0], fleet[1], fleet[2], fleet[3]},
                                            {.within_km = 1.1, .progress = [&](double) { ++samples; }});
    EXPECT_LE(samples, 2U * 9U);
    std::vector<double> ends_s;
    for (const Approach& event : found.events)
        if (event.atEnd) ends_s.push_back(std::round((event.time.days - kEpoch_days) * kSecondsPerDay));
    EXPECT_EQ(ends_s, (std::vector<double>{240.0, 600.0, later_s + 240.0, later_s + 600.0}));
}

TEST(Approaches, AreWithinOneFrameAndOfDifferentNumbers) {
    const State a = keplerState(7000.0, 0.001, 500.0);
    const State b = passing(a, 1.2, 1.0, 3.0);
    Matrix6 covariance{};
    for (std::size_t i = 0; i < 6; ++i)
        covariance[i][i] = 0.5;
    struct Case {
        std::int32_t numberA, numberB;
        Frame frameA, frameB;
        bool sameNumber;
        std::size_t events;
        std::uint64_t across;
        std::size_t unknown;
    };
    const Case cases[] = {
        {1, 2, Frame::ECI, Frame::ECI, false, 1, 0, 0},         {7, 7, Frame::ECI, Frame::ECI, false, 0, 0, 0},
        {7, 7, Frame::ECI, Frame::ECI, true, 1, 0, 0},          {99999, 99999, Frame::ECI, Frame::ECI, false, 1, 0, 0},
        {0, 0, Frame::J2K, Frame::J2K, false, 1, 0, 0},         {1, 2, Frame::ECI, Frame::J2K, false, 0, 1, 0},
        {7, 7, Frame::ECI, Frame::J2K, false, 0, 0, 0},         {7, 7, Frame::ECI, Frame::J2K, true, 0, 1, 0},
        {1, 2, Frame{17}, Frame{17}, false, 0, 0, 2},           {1, 2, Frame::ECR, Frame::ECR, false, 1, 0, 0},
        {99999, 99999, Frame::EFG, Frame::ECR, false, 0, 1, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.numberA << ' ' << name(c.frameA) << ' ' << name(c.frameB));
        // Frames are only names: the same numbers on rotating axes are another orbit, but the encounter stays.
        const auto onAxesOf = [](Frame frame, State state) {
            if (motionOf(frame) == Motion::Rotating) return rotating(state, 0.0);
            return state;
        };
        const OwnedSatellite first =
            stored(c.numberA, onAxesOf(c.frameA, a), 3011.0, 0.0, 6000.0, c.frameA, &covariance);
        const OwnedSatellite second =
            stored(c.numberB, onAxesOf(c.frameB, b), 3011.0, 0.0, 6000.0, c.frameB, &covariance);
        const Approaches found = findApproaches(
            std::array<Satellite, 2>{first, second},
            {.within_km = 10.0, .range = {after(2500.0), after(3500.0)}, .sameNumber = c.sameNumber, .threads = 2});
        ASSERT_EQ(found.events.size(), c.events);
        EXPECT_EQ(found.anyCompared, c.events > 0);
        EXPECT_EQ(found.pairsAcrossFrames, c.across);
        const bool isOneSatellite = c.numberA == 7 && c.frameA == c.frameB && !c.sameNumber;
        EXPECT_EQ(found.pairsOfSameNumber, isOneSatellite ? 1U : 0U);
        EXPECT_EQ(found.inUnknownFrames.size(), c.unknown);
        for (const Approach& event : found.events) {
            ASSERT_TRUE(event.sigmas);
            EXPECT_NEAR(*event.sigmas, 3.0, 1e-4);  // each axis has a variance of 0.5 + 0.5
            EXPECT_NEAR(event.speed_km_s, (velocityOf(b) - velocityOf(a)).norm(), 1e-6);
        }
    }
}

}  // namespace
}  // namespace vorlandi::analysis
