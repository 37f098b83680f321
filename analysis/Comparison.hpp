// How two ephemerides of a satellite differ: B minus A, on the axes of A.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "analysis/Ephemeris.hpp"
#include "analysis/Explanations.hpp"

namespace vorlandi::analysis {

// What is compared, in the order of kQuantityNames. The components of position and velocity are on the radial, in-track
// and cross-track axes of A; distance and speed are their lengths.
enum class Quantity {
    Radial,
    InTrack,
    CrossTrack,
    Distance,
    RadialVelocity,
    InTrackVelocity,
    CrossTrackVelocity,
    Speed
};

inline constexpr std::array<const char*, 8> kQuantityNames{"radial_m",         "in_track_m",  "cross_track_m",
                                                           "distance_m",       "radial_mm_s", "in_track_mm_s",
                                                           "cross_track_mm_s", "speed_mm_s"};

// The differences at one time. A missing value is NaN: components where A has no axes (see orbitAxes) or a frame whose
// axes are not known.
struct Difference {
    Ds50 time;
    std::array<double, kQuantityNames.size()> values;
    // sqrt(d' P^-1 d) of the difference d of the positions, P being the sum of the covariances that A and B have then;
    // NaN if neither has one or P is not positive.
    double normalized;
    // The components of d, each over its own standard deviation by P; NaN as above, and where there are no components.
    std::array<double, 3> normalizedComponents;

    double operator[](Quantity quantity) const { return values[static_cast<std::size_t>(quantity)]; }
};

// All NaN if there are no values.
struct Statistics {
    double mean;
    double rms;
    double largest;  // the value of the largest magnitude, with its sign
    std::optional<Ds50> when;
};

// Of independent errors that the covariances describe, 1 % of the normalized distances are above this: a chi
// distribution with three degrees of freedom.
inline constexpr double kOneInAHundred = 3.368;

struct NormalizedStatistics {
    std::size_t count;
    double median;
    double largest;
    Ds50 when;
    double shareAbove;  // of kOneInAHundred
};

struct Comparison {
    std::vector<Difference> differences;
    std::size_t unanswered = 0;  // times at which one of the two has no state
    std::optional<TimeOffset> timeOffset;
    std::optional<Rotation> rotation;

    Statistics statistics(Quantity quantity) const;
    std::optional<NormalizedStatistics> normalized() const;
};

// The time that two satellites have in common, inside a range; none if they don't overlap. Spans that miss each other
// by at most a microsecond, the resolution of written times, touch.
std::optional<Span> commonSpan(const Satellite& a, const Satellite& b, const Span& range = kAllTimes);

// The stored times of a satellite in a span, both ends included to the microsecond.
std::vector<Ds50> timesWithin(const Satellite& satellite, const Span& span);

// Compares B with A at rising times. The frames are taken to be the same. Throws Error if A has gone.
Comparison compare(const Satellite& a, const Satellite& b, std::span<const Ds50> times);

// The same without looking for explanations, which take most of the time.
Comparison compareStates(const Satellite& a, const Satellite& b, std::span<const Ds50> times);

}  // namespace vorlandi::analysis
