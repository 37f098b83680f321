// What a check finds in the covariances of an ephemeris.
#pragma once

#include "analysis/Check.hpp"

namespace vorlandi::analysis {

// Counts the covariances and adds the findings.
void findInCovariances(const Ephemeris& ephemeris, const CovariancesBetween& between, SatelliteCheck& check);

}  // namespace vorlandi::analysis
