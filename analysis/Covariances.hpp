// Whether covariances are valid: positive, and of plausible size.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "analysis/Ephemeris.hpp"

namespace vorlandi::analysis {

inline constexpr double kNegligibleEigenvalue = -1e-6;

// The smallest eigenvalue of a matrix that is scaled to a diagonal of ones; its lower triangle counts. None if the
// matrix is positive beyond doubt.
std::optional<double> negativeEigenvalue(const Matrix6& covariance);

// Neighbouring points, first to last, that share a fault.
struct PoorCovariances {
    std::size_t first;
    std::size_t last;
    double eigenvalue;  // the smallest of all
};

// Of all covariances that are present. `serious` ones have eigenvalues below kNegligibleEigenvalue.
struct PoorStretches {
    std::vector<PoorCovariances> serious;
    std::vector<PoorCovariances> negligible;
};
PoorStretches poorCovariances(std::span<const Matrix6> covariances);

struct SigmaRange {
    double least_m;  // of those that are not zero
    double largest_m;
};

// Of the positions; none if no covariance is present.
std::optional<SigmaRange> positionSigmas(std::span<const Matrix6> covariances);

// The sigmas of a position along the radial, in-track and cross-track axes of its state. None without a covariance,
// without axes (see orbitAxes), in a frame whose axes are not known, or if a variance is negative.
std::optional<std::array<double, 3>> orbitSigmas_m(const Matrix6& covariance, const State& state, Frame frame);

// The covariances that the library answers in the middle of each interval; zero where it has none.
std::vector<Matrix6> covariancesBetween(const Satellite& satellite, const Ephemeris& ephemeris);

}  // namespace vorlandi::analysis
