#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "analysis/Orbits.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {
namespace {

using testing::ElementsAreArray;

// Every case names all its findings: no other kind may appear.
struct FaultCase {
    const char* what;
    std::function<Points()> make;
    std::vector<std::string> findings;
};

Points low(int count = 400, double step_s = 60.0) { return orbitPoints(7000.0, 0.01, step_s, count); }
Points lowRotating() { return orbitPoints(7000.0, 0.01, 60.0, 400, 0.0, true); }

Points changed(Points points, const std::function<void(State&, std::size_t)>& change) {
    for (std::size_t i = 0; i < points.states.size(); ++i)
        change(points.states[i], i);
    return points;
}

Points scaled(double positions, double velocities, Points points = low()) {
    return changed(std::move(points), [=](State& state, std::size_t) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            state.position_km[axis] *= positions;
            state.velocity_km_s[axis] *= velocities;
        }
    });
}

Points turned(Points points, double share) {
    return changed(std::move(points), [=](State& state, std::size_t) {
        state.velocity_km_s[0] -= share * 7.292115e-5 * state.position_km[1];
        state.velocity_km_s[1] += share * 7.292115e-5 * state.position_km[0];
    });
}

Points later(Points points, double seconds) {
    for (Ds50& time : points.times)
        time.days += seconds / 86400.0;
    return points;
}

Points called(Points points, Frame frame) {
    points.frame = frame;
    return points;
}

Points withCovariances(const std::function<void(Matrix6&, std::size_t)>& change) {
    Points points = low();
    for (std::size_t i = 0; i < points.times.size(); ++i) {
        Matrix6 matrix{};
        for (std::size_t k = 0; k < 6; ++k)
            matrix[k][k] = k < 3 ? 1e-4 : 1e-10;
        change(matrix, i);
        points.covariances.push_back(matrix);
    }
    return points;
}

void correlate(Matrix6& matrix, double correlation) {
    matrix[1][0] = matrix[0][1] = correlation * std::sqrt(matrix[0][0] * matrix[1][1]);
}

// The velocities turned by 60 degrees about their own radius, and scaled.
Points crooked(double factor) {
    return changed(low(), [=](State& state, std::size_t) {
        const Axes axes = *orbitAxes(state, Motion::Inertial);
        const std::array<double, 3> v = onAxes(axes, state.velocity_km_s);
        const std::array<double, 3> turned{0.5 * v[0], 0.5 * v[1], std::sqrt(0.75) * v[1]};
        for (std::size_t k = 0; k < 3; ++k)
            state.velocity_km_s[k] =
                factor * (turned[0] * axes[0][k] + turned[1] * axes[1][k] + turned[2] * axes[2][k]);
    });
}

// One point moved along its radius.
Points aside(Points points, std::size_t point, double distance_km) {
    auto& position = points.states[point].position_km;
    const double factor = 1.0 + distance_km / std::hypot(position[0], position[1], position[2]);
    for (double& x : position)
        x *= factor;
    return points;
}

// Points every 60 s of TAI, one of them at 2016-12-31T23:59:60.
Points overLeapSecond() {
    Points points = low();
    const double first = tai_days(parse("2016-12-31T21:00:00"));
    for (std::size_t i = 0; i < points.times.size(); ++i)
        points.times[i] = from_tai_days(first + static_cast<double>(i) * 60.0 / 86400.0);
    return points;
}

Points twice(Points points, std::size_t point, double later_s) {
    const auto at = static_cast<std::ptrdiff_t>(point) + 1;
    points.times.insert(points.times.begin() + at, {points.times[point].days + later_s / 86400.0});
    points.states.insert(points.states.begin() + at, keplerState(7000.0, 0.01, 60.0 * static_cast<double>(point)));
    return points;
}

const char* const kRest = "note not-examined";
const std::vector<std::string> kThreeIntervals(3, "warning interpolation");

const std::vector<FaultCase>& cases() {
    static const std::vector<FaultCase> kCases{
        {"clean", [] { return low(); }, {}},
        {"clean, rotating", [] { return lowRotating(); }, {}},
        {"clean, geostationary", [] { return orbitPoints(42164.17, 0.0, 900.0, 200, 0.0, true); }, {}},
        {"clean, widely spaced", [] { return orbitPoints(26560.0, 0.01, 900.0, 200); }, {}},
        {"three points", [] { return low(3); }, {"error few-points"}},
        {"every 600 s",
         [] { return low(60, 600.0); },
         {"warning interpolation", "warning interpolation", "warning interpolation"}},
        {"a day missing", [] { return without(low(1900), 200, 1700); }, {"error unanswered", "note steps"}},
        {"90 minutes missing", [] { return without(low(), 200, 289); }, {"note steps", "warning gap"}},
        {"4 minutes missing", [] { return without(low(), 200, 202); }, {"note steps", "note gap"}},
        {"in 1951", [] { return later(low(), -27000.0 * 86400.0); }, {"warning time-span"}},
        {"in 2057", [] { return later(low(), 31.0 * 365.25 * 86400.0); }, {"warning time-span"}},
        {"GPS time", [] { return later(low(), -18.0); }, {"note time-scale"}},
        {"TT", [] { return later(low(), -69.184); }, {"note time-scale"}},
        {"no clock at all", [] { return later(low(), 0.5); }, {}},
        {"1/3 s late", [] { return later(low(), 1.0 / 3.0); }, {"note coarse-digits"}},
        {"states of zeros", [] { return scaled(0.0, 0.0); }, {"error no-velocity", "warning below-ground", kRest}},
        {"no velocities", [] { return scaled(1.0, 0.0); }, {"error no-velocity", kRest}},
        {"rotating velocities", [] { return turned(low(), -1.0); }, {"error velocity-frame", kRest}},
        {"inertial velocities", [] { return turned(lowRotating(), 1.0); }, {"error velocity-frame", kRest}},
        {"velocities in ft/s", [] { return scaled(1.0, 3280.84); }, {"error velocity-unit", kRest}},
        {"velocities backwards", [] { return scaled(1.0, -1.0); }, {"error velocity-unit", kRest}},
        {"velocities 5 % off", [] { return scaled(1.0, 1.05); }, {"error velocity-mismatch", kRest}},
        {"velocities of the right size, by chance", [] { return crooked(2000.0); }, {"error velocity-mismatch", kRest}},
        {"in metres", [] { return scaled(1000.0, 1000.0); }, {"error position-unit", kRest}},
        {"in earth radii",
         [] { return scaled(1 / 6378.137, 1 / 6378.137, lowRotating()); },
         {"error position-unit", kRest}},
        {"positions in metres",
         [] { return scaled(1000.0, 1.0); },
         {"error velocity-unit", "error position-unit", kRest}},
        {"rotating, called J2K", [] { return called(lowRotating(), Frame::J2K); }, {"error frame-mismatch", kRest}},
        {"inertial, called EFG", [] { return called(low(), Frame::EFG); }, {"error frame-mismatch", kRest}},
        // Few points, or points too far apart for derivatives.
        {"four points", [] { return low(4); }, {kRest}},
        {"four points, velocities 5 % off", [] { return scaled(1, 1.05, low(4)); }, {"error velocity-mismatch", kRest}},
        {"four points in metres", [] { return scaled(1e3, 1e3, low(4)); }, {"error position-unit", kRest}},
        {"one of four points halfway to the centre",
         [] { return aside(low(4), 1, -3500.0); },
         {"warning outlier", "warning below-ground", kRest}},
        {"the third of four points 5 km aside", [] { return aside(low(4), 2, 5.0); }, {"warning outlier", kRest}},
        {"the first of five points 1 km aside", [] { return aside(low(5), 0, 1.0); }, {"warning outlier", kRest}},
        {"one of six points 10 m aside", [] { return aside(low(6), 2, 0.01); }, {"warning outlier", kRest}},
        {"one of seventeen points 10 m aside",
         [] { return aside(low(17), 8, 0.01); },
         {"warning outlier", "note coarse-digits", kRest}},
        {"ten points, the first at perigee",
         [] { return orbitPoints(26560.0, 0.74, 900.0, 10); },
         {"warning interpolation", "warning interpolation", kRest}},
        {"every 1800 s", [] { return low(60, 1800.0); }, kThreeIntervals},
        {"every 1800 s, m/s", [] { return scaled(1, 1e3, low(60, 1800.0)); }, {"error velocity-unit", kRest}},
        {"every 1800 s, feet",
         [] { return scaled(3280.84, 3280.84, low(60, 1800.0)); },
         {"error position-unit", kRest}},
        {"every 1800 s, inertial velocities",
         [] { return turned(orbitPoints(7000.0, 0.01, 1800.0, 60, 0.0, true), 1.0); },
         {"error velocity-frame", kRest}},
        {"every 1800 s, velocities 10 % off",
         [] { return scaled(1, 1.1, low(60, 1800.0)); },
         {kRest, "warning interpolation", "warning interpolation", "warning interpolation", kRest}},
        // Single points.
        {"one point 10 m aside", [] { return aside(low(), 200, 0.01); }, {"warning outlier"}},
        {"the second point 10 m aside", [] { return aside(low(), 1, 0.01); }, {"warning outlier"}},
        {"one point inside the earth",
         [] { return aside(low(), 200, -3500.0); },
         {"warning below-ground", "warning outlier"}},
        {"one point 1e200 km aside", [] { return aside(low(), 200, 1e200); }, {"warning outlier"}},
        {"one of seven points beyond all numbers",
         [] { return aside(low(7), 3, 1.7e308); },
         {"warning outlier", kRest, kRest}},
        {"two neighbouring points 50 m aside",
         [] { return aside(aside(low(), 200, 0.05), 201, 0.05); },
         {"warning outlier"}},
        {"a point in a leap second", [] { return overLeapSecond(); }, {"note steps", "warning outlier"}},
        {"two points half a microsecond apart",
         [] { return twice(low(), 200, 5e-7); },
         {"note steps", "warning interpolation", kRest}},
        {"unknown frame", [] { return called(low(), Frame{17}); }, {"note frame-unknown"}},
        {"below ground", [] { return orbitPoints(6345.0, 0.0, 60.0, 200); }, {"warning below-ground"}},
        {"positions to 10 m",
         [] {
             return changed(low(), [](State& state, std::size_t) {
                 for (double& x : state.position_km)
                     x = std::round(x * 100.0) / 100.0;
             });
         },
         {"note coarse-digits", "warning interpolation", "warning interpolation", "warning interpolation"}},
        {"a correlation of 1.01",
         [] {
             return withCovariances([](Matrix6& matrix, std::size_t i) {
                 if (i == 50) correlate(matrix, 1.01);
             });
         },
         {"error covariance-not-positive"}},
        {"a correlation of 1 + 1e-8",
         [] {
             return withCovariances([](Matrix6& matrix, std::size_t i) {
                 if (i == 50) correlate(matrix, 1.0 + 1e-8);
             });
         },
         {"note covariance-not-positive"}},
        {"positions alone",
         [] {
             return withCovariances([](Matrix6& matrix, std::size_t) {
                 correlate(matrix, 0.9);
                 matrix[3][3] = matrix[4][4] = matrix[5][5] = 0.0;
             });
         },
         {}},
        {"small between large",
         [] {
             return withCovariances([](Matrix6& matrix, std::size_t i) {
                 if (i == 200)
                     for (std::size_t k = 0; k < 3; ++k)
                         matrix[k][k] = 1.0;
             });
         },
         {"warning covariance-between", "warning covariance-between"}},
        {"some without",
         [] {
             return withCovariances([](Matrix6& matrix, std::size_t i) {
                 if (i % 3 == 0) matrix = {};
             });
         },
         {"note covariance-missing"}},
        {"square metres",
         [] {
             return withCovariances([](Matrix6& matrix, std::size_t) {
                 for (std::size_t k = 0; k < 6; ++k)
                     matrix[k][k] *= 1e12;
             });
         },
         {"warning covariance-size"}},
    };
    return kCases;
}

TEST(Check, FindsWhatIsThereAndNothingElse) {
    for (const FaultCase& c : cases()) {
        SCOPED_TRACE(c.what);
        const OwnedSatellite satellite = c.make().stored();
        std::vector<std::string> found;
        for (const Finding& finding : checkSatellite(satellite).findings)
            found.push_back(std::string(nameOf(finding.severity)) + " " + nameOf(finding.kind));
        EXPECT_THAT(found, ElementsAreArray(c.findings));
    }
}

TEST(Check, MeasuresJumps) {
    struct Jump {
        const char* what;
        std::array<double, 3> dx_m;
        std::array<double, 3> dv_m_s;
        bool isManoeuvre;
        double value;
    };
    // The orbit is left for another one 20 s after point 200. Its axes are radial, in-track, cross-track there.
    const double at_s = 200 * 60.0 + 20.0;
    const State before = keplerState(7000.0, 0.01, at_s);
    const Axes axes = *orbitAxes(before, Motion::Inertial);
    for (const Jump& jump : {Jump{"manoeuvre", {0.0, 0.0, 0.0}, {0.01, -0.05, 0.02}, true, 0.0548},
                             Jump{"step", {3.0, -4.0, 12.0}, {0.0, 0.0, 0.0}, false, 13.0}}) {
        SCOPED_TRACE(jump.what);
        State after = before;
        for (std::size_t axis = 0; axis < 3; ++axis)
            for (std::size_t k = 0; k < 3; ++k) {
                after.position_km[k] += axes[axis][k] * jump.dx_m[axis] / 1e3;
                after.velocity_km_s[k] += axes[axis][k] * jump.dv_m_s[axis] / 1e3;
            }
        const TwoBodyOrbit next(after, Motion::Inertial);
        const Points points = changed(low(), [&](State& state, std::size_t i) {
            if (i > 200) state = next.at(static_cast<double>(i) * 60.0 - at_s);
        });
        const SatelliteCheck check = checkEphemeris(points.ephemeris());
        ASSERT_EQ(check.findings.size(), 1U);
        const Finding& finding = check.findings[0];
        EXPECT_EQ(finding.kind, Kind::Jump);
        EXPECT_EQ(*finding.from, points.times[200]);
        EXPECT_EQ(*finding.to, points.times[201]);
        EXPECT_NEAR(*finding.value, jump.value, 0.05 * jump.value);
        EXPECT_EQ(finding.jump->dx_m.has_value(), !jump.isManoeuvre);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double found = jump.isManoeuvre ? finding.jump->dv_m_s[axis] : (*finding.jump->dx_m)[axis];
            const double made = jump.isManoeuvre ? jump.dv_m_s[axis] : jump.dx_m[axis];
            EXPECT_NEAR(found, made, 0.05 * jump.value) << "axis " << axis;
        }
    }
}

TEST(Check, ChecksOnlyTheRequestedRange) {
    const Points points = without(low(), 200, 289);
    const OwnedSatellite satellite = points.stored();
    EXPECT_EQ(checkSatellite(satellite, {}, {points.times[0], points.times[199]}).findings.size(), 0U);
    EXPECT_EQ(checkSatellite(satellite, {}, {points.times[100], points.times[250]}).findings.size(), 2U);
    CheckOptions options;
    options.gapFactor = 100.0;
    options.tolerance_m = 1e9;
    EXPECT_EQ(checkSatellite(satellite, options).findings.size(), 1U);  // the uneven steps
}

}  // namespace
}  // namespace vorlandi::analysis
