// The formats that an ephemeris can be converted into: what each keeps and what it can't hold.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "writers/Frames.hpp"
#include "writers/Writers.hpp"

namespace vorlandi::writers {

// A double of days since 1970 has fewer digits for times before 1960 than one of days since 1950.
enum class TimesKept { Exactly, ExactlySince1970, ToTheMillisecond };

// Two digits mean 1957 to 2056.
enum class Years { All, OfTwoDigits };

enum class CovariancesKept { No, OnRequest, Yes };

// What readers take from the name of a file: nothing, the format (from the suffix), the satellite's number (at the
// beginning), or frame and number (TYPE_NUMBER_NAME_...).
enum class NameHolds { Nothing, Suffix, Number, FrameAndNumber };

// Columns that a number may be too large for; width 0 if there are none.
struct Columns {
    int width = 0;
    int fewestDecimals = 1;  // without a point, readers would put one in
    double velocityScale = 1.0;
};

struct Target {
    std::string_view name;
    std::string_view suffix;  // of file names
    FrameNames frames;
    bool holdsSeveral;  // satellites, and their segments
    std::int32_t largestNumber;
    TimesKept times;
    Years years;
    std::string_view numbers;  // how they are written
    CovariancesKept covariances;
    NameHolds nameHolds;
    Columns columns;
    void (*write)(const Ephemeris&, const Options&, Lines&);
    void (*begin)(const Options&, Lines&) = nullptr;  // of a file
    void (*end)(const Options&, Lines&) = nullptr;
};

std::span<const Target> targets();
const Target* findTarget(std::string_view name);  // null if there is none

// "ECI"; the code in digits if the frame has no name.
std::string nameOf(Frame frame);

// The frames as a list: "ECI, J2K, ECR".
std::string namesOf(FrameNames frames);

// A file name for a satellite, such as 81001.e, or 81001_2.e for the second record of its file.
std::string fileName(const Target& target, const Ephemeris& ephemeris);

// What the target can't hold of this ephemeris, in words; empty if it can hold all that it keeps. For rounded times see
// roundingOf.
std::string problemOf(const Target& target, const Ephemeris& ephemeris, const Options& options);

// The effect of the target's rounding on the times.
struct TimeRounding {
    std::size_t count = 0;     // times that change; to milliseconds, by more than half a microsecond
    double firstTime = 0.0;    // the first of them
    double largest_s = 0.0;    // the largest change of a time
    double largest_m = 0.0;    // the same along the track
    bool joinsPoints = false;  // two points get the same time
};
TimeRounding roundingOf(const Target& target, const Ephemeris& ephemeris);

}  // namespace vorlandi::writers
