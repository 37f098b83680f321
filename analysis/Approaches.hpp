// Close approaches: all satellites against all, on their ephemerides.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

struct ApproachOptions {
    double within_km = 10.0;
    double step_s = 60.0;  // between the samples of the sieve, at most 300
    Span range = kAllTimes;
    std::vector<std::int32_t> numbers{};           // of the satellites; all in the store if empty
    bool sameNumber = false;                       // also compares records with the same number
    unsigned threads = 1;                          // the result doesn't depend on them
    std::function<void(double share)> progress{};  // called from time to time on the calling thread; may be empty
    std::vector<std::int32_t> only{};              // pairs that have one of these numbers; all pairs if empty
};

inline constexpr double kLargestApproachStep_s = 300.0;

// A local minimum of a distance, or the distance where the common span of two satellites begins or ends.
struct Approach {
    std::size_t a;  // indices of the satellites, a < b
    std::size_t b;
    Ds50 time;   // of the root of the range rate, to a microsecond
    bool atEnd;  // of the common span
    double distance_km;
    // Of b from a, radial, in-track and cross-track of a; none where a has no such axes.
    std::optional<std::array<double, 3>> components_km;
    double speed_km_s;             // relative, on axes that don't rotate
    std::optional<double> sigmas;  // the distance in sigmas of both position covariances, if both exist
};

struct Approaches {
    std::vector<Approach> events;                // by time
    std::vector<double> answered;                // of each satellite, the part of its span in the range that has states
    std::uint64_t pairsAcrossFrames = 0;         // not compared; pairs with the same number don't count
    std::uint64_t pairsOfSameNumber = 0;         // not compared, in one frame
    bool anyCompared = false;                    // whether two satellites that are compared have a common time
    std::vector<std::size_t> inUnknownFrames{};  // satellites whose axes are not known: not compared
    std::vector<std::size_t> withoutVelocities{};  // compared, but states between their points are wrong
};

// Compares satellites of the same frame, ECI, J2K, EFG or ECR. Numbers 0 and 99999 don't identify a satellite:
// satellites that have them are compared with each other. A satellite takes part where it has interpolated states.
// At most one minimum of each distance is found within a quarter of a step; minima less than a micrometre deep are
// rounding and don't count. Apart from that the result doesn't depend on the step for points that follow an orbit.
//
// The states of all satellites at every step are sorted into cells; neighbours whose straight relative motion, with a
// bound for its curvature, may bring them near enough are examined in detail. The bound holds for natural forces; to it
// is added how far states half a step before and after depart from the orbit, as under thrust.
//
// Throws Error if a satellite has gone.
Approaches findApproaches(std::span<const Satellite> satellites, const ApproachOptions& options = {});

}  // namespace vorlandi::analysis
