// Date texts: the forms in which files and callers write a time, and the two in which the library writes one.
// The readers return Ds50UTC, 0.0 for a text that is not a date.
//
// Blanks and tabs around a text don't count, with one exception: a compact form whose year has one digit needs a blank
// before it, the column of the digit that is missing. So " 4061120030.500" in a field of 15 columns is 2004, and
// "4061120030.500", which has lost its first digit, is not a date.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace vorlandi {

// YYDDDHHMMSS.SSS and YYYYDDDHHMMSS.SSS.
double date_in(std::string_view text) noexcept;
inline double datestr2ds50(std::string_view text) noexcept { return date_in(text); }

// Every form of the interface: the forms of date_in, YYDDD.DDDDDDDD, YYYYDDD.DDDDDDDD, YYYY/DDD HHMM SS.SSS,
// YYYYMonDDHHMMSS.SSS, DD Mon YYYY HH:MM:SS.SSS, YYYY/MM/DD HH:MM:SS.SSS, YYYY-MM-DDTHH:MM:SS.SSS and
// YYYY-DDDTHH:MM:SS.SSS.
double dtg2ds50utc(std::string_view text) noexcept;

// Is the second of this date 60? Ds50UTC does not tell a leap second from the second after it.
bool isSecond60(std::string_view text) noexcept;

// The forms of an epoch text of a satellite key: the first six forms above, in the fifth also zeros for blanks. Nothing
// if the text has none of them.
std::optional<double> epochTextToDs50(std::string_view text) noexcept;

// YYDDDHHMMSS.SSS, rounded to the millisecond. Blanks if the time isn't finite or is outside 1900 to 2199.
std::array<char, 15> ds50todate15(double ds50UTC) noexcept;

// YYYY-MM-DDTHH:MM:SS.ffffff, rounded to the microsecond. Blanks as above.
std::array<char, 26> ds50toiso(double ds50UTC) noexcept;

}  // namespace vorlandi
