// Point interpolation: the state of one record at a time, from the four stored points around it.
#pragma once

#include <cstdint>
#include <string>

#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

// The state of a record at a time on the TAI scale (days since 1950). 0; or 2 with the reason in `message`,
// which the caller logs, and a point of zeros. A record with one point answers every time with it; one with
// two or three answers only their times.
std::int32_t InterpolateEP(const Vorlanrecord& record, double ds50TAI, Vorlanpoint& point,
                           std::string& message, Covariance covariance = Covariance::Wanted);

// The revolution number of point a, when point b has the number rev: one more if the orbit crosses the
// equator northward from b to a, one less if from a to b. Wraps at 100000 and keeps the sign.
std::int32_t updaterev(const Vorlanpoint& a, const Vorlanpoint& b, std::int32_t rev) noexcept;

}  // namespace vorlandi
