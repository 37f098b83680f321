// Epochs as messages write them: YYYY-MM-DDTHH:MM:SS.SSS or YYYY-DDDTHH:MM:SS.SSS with any number of decimals, in a
// named time scale. A Z may follow.
#pragma once

#include <optional>
#include <string_view>

namespace vorlandi {

enum class TimeScale { Utc, Tai, Gps, Tt };

// Ds50UTC of an epoch; nothing if it is not one. A time in UTC has the bits of dtg2ds50utc; the others are converted in
// seconds of the day, so that they round once, as a time in UTC does. Second 60 exists in UTC only.
std::optional<double> epochToDs50utc(std::string_view text, TimeScale scale) noexcept;

}  // namespace vorlandi
