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
};

void BlockRecords::drop(const ReadPlace& place) {
    observeRead(VORLAN_READ_DROPPED, place);
    if (dropped_ == 0 || place.number < firstDropped_) firstDropped_ = place.number;
    ++dropped_;
}

void BlockRecords::takeLate(const Vorlanstate& state, const PointCovariance* covariance, const Vorlanrecord& record,
                            const ReadPlace& place) {
    const std::int32_t count = record.numberOfPoints();
    const bool hasSeam = !seams_.empty() && seams_.back().after == count;
    const bool sameTime = state.time == record.points.lastTime();
    const Vorlanstate& last = hasSeam ? seams_.back().point : record.points.state(count - 1);
    if (sameTime && sameState(state, last)) return drop(place);
    // The point after a seam has to be later.
    if (hasSeam) {
        drop(seams_.back().line.placeIn(place.fileName));
        seams_.pop_back();
    }
    if (!sameTime) return drop(place);
    seams_.push_back({count, {state, covariance != nullptr ? *covariance : PointCovariance{}}, KeptLine(place)});
}

std::int32_t BlockRecords::indexAt(const PointArray& points, double time) noexcept {
    const Vorlanstate* const states = points.states();
    const std::int32_t count = points.count();
    if (nextCovered_ >= count || !isAt(states[nextCovered_].time, time)) {
        const Vorlanstate* const found =
            std::lower_bound(states, states + count, time - kSameTime,
                             [](const Vorlanstate& state, double wanted) { return state.time < wanted; });
        nextCovered_ = static_cast<std::int32_t>(found - states);
        if (nextCovered_ >= count || !isAt(states[nextCovered_].time, time)) return -1;
    }
    return nextCovered_++;
}

const BlockRecords::Seam* BlockRecords::seamAfter(std::int32_t count) const noexcept {
    const auto found =
        std::find_if(seams_.begin(), seams_.end(), [=](const Seam& seam) { return seam.after == count; });
    return found != seams_.end() ? &*found : nullptr;
}

// Cuts come in the order of time: a cut is made after so many points, with the point that opens the next part.
std::vector<BlockRecords::Part> BlockRecords::divide(const PointArray& points, std::string_view fileName) {
    struct Cut {
        std::int32_t after;
        std::optional<Vorlanpoint> opening;
        bool isSeam;
    };
    std::vector<Cut> cuts;
    const std::int32_t count = points.count();
    for (const auto& [time, line] : boundaries_) {
        const Vorlanstate* const states = points.states();
        const auto* const found =
            std::lower_bound(states, states + count, time - kSameTime,
                             [](const Vorlanstate& state, double wanted) { return state.time < wanted; });
        const auto index = static_cast<std::int32_t>(found - states);
        if (index < count && isAt(found->time, time)) {
            const Seam* const second = seamAfter(index + 1);
            if (second == nullptr && (index == 0 || index + 1 == count)) continue;  // at an end of the points
            cuts.push_back({index + 1, second != nullptr ? second->point : points[index], false});
        } else if (index > 0 && index < count) {
            tracelogerror(MessageText(kPracticalLoader)
                          << ": " << fileName << ":" << line.number
                          << ": no point at a segment boundary; the record is divided there.");
            cuts.push_back({index, std::nullopt, false});
        }
    }
    for (const Seam& seam : seams_)
        cuts.push_back({seam.after, seam.point, true});
    // At the same place a boundary comes before a seam, which it has used.
    std::stable_sort(cuts.begin(), cuts.end(), [](const Cut& a, const Cut& b) { return a.after < b.after; });

    std::vector<Part> parts = {{std::nullopt, 0, count}};
    for (const Cut& cut : cuts) {
        Part& last = parts.back();
        if (parts.size() > 1 && cut.after == last.first) continue;
        if (cut.isSeam && (cut.after == count || last.countUpTo(cut.after) < kFewestPointsBeforeSeam)) {
            drop(seamAfter(cut.after)->line.placeIn(fileName));
            continue;
        }
        last.end = cut.after;
        parts.push_back({cut.opening, cut.after, count});
    }
    return parts;
}

std::vector<Vorlanrecord> BlockRecords::take(Vorlanrecord&& record, std::string_view fileName) {
    std::vector<Vorlanrecord> records;
    std::vector<Part> parts = {{std::nullopt, 0, record.numberOfPoints()}};
    if (!seams_.empty() || !boundaries_.empty()) parts = divide(record.points, fileName);
    if (dropped_ > 0) {
        tracelogerror(MessageText(kPracticalLoader)
                      << ": " << fileName << ":" << firstDropped_ << ": " << dropped_
                      << " points dropped, the first of them here: not later than the point before.");
    }
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
