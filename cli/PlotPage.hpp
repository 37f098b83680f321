// A page with the orbits in three dimensions and the curves below them, in one file that needs nothing else.
#pragma once

#include <string>
#include <vector>

#include "Plot.hpp"
#include "analysis/Ephemeris.hpp"

namespace vorlandi::cli {

struct PageOrbit {
    std::string name;
    analysis::Ephemeris ephemeris;  // with the points around the range that windows need
    Span range;                     // in which the page answers
};

// Orbits with this many points or fewer are embedded whole.
inline constexpr std::size_t kMostPagePoints = 200'000;
inline constexpr double kPageTolerance_m = 10.0;

// `notes` are paragraphs under the title.
std::string pageOf(const Plot& plot, int width_px, const std::vector<PageOrbit>& orbits,
                   const std::vector<std::string>& notes);

}  // namespace vorlandi::cli
