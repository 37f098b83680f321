// Where the axes of a plot have their ticks.
#pragma once

#include <string>
#include <vector>

#include "vorlandi/vorlandi.hpp"

namespace vorlandi::cli {

struct Tick {
    double value;
    std::string text;
};

// About `count` round values between two limits.
std::vector<Tick> evenTicks(double least, double largest, int count);

// Powers of ten.
std::vector<Tick> decadeTicks(double least, double largest);

// Round UTC times, the date where a day begins.
std::vector<Tick> timeTicks(const Span& span, int count);

}  // namespace vorlandi::cli
