// The input of the format writers: the points of one satellite.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vorlandi::writers {

using Vector3 = std::array<double, 3>;

inline constexpr double kMetersPerKilometer = 1000.0;
inline constexpr double kEarthRotation_rad_s = 7.292115e-5;

struct State {
    Vector3 position_km{};
    Vector3 velocity_km_s{};
};

// Lower triangle, row by row, of a 6x6 covariance of position (km) and velocity (km/s). All zero: there is none.
using Covariance = std::array<double, 21>;

inline bool isGiven(const Covariance& covariance) { return covariance != Covariance{}; }

// The coordinate systems, by their codes. Files can also have other codes.
enum class Frame : std::int32_t { Eci = 1, J2k = 2, Efg = 3, Ecr = 4, Hcsrl = 17, Wptrl = 18, Hcsgc = 19, Wptgc = 20 };

inline bool isRotating(Frame frame) { return frame == Frame::Efg || frame == Frame::Ecr; }

// From 0h UTC of this day on, `inserted` more seconds have passed since the first point than UTC shows.
struct LeapStep {
    double day;
    int inserted;
};

// A run of points between which states may be interpolated.
struct Segment {
    std::size_t first;
    std::size_t count;
};

// Times are Ds50: days since 1950 Jan 0.0 UTC, 1950 Jan 1 00:00 being 1.0, each of 86400 s. They rise.
struct Ephemeris {
    std::int32_t number = 0;
    std::int32_t record = 1;  // of its file, from 1
    Frame frame = Frame::Eci;
    std::vector<double> times;
    std::vector<State> states;            // one for each time
    std::vector<Covariance> covariances;  // the same, or none at all
    std::vector<LeapStep> leapSteps;      // between the first and the last time
    std::vector<Segment> segments;        // none: all points are one

    // For headers that name them: the square root of the gravitational parameter in earth radii^1.5 per minute, and the
    // earth's radius; World Geodetic System 1972.
    double ke = 0.07436691613317341;
    double earthRadius_km = 6378.135;
};

}  // namespace vorlandi::writers
