#include "DllExports/Vorlandi/VorlandiDllVarsUtils.hpp"

#include <cmath>

#include "CoreServices/NumberFields.hpp"
#include "CoreServices/TraceLog.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "TimeLibrary/TimeScales.hpp"

namespace vorlandi {
namespace {

std::int32_t storedPoint(RecordAccess& record, double index, EphemAnswer& answer) {
    const PointArray& points = record->points;
    const double whole = std::trunc(index);
    if (!(whole >= 1.0 && whole <= points.count())) {
        return record.fail(kIndexOutOfRange);
    }
    answer.point = points[static_cast<std::int32_t>(whole) - 1];
    answer.time = answer.point.time;
    answer.mse = mseOf(answer.time, points.firstTime());
    return kSuccess;
}

}  // namespace

std::int64_t GetSatKey(std::int32_t satNum) noexcept {
    const std::int64_t key = vorlansatkeyget(satNum);
    if (key == kNoKey) {
        tracelogerror(MessageText("GetSatKey: Unable to locate satellite number ")
                      << integerField(satNum, 9) << " in the Vorlan binary tree.");
    }
    return key;
}

MessageText noDataMessage(std::string_view procedure, std::int64_t satKey) noexcept {
    return keyMessage(MessageText(procedure) << ": satKey ", satKey, " does not contain any ephemeris data.");
}

std::int32_t failWithoutData(RecordAccess& record, std::string_view procedure, std::int64_t satKey) noexcept {
    return record.fail(noDataMessage(procedure, satKey));
}

std::int32_t GetEphem(std::int64_t satKey, double inVal, std::int32_t inType, EphemAnswer& answer,
                      WithCovariance covariance) noexcept {
    RecordAccess record(satKey);
    if (!record) return record.fail();
    const PointArray& points = record->points;
    if (points.count() == 0) return failWithoutData(record, "GetEphem", satKey);
    if (inType == kByIndex) return storedPoint(record, inVal, answer);

    const double first = points.firstTime();
    double time = 0.0;
    if (inType == kByMse) {
        time = first + inVal / kMinutesPerDay;
        answer.time = time;
    } else if (inType == kByDs50UTC) {
        time = inVal;
        answer.time = mseOf(inVal, first);
    }
    MessageText message;
    PointInterpolator interpolator(*record);
    const std::int32_t status = stateAt(*record, interpolator, time, answer.point, message, covariance);
    return status == kSuccess ? kSuccess : record.fail(message);
}

std::int32_t stateAt(const Vorlanrecord& record, PointInterpolator& interpolator, double ds50UTC, Vorlanpoint& point,
                     MessageText& message, WithCovariance covariance) noexcept {
    if (record.points.firstTime() <= ds50UTC && ds50UTC <= record.points.lastTime()) {
        return interpolator.InterpolateEP(utc2tai(ds50UTC, interpolator.leapTable()), point, message, covariance);
    }
    point = Vorlanpoint{};
    message = "GetEphem: Requested time is outside of ephemeris time span.";
    return kFailure;
}

void to6x6covmtx(double matrix[6][6], const double cov[kCovarianceSize]) noexcept {
    std::size_t k = 0;
    for (std::size_t row = 0; row < 6; ++row) {
        for (std::size_t column = 0; column <= row; ++column) {
            matrix[row][column] = matrix[column][row] = cov[k++];
        }
    }
}

}  // namespace vorlandi
