// A time in all the forms that people write.
#pragma once

#include <string>
#include <vector>

#include "vorlandi/vorlandi.hpp"

namespace vorlandi::cli {

struct TimeForm {
    const char* name;   // in csv and json
    const char* title;  // in the table
    std::string text;   // empty if the time has no such form
    bool isNumber;
};

// The forms that the library reads, and those of other clocks: TAI, Julian dates, GPS, Unix. The time lies in the years
// 1900 to 2199.
std::vector<TimeForm> formsOf(Ds50 time);

}  // namespace vorlandi::cli
