// Point interpolation: the state of one record at a time, from the four stored points around it.
#pragma once

#include <cstdint>
#include <optional>

#include "CoreServices/BoundedText.hpp"
#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

// Answers requests to one record and keeps the window of the last one, which serves the next request between
// the same points. The record must not change meanwhile. An answer doesn't depend on the requests before it.
class PointInterpolator {
public:
    explicit PointInterpolator(const Vorlanrecord& record) noexcept : points_(record.points) {}

    // The table of leap seconds that all answers of this interpolator come from.
    const LeapTable& leapTable() const noexcept { return leapTable_; }

    // The state at a time on the TAI scale (days since 1950). 0; or 2 with the reason in `message`, which the
    // caller logs, and a point of zeros. A record with one point answers every time with it; one with two or
    // three answers only their times. Where no covariance is wanted, that of the point is not specified.
    std::int32_t at(double ds50TAI, Vorlanpoint& point, MessageText& message, Covariance covariance);

private:
    std::int32_t interpolate(double t, Vorlanpoint& point, MessageText& message, Covariance covariance);
    std::int32_t lastEarlier(double t) const noexcept;
    bool isLastEarlier(std::int32_t lo, double t) const noexcept;
    std::int32_t revolutionOf(const Vorlanstate& interpolated) const noexcept;

    // A state and its time by the index from 1.
    const Vorlanstate& state(std::int32_t index) const noexcept { return points_.state(index - 1); }
    double time(std::int32_t index) const noexcept { return state(index).time; }
    std::int32_t coincident(std::int32_t first, std::int32_t last, double t) const noexcept;

    const PointArray& points_;
    const LeapTable& leapTable_ = vorlandi::leapTable();
    std::int32_t lo_ = -1;    // last point earlier than the last request that had a window
    std::int32_t first_ = 0;  // first point of that window
    std::optional<HermiteWindow> window_;
};

// One request; the point's covariance is zero where none is wanted.
std::int32_t InterpolateEP(const Vorlanrecord& record, double ds50TAI, Vorlanpoint& point, MessageText& message,
                           Covariance covariance = Covariance::Wanted);

// A request to come: begins to bring the points around it into the cache. For evenly spaced points it is the right ones.
void expectRequest(const Vorlanrecord& record, double ds50UTC, Covariance covariance) noexcept;

// The revolution number of point a, when point b has the number rev: one more if the orbit crosses the
// equator northward from b to a, one less if from a to b. Wraps at 100000 and keeps the sign.
std::int32_t updaterev(const Vorlanstate& a, const Vorlanstate& b, std::int32_t rev) noexcept;

}  // namespace vorlandi
