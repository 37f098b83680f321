// Epochs as messages write them: YYYY-MM-DDTHH:MM:SS.SSS or YYYY-DDDTHH:MM:SS.SSS with any number of decimals, in a
// named time scale. A Z may follow.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace vorlandi {

enum class TimeScale { Utc, Tai, Gps, Tt };

// The day number of the calendar date converted last: most epochs are on the same day as the one before.
class LastDay {
public:
    static constexpr std::size_t kDateSize = 10;  // YYYY-MM-DD

    // The day number of the date that a text of at least this size begins with; nothing if it is not a date.
    std::optional<double> of(std::string_view text) noexcept;

private:
    std::array<char, kDateSize> date_{'1', '9', '5', '0', '-', '0', '1', '-', '0', '1'};
    double day_ = 1.0;
};

// Ds50UTC of an epoch; nothing if it is not one. A time in UTC has the bits of dtg2ds50utc; the others are converted in
// seconds of the day, so that they round once, as a time in UTC does. Second 60 exists in UTC only.
//
// `lastDay` may serve many epochs. `inLeapSecond` tells whether the epoch is inside a leap second, where Ds50UTC equals
// the time a second later.
std::optional<double> epochToDs50utc(std::string_view text, TimeScale scale, LastDay& lastDay,
                                     bool& inLeapSecond) noexcept;
inline std::optional<double> epochToDs50utc(std::string_view text, TimeScale scale) noexcept {
    LastDay lastDay;
    bool inLeapSecond = false;
    return epochToDs50utc(text, scale, lastDay, inLeapSecond);
}

}  // namespace vorlandi
