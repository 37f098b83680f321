#include "Vorlandi/VorlandiCardReading/BlockRecords.hpp"

#include <algorithm>
#include <optional>

#include "CoreServices/TraceLog.hpp"
#include "Vorlandi/VorlandiCardReading/ReadingRules.hpp"

namespace vorlandi {
namespace {

bool sameState(const Vorlanstate& a, const Vorlanstate& b) noexcept {
    return std::equal(a.pos, a.pos + 3, b.pos) && std::equal(a.vel, a.vel + 3, b.vel);
}

void appendTo(PointArray& points, const Vorlanpoint& point) {
    points.append(point, hasCovariance(point) ? &point : nullptr);
}

}  // namespace

// A range of points that becomes a record, after a point that opens it, if there is one.
struct BlockRecords::Part {
    std::optional<Vorlanpoint> opening;
    std::int32_t first;
    std::int32_t end;

    std::int32_t countUpTo(std::int32_t index) const noexcept { return index - first + (opening ? 1 : 0); }
    double firstTime(const PointArray& points) const noexcept {
        return opening ? opening->time : points.state(first).time;
    }
};

void BlockRecords::drop(const ReadPlace& place, Dropped& dropped) {
    observeRead(VORLAN_READ_DROPPED, place);
    if (dropped.count == 0 || place.number < dropped.firstLine) dropped.firstLine = place.number;
    ++dropped.count;
}

void BlockRecords::dropInLeapSecond(const ReadPlace& place) { drop(place, inLeapSecond_); }

void BlockRecords::report(const Dropped& dropped, std::string_view fileName, std::string_view reason) {
    if (dropped.count == 0) return;
    tracelogerror(MessageText(kPracticalLoader)
                  << ": " << fileName << ":" << dropped.firstLine << ": " << dropped.count
                  << (dropped.count == 1 ? " point" : " points") << " dropped, the first of them here: " << reason);
}

void BlockRecords::takeLate(const Vorlanstate& state, const PointCovariance* covariance, const Vorlanrecord& record,
                            const ReadPlace& place) {
    const std::int32_t count = record.numberOfPoints();
    const bool sameTime = state.time == record.points.lastTime();
    if (!seams_.empty() && seams_.back().after == count) {
        const Seam& last = seams_.back();
        if ((sameTime && sameState(state, last.point)) || (!sameTime && last.isRepetition)) return drop(place);
        // The point after a seam has to be later.
        drop(last.line.placeIn(place.fileName));
        seams_.pop_back();
        if (sameTime && sameState(state, record.points.state(count - 1))) return drop(place);
    }
    const bool isRepetition = sameTime && sameState(state, record.points.state(count - 1));
    if (!sameTime || (isRepetition && !mayHaveBoundaries_)) return drop(place);
    const bool hasOwn = covariance != nullptr;
    seams_.push_back({count, {state, hasOwn ? *covariance : PointCovariance{}}, KeptLine(place), hasOwn, isRepetition});
}

void BlockRecords::dropUnlessRegular(const Seam& seam, std::string_view fileName) {
    if (!seam.isRepetition || !hasBoundaryAt(seam.point.time)) drop(seam.line.placeIn(fileName));
}

namespace {

// The index of the first point at a time or after it.
std::int32_t firstFrom(const PointArray& points, double time) noexcept {
    const Vorlanstate* const states = points.states();
    const auto* const found =
        std::lower_bound(states, states + points.count(), time - kSameTime,
                         [](const Vorlanstate& state, double wanted) { return state.time < wanted; });
    return static_cast<std::int32_t>(found - states);
}

}  // namespace

bool BlockRecords::hasCovarianceAt(const PointArray& points, double time, const PointCovariance& covariance) noexcept {
    const std::int32_t index = firstFrom(points, time);
    return index < points.count() && isAt(points.state(index).time, time) && points.covariances() != nullptr &&
           std::equal(covariance.cov, covariance.cov + kCovarianceSize, points.covariances()[index].cov);
}

void BlockRecords::sortBoundaries() {
    if (areSorted_) return;
    std::stable_sort(boundaries_.begin(), boundaries_.end(),
                     [](const Boundary& a, const Boundary& b) { return a.time < b.time; });
    areSorted_ = true;
}

bool BlockRecords::hasBoundaryAt(double time) {
    sortBoundaries();
    const auto found = std::lower_bound(boundaries_.begin(), boundaries_.end(), time - kSameTime,
                                        [](const Boundary& boundary, double wanted) { return boundary.time < wanted; });
    return found != boundaries_.end() && isAt(found->time, time);
}

std::int32_t BlockRecords::indexAt(const PointArray& points, double time) noexcept {
    const auto isThere = [&] { return nextAsked_ < points.count() && isAt(points.state(nextAsked_).time, time); };
    if (!isThere() || (nextAsked_ > 0 && isAt(points.state(nextAsked_ - 1).time, time))) {
        nextAsked_ = firstFrom(points, time);
        if (!isThere()) return -1;
    }
    return nextAsked_++;
}

BlockRecords::Seam* BlockRecords::seamAfter(std::int32_t count) noexcept {
    const auto found = std::lower_bound(seams_.begin(), seams_.end(), count,
                                        [](const Seam& seam, std::int32_t wanted) { return seam.after < wanted; });
    return found != seams_.end() && found->after == count ? &*found : nullptr;
}

// Where a part ends: after so many points, at a time. Another point may open the next part.
struct BlockRecords::Cut {
    std::int32_t after;
    double time;
    std::optional<Vorlanpoint> opening;
    const Seam* seam;  // whose point that is, null for any other
    bool isBoundary;
};

void BlockRecords::cutAtBoundaries(const PointArray& points, std::string_view fileName, std::vector<Cut>& cuts) {
    sortBoundaries();
    const std::int32_t count = points.count();
    const auto isPointAt = [&](std::int32_t index, double time) {
        return index < count && isAt(points.state(index).time, time);
    };
    const Boundary* last = nullptr;
    for (const Boundary& boundary : boundaries_) {
        const double time = boundary.time;
        if (last != nullptr && isAt(last->time, time)) continue;
        last = &boundary;
        const std::int32_t index = firstFrom(points, time);
        if (!isPointAt(index, time)) {
            if (index == 0 || index == count) continue;
            tracelogerror(MessageText(kPracticalLoader) << ": " << fileName << ":" << boundary.line
                                                        << ": no point at a segment boundary; the record is divided "
                                                           "there.");
            cuts.push_back({index, time, std::nullopt, nullptr, true});
        } else if (const Seam* const second = seamAfter(index + 1); second != nullptr) {
            if (second->isRepetition && index + 1 == count) continue;
            cuts.push_back({index + 1, time, second->point, second, true});
        } else if (isPointAt(index + 1, time)) {
            cuts.push_back({index + 1, time, std::nullopt, nullptr, true});
        } else if (index > 0 && index + 1 < count) {
            cuts.push_back({index + 1, time, points[index], nullptr, true});
        }
    }
}

std::vector<BlockRecords::Part> BlockRecords::divide(const PointArray& points, std::string_view fileName) {
    std::vector<Cut> cuts;
    cutAtBoundaries(points, fileName, cuts);
    // A boundary at a seam has used its point.
    const auto isUsed = [&, boundaries = cuts.size()](const Seam& seam) {
        const auto end = cuts.begin() + static_cast<std::ptrdiff_t>(boundaries);
        const auto found = std::lower_bound(cuts.begin(), end, seam.point.time - kSameTime,
                                            [](const Cut& cut, double wanted) { return cut.time < wanted; });
        return found != end && found->after == seam.after && isAt(found->time, seam.point.time);
    };
    for (const Seam& seam : seams_) {
        if (isUsed(seam)) continue;
        if (seam.isRepetition) {
            dropUnlessRegular(seam, fileName);
        } else {
            cuts.push_back({seam.after, seam.point.time, seam.point, &seam, false});
        }
    }
    std::stable_sort(cuts.begin(), cuts.end(), [](const Cut& a, const Cut& b) { return a.time < b.time; });

    const std::int32_t count = points.count();
    std::vector<Part> parts = {{std::nullopt, 0, count}};
    for (const Cut& cut : cuts) {
        Part& last = parts.back();
        const std::int32_t before = last.countUpTo(cut.after);
        // Two records that begin at the same time would be duplicates.
        const bool isAtFirst = cut.opening && before == 1 && last.firstTime(points) == cut.opening->time;
        if (cut.isBoundary ? isAtFirst : cut.after == count || before < kFewestPointsBeforeSeam) {
            if (cut.seam != nullptr) dropUnlessRegular(*cut.seam, fileName);
            continue;
        }
        if (before == 0) continue;  // two boundaries between the same points
        last.end = cut.after;
        parts.push_back({cut.opening, cut.after, count});
    }
    return parts;
}

std::vector<Vorlanrecord> BlockRecords::take(Vorlanrecord&& record, std::string_view fileName) {
    std::vector<Vorlanrecord> records;
    std::vector<Part> parts = {{std::nullopt, 0, record.numberOfPoints()}};
    if (!seams_.empty() || !boundaries_.empty()) parts = divide(record.points, fileName);
    report(late_, fileName, "not later than the point before.");
    report(inLeapSecond_, fileName, "in a leap second, which days cannot tell from the second after it.");
    if (parts.size() == 1) {
        records.push_back(std::move(record));
    } else {
        const PointArray points = std::move(record.points);
        record.points = {};
        for (const Part& part : parts) {
            Vorlanrecord& made = records.emplace_back(record);
            if (part.opening) appendTo(made.points, *part.opening);
            for (std::int32_t k = part.first; k < part.end; ++k)
                appendTo(made.points, points[k]);
            made.epoch = made.points.firstTime();
        }
    }
    *this = {};
    return records;
}

}  // namespace vorlandi
