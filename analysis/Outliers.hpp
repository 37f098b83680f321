// Single points that don't belong to the orbit of the points around them.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "analysis/Ephemeris.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {

struct Outlier {
    std::size_t point;
    bool isInLeapSecond;         // its place is a second earlier
    std::array<double, 3> dx_m;  // by which it is off: radial, in-track, cross-track
    std::array<double, 3> dv_m_s;
    double distance_m() const noexcept;
    double speed_m_s() const noexcept;
};

// How far the residuals around a point are above what is usual.
struct Disturbance {
    double peak;   // the largest of the event, over its gain
    double usual;  // the median around
};

inline constexpr std::size_t kReachOfOutlier = 6;  // points on each side of one that is left out

// The point from `first` to `last` without which the residuals of the others around are usual again; none if there is
// no such point, as with a jump.
std::optional<Outlier> outlierAmong(const Ephemeris& ephemeris, Motion motion, std::size_t first, std::size_t last,
                                    const Disturbance& disturbance, std::size_t reach = kReachOfOutlier);

// With fewer points only those that are off by leastOutlierOfFew_m are found.
inline constexpr std::size_t kFewestForOutliers = 6;

// The same in an ephemeris of four points or more that has too few to show what is usual: the point that is far from
// the two-body orbits through its neighbours, while those agree, or the one without which the residuals are far
// smaller.
std::optional<Outlier> outlierOfFew(const Ephemeris& ephemeris, Motion motion);

// By how much a point has to be off, position and velocity, to be detected by the orbits through its neighbours alone:
// less can be due to other forces.
double leastOutlierOfFew_m(const Ephemeris& ephemeris);

// The ephemeris without one point, and with no more than `reach` points on each side of it.
Ephemeris withoutPoint(const Ephemeris& ephemeris, std::size_t point, std::size_t reach);

}  // namespace vorlandi::analysis
