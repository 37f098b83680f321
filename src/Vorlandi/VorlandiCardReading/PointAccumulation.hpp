// Point accumulation: how every reader, and the functions that add points one by one, build a record.
#pragma once

#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

// Appends a point, with its covariance if one is given. The first point sets the record's epoch. A point that is not
// later than the last one, or whose time is not a number, is dropped: false, and nothing has changed. An infinite time
// is stored like any other.
inline bool addoneeppoint(const Vorlanstate& point, Vorlanrecord& record, const PointCovariance* covariance = nullptr) {
    PointArray& points = record.points;
    // Written so that a NaN, for which no comparison holds, is dropped.
    if (points.count() > 0 ? !(points.lastTime() < point.time) : !(point.time == point.time)) return false;
    points.append(point, covariance);
    if (points.count() == 1) record.epoch = point.time;
    return true;
}

// Releases the spare space after the points.
inline void trimvorlanempts(Vorlanrecord& record) { record.points.trim(); }

}  // namespace vorlandi
