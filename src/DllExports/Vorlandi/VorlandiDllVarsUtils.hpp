// Helpers of the exported functions: satellite number to key, the one way from a request to a point, and the
// covariance as a matrix.
#pragma once

#include <cstdint>

#include "CoreServices/Units.hpp"
#include "Vorlandi/VorlandiProcessing/PointInterpolation.hpp"
#include "Vorlandi/VorlandiTree.hpp"

namespace vorlandi {

// The key of a satellite number, or -1 with a message.
std::int64_t GetSatKey(std::int32_t satNum) noexcept;

// The kind of value in a request.
constexpr std::int32_t kByMse = 1;      // minutes since the first point
constexpr std::int32_t kByDs50UTC = 2;  // days since 1950, UTC
constexpr std::int32_t kByIndex = 3;    // index of a stored point, from 1, its fraction cut

// The answer to a request. `time` is the request's other form: Ds50UTC for kByMse and kByIndex, MSE for
// kByDs50UTC. `mse` is set for kByIndex only.
struct EphemAnswer {
    EphemAnswer() noexcept {}
    union {
        Vorlanpoint point;  // not cleared: GetEphem sets everything except an unwanted covariance
    };
    double time = 0.0;
    double mse = 0.0;
};

// 0; or 2 and a message, and the answer is unspecified. Holds the reader side only inside.
std::int32_t GetEphem(std::int64_t satKey, double inVal, std::int32_t inType, EphemAnswer& answer,
                      WithCovariance covariance = WithCovariance::Yes) noexcept;

// The state of a record at a time, for GetEphem and for many times at once: kSuccess; or kFailure with the reason in
// `message`, which the caller logs, and a point of zeros. Requires a record with points, the one the interpolator was
// made for.
std::int32_t stateAt(const Vorlanrecord& record, PointInterpolator& interpolator, double ds50UTC, Vorlanpoint& point,
                     MessageText& message, WithCovariance covariance) noexcept;

// The 21 values of a lower triangle as the full symmetric matrix.
void to6x6covmtx(double matrix[6][6], const double cov[kCovarianceSize]) noexcept;

// Minutes since the first point.
inline double mseOf(double time, double first) noexcept { return (time - first) * kMinutesPerDay; }

constexpr std::string_view kIndexOutOfRange = "GetEphem: Input index is out of valid range.";

// The message of a record without points, `procedure` naming who was asked; and the failure with that message, out of
// line, so that a success reserves no room for the message.
MessageText noDataMessage(std::string_view procedure, std::int64_t satKey) noexcept;
std::int32_t failWithoutData(RecordAccess& record, std::string_view procedure, std::int64_t satKey) noexcept;

}  // namespace vorlandi
