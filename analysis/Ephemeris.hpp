// The points of one satellite, copied from the store: the input of every calculation of this library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "vorlandi/vorlandi.hpp"

namespace vorlandi::analysis {

inline constexpr double kSecondsPerDay = 86400.0;
inline constexpr double kTaiMinusGps_s = 19.0;
inline constexpr double kTtMinusTai_s = 32.184;
inline constexpr double kMicrosecond_days = 1e-6 / kSecondsPerDay;
inline constexpr double kMetresPerKm = 1000.0;
inline constexpr double kNone = std::numeric_limits<double>::quiet_NaN();  // a missing number

// Seconds of TAI, and the time that many seconds later.
inline double elapsed_s(Ds50 from, Ds50 to) noexcept { return (tai_days(to) - tai_days(from)) * kSecondsPerDay; }
inline Ds50 after(Ds50 time, double seconds) noexcept {
    return from_tai_days(tai_days(time) + seconds / kSecondsPerDay);
}

// The number of satellites of files that have none; others that are not in a catalogue have 0.
inline constexpr std::int32_t kUncatalogued = 99999;
inline bool isName(std::int32_t number) noexcept { return number != 0 && number != kUncatalogued; }

// Indices count from 0 everywhere; interval i lies between the points i and i + 1.
struct Ephemeris {
    std::int32_t number = 0;
    Frame frame = Frame::ECI;
    std::vector<Ds50> times;           // strictly rising
    std::vector<double> elapsed_s;     // of TAI, since the first point, to the microsecond
    std::vector<double> stored_s;      // the same as the library keeps it, which rounds by up to 0.3 microseconds
    std::vector<State> states;         // in the frame
    std::vector<Matrix6> covariances;  // one for each point, empty if no point has one

    std::size_t size() const noexcept { return times.size(); }
    std::size_t intervals() const noexcept { return times.empty() ? 0 : times.size() - 1; }
};

inline constexpr Span kAllTimes{{-std::numeric_limits<double>::infinity()}, {std::numeric_limits<double>::infinity()}};

// The stored points of a satellite in a range of times, both ends included. Throws Error if the satellite has gone.
Ephemeris ephemerisOf(const Satellite& satellite, const Span& range = kAllTimes);

// An ephemeris of given points; the times rise strictly. Covariances may be empty.
Ephemeris makeEphemeris(std::int32_t number, Frame frame, std::vector<Ds50> times, std::vector<State> states,
                        std::vector<Matrix6> covariances = {});

// Some formats store other numbers in place of a covariance. A matrix is a covariance only if the elements in the row
// and column of a zero variance are zero too.
bool isCovariance(const Matrix6& matrix) noexcept;

}  // namespace vorlandi::analysis
