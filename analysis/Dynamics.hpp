// Whether positions, velocities, units and the name of the frame agree with each other, by the motion of the points.
#pragma once

#include <optional>
#include <vector>

#include "analysis/Ephemeris.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {

// A unit by its factor: how many of it make a kilometre, or a kilometre per second.
struct Unit {
    double factor;
    const char* meaning;
};

enum class VelocityFault {
    None,
    Missing,             // all velocities are zero
    InertialOfRotating,  // the positions turn with the earth, the velocities are inertial
    RotatingOfInertial,  // the reverse
    OtherUnit,           // they differ from the change of the positions by the factor of `velocityUnit`
    Mismatch             // they differ otherwise
};

// What the motion of up to 10,000 inner points shows, none of them near a gap. Where points are too far apart for
// derivatives, or there are none away from gaps, each point is compared with the two-body orbit through the one before.
struct Dynamics {
    std::size_t points = 0;           // examined; nothing else is known if there are none
    bool isUndecided = false;         // they are too far apart, and follow no orbit: nothing else is known
    Motion motion = Motion::Unknown;  // that explains the points to 1 %; unknown if none does
    double inertialResidual = 0.0;  // median of |acceleration - gravity| / |gravity|, in inertial axes; of the distance
                                    // from the orbit as a share of the way, where there are no derivatives
    double rotatingResidual = 0.0;  // the same in rotating ones
    VelocityFault velocityFault = VelocityFault::None;
    double velocityMismatch = 0.0;       // median of |velocity - change of position| / |change of position|
    double velocityFactor = 1.0;         // velocities / changes of the positions
    const Unit* velocityUnit = nullptr;  // that explains the factor
    const Unit* positionUnit = nullptr;  // of the positions, if it isn't the kilometre
    double positionFactor = 1.0;         // as measured
    bool frameMismatch = false;          // the motion promised by the frame's name doesn't fit, the other one does

    bool hasFault() const noexcept {
        return velocityFault != VelocityFault::None || positionUnit != nullptr || frameMismatch;
    }
};

Dynamics examineDynamics(const Ephemeris& ephemeris);

}  // namespace vorlandi::analysis
