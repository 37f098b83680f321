#include "TimeLibrary/SatelliteKeys.hpp"

#include "TimeLibrary/Calendar.hpp"
#include "TimeLibrary/DateTexts.hpp"

namespace vorlandi {
namespace {

constexpr std::int64_t kKeysPerSatellite = 9'000'000'000;
constexpr double kUnitsPerDay = 8640.0;
constexpr double kUnitOffset = 0.43212345678;

// Every unit of the last day, and the keys that collisions advance to, fit below the next satellite's.
static_assert((kFirstDayNumberAfter2199 * kUnitsPerDay + 1000.0) * 10.0 < static_cast<double>(kKeysPerSatellite));
static_assert(kKeysPerSatellite % 10 == 0 && INT64_MAX / kKeysPerSatellite > kLargestSatNum);

}  // namespace

std::int64_t createsatkey(std::int32_t satNum, std::int32_t type, double epochDs50UTC) noexcept {
    if (satNum < 0 || satNum > kLargestSatNum || type < 1 || type > 9) return kNoKey;
    if (!hasSatKey(epochDs50UTC)) return kNoKey;
    const auto unit = static_cast<std::int64_t>(epochDs50UTC * kUnitsPerDay + kUnitOffset);
    return satNum * kKeysPerSatellite + unit * 10 + type;
}

std::int64_t createsatkey(std::int32_t satNum, std::int32_t type, std::string_view epoch) noexcept {
    const auto epochDs50UTC = epochTextToDs50(epoch);
    return epochDs50UTC ? createsatkey(satNum, type, *epochDs50UTC) : kNoKey;
}

std::int64_t nextsatkey(std::int64_t key) noexcept {
    const std::int64_t first = key - key % kKeysPerSatellite;
    const std::int64_t inside = key - first + 1;
    // After the last key of the satellite comes its first one.
    return first + (inside >= kKeysPerSatellite ? 1 : inside % 10 == 0 ? inside + 1 : inside);
}

}  // namespace vorlandi
