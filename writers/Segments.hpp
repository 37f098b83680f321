// The parts of a satellite between which nothing is interpolated, for formats that have them.
#pragma once

#include <vector>

#include "writers/Ephemeris.hpp"

namespace vorlandi::writers {

// All points form one segment if the ephemeris names none.
inline std::vector<Segment> segmentsOf(const Ephemeris& ephemeris) {
    if (!ephemeris.segments.empty()) return ephemeris.segments;
    return {{0, ephemeris.times.size()}};
}

inline double firstTime(const Ephemeris& ephemeris, const Segment& segment) { return ephemeris.times[segment.first]; }
inline double lastTime(const Ephemeris& ephemeris, const Segment& segment) {
    return ephemeris.times[segment.first + segment.count - 1];
}

}  // namespace vorlandi::writers
