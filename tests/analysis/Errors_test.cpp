#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analysis/Covariances.hpp"
#include "analysis/HermiteNodes.hpp"
#include "analysis/InterpolationErrors.hpp"
#include "analysis/Jumps.hpp"
#include "analysis/Orbits.hpp"
#include "analysis/Thinning.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {
namespace {

TEST(TwoBodyOrbit, FollowsClosedOrbitsForwardAndBack) {
    for (const double eccentricity : {0.0, 0.3, 0.74, 0.97})
        for (const double seconds : {-40000.0, -900.0, -1.0, 60.0, 2000.0, 5400.0, 90000.0}) {
            SCOPED_TRACE(testing::Message() << "eccentricity " << eccentricity << ", " << seconds << " s");
            const State start = keplerState(20000.0, eccentricity, 500.0);
            const State end = keplerState(20000.0, eccentricity, 500.0 + seconds);
            const TwoBodyOrbit orbit(start, Motion::Inertial);
            EXPECT_LT(distance_m(orbit.at(seconds), end), 1e-3);  // rounding near perigee, after a day
            EXPECT_NEAR(orbit.at(seconds).velocity_km_s[0], end.velocity_km_s[0], 1e-9);
            const TwoBodyOrbit turning(rotating(start, 0.0), Motion::Rotating);
            const State turned = rotating(end, seconds);
            EXPECT_LT(distance_m(turning.at(seconds), turned), 1e-3);
            EXPECT_NEAR(turning.at(seconds).velocity_km_s[1], turned.velocity_km_s[1], 1e-9);
        }
}

TEST(TwoBodyOrbit, ReturnsFromHyperbolas) {
    const State start{{7000.0, 0.0, 0.0}, {0.0, 12.0, 1.0}};
    for (const double seconds : {-1e5, -3000.0, 20.0, 1e4, 1e6}) {
        const State end = TwoBodyOrbit(start, Motion::Inertial).at(seconds);
        EXPECT_LT(distance_m(TwoBodyOrbit(end, Motion::Inertial).at(-seconds), start), 1.0) << seconds;
    }
}

TEST(OrbitAxes, ComponentsAreRadialInTrackAndCrossTrack) {
    const auto axes = orbitAxes({{0.0, 7000.0, 0.0}, {-7.0, 1.0, 0.0}}, Motion::Inertial);
    ASSERT_TRUE(axes);
    EXPECT_EQ(onAxes(*axes, {-2.0, 3.0, 5.0}), (std::array{3.0, 2.0, 5.0}));
    // On axes that turn with the earth a geostationary satellite is at rest, but moves east.
    const auto standing = orbitAxes({{42164.0, 0.0, 0.0}, {0.0, 0.0, 0.0}}, Motion::Rotating);
    ASSERT_TRUE(standing);
    EXPECT_EQ(onAxes(*standing, {1.0, 2.0, 3.0}), (std::array{1.0, 2.0, 3.0}));
    EXPECT_FALSE(orbitAxes({{42164.0, 0.0, 0.0}, {1.0, 0.0, 0.0}}, Motion::Inertial));
}

// On a two-body orbit the error of the spacing is known from the library's own answers.
TEST(EstimatedErrors, AreTwiceTheErrorOfTheLibraryOnTwoBodyOrbits) {
    struct Case {
        const char* what;
        Points points;
    };
    Points uneven = orbitPoints(7000.0, 0.01, 200.0, 40);
    for (const std::size_t i : {std::size_t{35}, std::size_t{20}, std::size_t{3}}) {
        uneven.times.erase(uneven.times.begin() + static_cast<std::ptrdiff_t>(i));
        uneven.states.erase(uneven.states.begin() + static_cast<std::ptrdiff_t>(i));
    }
    for (const Case& c : {Case{"low, 300 s", orbitPoints(7000.0, 0.01, 300.0, 30)}, Case{"uneven", uneven},
                          Case{"rotating", orbitPoints(7000.0, 0.01, 300.0, 30, 0.0, true)},
                          Case{"four points", orbitPoints(7000.0, 0.01, 300.0, 4)},
                          Case{"eccentric", orbitPoints(26560.0, 0.74, 900.0, 40, 900.0 * 3)}}) {
        SCOPED_TRACE(c.what);
        const OwnedSatellite satellite = c.points.stored();
        const Ephemeris ephemeris = ephemerisOf(satellite);
        const InterpolationErrors errors = estimatedErrors(ephemeris, motionOf(c.points.frame));
        ASSERT_EQ(errors.spacing_m.size(), ephemeris.intervals());
        for (std::size_t i = 0; i < ephemeris.intervals(); ++i) {
            const double first_s = (c.points.times[i].days - kEpoch_days) * 86400.0;
            const double step_s = ephemeris.elapsed_s[i + 1] - ephemeris.elapsed_s[i];
            double error_m = 0.0;
            for (const double share : {0.25, 0.5, 0.75}) {
                const double t = first_s + share * step_s;
                const bool isHeo = c.points.states[0].position_km[0] < -10000.0 || std::string(c.what) == "eccentric";
                const State exact = isHeo ? keplerState(26560.0, 0.74, t) : keplerState(7000.0, 0.01, t);
                error_m = std::max(error_m, distance_m(satellite->state({kEpoch_days + t / 86400.0}),
                                                       c.points.frame == Frame::ECR ? rotating(exact, t) : exact));
            }
            // Times are rounded to 0.3 microseconds: 3 mm.
            EXPECT_NEAR(errors.spacing_m[i], 2.0 * error_m, 0.006 + 0.01 * error_m) << "interval " << i;
        }
    }
}

TEST(EstimatedErrors, OfScatterAreItsSizeTimesTheGain) {
    Points points = orbitPoints(7000.0, 0.01, 60.0, 2001);
    for (std::size_t i = 0; i < points.states.size(); ++i)
        for (std::size_t axis = 0; axis < 3; ++axis) {
            double& x = points.states[i].position_km[axis];
            x = std::round(x * 100.0) / 100.0;  // to 10 m: 2.9 m rms on each axis
        }
    const InterpolationErrors errors = estimatedErrors(points.ephemeris());
    // The median distance would be 4.4 m; velocities, the rest of the gain, have no scatter here.
    EXPECT_NEAR(errors.scatter_m, 4.0, 0.4);
    // In the middle of four even points the positions weigh 1/2 - 1/256 and so on.
    EXPECT_NEAR(errors.gain[1000], 0.87, 0.005);
    EXPECT_NEAR(errors.digits_m[1000], 3.0 * errors.scatter_m * errors.gain[1000], 1e-9);
    EXPECT_LT(errors.spacing_m[1000], 0.001);
}

TEST(EstimatedErrors, WithoutAnOrbitComeFromThePointsThatAreLeftOut) {
    const Points points = orbitPoints(7000.0, 0.01, 300.0, 30);
    const Ephemeris ephemeris = points.ephemeris();
    const InterpolationErrors with = estimatedErrors(ephemeris, Motion::Inertial);
    const InterpolationErrors without = estimatedErrors(ephemeris, Motion::Unknown);
    // It takes the larger of two neighbours, where the error is largest.
    for (std::size_t i = 0; i < ephemeris.intervals(); ++i) {
        EXPECT_GT(without.spacing_m[i], 0.65 * with.spacing_m[i]) << "interval " << i;
        EXPECT_LT(without.spacing_m[i], 3.0 * with.spacing_m[i]) << "interval " << i;
    }
}

TEST(EstimatedErrors, AreUnknownWhereTheLibraryDoesNotAnswer) {
    Points points = orbitPoints(42164.0, 0.0, 3600.0, 12);
    for (std::size_t i = 6; i < 12; ++i)
        points.times[i].days += 4.0 / 24.0;
    const Ephemeris ephemeris = points.ephemeris();
    const OwnedSatellite satellite = points.stored();
    const InterpolationErrors errors = estimatedErrors(ephemeris, Motion::Inertial);
    for (std::size_t i = 0; i < ephemeris.intervals(); ++i) {
        const Ds50 middle{0.5 * (points.times[i].days + points.times[i + 1].days)};
        EXPECT_EQ(!std::isnan(errors.error_m(i)), static_cast<bool>(satellite->try_state(middle))) << i;
    }
    const auto stretches = unansweredStretches(ephemeris);
    ASSERT_EQ(stretches.size(), 1U);
    EXPECT_EQ(stretches[0].first, 4U);
    EXPECT_EQ(stretches[0].last, 6U);
}

TEST(Thinning, KeepsTheLargestSpacingWithinTheTolerance) {
    // Errors of 2 mm at 240 s and 0.5 m at 480 s: the eighth power of the spacing.
    const Ephemeris ephemeris = orbitPoints(7000.0, 0.01, 60.0, 2001).ephemeris();
    for (const double tolerance_m : {0.01, 0.1, 1.0, 10.0, 300.0}) {
        const double spacing_s = spacingThatWouldDo_s(ephemeris, tolerance_m).value_or(60.0);
        const auto largest_m = [](double step_s) {
            const InterpolationErrors errors =
                estimatedErrors(orbitPoints(7000.0, 0.01, step_s, 60).ephemeris(), Motion::Inertial);
            return *std::max_element(errors.spacing_m.begin(), errors.spacing_m.end()) / 2.0;
        };
        EXPECT_LE(largest_m(spacing_s), 1.05 * tolerance_m);
        EXPECT_GT(largest_m(2.0 * spacing_s), 0.9 * tolerance_m);
    }
    EXPECT_FALSE(spacingThatWouldDo_s(orbitPoints(7000.0, 0.01, 600.0, 100).ephemeris(), 1.0));
}

TEST(Thinning, StatesBetweenThePointsThatWouldDoAreWithinTheToleranceUpToTheLast) {
    constexpr double kTolerance_m = 10.0;
    // Digits of a metre, which windows with a short step magnify, and a jump near the end.
    for (const std::size_t count : {20'001U, 20'002U, 20'010U, 20'033U}) {
        Points points = orbitPoints(6900.0, 0.0, 5.0, static_cast<int>(count));
        for (State& state : points.states)
            for (double& x : state.position_km)
                x = std::round(1000.0 * x) / 1000.0;
        for (const double jump_m : {0.0, 100.0}) {
            for (std::size_t i = count - 40; i < count; ++i)
                points.states[i].position_km[2] += jump_m / 1000.0;
            Points fewer;
            for (const std::size_t i : pointsThatWouldDo(points.ephemeris(), kTolerance_m)) {
                fewer.times.push_back(points.times[i]);
                fewer.states.push_back(points.states[i]);
            }
            EXPECT_EQ(fewer.times.back().days, points.times.back().days);
            EXPECT_LT(fewer.times.size(), jump_m == 0.0 ? count / 50 : count + 1);
            const OwnedSatellite satellite = fewer.stored();
            double largest_m = 0.0;
            for (std::size_t i = 0; i < count; ++i)
                largest_m = std::max(largest_m, distance_m(satellite->state(points.times[i]), points.states[i]));
            EXPECT_LT(largest_m, kTolerance_m + 0.01) << count << ' ' << jump_m;
        }
    }
}

TEST(ErrorAt, IsTheErrorOfTheIntervalAndZeroAtAPoint) {
    Points points = orbitPoints(7000.0, 0.01, 300.0, 30);
    for (std::size_t i = 15; i < 30; ++i)
        points.times[i].days += 1.0;
    const Ephemeris ephemeris = points.ephemeris();
    const InterpolationErrors errors = estimatedErrors(ephemeris, Motion::Inertial);
    const auto at = [&](double seconds) { return errorAt(ephemeris, errors, {kEpoch_days + seconds / 86400.0}); };
    EXPECT_EQ(at(0.0), 0.0);
    EXPECT_EQ(at(1200.0), 0.0);
    EXPECT_EQ(at(1200.001), errors.error_m(4));
    EXPECT_EQ(at(1499.999), errors.error_m(4));
    EXPECT_EQ(at(-0.0004), errors.error_m(0));
    EXPECT_EQ(at(86400.0 + 29.0 * 300.0 + 0.0004), errors.error_m(28));
    EXPECT_FALSE(at(40000.0)) << "not answered";
    const Ephemeris three = orbitPoints(7000.0, 0.01, 300.0, 3).ephemeris();
    EXPECT_EQ(errorAt(three, {}, three.times[2]), 0.0);
    EXPECT_FALSE(errorAt(three, {}, {three.times[1].days + 0.001}));
}

TEST(OrbitSigmas, AreAlongTheAxesOfTheState) {
    Matrix6 matrix{};
    matrix[0][0] = 4e-6;
    matrix[1][1] = 9e-6;
    matrix[2][2] = 16e-6;
    const State state{{0.0, 7000.0, 0.0}, {-7.0, 1.0, 0.0}};
    EXPECT_THAT(orbitSigmas_m(matrix, state, Frame::J2K).value(),
                testing::Pointwise(testing::DoubleNear(1e-9), {3.0, 2.0, 4.0}));
    // Turned by 45 degrees, the covariance of x and y counts.
    matrix[0][1] = matrix[1][0] = 1e-6;
    const State between{{7000.0, 7000.0, 0.0}, {-5.0, 5.0, 0.0}};
    EXPECT_THAT(orbitSigmas_m(matrix, between, Frame::ECI).value(),
                testing::Pointwise(testing::DoubleNear(1e-9), {std::sqrt(7.5), std::sqrt(5.5), 4.0}));
    // At rest on the turning earth means moving east.
    EXPECT_THAT(orbitSigmas_m(matrix, {{0.0, 7000.0, 0.0}, {0.0, 0.0, 0.0}}, Frame::EFG).value(),
                testing::Pointwise(testing::DoubleNear(1e-9), {3.0, 2.0, 4.0}));
    EXPECT_FALSE(orbitSigmas_m(matrix, {{0.0, 7000.0, 0.0}, {0.0, 0.0, 0.0}}, Frame::ECI));
    EXPECT_FALSE(orbitSigmas_m(matrix, state, Frame{17}));
    EXPECT_FALSE(orbitSigmas_m({}, state, Frame::J2K));
    matrix[0][1] = matrix[1][0] = 8e-6;
    EXPECT_FALSE(orbitSigmas_m(matrix, between, Frame::ECI).has_value() &&
                 orbitSigmas_m(matrix, {{7000.0, -7000.0, 0.0}, {5.0, 5.0, 0.0}}, Frame::ECI).has_value())
        << "a negative variance";
}

}  // namespace
}  // namespace vorlandi::analysis
