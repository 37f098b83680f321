#include "analysis/Delivery.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>

#include "analysis/Comparison.hpp"
#include "analysis/Steps.hpp"

namespace vorlandi::analysis {
namespace {

std::optional<double> overlapOf(const DeliveredRecord& a, const DeliveredRecord& b) {
    if (!a.span || !b.span) return std::nullopt;
    const double days =
        std::min(a.span->last.days, b.span->last.days) - std::max(a.span->first.days, b.span->first.days);
    if (days < -kMicrosecond_days) return std::nullopt;
    return days;
}

// Records that may belong together, by their indices.
struct Namesakes {
    std::vector<std::size_t> now;
    std::vector<std::size_t> before;
};

using Name = std::pair<std::int32_t, std::string>;

Name nameOf(const DeliveredRecord& record) {
    return {record.number, isName(record.number) ? std::string() : record.name};
}

class Matching {
public:
    Matching(std::span<const DeliveredRecord> now, std::span<const DeliveredRecord> before)
        : now_(now), before_(before), isNowFree_(now.size(), true), isBeforeFree_(before.size(), true) {}

    RecordMatch result() {
        std::map<std::pair<Name, Frame>, Namesakes> ofFrame;
        std::map<Name, Namesakes> ofAnyFrame;
        for (std::size_t i = 0; i < now_.size(); ++i) {
            ofFrame[{nameOf(now_[i]), now_[i].frame}].now.push_back(i);
            ofAnyFrame[nameOf(now_[i])].now.push_back(i);
        }
        for (std::size_t i = 0; i < before_.size(); ++i) {
            ofFrame[{nameOf(before_[i]), before_[i].frame}].before.push_back(i);
            ofAnyFrame[nameOf(before_[i])].before.push_back(i);
        }
        for (const auto& [name, namesakes] : ofFrame) {
            pairByOverlap(namesakes);
            pairByOrder(namesakes, match_.pairs);
        }
        for (const auto& [name, namesakes] : ofAnyFrame)
            pairByOrder(namesakes, match_.framesDiffer);
        for (auto* const pairs : {&match_.pairs, &match_.framesDiffer})
            std::sort(pairs->begin(), pairs->end(),
                      [](const RecordPair& a, const RecordPair& b) { return a.now < b.now; });
        for (std::size_t i = 0; i < now_.size(); ++i)
            if (isNowFree_[i]) match_.added.push_back(i);
        for (std::size_t i = 0; i < before_.size(); ++i)
            if (isBeforeFree_[i]) match_.missing.push_back(i);
        return std::move(match_);
    }

private:
    void pairByOverlap(const Namesakes& namesakes) {
        std::vector<std::tuple<double, std::size_t, std::size_t>> overlaps;  // longest first
        for (const std::size_t now : namesakes.now)
            for (const std::size_t before : namesakes.before)
                if (const auto days = overlapOf(now_[now], before_[before])) overlaps.emplace_back(-*days, now, before);
        std::sort(overlaps.begin(), overlaps.end());
        for (const auto& [days, now, before] : overlaps)
            if (isNowFree_[now] && isBeforeFree_[before]) add(now, before, true, match_.pairs);
    }

    void pairByOrder(const Namesakes& namesakes, std::vector<RecordPair>& pairs) {
        auto before = namesakes.before.begin();
        for (const std::size_t now : namesakes.now) {
            if (!isNowFree_[now]) continue;
            before = std::find_if(before, namesakes.before.end(), [&](std::size_t i) { return isBeforeFree_[i]; });
            if (before == namesakes.before.end()) return;
            add(now, *before, overlapOf(now_[now], before_[*before]).has_value(), pairs);
        }
    }

    void add(std::size_t now, std::size_t before, bool overlaps, std::vector<RecordPair>& pairs) {
        pairs.push_back({now, before, overlaps});
        isNowFree_[now] = isBeforeFree_[before] = false;
    }

    std::span<const DeliveredRecord> now_;
    std::span<const DeliveredRecord> before_;
    std::vector<bool> isNowFree_;
    std::vector<bool> isBeforeFree_;
    RecordMatch match_;
};

bool hasPlace(const Finding& finding) {
    switch (finding.kind) {
        case Kind::Seam:
        case Kind::Unanswered:
        case Kind::Gap:
        case Kind::Jump:
        case Kind::Outlier:
        case Kind::BelowGround:
        case Kind::CovarianceNotPositive:
        case Kind::CovarianceBetween:
            return finding.from && finding.to;
        default:
            return false;
    }
}

bool touch(const Finding& finding, Ds50 first, Ds50 last) {
    return finding.from->days <= last.days + kMicrosecond_days && first.days <= finding.to->days + kMicrosecond_days;
}

bool isSameFinding(const Finding& a, const Finding& b) {
    if (a.kind != b.kind || hasPlace(a) != hasPlace(b)) return false;
    return !hasPlace(a) || touch(a, *b.from, *b.to);
}

// The mean of the values that are not NaN.
class Mean {
public:
    void add(double value) {
        if (std::isnan(value)) return;
        sum_ += value;
        ++count_;
    }
    std::size_t count() const { return count_; }
    double value() const { return count_ > 0 ? sum_ / static_cast<double>(count_) : kNone; }

private:
    double sum_ = 0.0;
    std::size_t count_ = 0;
};

// Finds out which of rising times lie in a gap of a satellite's points.
class Gaps {
public:
    explicit Gaps(const Satellite& satellite) {
        const Ephemeris points = makeEphemeris(0, Frame::ECI, satellite.times(), {});
        for (const std::size_t gap : gapsIn(stepsOf(points)))
            gaps_.push_back({points.times[gap], points.times[gap + 1]});
    }

    // The points at the ends don't lie in it.
    bool contain(Ds50 time) {
        while (next_ < gaps_.size() && gaps_[next_].last.days <= time.days + kMicrosecond_days)
            ++next_;
        return next_ < gaps_.size() && gaps_[next_].first.days < time.days - kMicrosecond_days;
    }

private:
    std::vector<Span> gaps_;
    std::size_t next_ = 0;
};

template <std::size_t Size>
std::array<double, Size> valuesOf(const std::array<Mean, Size>& means) {
    std::array<double, Size> values;
    std::transform(means.begin(), means.end(), values.begin(), [](const Mean& mean) { return mean.value(); });
    return values;
}

// Of one satellite at one age.
class AgeSums {
public:
    explicit AgeSums(int age_days) : age_days_(age_days) {}

    int age_days() const { return age_days_; }

    void add(const Difference& difference) {
        for (std::size_t k = 0; k < squares_m2_.size(); ++k)
            squares_m2_[k].add(difference.values[k] * difference.values[k]);
        const double distance_m = difference[Quantity::Distance];
        if (times_++ == 0 || distance_m > largest_m_) {
            largest_m_ = distance_m;
            when_ = difference.time;
        }
        for (std::size_t k = 0; k < squares_sigma2_.size(); ++k)
            squares_sigma2_[k].add(difference.normalizedComponents[k] * difference.normalizedComponents[k]);
        distance_.add(difference.normalized * difference.normalized);
    }

    AgeDifference result() const {
        return {age_days_,
                times_,
                valuesOf(squares_m2_),
                largest_m_,
                when_,
                distance_.count(),
                valuesOf(squares_sigma2_),
                distance_.value()};
    }

private:
    int age_days_;
    std::size_t times_ = 0;
    std::array<Mean, 4> squares_m2_;
    double largest_m_ = 0.0;
    Ds50 when_{};
    std::array<Mean, 3> squares_sigma2_;
    Mean distance_;
};

bool hasSamePoints(const Satellite& a, const Satellite& b, const PredictionDifference& difference) {
    return difference.unanswered == 0 && a.fields().points == b.fields().points &&
           std::none_of(difference.ages.begin(), difference.ages.end(), differs) && a.times() == b.times();
}

// A value that chi squared over its degrees of freedom k has with a probability that belongs to z of a normal
// distribution (Wilson and Hilferty 1931).
double chiSquaredOverK(double k, double z) {
    const double spread = 2.0 / (9.0 * k);
    const double root = 1.0 - spread + z * std::sqrt(spread);
    return root * root * root;
}

Honesty honestyOf(double mean, std::size_t satellites) {
    constexpr double kOf99Percent = 2.5758;
    constexpr double kAllowed = 1.2;  // of sigmas
    if (satellites < kFewestForHonesty) return satellites > 0 ? Honesty::TooFew : Honesty::Untold;
    const double freedom = 3.0 * static_cast<double>(satellites);
    if (mean > std::max(kAllowed * kAllowed, chiSquaredOverK(freedom, kOf99Percent))) return Honesty::Optimistic;
    if (mean < std::min(1.0 / (kAllowed * kAllowed), chiSquaredOverK(freedom, -kOf99Percent)))
        return Honesty::Pessimistic;
    return Honesty::Honest;
}

// What one satellite adds to an age.
struct Part {
    std::size_t index;
    const AgeDifference* difference;
};

double squaredDistance_m2(const AgeDifference& difference) {
    return difference.meanSquares_m2[static_cast<std::size_t>(Quantity::Distance)];
}

AgeStatistics statisticsOf(int age_days, const std::vector<Part>& parts) {
    constexpr double kFarOff_sigma2 = 25.0;
    constexpr double kFarOff_m2 = 25.0 * 25.0;
    AgeStatistics statistics;
    statistics.age_days = age_days;
    statistics.satellites = parts.size();
    std::vector<double> normalized;
    std::vector<double> squares;
    for (const auto& [index, difference] : parts) {
        normalized.push_back(difference->meanSquaredDistance);
        squares.push_back(squaredDistance_m2(*difference));
        statistics.withCovariances += std::isnan(difference->meanSquaredDistance) ? 0 : 1;
    }
    const double usual_sigma2 = medianOf(normalized);
    const double usual_m2 = medianOf(squares);
    statistics.usual_m = std::sqrt(usual_m2);
    const auto isFarOff = [&](const AgeDifference& difference) {
        const Yardstick yardstick = yardstickFor(difference, statistics);
        if (yardstick == Yardstick::Sigmas) return difference.meanSquaredDistance > kFarOff_sigma2 * usual_sigma2;
        return yardstick == Yardstick::Metres && squaredDistance_m2(difference) > kFarOff_m2 * usual_m2;
    };
    std::array<Mean, 4> squares_m2;
    std::array<Mean, 3> squares_sigma2;
    Mean distance;
    for (const auto& [index, difference] : parts) {
        statistics.times += difference->times;
        if (difference->largest_m >= statistics.largest_m) {
            statistics.largest_m = difference->largest_m;
            statistics.largestOf = index;
        }
        if (isFarOff(*difference)) {
            statistics.setAside.push_back(index);
            continue;
        }
        for (std::size_t k = 0; k < squares_m2.size(); ++k)
            squares_m2[k].add(difference->meanSquares_m2[k]);
        for (std::size_t k = 0; k < squares_sigma2.size(); ++k)
            squares_sigma2[k].add(difference->meanSquares_sigma2[k]);
        distance.add(difference->meanSquaredDistance);
    }
    const auto root = [](const Mean& mean) { return std::sqrt(mean.value()); };
    std::transform(squares_m2.begin(), squares_m2.end(), statistics.rms_m.begin(), root);
    std::transform(squares_sigma2.begin(), squares_sigma2.end(), statistics.rms_sigma.begin(), root);
    const double mean = distance.value() / 3.0;
    statistics.normalizedSatellites = distance.count();
    statistics.factor = std::sqrt(mean);
    statistics.honesty = honestyOf(mean, distance.count());
    return statistics;
}

}  // namespace

RecordMatch matchRecords(std::span<const DeliveredRecord> now, std::span<const DeliveredRecord> before) {
    return Matching(now, before).result();
}

FindingChanges compareFindings(std::span<const Finding> now, std::span<const Finding> before, const Span& spanNow) {
    FindingChanges changes{std::vector<bool>(now.size(), true), {}};
    for (std::size_t i = 0; i < before.size(); ++i) {
        std::size_t k = 0;
        while (k < now.size() && !(changes.isNew[k] && isSameFinding(now[k], before[i])))
            ++k;
        if (k < now.size())
            changes.isNew[k] = false;
        else if (!hasPlace(before[i]) || touch(before[i], spanNow.first, spanNow.last))
            changes.gone.push_back(i);
    }
    return changes;
}

bool areStatesWrong(std::span<const Finding> findings) {
    constexpr std::array kWrong{Kind::NoVelocity, Kind::VelocityFrame, Kind::VelocityUnit, Kind::VelocityMismatch,
                                Kind::PositionUnit};
    return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) {
        return finding.severity == Severity::Error &&
               std::find(kWrong.begin(), kWrong.end(), finding.kind) != kWrong.end();
    });
}

PredictionDifference differenceByAge(const Satellite& before, const Satellite& now, const Span& common) {
    constexpr std::size_t kColumns = 200;
    const double first_days = tai_days(before.span().first);
    const Comparison comparison = compareStates(before, now, timesWithin(before, common));
    PredictionDifference result;
    result.unanswered = comparison.unanswered;
    Gaps gaps(now);
    std::vector<AgeSums> ages;
    for (const Difference& difference : comparison.differences) {
        if (gaps.contain(difference.time)) {
            ++result.inGaps;
            continue;
        }
        const int age_days = static_cast<int>(std::floor(tai_days(difference.time) - first_days + kMicrosecond_days));
        if (ages.empty() || ages.back().age_days() != age_days) ages.emplace_back(age_days);
        ages.back().add(difference);
        result.distance_m.add(difference.time, difference[Quantity::Distance]);
        if (!std::isnan(difference.normalized)) result.normalized.add(difference.time, difference.normalized);
    }
    for (const AgeSums& age : ages)
        result.ages.push_back(age.result());
    result.isSame = hasSamePoints(before, now, result);
    for (Curve* const curve : {&result.distance_m, &result.normalized})
        if (curve->times.size() > 2 * kColumns) *curve = reduced(*curve, common, kColumns);
    return result;
}

bool differs(const AgeDifference& age) { return age.largest_m != 0.0; }

Yardstick yardstickFor(const AgeDifference& difference, const AgeStatistics& statistics) {
    const bool hasSigmas = !std::isnan(difference.meanSquaredDistance);
    if (hasSigmas && statistics.withCovariances >= kFewestForHonesty) return Yardstick::Sigmas;
    return statistics.satellites >= kFewestForHonesty ? Yardstick::Metres : Yardstick::None;
}

std::vector<AgeStatistics> statisticsByAge(std::span<const PredictionDifference> differences) {
    std::map<int, std::vector<Part>> byAge;
    for (std::size_t i = 0; i < differences.size(); ++i)
        for (const AgeDifference& age : differences[i].ages)
            if (!differences[i].isSame && differs(age)) byAge[age.age_days].push_back({i, &age});
    std::vector<AgeStatistics> statistics;
    statistics.reserve(byAge.size());
    for (const auto& [age_days, parts] : byAge)
        statistics.push_back(statisticsOf(age_days, parts));
    return statistics;
}

}  // namespace vorlandi::analysis
