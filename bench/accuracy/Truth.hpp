// Integrated orbits, to compare interpolated states with.
#pragma once

#include <string>
#include <vector>

#include "OrbitIntegration.hpp"

namespace vorlandi::accuracy {

constexpr double kEpoch = 27790.0;  // Ds50UTC, 2026 Jan 31

struct Orbit {
    std::string name;
    tools::State initial;  // at kEpoch
    double step_s;         // of the integration
    int largestDegree;     // of the gravity, at least 4
};

// Low, navigation (MEO), geostationary and Molniya (HEO, eccentricity 0.74) orbits, in this order.
const std::vector<Orbit>& orbits();

// The same orbit with only J2 to J4.
Orbit inSmoothField(const Orbit& orbit);

// 28 hours of an orbit, integrated once.
class Truth {
public:
    explicit Truth(const Orbit& orbit);

    // The state these seconds after kEpoch, from 0 to kSpan_s.
    tools::State after(double seconds) const;
    tools::State at(double ds50UTC) const { return after((ds50UTC - kEpoch) * 86400.0); }

    static constexpr double kSpan_s = 86400.0 + 4.0 * 3600.0;

private:
    double step_s_;
    std::vector<double> higherZonals_;
    std::vector<tools::State> states_;  // one a step
};

}  // namespace vorlandi::accuracy
