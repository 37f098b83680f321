// Point interpolation: the state of one record at a time, from the four stored points around it.
#pragma once

#include <cstdint>
#include <optional>

#include "CoreServices/BoundedText.hpp"
#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

// Answers requests to one record. Keeps the window of the last request for the next one between the same points; an
// answer does not depend on earlier requests. The record must not change meanwhile.
class PointInterpolator {
public:
    explicit PointInterpolator(const Vorlanrecord& record) noexcept : points_(record.points) {}

    // The leap second table of all answers of this interpolator.
    const LeapTable& leapTable() const noexcept { return leapTable_; }

    // The state at a time on the TAI scale (days since 1950). Returns kSuccess; or kFailure with the reason in
    // `message`, which the caller logs, and a point of zeros. A record with one point returns it for every time; one
    // with two or three points answers only at their times. If no covariance is wanted, the point's is unspecified.
    std::int32_t InterpolateEP(double ds50TAI, Vorlanpoint& point, MessageText& message, Covariance covariance);

private:
    std::int32_t interpolate(double t, Vorlanpoint& point, MessageText& message, Covariance covariance);
    std::int32_t lastEarlier(double t) const noexcept;
    bool isLastEarlier(std::int32_t lo, double t) const noexcept;
    std::int32_t revolutionOf(const Vorlanstate& interpolated) const noexcept;

    // A state and its time, by an index from 1.
    const Vorlanstate& state(std::int32_t index) const noexcept { return points_.state(index - 1); }
    double time(std::int32_t index) const noexcept { return state(index).time; }
    bool coincides(std::int32_t index, double t) const noexcept;
    std::int32_t coincident(std::int32_t first, std::int32_t last, double t) const noexcept;

    const PointArray& points_;
    const LeapTable& leapTable_ = vorlandi::leapTable();
    std::int32_t lo_ = -1;    // last point earlier than the last request that had a window
    std::int32_t first_ = 0;  // first point of that window
    std::optional<HermiteWindow> window_;
};

// Prefetches the points around a coming request; exact when points are evenly spaced.
void prefetchPoints(const Vorlanrecord& record, double ds50UTC, Covariance covariance) noexcept;

// The same for the requests of a batch to one record, some of them ahead of the present one. Does nothing when the points
// are less than a window away: those are in the cache, or come into it by themselves.
class PrefetchAhead {
public:
    PrefetchAhead(const Vorlanrecord& record, Covariance covariance) noexcept;
    void operator()(double present, double coming) const noexcept;

private:
    const PointArray& points_;
    Covariance covariance_;
    double perDay_ = 0.0;  // points, on average
};

// The revolution number of point a if point b has the number `rev`: one more if the orbit crosses the equator northward
// from b to a, one less if it does so from a to b. Wraps at 100000 and keeps the sign.
std::int32_t updaterev(const Vorlanstate& a, const Vorlanstate& b, std::int32_t rev) noexcept;

}  // namespace vorlandi
