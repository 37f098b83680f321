// Places in the plane of an orbit.
#pragma once

#include <cmath>

#include "writers/Ephemeris.hpp"

namespace vorlandi::tools {

// A vector of this length at an angle from the ascending node. Angles in radians.
inline writers::Vector3 inOrbitPlane(double length, double angle, double inclination, double node) {
    const double along = length * std::cos(angle);
    const double across = length * std::sin(angle);
    return {along * std::cos(node) - across * std::cos(inclination) * std::sin(node),
            along * std::sin(node) + across * std::cos(inclination) * std::cos(node), across * std::sin(inclination)};
}

}  // namespace vorlandi::tools
