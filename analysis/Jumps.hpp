// Manoeuvres, and steps from one orbit solution to the next.
#pragma once

#include <array>
#include <optional>
#include <vector>

#include "analysis/Ephemeris.hpp"
#include "analysis/InterpolationErrors.hpp"

namespace vorlandi::analysis {

// Components are radial, in-track and cross-track; those of the frame where a state has no such axes.
struct Jump {
    std::size_t interval;  // in which it falls
    double elapsed_s;      // when, since the first point
    bool isManoeuvre;      // a change of velocity alone explains it
    std::array<double, 3> dv_m_s;
    std::optional<std::array<double, 3>> dx_m;  // of steps
    double speed_m_s() const noexcept;
    double distance_m() const noexcept;
};

// The jumps of an ephemeris with these errors, which are those of an orbit. Points whose neighbours are across a gap
// are not examined.
//   gaps  the intervals that are gaps
std::vector<Jump> findJumps(const Ephemeris& ephemeris, const InterpolationErrors& errors,
                            const std::vector<std::size_t>& gaps);

}  // namespace vorlandi::analysis
