// The limit of queries: the same interpolation, written without the need to return the same bits. Four nodes, the
// bracket guessed from even spacing and checked, differences of UTC times as they are, and one division for all
// weights. Uses only the library's layout of a stored state.
#pragma once

#include <cstdint>

#include "Vorlandi/PointArray.hpp"

namespace vorlandi::bench {

// Four points or more, and the times of the first and the last, which need not be fetched with them.
struct PlainPoints {
    const Vorlanstate* states;
    std::int32_t count;
    double begin, end;
};

// Position and velocity at t. False if the points around t are not evenly spaced, or t is outside.
using PlainKernel = bool(const PlainPoints& points, double t, double (&posVel)[6]);
PlainKernel plainScalar;
PlainKernel plainAvx2;

// Does this processor have what plainAvx2 needs?
bool hasAvx2() noexcept;

}  // namespace vorlandi::bench
