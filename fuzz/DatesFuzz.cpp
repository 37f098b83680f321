// Date texts: what the forms have in common, and times written and read again.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "CoreServices/Texts.hpp"
#include "FuzzSupport.hpp"
#include "TimeLibrary/DateTexts.hpp"

namespace vorlandi::fuzzing {
namespace {

// Days since 1950 of the years 0 and 10000: no text names a time outside them.
constexpr double kEarliest = -712'300.0;
constexpr double kLatest = 2'940'300.0;

constexpr double kMillisecond_days = 0.001 / 86400.0;
constexpr double kMicrosecond_days = kMillisecond_days / 1000.0;

template <std::size_t N>
std::string_view viewOf(const std::array<char, N>& chars) {
    return {chars.data(), N};
}

// In the years that two digits can name, the leap second being the next day's first.
bool hasTwoDigitYear(double time) { return time >= 2557.0 + 1.0 && time < 39080.0; }

void checkWritten(double time) {
    const auto text15 = ds50todate15(time);
    const auto iso = ds50toiso(time);
    require((text15[0] == ' ') == (iso[0] == ' '), "both texts are blank, or none");
    require((text15[0] == ' ') == isblankornull(viewOf(text15)), "a text is blank as a whole");
    if (iso[0] == ' ') return;
    const double read = dtg2ds50utc(viewOf(iso));
    // 1950 Jan 0.0 itself can't be told from a missing date.
    if (read == 0.0 && std::abs(time) < 1.0) return;
    require(std::abs(read - time) <= 0.51 * kMicrosecond_days + 2e-11, "an ISO text reads back");
    if (!hasTwoDigitYear(time)) return;
    require(std::abs(date_in(viewOf(text15)) - time) <= 0.51 * kMillisecond_days, "a short text reads back");
}

void checkText(std::string_view text) {
    const double time = dtg2ds50utc(text);
    const double compact = date_in(text);
    require(std::isfinite(time) && time > kEarliest && time < kLatest, "a time in four-digit years");
    require(compact == 0.0 || compact == time, "date_in reads a part of what dtg2ds50utc reads, alike");
    const auto epoch = epochTextToDs50(text);
    require(!epoch || time == 0.0 || *epoch == time, "an epoch text is the same time");
    // A leading blank can be read as the first digit of a year.
    const std::string padded = " \t" + std::string(text) + "  \t";
    require(dtg2ds50utc(padded) == time, "blanks around a text don't count");
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(), touppercase);
    if (time != 0.0) require(dtg2ds50utc(upper) == time, "upper case reads alike");
    checkWritten(time);
}

}  // namespace
}  // namespace vorlandi::fuzzing

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vorlandi::fuzzing;
    checkText(textOf(data, size));
    double time = 0.0;
    std::memcpy(&time, data, std::min(size, sizeof time));
    checkWritten(time);
    // The same bytes, as a time that more often has a text.
    checkWritten(std::fmod(std::isfinite(time) ? time : 0.0, 91'000.0));
    return 0;
}
