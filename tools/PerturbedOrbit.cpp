#include "PerturbedOrbit.hpp"

#include <cmath>
#include <cstddef>
#include <numbers>

#include "OrbitPlane.hpp"

namespace vorlandi::tools {
namespace {

constexpr double kMu = 398600.4418;
constexpr double kRadius_km = 6378.137;
constexpr double kRotation_rad_s = 7.292115e-5;
constexpr double kJ2 = 1.0826e-3;
constexpr double kJ3 = -2.5327e-6;
constexpr double kJ4 = -1.6196e-6;
constexpr double kC22 = 1.5745e-6;
constexpr double kS22 = -9.0387e-7;

using Vector6 = std::array<double, 6>;

double norm(const Vector3& v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }

// Another body on a circle in the ecliptic attracts satellite and earth alike.
void addThirdBody(const Vector3& r, double mu, double distance_km, double period_days, double t, Vector3& a) {
    constexpr double kObliquity = 0.40909;
    const double angle = 2.0 * std::numbers::pi * t / (period_days * 86400.0);
    const Vector3 body{distance_km * std::cos(angle), distance_km * std::sin(angle) * std::cos(kObliquity),
                       distance_km * std::sin(angle) * std::sin(kObliquity)};
    const Vector3 towards{body[0] - r[0], body[1] - r[1], body[2] - r[2]};
    const double d = norm(towards);
    for (std::size_t i = 0; i < 3; ++i)
        a[i] += mu * (towards[i] / (d * d * d) - body[i] / (distance_km * distance_km * distance_km));
}

Vector3 acceleration(const Vector3& r, double t) {
    const double r2 = r[0] * r[0] + r[1] * r[1] + r[2] * r[2];
    const double radius = std::sqrt(r2);
    const double q = kRadius_km / radius;
    const double s = r[2] / radius;
    const double g = kMu / r2;
    // Zonal terms: derivatives of the Legendre polynomials.
    const double p2 = 3.0 * s;
    const double p3 = 1.5 * (5.0 * s * s - 1.0);
    const double p4 = 2.5 * s * (7.0 * s * s - 3.0);
    const double p5 = 1.875 * (21.0 * s * s * s * s - 14.0 * s * s + 1.0);
    const double z2 = g * kJ2 * q * q;
    const double z3 = g * kJ3 * q * q * q;
    const double z4 = g * kJ4 * q * q * q * q;
    const double radial = -g + z2 * p3 + z3 * p4 + z4 * p5;
    Vector3 a{radial * r[0] / radius, radial * r[1] / radius, radial * s - z2 * p2 - z3 * p3 - z4 * p4};
    // C22 and S22, whose potential is 3 mu R^2 / r^5 (C (x^2 - y^2) + 2 S x y) on the earth's axes.
    const double angle = kRotation_rad_s * t;
    const double c = std::cos(angle);
    const double d = std::sin(angle);
    const double x = c * r[0] + d * r[1];
    const double y = c * r[1] - d * r[0];
    const double scale = 3.0 * kMu * kRadius_km * kRadius_km / (r2 * r2 * radius);
    const double form = kC22 * (x * x - y * y) + 2.0 * kS22 * x * y;
    const double ax = scale * (2.0 * kC22 * x + 2.0 * kS22 * y - 5.0 * form * x / r2);
    const double ay = scale * (-2.0 * kC22 * y + 2.0 * kS22 * x - 5.0 * form * y / r2);
    a[0] += c * ax - d * ay;
    a[1] += d * ax + c * ay;
    a[2] += scale * (-5.0 * form * r[2] / r2);
    addThirdBody(r, 132712440018.0, 149597870.7, 365.25, t, a);
    addThirdBody(r, 4902.8, 384400.0, 27.32, t, a);
    return a;
}

Vector6 rate(const Vector6& y, double t) {
    const Vector3 a = acceleration({y[0], y[1], y[2]}, t);
    return {y[3], y[4], y[5], a[0], a[1], a[2]};
}

// Gragg's modified midpoint rule with an even number of substeps.
Vector6 midpointRule(const Vector6& y, double t, double step, int substeps) {
    const double h = step / substeps;
    Vector6 before = y;
    Vector6 now;
    const Vector6 first = rate(y, t);
    for (std::size_t i = 0; i < 6; ++i)
        now[i] = y[i] + h * first[i];
    for (int k = 1; k < substeps; ++k) {
        const Vector6 slope = rate(now, t + k * h);
        for (std::size_t i = 0; i < 6; ++i) {
            const double next = before[i] + 2.0 * h * slope[i];
            before[i] = now[i];
            now[i] = next;
        }
    }
    const Vector6 last = rate(now, t + step);
    for (std::size_t i = 0; i < 6; ++i)
        now[i] = 0.5 * (now[i] + before[i] + h * last[i]);
    return now;
}

}  // namespace

void PerturbedOrbit::step(double step_s) {
    constexpr std::size_t kRows = 7;
    const auto& [r, v] = state_;
    const Vector6 y{r[0], r[1], r[2], v[0], v[1], v[2]};
    std::array<Vector6, kRows> table;
    for (std::size_t row = 0; row < kRows; ++row) {
        const int substeps = 2 * static_cast<int>(row + 1);
        table[row] = midpointRule(y, time_s_, step_s, substeps);
        for (std::size_t k = row; k-- > 0;) {
            const double ratio = static_cast<double>(row + 1) / static_cast<double>(k + 1);
            for (std::size_t i = 0; i < 6; ++i)
                table[k][i] = table[k + 1][i] + (table[k + 1][i] - table[k][i]) / (ratio * ratio - 1.0);
        }
    }
    const Vector6& end = table[0];
    state_ = {{end[0], end[1], end[2]}, {end[3], end[4], end[5]}};
    time_s_ += step_s;
}

const State& PerturbedOrbit::at(double seconds) {
    while (seconds > time_s_) {
        constexpr double kLongestArc = 0.15;  // radians of a circle at this height
        const double r = norm(state_.position_km);
        const double longest_s = kLongestArc * std::sqrt(r * r * r / kMu);
        const double rest_s = seconds - time_s_;
        step(rest_s / std::ceil(rest_s / longest_s));
        if (seconds - time_s_ < 1e-9) time_s_ = seconds;
    }
    return state_;
}

void PerturbedOrbit::kick(const Vector3& change_km_s) {
    for (std::size_t i = 0; i < 3; ++i)
        state_.velocity_km_s[i] += change_km_s[i];
}

State stateAtPerigee(double semiMajorAxis_km, double eccentricity, double inclination, double node,
                     double argumentOfPerigee) {
    const double r = semiMajorAxis_km * (1.0 - eccentricity);
    const double v = std::sqrt(kMu / semiMajorAxis_km * (1.0 + eccentricity) / (1.0 - eccentricity));
    return {inOrbitPlane(r, argumentOfPerigee, inclination, node),
            inOrbitPlane(v, argumentOfPerigee + std::numbers::pi / 2.0, inclination, node)};
}

State onRotatingAxes(const State& state, double seconds) {
    const double c = std::cos(kRotation_rad_s * seconds);
    const double s = std::sin(kRotation_rad_s * seconds);
    const auto turned = [&](const Vector3& v) -> Vector3 { return {c * v[0] + s * v[1], c * v[1] - s * v[0], v[2]}; };
    State result{turned(state.position_km), turned(state.velocity_km_s)};
    result.velocity_km_s[0] += kRotation_rad_s * result.position_km[1];
    result.velocity_km_s[1] -= kRotation_rad_s * result.position_km[0];
    return result;
}

}  // namespace vorlandi::tools
