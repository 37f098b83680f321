// Which panels a plot has, and what is drawn in them.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "Plot.hpp"
#include "analysis/Comparison.hpp"

namespace vorlandi::cli {

enum class Shown { Height, Speed, Sigma, Error, Gaps };

struct PlottedSatellite {
    Satellite satellite;
    std::string name;
    analysis::Ephemeris ephemeris;
};

// Two satellites whose difference is drawn.
struct PlottedPair {
    std::size_t first;  // among the satellites
    Satellite second;
};

// Title and description are left to the caller.
Plot makePlot(const std::vector<PlottedSatellite>& satellites, const std::vector<PlottedPair>& pairs,
              const std::set<Shown>& shown, int width_px);

}  // namespace vorlandi::cli
