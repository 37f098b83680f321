// Everything that one should know about an ephemeris before trusting it, from its points alone.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "analysis/Ephemeris.hpp"
#include "analysis/Findings.hpp"
#include "analysis/Steps.hpp"

namespace vorlandi::analysis {

// From the centre of the earth; below it, nothing orbits.
inline constexpr double kGround_km = 6350.0;

struct CheckOptions {
    double tolerance_m = 1.0;  // the limit for interpolation errors
    double gapFactor = kGapFactor;
};

// Errors in metres. A value may be missing: there are fewer than four points, intervals without answers, or a fault
// that makes estimates pointless.
struct InterpolationSummary {
    std::optional<double> inside_m;   // largest estimated error, the first and the last interval and gaps left out
    std::optional<double> first_m;    // of the first interval
    std::optional<double> last_m;     // of the last interval
    std::optional<double> spacing_m;  // of the largest of all these, the part that comes from the spacing
    std::optional<double> digits_m;   // and the part that comes from the scatter of the points
    std::optional<Ds50> worst;        // where its interval begins
    std::optional<double> scatter_m;
    std::optional<double> largestGain;
    std::optional<double> wouldDo_s;  // spacing that keeps errors within the tolerance
};

struct SatelliteCheck {
    std::optional<StepRange> spacing;
    InterpolationSummary interpolation;
    std::size_t covariances = 0;  // points that have one
    std::vector<Finding> findings;
};

// Returns the covariances that the library answers in the middle of each interval, zero where it has none. Only called
// if the points have some.
using CovariancesBetween = std::function<std::vector<Matrix6>()>;

SatelliteCheck checkEphemeris(const Ephemeris& ephemeris, const CheckOptions& options = {},
                              const CovariancesBetween& between = {});

// The same for a satellite in the store; throws Error if it has gone.
SatelliteCheck checkSatellite(const Satellite& satellite, const CheckOptions& options = {},
                              const Span& range = kAllTimes);

}  // namespace vorlandi::analysis
