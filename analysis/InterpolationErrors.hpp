// How far the library's states between points are off, estimated from the points alone.
#pragma once

#include <optional>
#include <vector>

#include "analysis/Ephemeris.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {

// How interpolation from its neighbours misses an inner point.
struct Residual {
    double residual_km;   // error of leaving the point out, beyond the error of a two-body orbit through it
    double curvature_km;  // error of leaving the point out of that orbit
    double gain;          // by which errors of the points are magnified in the residual

    // Twice what the spacing explains: the points themselves are off.
    bool isOfPoints() const noexcept { return residual_km > 2.0 * curvature_km; }
};

// With fewer points nothing is known about their scatter: only their distance is estimated from.
inline constexpr std::size_t kFewestForScatter = 7;

// An upper limit of the errors, meant to hold in 999 of 1000 intervals: spacing_m + digits_m. Intervals that the
// library doesn't answer have NaN.
struct InterpolationErrors {
    Motion motion = Motion::Unknown;  // of the orbits that the errors are estimated with; unknown: without orbits
    double scatter_m = 0.0;           // of the points, including the effect of their digits; 0 if they are too few
    std::vector<double> spacing_m;    // for each interval, the part that comes from the distance of the points
    std::vector<double> digits_m;     // the part that comes from their scatter
    std::vector<double> gain;         // by which the window magnifies the scatter: 0.9 on an even grid
    std::vector<Residual> residuals;  // for each point; NaN for the two at each end
    // The same for the velocities times the mean step around; also NaN without orbits.
    std::vector<Residual> velocityResiduals;

    double error_m(std::size_t interval) const { return spacing_m[interval] + digits_m[interval]; }
};

// The errors under a motion, such as the one that examineDynamics found. Empty for fewer than four points.
InterpolationErrors estimatedErrors(const Ephemeris& ephemeris, Motion motion);

// The same under the motion that the points show, or the one of the frame's name if there are too few points to tell.
InterpolationErrors estimatedErrors(const Ephemeris& ephemeris);

// The error of the library's state at a time: 0 at a point, the error of the interval between points. None where
// nothing is answered or estimated.
std::optional<double> errorAt(const Ephemeris& ephemeris, const InterpolationErrors& errors, Ds50 time);

}  // namespace vorlandi::analysis
