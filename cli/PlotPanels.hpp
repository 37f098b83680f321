// Which panels a plot has, and what is drawn in them.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "Console.hpp"
#include "Plot.hpp"
#include "analysis/Comparison.hpp"

namespace vorlandi::cli {

enum class Shown { Height, Speed, Sigma, Error, Gaps };

struct PlottedSatellite {
    Satellite satellite;
    std::string name;
    analysis::Ephemeris ephemeris;  // all points, as windows and estimates reach beyond the range
    analysis::PointRange range;     // what is drawn, one point or more

    Span span() const { return {ephemeris.times[range.first], ephemeris.times[range.last - 1]}; }
};

// Two satellites whose difference is drawn.
struct PlottedPair {
    std::size_t first;  // among the satellites
    Satellite second;
    std::string nameOfSecond;  // in full
};

// Title and description are left to the caller. Warns of differences that are not drawn, as the second satellite of a
// pair is interpolated across a gap there.
Plot makePlot(const std::vector<PlottedSatellite>& satellites, const std::vector<PlottedPair>& pairs,
              const std::set<Shown>& shown, int width_px, Console& console);

}  // namespace vorlandi::cli
