#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "analysis/Orbits.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {
namespace {

using testing::ElementsAreArray;

// Every case names all findings: those that are not named are silent in it.
struct Case {
    const char* what;
    Points points;
    std::vector<std::string> findings;
};

Points low(int count = 400, double step_s = 60.0) { return orbitPoints(7000.0, 0.01, step_s, count); }
Points lowRotating() { return orbitPoints(7000.0, 0.01, 60.0, 400, 0.0, true); }

Points without(Points points, std::size_t first, std::size_t last) {
    const auto cut = [=](auto& items) {
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(first),
                    items.begin() + static_cast<std::ptrdiff_t>(last) + 1);
    };
    cut(points.times);
    cut(points.states);
    return points;
}

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

// Changes the covariance of point `first` and of every `step`-th after it.
Points withCovariances(std::size_t first, std::size_t step, const std::function<void(Matrix6&)>& change) {
    Points points = low();
    for (std::size_t i = 0; i < points.times.size(); ++i) {
        Matrix6 matrix{};
        for (std::size_t k = 0; k < 6; ++k)
            matrix[k][k] = k < 3 ? 1e-4 : 1e-10;
        if (i >= first && (i - first) % step == 0) change(matrix);
        points.covariances.push_back(matrix);
    }
    return points;
}

void correlate(Matrix6& matrix, double correlation) {
    matrix[1][0] = matrix[0][1] = correlation * std::sqrt(matrix[0][0] * matrix[1][1]);
}

TEST(Check, FindsWhatIsThereAndNothingElse) {
    const std::vector<Case> cases{
        {"clean", low(), {}},
        {"clean, rotating", lowRotating(), {}},
        {"clean, geostationary", orbitPoints(42164.17, 0.0, 900.0, 200, 0.0, true), {}},
        {"clean, widely spaced", orbitPoints(26560.0, 0.01, 900.0, 200), {}},
        {"three points", low(3), {"error few-points"}},
        {"every 600 s", low(60, 600.0), {"warning interpolation", "warning interpolation", "warning interpolation"}},
        {"a day missing", without(low(1900), 200, 1700), {"error unanswered", "note steps"}},
        {"90 minutes missing", without(low(), 200, 289), {"note steps", "warning gap"}},
        {"4 minutes missing", without(low(), 200, 202), {"note steps", "note gap"}},
        {"in 1951", later(low(), -27000.0 * 86400.0), {"warning time-span"}},
        {"in 2057", later(low(), 31.0 * 365.25 * 86400.0), {"warning time-span"}},
        {"GPS time", later(low(), -18.0), {"note time-scale"}},
        {"TT", later(low(), -69.184), {"note time-scale"}},
        {"no clock at all", later(low(), 0.5), {}},
        {"1/3 s late", later(low(), 1.0 / 3.0), {"note coarse-digits"}},
        {"no velocities", scaled(1.0, 0.0), {"error no-velocity"}},
        {"rotating velocities", turned(low(), -1.0), {"error velocity-frame"}},
        {"inertial velocities", turned(lowRotating(), 1.0), {"error velocity-frame"}},
        {"velocities in ft/s", scaled(1.0, 3280.84), {"error velocity-unit"}},
        {"velocities backwards", scaled(1.0, -1.0), {"error velocity-unit"}},
        {"velocities 5 % off", scaled(1.0, 1.05), {"error velocity-mismatch"}},
        {"in metres", scaled(1000.0, 1000.0), {"error position-unit"}},
        {"in earth radii", scaled(1 / 6378.137, 1 / 6378.137, lowRotating()), {"error position-unit"}},
        {"positions in metres", scaled(1000.0, 1.0), {"error velocity-unit", "error position-unit"}},
        {"rotating, called J2K", called(lowRotating(), Frame::J2K), {"error frame-mismatch"}},
        {"inertial, called EFG", called(low(), Frame::EFG), {"error frame-mismatch"}},
        {"unknown frame", called(low(), Frame{17}), {"note frame-unknown"}},
        {"below ground", orbitPoints(6345.0, 0.0, 60.0, 200), {"warning below-ground"}},
        {"positions to 10 m",
         changed(low(),
                 [](State& state, std::size_t) {
                     for (double& x : state.position_km)
                         x = std::round(x * 100.0) / 100.0;
                 }),
         {"note coarse-digits", "warning interpolation", "warning interpolation", "warning interpolation"}},
        {"a correlation of 1.01",
         withCovariances(50, 1000, [](Matrix6& m) { correlate(m, 1.01); }),
         {"error covariance-not-positive"}},
        {"a correlation of 1 + 1e-8",
         withCovariances(50, 1000, [](Matrix6& m) { correlate(m, 1.0 + 1e-8); }),
         {"note covariance-not-positive"}},
        {"positions alone",
         withCovariances(0, 1,
                         [](Matrix6& m) {
                             correlate(m, 0.9);
                             m[3][3] = m[4][4] = m[5][5] = 0.0;
                         }),
         {}},
        {"small between large",
         withCovariances(200, 1000, [](Matrix6& m) { m[0][0] = m[1][1] = m[2][2] = 1.0; }),
         {"warning covariance-between", "warning covariance-between"}},
        {"some without", withCovariances(0, 3, [](Matrix6& m) { m = {}; }), {"note covariance-missing"}},
        {"square metres",
         withCovariances(0, 1,
                         [](Matrix6& m) {
                             for (std::size_t k = 0; k < 6; ++k)
                                 m[k][k] *= 1e12;
                         }),
         {"warning covariance-size"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const OwnedSatellite satellite = c.points.stored();
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

TEST(Check, LooksAtTheRangeThatIsAskedFor) {
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
