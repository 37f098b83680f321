// Satellite keys: an ordinary key is made of the satellite number, the epoch to ten seconds and the type
// code.
//
// 1. key = (satellite number x kKeysPerSatellite) + (ten-second unit of the epoch x 10) + type code: it is
//    positive, fits 19 digits, and its last digit, the type code, is never 0.
// 2. Keys therefore sort by satellite number first, then by epoch.
// 3. The units begin at odd instants, never at a whole second, so that an epoch text and a computed Ds50UTC time of the
//    same instant, which may differ by a rounding, fall into the same unit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "TimeLibrary/Calendar.hpp"

namespace vorlandi {

constexpr std::int32_t kVorlanElsetType = 6;  // the type code of this library's records
constexpr std::int64_t kNoKey = -1;

constexpr bool vorlanelsettype(std::int32_t type) noexcept { return type == kVorlanElsetType; }

constexpr std::int32_t kLargestSatNum = 999'999'999;
constexpr std::size_t kMostDigitsOfSatNum = 9;
constexpr auto kFirstDayNumberAfter2199 = static_cast<double>(dayZeroOfYear(2200) + 1);

// Can an ordinary key hold this epoch, Ds50UTC: 1950 to 2199?
constexpr bool hasSatKey(double epochDs50UTC) noexcept {
    return epochDs50UTC >= 0.0 && epochDs50UTC < kFirstDayNumberAfter2199;
}

// The key of a satellite: number 0 to 999999999, type code 1 to 9, epoch from 0.0 to the end of 2199, or as a
// text (see epochTextToDs50). kNoKey for anything else.
std::int64_t createsatkey(std::int32_t satNum, std::int32_t type, double epochDs50UTC) noexcept;
std::int64_t createsatkey(std::int32_t satNum, std::int32_t type, std::string_view epoch) noexcept;

// The next key of the same satellite, for one whose key is taken; never a DMA key.
std::int64_t nextsatkey(std::int64_t key) noexcept;

}  // namespace vorlandi
