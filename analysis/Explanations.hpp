// Two common causes of a difference between ephemerides: times on another scale, and axes of another epoch.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <vector>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

// Positions of B, and the times at which B is there.
struct Track {
    std::vector<Ds50> times;  // rising
    std::vector<std::array<double, 3>> positions_km;
};

// The root mean square of the distances between A and B, before and after the explanation is applied.
struct Explained {
    double before_m;
    double after_m;

    bool isConvincing() const { return after_m < 0.2 * before_m; }
};

// B is at each time where A is `seconds` later.
struct TimeOffset {
    double seconds;
    Explained rms;
    const char* meaning;  // such as "GPS time taken as UTC"; null if no cause is known
};

// The time offset that brings A closest to B. None if no offset does, or there are too few times.
std::optional<TimeOffset> timeOffset(const Satellite& a, const Track& b);

// B's positions are A's, turned about an axis.
struct Rotation {
    double degrees;
    std::array<double, 3> axis;  // a unit vector in the frame of A; the turn is right-handed
    Explained rms;
    const char* meaning;  // null if no cause is known
};

// The rotation that brings A's positions closest to B's, at the same times. None if no rotation does, or if the
// positions are too few or on a line.
std::optional<Rotation> rotation(std::span<const std::array<double, 3>> a_km, const Track& b);

}  // namespace vorlandi::analysis
