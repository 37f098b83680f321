// Manoeuvres, and steps from one orbit solution to the next.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "analysis/Ephemeris.hpp"
#include "analysis/InterpolationErrors.hpp"
#include "analysis/Outliers.hpp"

namespace vorlandi::analysis {

// Components are radial, in-track and cross-track, or on the axes of the frame where a state has no such axes.
struct Jump {
    std::size_t interval;  // in which it falls
    double elapsed_s;      // when, since the first point
    bool isManoeuvre;      // a change of velocity alone explains it
    std::array<double, 3> dv_m_s;
    std::optional<std::array<double, 3>> dx_m;  // of steps
    double speed_m_s() const noexcept;
    double distance_m() const noexcept;
};

// Fewer points are too few for the medians.
inline constexpr std::size_t kFewestForJumps = 21;

// Steps that short are in the range of the rounding of times.
inline constexpr double kShortestStepForJumps_s = 1e-3;

// Points that don't belong to one orbit, nor to two with a jump between them: several are off.
struct Disagreement {
    std::size_t first;
    std::size_t last;
    double size_m;  // the largest residual, over its gain
};

struct Irregularities {
    std::vector<Jump> jumps;
    std::vector<Outlier> outliers;
    std::vector<Disagreement> disagreements;
};

// The jumps of an ephemeris with these errors, which assume an orbit, and single points that are off. Points whose
// neighbours are across a gap, or closer together than the shortest step, are not examined.
//   gaps  the intervals that are gaps
Irregularities findIrregularities(const Ephemeris& ephemeris, const InterpolationErrors& errors,
                                  const std::vector<std::size_t>& gaps);

}  // namespace vorlandi::analysis
