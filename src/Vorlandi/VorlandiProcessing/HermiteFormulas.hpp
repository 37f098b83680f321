// The Hermite formulas, written once for any number of nodes. Each node has a lane of a vector; all nodes of a window
// are calculated side by side.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "TimeLibrary/TimeScales.hpp"
#include "Vorlandi/PointArray.hpp"
#include "Vorlandi/VorlandiProcessing/LagrangeKernel.hpp"

namespace vorlandi {

enum class WithCovariance { Yes, No };

// One number for each of N nodes. A lane rounds exactly as a single double does. The lanes that fill up to a power of
// two are never read.
template <std::size_t N>
struct LanesOf {
    static constexpr std::size_t kBytes = std::bit_ceil(N) * sizeof(double);
    typedef double Type __attribute__((vector_size(kBytes)));
};
template <std::size_t N>
using Lanes = typename LanesOf<N>::Type;

// Calls `step` with 0 to N - 1 as constants, so that lanes stay in registers.
template <std::size_t N, class Step>
[[gnu::always_inline]] inline void forEachIndex(Step&& step) {
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
        (step(std::integral_constant<std::size_t, I>{}), ...);
    }
    (std::make_index_sequence<N>{});
}

// The k-th other node of each node, in order: lane i gets lane k, or k + 1 where that is i or a later one.
template <std::size_t N, std::size_t K>
[[gnu::always_inline]] inline void takeOther(const Lanes<N>& values, Lanes<N>& others) noexcept {
    [&]<std::size_t... I>(std::index_sequence<I...>) __attribute__((always_inline)) {
        others = __builtin_shufflevector(values, values, (K < I ? K : I < N ? K + 1 : I)...);
    }
    (std::make_index_sequence<std::bit_ceil(N)>{});
}

// N consecutive points and the terms that depend on them alone, calculated once per window. The points must stay where
// they are. The functions that calculate are inlined into their callers, which choose the instruction set.
template <std::size_t N>
class HermiteNodes {
public:
    // N states and their covariances, null where none has one. Call prepare() before answer().
    HermiteNodes(const Vorlanstate* states, const PointCovariance* covariances, const LeapTable& leapTable) noexcept
        : states_(states), covariances_(covariances), leapTable_(&leapTable), leap_(&leapTable.atUtc(states[0].time)) {}

    [[gnu::always_inline]] inline void prepare() noexcept;
    [[gnu::always_inline]] inline void answer(double t, Vorlanpoint& result, WithCovariance covariance) const noexcept;

private:
    struct Weights {
        Lanes<N> positionValue, positionDerivative;
        Lanes<N> velocityValue, velocityDerivative;
        Lanes<N> lagrange;  // if the covariance is wanted
    };

    // Are these times, in order, of usual days with the leap step of the first node? Then a few operations split them.
    bool areUsual(double first, double last) const noexcept {
        return first >= leap_->day && last < leap_->nextDay && first >= kExactFractionFrom && last < kWholeDaysBelow;
    }
    [[gnu::always_inline]] SplitTai split(double time) const noexcept {
        return areUsual(time, time) ? splitTai(time, leap_->taiMinusUtc) : splitUnusual(time);
    }
    [[gnu::cold, gnu::noinline]] SplitTai splitUnusual(double time) const noexcept {
        return tosplittai(time, *leapTable_);
    }
    [[gnu::always_inline]] inline void splitTimes() noexcept;
    [[gnu::always_inline]] inline void weigh(const Lanes<N>& dt, double product, Weights& weights,
                                             WithCovariance covariance) const noexcept;
    [[gnu::always_inline]] inline void addStates(const Weights& weights, Vorlanstate& result) const noexcept;
    [[gnu::always_inline]] inline void covarianceAt(double t, const Lanes<N>& weights,
                                                    PointCovariance& result) const noexcept;
    // Rare cases, out of line so that the usual one keeps its registers.
    [[gnu::cold, gnu::noinline]] void returnNode(std::size_t i, Vorlanpoint& result,
                                                 WithCovariance covariance) const noexcept;
    [[gnu::cold, gnu::noinline]] void scalarAt(double t, PointCovariance& result) const noexcept;

    const Vorlanstate* states_;
    const PointCovariance* covariances_;
    const LeapTable* leapTable_;
    const LeapStep* leap_;         // in force at the first node, usually at all of them
    Lanes<N> days_{}, seconds_{};  // split TAI times of the nodes
    Lanes<N> denominator_;         // products of the differences to the other nodes, s
    Lanes<N> squaredDenominator_;
    Lanes<N> sum_;  // sums of the reciprocal differences
    Lanes<N> c_;    // -0.5 / sum; set per request where the sum is 0
    Lanes<N> cTimesSquare_;
    bool sumVanishes_;  // at any node
};

// Stands in for -0.5 / sum when the sum is exactly 0: so large that it cancels in the weights.
[[gnu::cold, gnu::noinline]] inline double valueOfVanishedSum(double dt) noexcept {
    if (dt == 0.0) return 0.0;
    if (!std::isfinite(dt)) return std::numeric_limits<double>::quiet_NaN();
    int exponent = 0;
    static_cast<void>(std::frexp(std::abs(dt), &exponent));
    return std::scalbn(2.0 * std::abs(dt), 53 - exponent);
}

// As splitTai() splits one time.
template <std::size_t N>
void HermiteNodes<N>::splitTimes() noexcept {
    if (!areUsual(states_[0].time, states_[N - 1].time)) [[unlikely]] {
        for (std::size_t i = 0; i < N; ++i) {
            const SplitTai node = splitUnusual(states_[i].time);
            days_[i] = node.days;
            seconds_[i] = node.seconds;
        }
        return;
    }
    typedef std::int32_t WholeNumbers __attribute__((vector_size(sizeof(Lanes<N>) / 2)));
    Lanes<N> times{};
    forEachIndex<N>([&](auto i) __attribute__((always_inline)) { times[i.value] = states_[i.value].time; });
    const auto days = __builtin_convertvector(__builtin_convertvector(times, WholeNumbers), Lanes<N>);
    const auto seconds = (times - days) * kSecondsPerDay + leap_->taiMinusUtc;
    const auto onNextDay = seconds >= kSecondsPerDay;
    days_ = onNextDay ? days + 1.0 : days;
    seconds_ = onNextDay ? seconds - kSecondsPerDay : seconds;
}

template <std::size_t N>
void HermiteNodes<N>::prepare() noexcept {
    splitTimes();
    denominator_ = Lanes<N>{} + 1.0;
    sum_ = Lanes<N>{};
    forEachIndex<N - 1>([&](auto k) __attribute__((always_inline)) {
        Lanes<N> days, seconds;
        takeOther<N, k.value>(days_, days);
        takeOther<N, k.value>(seconds_, seconds);
        const Lanes<N> differences = (days_ - days) * kSecondsPerDay + (seconds_ - seconds);
        denominator_ *= differences;
        sum_ += 1.0 / differences;
    });
    squaredDenominator_ = denominator_ * denominator_;
    c_ = -(0.5 / sum_);
    cTimesSquare_ = c_ * squaredDenominator_;
    sumVanishes_ = false;
    forEachIndex<N>([&](auto i) __attribute__((always_inline)) { sumVanishes_ |= sum_[i.value] == 0.0; });
}

// The weights of all nodes. dt: the request minus each node, s; product: of all of them.
template <std::size_t N>
void HermiteNodes<N>::weigh(const Lanes<N>& dt, double product, Weights& weights,
                            WithCovariance covariance) const noexcept {
    Lanes<N> c = c_, cTimesSquare = cTimesSquare_;
    if (sumVanishes_) [[unlikely]] {
        for (std::size_t i = 0; i < N; ++i) {
            if (sum_[i] == 0.0) c[i] = valueOfVanishedSum(dt[i]);
        }
        cTimesSquare = c * squaredDenominator_;
    }
    const Lanes<N> reciprocals = 1.0 / dt;
    Lanes<N> sum{};  // of the reciprocals of the other nodes
    forEachIndex<N - 1>([&](auto k) __attribute__((always_inline)) {
        Lanes<N> others;
        takeOther<N, k.value>(reciprocals, others);
        sum += others;
    });
    const Lanes<N> numerator = product / dt;
    const Lanes<N> a = numerator * numerator;
    weights.positionValue = (dt + c) * a / cTimesSquare;
    weights.positionDerivative = dt * a / squaredDenominator_;
    weights.velocityValue = ((2.0 * sum) * (dt + c) + 1.0) * a / cTimesSquare;
    weights.velocityDerivative = ((2.0 * sum) * dt + 1.0) * a / squaredDenominator_;
    if (covariance == WithCovariance::Yes) weights.lagrange = numerator / denominator_;
}

// Position and velocity: the weighted sums over the nodes in their order, the axes side by side.
template <std::size_t N>
void HermiteNodes<N>::addStates(const Weights& weights, Vorlanstate& result) const noexcept {
    using Axes = Lanes<4>;
    Axes position{}, velocity{};
    for (std::size_t i = 0; i < N; ++i) {
        // Lane 0 is not used: it holds the time before the position, and z before the velocity.
        static_assert(offsetof(Vorlanstate, pos) == 8 && offsetof(Vorlanstate, vel) == 32);
        const char* const node = reinterpret_cast<const char*>(states_ + i);
        Axes value, derivative;
        std::memcpy(&value, node, sizeof value);
        std::memcpy(&derivative, node + 24, sizeof derivative);
        position += weights.positionValue[i] * value;
        position += weights.positionDerivative[i] * derivative;
        velocity += weights.velocityValue[i] * value;
        velocity += weights.velocityDerivative[i] * derivative;
    }
    // The position is written last: the velocity's lane 0 falls on its z.
    std::memcpy(&result.pos[2], &velocity, sizeof velocity);
    std::memcpy(&result.time, &position, sizeof position);
}

template <std::size_t N>
void HermiteNodes<N>::returnNode(std::size_t i, Vorlanpoint& result, WithCovariance covariance) const noexcept {
    static_cast<Vorlanstate&>(result) = states_[i];
    if (covariance == WithCovariance::Yes) {
        static_cast<PointCovariance&>(result) = covariances_ != nullptr ? covariances_[i] : PointCovariance{};
    }
}

template <std::size_t N>
void HermiteNodes<N>::scalarAt(double t, PointCovariance& result) const noexcept {
    constexpr auto kStride = [](std::size_t size) { return static_cast<std::ptrdiff_t>(size / sizeof(double)); };
    result = PointCovariance{};
    result.cov[0] = lagrange_val({&covariances_[0].cov[0], N, kStride(sizeof(PointCovariance))},
                                 {&states_[0].time, N, kStride(sizeof(Vorlanstate))}, t);
}

template <std::size_t N>
void HermiteNodes<N>::answer(double t, Vorlanpoint& result, WithCovariance covariance) const noexcept {
    const SplitTai request = split(t);
    const Lanes<N> dt = (request.days - days_) * kSecondsPerDay + (request.seconds - seconds_);
    double product = dt[0];
    forEachIndex<N>([&](auto i) __attribute__((always_inline)) {
        if constexpr (i > 0) product *= dt[i.value];
    });
    // A NaN product may hide a zero factor.
    if (!(std::abs(product) > 0.0)) [[unlikely]] {
        for (std::size_t i = 0; i < N; ++i) {
            if (dt[i] == 0.0) return returnNode(i, result, covariance);
        }
    }
    Weights weights;
    weigh(dt, product, weights, covariance);
    addStates(weights, result);
    result.time = t;
    result.rev = 0;
    result.unused = 0;
    if (covariance == WithCovariance::Yes) covarianceAt(t, weights.lagrange, result);
}

template <std::size_t N>
void HermiteNodes<N>::covarianceAt(double t, const Lanes<N>& weights, PointCovariance& result) const noexcept {
    if (covariances_ == nullptr) {
        result = PointCovariance{};
        return;
    }
    if (covariances_[0].cov[1] == kScalarMarker) [[unlikely]]
        return scalarAt(t, result);
    // Four values side by side; the last four overlap with those before.
    constexpr std::size_t kGroups = (kCovarianceSize + 3) / 4;
    forEachIndex<kGroups>([&](auto group) __attribute__((always_inline)) {
        constexpr std::size_t kFirst = std::min(4 * group.value, kCovarianceSize - 4);
        Lanes<4> sums{};
        forEachIndex<N>([&](auto i) __attribute__((always_inline)) {
            Lanes<4> values;
            std::memcpy(&values, covariances_[i.value].cov + kFirst, sizeof values);
            sums += weights[i.value] * values;
        });
        std::memcpy(result.cov + kFirst, &sums, sizeof sums);
    });
}

}  // namespace vorlandi
