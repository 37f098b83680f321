// A time in all the forms that people write.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "vorlandi/vorlandi.hpp"

namespace vorlandi::cli {

struct TimeForm {
    const char* name;   // in csv and json
    const char* title;  // in the table
    std::string text;   // empty if the time has no such form
    bool isNumber;
};

// The forms that the library reads, and the forms of other clocks: TAI, Julian dates, GPS, Unix. The time lies in the
// years 1900 to 2199. As Ds50, a time in a leap second equals the time a second later; clocks that tell them apart show
// the leap second.
std::vector<TimeForm> formsOf(Ds50 time, bool isInLeapSecond);

// Whether a text that means this time has second 60.
bool hasSecond60(std::string_view text, Ds50 time);

}  // namespace vorlandi::cli
