// Factors between units.
#pragma once

namespace vorlandi {

constexpr double kSecondsPerDay = 86400.0;
constexpr double kMinutesPerDay = 1440.0;
constexpr double kKmPerMeter = 0.001;

}  // namespace vorlandi
