// The records made of the points of one block by the practical rules. Points are appended to the block's record one by
// one; this remembers what may divide it, and divides it when the block has been read.
//
// 1. A point that is not later than the last one is dropped, unless it could be a seam: the same time, another state,
//    after at least four points. A seam begins the next record if the next point is later.
// 2. A boundary, a time that the file names, divides the record in any case. A point there closes one record and opens
//    the next; if there are two, the first closes and the second opens. There is nothing to divide at the first
//    point of a record and before it, nor at the last one and after it.
// 3. A file that names boundaries may write the point there twice: the second one is regular there, and dropped
//    elsewhere. This is decided when the block has been read.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CoreServices/Units.hpp"
#include "Vorlandi/VorlandiCardReading/ReadPlace.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi {

// Times of a file that differ by no more than this, in days, are equal: a microsecond.
constexpr double kSameTime = 1e-6 / kSecondsPerDay;

class BlockRecords {
public:
    static constexpr std::int32_t kFewestPointsBeforeSeam = 4;

    // The file may name boundaries, before its points or after them.
    void expectBoundaries() noexcept { mayHaveBoundaries_ = true; }

    // Takes a point that the record could not take since it is not later than the last one.
    void takeLate(const Vorlanstate& state, const PointCovariance* covariance, const Vorlanrecord& record,
                  const ReadPlace& place);

    // Drops a point inside a leap second, which has the time of a point a second later.
    void dropInLeapSecond(const ReadPlace& place);

    void addBoundary(double time, const ReadPlace& place) {
        boundaries_.push_back({time, place.number});
        areSorted_ = false;
    }

    // Is one of the boundaries added so far at this time?
    bool hasBoundaryAt(double time);

    // Does the point at a time already have this covariance?
    static bool hasCovarianceAt(const PointArray& points, double time, const PointCovariance& covariance) noexcept;

    // Sets the covariance of the points at a time: `covarianceOf(state, covariance)` sets it, or returns false if that
    // state can have none. If two covariances have the time of two points, the second is for the second point. False if
    // there is no point at that time, none can have a covariance, or all already have one.
    template <class CovarianceOf>
    bool cover(Vorlanrecord& record, double time, CovarianceOf covarianceOf) {
        PointArray& points = record.points;
        const std::int32_t index = indexAt(points, time);
        if (index < 0) return false;
        PointCovariance covariance;
        const bool isFirst = points.covariances() == nullptr || !hasCovariance(points.covariances()[index]);
        bool covered = isFirst && covarianceOf(points.state(index), covariance);
        if (covered) points.setCovariance(index, covariance);
        Seam* const seam = seamAfter(index + 1);
        if (seam != nullptr && !seam->hasOwnCovariance && covarianceOf(seam->point, covariance)) {
            static_cast<PointCovariance&>(seam->point) = covariance;
            seam->hasOwnCovariance = !isFirst;
            covered = true;
        }
        return covered;
    }

    // The records, in the order of time, once the block has been read: one if nothing divides it. A message says how
    // many points were dropped. The object is then empty.
    std::vector<Vorlanrecord> take(Vorlanrecord&& record, std::string_view fileName);

private:
    struct Seam {
        std::int32_t after;  // points in the record when it was added
        Vorlanpoint point;
        KeptLine line;
        bool hasOwnCovariance;  // not the one of the point at the same time
        bool isRepetition;      // of the state of the point at the same time
    };
    struct Boundary {
        double time;
        std::int64_t line;
    };
    struct Part;
    struct Cut;

    static bool isAt(double a, double b) noexcept { return a - b <= kSameTime && b - a <= kSameTime; }

    // The index of the point at a time, -1 if there is none. Times are usually asked for in ascending order.
    std::int32_t indexAt(const PointArray& points, double time) noexcept;

    void sortBoundaries();
    void drop(const ReadPlace& place) { drop(place, late_); }
    void dropUnlessRegular(const Seam& seam, std::string_view fileName);
    Seam* seamAfter(std::int32_t count) noexcept;
    void cutAtBoundaries(const PointArray& points, std::string_view fileName, std::vector<Cut>& cuts);
    std::vector<Part> divide(const PointArray& points, std::string_view fileName);

    std::vector<Seam> seams_;  // in the order of time, one at a time
    std::vector<Boundary> boundaries_;
    bool areSorted_ = true;
    bool mayHaveBoundaries_ = false;
    struct Dropped {
        std::int64_t count = 0;
        std::int64_t firstLine = 0;
    };
    static void drop(const ReadPlace& place, Dropped& dropped);
    static void report(const Dropped& dropped, std::string_view fileName, std::string_view reason);

    Dropped late_;
    Dropped inLeapSecond_;
    std::int32_t nextAsked_ = 0;  // index after the point that was asked for last
};

}  // namespace vorlandi
