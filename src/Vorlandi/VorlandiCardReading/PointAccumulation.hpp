// Point accumulation: how every reader, and the functions that add points one by one, build a record.
#pragma once

#include <cstdint>
#include <string_view>

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

// Coordinate-system codes beyond those of coordstr.
constexpr std::int32_t kLlh = 15;
constexpr std::int32_t kSen = 16;

// Code of a coordinate-system name, kUnknownCoordinates for any other text. A field of exactly three characters holds
// one of the three-letter names; one of any other length begins with one of the five-letter names, which have the codes
// 17 to 20. A three-letter name in a longer field is unknown.
std::int32_t coord(std::string_view field) noexcept;

// The same for a field of three columns, of which the last may be after the end of the line.
std::int32_t coordOfThree(std::string_view field) noexcept;

}  // namespace vorlandi
