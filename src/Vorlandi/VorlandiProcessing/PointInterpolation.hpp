// Point interpolation: the state of one record at a time, from the four stored points around it.
#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

#include "CoreServices/BoundedText.hpp"
#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

// Where the points of a record would be if they were evenly spaced.
class EvenSpacing {
public:
    explicit EvenSpacing(const PointArray& points) noexcept
        : first_(points.firstTime()), count_(points.count()), perDay_((count_ - 1) / (points.lastTime() - first_)) {}

    // The index (from 1) of the point before t, 0 for a time far outside.
    std::int32_t pointBefore(double t) const noexcept {
        const double spacings = (t - first_) * perDay_;
        return spacings >= 0.0 && spacings <= count_ ? static_cast<std::int32_t>(spacings) + 1 : 0;
    }

    // How many points lie between two times.
    double pointsBetween(double a, double b) const noexcept { return std::abs(a - b) * perDay_; }

private:
    double first_;
    std::int32_t count_;
    double perDay_;
};

// Answers requests to one record. Reuses the last window for further requests between the same points; an answer does
// not depend on earlier requests. The record must not change meanwhile.
class PointInterpolator {
public:
    explicit PointInterpolator(const Vorlanrecord& record) noexcept
        : points_(record.points), evenSpacing_(record.points) {}

    // The leap second table of all answers of this interpolator.
    const LeapTable& leapTable() const noexcept { return leapTable_; }

    // The state at a time on the TAI scale (days since 1950). Returns kSuccess; or kFailure with the reason in
    // `message`, which the caller logs, and a point of zeros. A record with one point returns it for every time; one
    // with two or three points answers only at their times. If no covariance is wanted, the point's is unspecified.
    std::int32_t InterpolateEP(double ds50TAI, Vorlanpoint& point, MessageText& message, WithCovariance covariance);

    // Prefetches the points of a coming request, unless they are less than two windows from the present ones: then they
    // are already in the cache, or the hardware prefetches them.
    void prefetchAhead(double present, double coming, WithCovariance covariance) const noexcept {
        if (evenSpacing_.pointsBetween(present, coming) > 2 * HermiteWindow::kNodes) prefetch(coming, covariance);
    }

private:
    void prefetch(double ds50UTC, WithCovariance covariance) const noexcept;
    std::int32_t interpolate(double t, Vorlanpoint& point, MessageText& message, WithCovariance covariance);
    std::int32_t lastEarlier(double t) const noexcept;
    bool isLastEarlier(std::int32_t lo, double t) const noexcept;
    std::int32_t revolutionOf(const Vorlanstate& interpolated) const noexcept;

    // A state and its time, by an index from 1.
    const Vorlanstate& state(std::int32_t index) const noexcept { return points_.state(index - 1); }
    double time(std::int32_t index) const noexcept { return state(index).time; }
    bool coincides(std::int32_t index, double t) const noexcept;
    std::int32_t coincident(std::int32_t first, std::int32_t last, double t) const noexcept;

    const PointArray& points_;
    EvenSpacing evenSpacing_;
    const LeapTable& leapTable_ = vorlandi::leapTable();
    std::int32_t lo_ = -1;    // last point earlier than the last request that had a window
    std::int32_t first_ = 0;  // first point of that window
    std::optional<HermiteWindow> window_;
};

// Prefetches the points around a coming request; exact when points are evenly spaced.
void prefetchPoints(const Vorlanrecord& record, double ds50UTC, WithCovariance covariance) noexcept;

// The revolution number of point a if point b has the number `rev`: one more if the orbit crosses the equator northward
// from b to a, one less if it does so from a to b. Wraps at 100000 and keeps the sign.
std::int32_t updaterev(const Vorlanstate& a, const Vorlanstate& b, std::int32_t rev) noexcept;

}  // namespace vorlandi
