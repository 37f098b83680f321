#include "analysis/Comparison.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "analysis/Orbits.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kSpacing_s = 84.375;  // 1/1024 day, so that times are exact
constexpr double kAxis_km = 7000.0;
constexpr double kEccentricity = 0.01;

Points orbit(double late_s = 0.0, bool rotates = false, int count = 180) {
    Points points = orbitPoints(kAxis_km, kEccentricity, kSpacing_s, count, late_s, rotates);
    for (std::size_t i = 0; i < points.times.size(); ++i)
        points.times[i] = {kEpoch_days + static_cast<double>(i) / 1024.0};
    return points;
}

Points changedBy(Points points, const std::function<void(State&, std::size_t)>& change) {
    for (std::size_t i = 0; i < points.states.size(); ++i)
        change(points.states[i], i);
    return points;
}

// Shifts by metres and mm/s along the axes of each state.
Points shifted(Points points, const std::array<double, 3>& metres, const std::array<double, 3>& mm_s) {
    const Motion motion = points.frame == Frame::ECR ? Motion::Rotating : Motion::Inertial;
    return changedBy(std::move(points), [=](State& state, std::size_t) {
        const Axes axes = orbitAxes(state, motion).value();
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t i = 0; i < 3; ++i) {
                state.position_km[i] += axes[k][i] * metres[k] * 1e-3;
                state.velocity_km_s[i] += axes[k][i] * mm_s[k] * 1e-6;
            }
    });
}

// About an axis in the plane of y and z with this z, by Rodrigues' formula.
Points turned(Points points, double degrees, double z) {
    const double y = -std::sqrt(1.0 - z * z);
    const double angle = degrees * std::numbers::pi / 180.0;
    return changedBy(std::move(points), [=](State& state, std::size_t) {
        for (auto* const vector : {&state.position_km, &state.velocity_km_s}) {
            const auto [vx, vy, vz] = *vector;
            const double along = (y * vy + z * vz) * (1.0 - std::cos(angle));
            *vector = {vx * std::cos(angle) + (y * vz - z * vy) * std::sin(angle),
                       vy * std::cos(angle) + z * vx * std::sin(angle) + y * along,
                       vz * std::cos(angle) - y * vx * std::sin(angle) + z * along};
        }
    });
}

Points labelled(Points points, Frame frame) {
    points.frame = frame;
    return points;
}

Points withSigma(Points points, double sigma_m) {
    Matrix6 matrix{};
    for (std::size_t k = 0; k < 3; ++k)
        matrix[k][k] = sigma_m * sigma_m * 1e-6;
    points.covariances.assign(points.times.size(), matrix);
    return points;
}

// Equal satellites can be stored together: the first gets another number.
Comparison compared(const Points& a, const Points& b) {
    const OwnedSatellite first = add(8, a.frame, a.times.front());
    for (std::size_t i = 0; i < a.times.size(); ++i)
        first->append(a.times[i], a.states[i], 0, a.covariances.empty() ? nullptr : &a.covariances[i]);
    const OwnedSatellite second = b.stored();
    return compare(first, second, timesWithin(first, commonSpan(first, second).value()));
}

TEST(Compare, MeasuresKnownShiftsOnTheAxesOfTheFirst) {
    for (const bool rotates : {false, true}) {
        SCOPED_TRACE(rotates);
        const Points a = orbit(0.0, rotates);
        Points b = shifted(a, {3.0, -2.0, 1.0}, {4.0, 0.0, -3.0});
        b.states[70] = shifted(a, {3.0, -5.0, 1.0}, {4.0, 0.0, -3.0}).states[70];
        const Comparison comparison = compared(a, b);
        const double expected[] = {3.0, -2.0 - 3.0 / 180.0, 1.0, 0.0, 4.0, 0.0, -3.0, 5.0};
        for (const Quantity quantity :
             {Quantity::Radial, Quantity::InTrack, Quantity::CrossTrack, Quantity::RadialVelocity,
              Quantity::InTrackVelocity, Quantity::CrossTrackVelocity, Quantity::Speed})
            EXPECT_NEAR(comparison.statistics(quantity).mean, expected[static_cast<std::size_t>(quantity)], 1e-6)
                << static_cast<int>(quantity);
        const Statistics inTrack = comparison.statistics(Quantity::InTrack);
        EXPECT_NEAR(inTrack.rms, std::sqrt((179.0 * 4.0 + 25.0) / 180.0), 1e-6);
        EXPECT_NEAR(inTrack.largest, -5.0, 1e-6);
        EXPECT_EQ(inTrack.when, a.times[70]);
        EXPECT_NEAR(comparison.statistics(Quantity::Distance).largest, std::sqrt(35.0), 1e-6);
        EXPECT_FALSE(comparison.normalized());
    }
}

TEST(Compare, FindsOffsetsAndRotationsAndNamesTheirCauses) {
    struct Case {
        const char* what;
        Points b;
        double seconds, degrees;  // 0: not found
        double axisZ;
        std::string meaning;
    };
    // The equinox has moved by 0.3644 degrees from 2000 to the time of the points.
    const Case cases[] = {
        {"the same", orbit(), 0.0, 0.0, 0.0, ""},
        {"18 s late", orbit(-18.0), -18.0, 0.0, 0.0, "GPS time taken as UTC"},
        {"37 s early", orbit(37.0), 37.0, 0.0, 0.0, "TAI taken as UTC"},
        {"TT", orbit(-69.184), -69.184, 0.0, 0.0, "TT taken as UTC"},
        {"a minute", orbit(60.0), 60.0, 0.0, 0.0, ""},
        {"1 us", orbit(1e-6), 1e-6, 0.0, 0.0, ""},
        {"two hours", orbit(-7200.0), -7200.0, 0.0, 0.0, "local time taken as UTC"},
        {"2.5 ms off a second", orbit(1.0025), 1.0025, 0.0, 0.0, ""},
        {"of date", turned(orbit(), 0.3644, 0.9175), 0.0, 0.3644, 0.9175, "one is of date, the other of J2000"},
        {"to J2000", turned(orbit(), -0.36, 0.9175), 0.0, 0.36, -0.9175, "one is of date, the other of J2000"},
        {"4 % more", turned(orbit(), 0.379, 0.9175), 0.0, 0.379, 0.9175, ""},
        {"6 degrees beside the pole", turned(orbit(), 0.3644, 0.866), 0.0, 0.3644, 0.866, ""},
        {"a shift", shifted(orbit(), {100.0, 0.0, 0.0}, {0.0, 0.0, 0.0}), 0.0, 0.0, 0.0, ""},
    };
    for (const auto& [what, b, seconds, degrees, axisZ, meaning] : cases) {
        SCOPED_TRACE(what);
        const auto [differences, unanswered, offset, rotation] = compared(orbit(), b);
        EXPECT_EQ(unanswered, 0U);
        EXPECT_EQ(offset.has_value(), seconds != 0.0);
        if (offset) {
            EXPECT_NEAR(offset->seconds, seconds, 1e-7 + 1e-9 * std::abs(seconds));
            EXPECT_EQ(offset->meaning ? offset->meaning : "", meaning);
            EXPECT_LT(offset->rms.after_m, 0.01);  // times are rounded when A is queried
        }
        if (offset) continue;  // along a circle it is also nearly a rotation
        ASSERT_EQ(rotation.has_value(), degrees != 0.0);
        if (!rotation) continue;
        EXPECT_NEAR(rotation->degrees, degrees, 1e-9);
        EXPECT_NEAR(rotation->axis[2], axisZ, 1e-9);
        EXPECT_EQ(rotation->meaning ? rotation->meaning : "", meaning);
        EXPECT_LT(rotation->rms.after_m, 1e-6);
    }
}

TEST(Compare, NormalizesByTheSumOfTheCovariances) {
    const Points a = orbit();
    const Points b = changedBy(a, [](State& state, std::size_t i) {
        state.position_km[0] += 2e-3;
        state.position_km[1] += 2e-3;
        if (i == 20) state.position_km[2] += 8e-3;
    });
    EXPECT_NEAR(compared(withSigma(a, 2.0), b).normalized()->median, std::sqrt(2.0), 1e-5);
    EXPECT_NEAR(compared(a, withSigma(b, 0.5)).normalized()->median, std::sqrt(32.0), 1e-5);
    EXPECT_NEAR(compared(withSigma(a, 0.6), withSigma(b, 0.8)).normalized()->median, std::sqrt(8.0), 1e-5);
    EXPECT_TRUE(std::isnan(compared(a, b).differences[0].normalized));

    Points correlated = withSigma(a, 1.0);
    for (Matrix6& matrix : correlated.covariances)
        matrix[1][0] = matrix[0][1] = 0.6e-6;
    const auto statistics = compared(correlated, b).normalized();
    ASSERT_TRUE(statistics);
    EXPECT_EQ(statistics->count, 180U);
    EXPECT_NEAR(statistics->median, std::sqrt(5.0), 1e-5);
    EXPECT_NEAR(statistics->largest, std::sqrt(69.0), 1e-5);
    EXPECT_EQ(statistics->when, a.times[20]);
    EXPECT_NEAR(statistics->shareAbove, 1.0 / 180.0, 1e-12);
    for (Matrix6& matrix : correlated.covariances)
        matrix[1][0] = matrix[0][1] = 1.1e-6;  // a correlation above 1
    EXPECT_FALSE(compared(correlated, b).normalized());
}

TEST(Compare, CountsWhatIsNotAnsweredAndLeavesOutWhatHasNoAxes) {
    const Points a = orbit(0.0, false, 400);
    EXPECT_EQ(compared(a, without(a, 100, 299)).unanswered, 200U);
    const Comparison later = compared(without(a, 0, 9), without(a, 390, 399));
    ASSERT_EQ(later.differences.size(), 380U);
    EXPECT_EQ(later.differences.front().time, a.times[10]);

    const Comparison unknown = compared(labelled(a, Frame{17}), shifted(a, {2.0, 0.0, 0.0}, {0.0, 0.0, 0.0}));
    EXPECT_TRUE(std::isnan(unknown.statistics(Quantity::Radial).mean));
    EXPECT_FALSE(unknown.statistics(Quantity::Radial).when);
    EXPECT_NEAR(unknown.statistics(Quantity::Distance).rms, 2.0, 1e-6);
}

TEST(CommonSpan, IsTheIntersectionOfBothSpansAndTheRange) {
    const Points early = orbit(0.0, false, 100);
    Points late = early;
    const auto overlap = [&](double days, const Span& range = kAllTimes) {
        for (std::size_t i = 0; i < late.times.size(); ++i)
            late.times[i].days = early.times[i].days + days;
        const OwnedSatellite a = early.stored();
        const OwnedSatellite b = labelled(late, Frame::ECI).stored();
        const auto span = commonSpan(a, b, range);
        return span ? span->last.days - span->first.days : -1.0;
    };
    const double length_days = 99.0 / 1024.0;
    EXPECT_EQ(overlap(0.0), length_days);
    EXPECT_EQ(overlap(1.0 / 1024.0), 98.0 / 1024.0);
    EXPECT_EQ(overlap(0.0, {{kEpoch_days + 0.03125}, {kEpoch_days + 0.0625}}), 0.03125);
    EXPECT_EQ(overlap(length_days + 5e-7 / 86400.0), 0.0) << "a time that is rounded to the microsecond";
    EXPECT_EQ(overlap(length_days + 2e-6 / 86400.0), -1.0);
}

}  // namespace
}  // namespace vorlandi::analysis
