#include "OrbitIntegration.hpp"

#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace vorlandi::tools {
namespace {

// The terms of J3, J4 and so on: GM / r^2 Jn (R / r)^n (P'(n + 1) * unit position - P'(n) * unit pole), where P'(n) is
// the derivative of the Legendre polynomial of degree n at the sine of the latitude.
void addHigherZonals(const Vector3& position_km, std::span<const double> zonals, Vector3& acceleration_km_s2) {
    const auto& [x, y, z] = position_km;
    const double r2 = x * x + y * y + z * z;
    const double r_km = std::sqrt(r2);
    const double sine = z / r_km;
    double scale = kEarthGm_km3_s2 / r2 * (kEarthRadius_km * kEarthRadius_km / r2);
    double radial = 0.0;
    double axial = 0.0;
    double before = 3.0 * sine;                        // P'(2)
    double slope = 1.5 * (5.0 * (sine * sine) - 1.0);  // P'(3)
    double degree = 3.0;
    for (const double zonal : zonals) {
        const double after = ((2.0 * degree + 1.0) * sine * slope - (degree + 1.0) * before) / degree;
        scale *= kEarthRadius_km / r_km;
        radial += scale * zonal * after;
        axial += scale * zonal * slope;
        before = slope;
        slope = after;
        degree += 1.0;
    }
    for (std::size_t i = 0; i < 3; ++i)
        acceleration_km_s2[i] += radial * (position_km[i] / r_km);
    acceleration_km_s2[2] -= axial;
}

Vector3 acceleration_km_s2(const Vector3& position_km, std::span<const double> higherZonals) {
    const auto& [x, y, z] = position_km;
    const double r2 = x * x + y * y + z * z;
    const double central = -kEarthGm_km3_s2 / (r2 * std::sqrt(r2));
    const double oblateness = 1.5 * kEarthJ2 * (kEarthRadius_km * kEarthRadius_km) / r2;
    const double polar = 5.0 * (z * z) / r2;
    const double equatorial = central * (1.0 + oblateness * (1.0 - polar));
    Vector3 sum{equatorial * x, equatorial * y, central * (1.0 + oblateness * (3.0 - polar)) * z};
    if (!higherZonals.empty()) addHigherZonals(position_km, higherZonals, sum);
    return sum;
}

State moved(const State& state, const State& rate, double step_s) {
    State result;
    for (std::size_t i = 0; i < 3; ++i) {
        result.position_km[i] = state.position_km[i] + step_s * rate.position_km[i];
        result.velocity_km_s[i] = state.velocity_km_s[i] + step_s * rate.velocity_km_s[i];
    }
    return result;
}

double weighted(double first, double second, double third, double fourth) {
    return (first + 2.0 * (second + third) + fourth) / 6.0;
}

void addCompensated(Vector3& sum, Vector3& excess, const Vector3& rate, double step_s) {
    for (std::size_t i = 0; i < 3; ++i) {
        const double summand = step_s * rate[i] - excess[i];
        const double next = sum[i] + summand;
        excess[i] = (next - sum[i]) - summand;
        sum[i] = next;
    }
}

}  // namespace

OrbitIntegration::OrbitIntegration(const State& initial, double step_s, std::span<const double> higherZonals)
    : state_(initial), step_s_(step_s), higherZonals_(higherZonals) {
    if (!(step_s > 0.0) || !std::isfinite(step_s)) throw std::invalid_argument("the step must be positive");
}

State OrbitIntegration::at(double offset_s) {
    const double steps = std::floor(offset_s / step_s_);
    if (!(steps >= static_cast<double>(stepsDone_)) || !std::isfinite(steps))
        throw std::invalid_argument("the integration only goes forward");
    while (static_cast<double>(stepsDone_) < steps) {
        wholeStep();
    }
    const double rest_s = offset_s - step_s_ * steps;
    return rest_s > 0.0 ? moved(state_, meanRate(rest_s), rest_s) : state_;
}

// The rate that carries the state over a whole step at once.
State OrbitIntegration::meanRate(double step_s) const {
    const auto rateOf = [this](const State& state) -> State {
        return {state.velocity_km_s, acceleration_km_s2(state.position_km, higherZonals_)};
    };
    const State first = rateOf(state_);
    const State second = rateOf(moved(state_, first, 0.5 * step_s));
    const State third = rateOf(moved(state_, second, 0.5 * step_s));
    const State fourth = rateOf(moved(state_, third, step_s));
    State mean;
    for (std::size_t i = 0; i < 3; ++i) {
        mean.position_km[i] =
            weighted(first.position_km[i], second.position_km[i], third.position_km[i], fourth.position_km[i]);
        mean.velocity_km_s[i] =
            weighted(first.velocity_km_s[i], second.velocity_km_s[i], third.velocity_km_s[i], fourth.velocity_km_s[i]);
    }
    return mean;
}

void OrbitIntegration::wholeStep() {
    const State rate = meanRate(step_s_);
    addCompensated(state_.position_km, excess_.position_km, rate.position_km, step_s_);
    addCompensated(state_.velocity_km_s, excess_.velocity_km_s, rate.velocity_km_s, step_s_);
    ++stepsDone_;
}

}  // namespace vorlandi::tools
