#include "analysis/Comparison.hpp"

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>

#include "analysis/Steps.hpp"
#include "analysis/TwoBodyOrbit.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kMillimetresPerKm = 1e6;
constexpr std::size_t kTimesAtOnce = 4096;

struct Answers {
    std::vector<State> states;
    std::vector<Matrix6> covariances;
    std::vector<std::int32_t> codes;
};

void answer(const Satellite& satellite, std::span<const Ds50> times, Answers& answers) {
    answers.states.resize(times.size());
    answers.covariances.resize(times.size());
    answers.codes.resize(times.size());
    satellite.try_states(times, answers.states, answers.codes, answers.covariances);
}

// The covariance of the difference of two positions, km^2; none if neither has one.
std::optional<Eigen::Matrix3d> sumOfCovariances(const Matrix6& a, const Matrix6& b) {
    if (!isCovariance(a) && !isCovariance(b)) return std::nullopt;
    Eigen::Matrix3d sum = Eigen::Matrix3d::Zero();
    for (const Matrix6* const covariance : {&a, &b}) {
        if (!isCovariance(*covariance)) continue;
        for (std::size_t row = 0; row < 3; ++row)
            for (std::size_t column = 0; column < 3; ++column)
                sum(static_cast<Eigen::Index>(row), static_cast<Eigen::Index>(column)) += (*covariance)[row][column];
    }
    return sum;
}

// The components of a vector, then its length.
void fill(std::span<double, 4> values, const std::optional<Axes>& axes, const Vector& vector) {
    std::array<double, 3> components{kNone, kNone, kNone};
    if (axes) components = onAxes(*axes, arrayOf(vector));
    std::copy(components.begin(), components.end(), values.begin());
    values[3] = vector.norm();
}

Difference differenceOf(Ds50 time, const std::optional<Axes>& axes, const State& a, const State& b) {
    Difference difference{time, {}, kNone, {kNone, kNone, kNone}};
    const std::span<double, kQuantityNames.size()> values(difference.values);
    fill(values.first<4>(), axes, (positionOf(b) - positionOf(a)) * kMetresPerKm);
    fill(values.last<4>(), axes, (velocityOf(b) - velocityOf(a)) * kMillimetresPerKm);
    return difference;
}

void normalize(Difference& difference, const std::optional<Axes>& axes, const Vector& difference_km,
               const Eigen::Matrix3d& covariance) {
    const Eigen::LLT<Eigen::Matrix3d> root(covariance);
    if (root.info() != Eigen::Success) return;
    difference.normalized = root.matrixL().solve(difference_km).norm();
    if (!axes) return;
    for (std::size_t k = 0; k < 3; ++k) {
        const Vector axis = vectorOf((*axes)[k]);
        difference.normalizedComponents[k] = axis.dot(difference_km) / std::sqrt(axis.dot(covariance * axis));
    }
}

// Collects the differences at times where both have states, and passes them on with the index of the time.
template <typename Use>
void forEachDifference(const Satellite& a, const Satellite& b, std::span<const Ds50> times, Comparison& comparison,
                       const Use& use) {
    const Motion motion = motionOf(a.fields().frame);
    comparison.differences.reserve(times.size());
    Answers ofA;
    Answers ofB;
    for (std::size_t done = 0; done < times.size(); done += ofA.codes.size()) {
        const std::span<const Ds50> chunk = times.subspan(done, std::min(kTimesAtOnce, times.size() - done));
        answer(a, chunk, ofA);
        answer(b, chunk, ofB);
        for (std::size_t i = 0; i < chunk.size(); ++i) {
            if (ofA.codes[i] != 0 || ofB.codes[i] != 0) {
                ++comparison.unanswered;
                continue;
            }
            const std::optional<Axes> axes =
                motion == Motion::Unknown ? std::nullopt : orbitAxes(ofA.states[i], motion);
            Difference& difference =
                comparison.differences.emplace_back(differenceOf(chunk[i], axes, ofA.states[i], ofB.states[i]));
            if (const auto covariance = sumOfCovariances(ofA.covariances[i], ofB.covariances[i]))
                normalize(difference, axes, positionOf(ofB.states[i]) - positionOf(ofA.states[i]), *covariance);
            use(done + i, ofA.states[i], ofB.states[i]);
        }
    }
}

// The explanations use an even selection of the compared positions.
std::size_t strideFor(std::size_t times) {
    constexpr std::size_t kMostExplained = 10'000;
    return (times + kMostExplained - 1) / kMostExplained;
}

}  // namespace

Statistics Comparison::statistics(Quantity quantity) const {
    Statistics statistics{kNone, kNone, kNone, std::nullopt};
    double sum = 0.0;
    double squares = 0.0;
    double count = 0.0;
    for (const Difference& difference : differences) {
        const double value = difference[quantity];
        if (std::isnan(value)) continue;
        sum += value;
        squares += value * value;
        ++count;
        if (statistics.when && !(std::abs(value) > std::abs(statistics.largest))) continue;
        statistics.largest = value;
        statistics.when = difference.time;
    }
    if (count > 0.0) {
        statistics.mean = sum / count;
        statistics.rms = std::sqrt(squares / count);
    }
    return statistics;
}

std::optional<NormalizedStatistics> Comparison::normalized() const {
    NormalizedStatistics statistics{0, kNone, kNone, {}, kNone};
    std::vector<double> values;
    for (const Difference& difference : differences) {
        if (std::isnan(difference.normalized)) continue;
        values.push_back(difference.normalized);
        if (values.size() > 1 && !(difference.normalized > statistics.largest)) continue;
        statistics.largest = difference.normalized;
        statistics.when = difference.time;
    }
    if (values.empty()) return std::nullopt;
    statistics.count = values.size();
    const auto above = std::count_if(values.begin(), values.end(), [](double n) { return n > kOneInAHundred; });
    statistics.shareAbove = static_cast<double>(above) / static_cast<double>(values.size());
    statistics.median = medianOf(std::move(values));
    return statistics;
}

std::optional<Span> commonSpan(const Satellite& a, const Satellite& b, const Span& range) {
    const Outcome<Span> spanOfA = a.try_span();
    const Outcome<Span> spanOfB = b.try_span();
    if (!spanOfA || !spanOfB) return std::nullopt;
    const Span common{std::max({spanOfA.value.first, spanOfB.value.first, range.first}),
                      std::min({spanOfA.value.last, spanOfB.value.last, range.last})};
    if (common.first.days - common.last.days > kMicrosecond_days) return std::nullopt;
    return Span{common.first, std::max(common.first, common.last)};
}

std::vector<Ds50> timesWithin(const Satellite& satellite, const Span& span) {
    std::vector<Ds50> times = satellite.times();
    std::erase_if(times, [&](Ds50 time) {
        return time.days < span.first.days - kMicrosecond_days || time.days > span.last.days + kMicrosecond_days;
    });
    return times;
}

Comparison compareStates(const Satellite& a, const Satellite& b, std::span<const Ds50> times) {
    Comparison comparison;
    forEachDifference(a, b, times, comparison, [](std::size_t, const State&, const State&) {});
    return comparison;
}

Comparison compare(const Satellite& a, const Satellite& b, std::span<const Ds50> times) {
    const std::size_t stride = strideFor(times.size());
    Comparison comparison;
    std::vector<std::array<double, 3>> positionsOfA;
    Track track;
    forEachDifference(a, b, times, comparison, [&](std::size_t i, const State& ofA, const State& ofB) {
        if (i % stride != 0) return;
        positionsOfA.push_back(ofA.position_km);
        track.times.push_back(times[i]);
        track.positions_km.push_back(ofB.position_km);
    });
    comparison.timeOffset = timeOffset(a, track);
    if (comparison.timeOffset && !comparison.timeOffset->rms.isConvincing()) comparison.timeOffset.reset();
    comparison.rotation = rotation(positionsOfA, track);
    if (comparison.rotation && !comparison.rotation->rms.isConvincing()) comparison.rotation.reset();
    return comparison;
}

}  // namespace vorlandi::analysis
