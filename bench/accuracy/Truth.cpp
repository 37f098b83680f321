#include "Truth.hpp"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vorlandi::accuracy {
namespace {

using tools::State;

// At the perigee, which is at the ascending node. The inclination is given by its cosine and sine.
State atPerigee(double semimajorAxis_km, double eccentricity, double cosine, double sine) {
    const double radius_km = semimajorAxis_km * (1.0 - eccentricity);
    const double speed_km_s = std::sqrt(tools::kEarthGm_km3_s2 / radius_km * (1.0 + eccentricity));
    return {{radius_km, 0.0, 0.0}, {0.0, speed_km_s * cosine, speed_km_s * sine}};
}

// J3 and J4 of the World Geodetic System 1972. The earth's field has many terms of each higher degree n; by Kaula's
// rule their normalised coefficients are 1e-5 / n^2 in size. A single zonal term stands in for the 2n + 1 of them. Its
// sign is arbitrary; a regular pattern of signs would make all terms add up at one latitude.
std::vector<double> higherZonals(int largestDegree) {
    constexpr std::uint32_t kSigns = 0x9E3779B9;  // the golden ratio, whose digits have no pattern
    std::vector<double> zonals{-2.53881e-6, -1.65597e-6};
    for (int degree = 5; degree <= largestDegree; ++degree) {
        const double size = (2.0 * degree + 1.0) * 1e-5 / (degree * degree);
        zonals.push_back((kSigns >> (degree - 5) & 1U) != 0 ? -size : size);
    }
    return zonals;
}

}  // namespace

// Terms above degree 12 are too weak at the height of MEO and GEO to matter.
const std::vector<Orbit>& orbits() {
    static const double unit = 1.0 / std::sqrt(5.0);  // the inclination of 63.4 degrees has the tangent 2
    static const std::vector<Orbit> all{
        {"LEO", atPerigee(6878.0, 0.0, 0.6, 0.8), 0.25, 36},
        {"MEO", atPerigee(26560.0, 0.0, 0.6, 0.8), 2.0, 12},
        {"GEO", atPerigee(42164.0, 0.0, 1.0, 0.0), 4.0, 12},
        {"HEO", atPerigee(26560.0, 0.74, unit, 2.0 * unit), 0.25, 36},
    };
    return all;
}

Orbit inSmoothField(const Orbit& orbit) {
    Orbit smooth = orbit;
    smooth.name += ", J2 to J4";
    smooth.largestDegree = 4;
    return smooth;
}

Truth::Truth(const Orbit& orbit) : step_s_(orbit.step_s), higherZonals_(higherZonals(orbit.largestDegree)) {
    tools::OrbitIntegration integration(orbit.initial, step_s_, higherZonals_);
    const auto steps = static_cast<std::size_t>(kSpan_s / step_s_);
    states_.reserve(steps + 1);
    for (std::size_t k = 0; k <= steps; ++k)
        states_.push_back(integration.at(step_s_ * static_cast<double>(k)));
}

State Truth::after(double seconds) const {
    const double steps = std::floor(seconds / step_s_);
    const State& before = states_.at(static_cast<std::size_t>(steps));
    return tools::OrbitIntegration(before, step_s_, higherZonals_).at(seconds - step_s_ * steps);
}

}  // namespace vorlandi::accuracy
