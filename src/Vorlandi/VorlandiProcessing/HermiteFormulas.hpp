// The Hermite formulas, written once for any number of nodes. Each node has a lane of a vector; all nodes of a window
// are calculated side by side.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>

#include "TimeLibrary/TimeScales.hpp"
#include "Vorlandi/PointArray.hpp"
#include "Vorlandi/VorlandiProcessing/LagrangeKernel.hpp"

namespace vorlandi {

enum class Covariance { Wanted, NotWanted };

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

// N consecutive points, and what the formulas need of them alone, calculated once for all requests between them. The
// points must stay where they are. The functions that calculate are inlined into their callers, which choose the
// instruction set.
template <std::size_t N>
class HermiteNodes {
public:
    // N states and their covariances, null where none has one. Call prepare() before answer().
    HermiteNodes(const Vorlanstate* states, const PointCovariance* covariances, const LeapTable& leapTable) noexcept
        : states_(states), covariances_(covariances), leapTable_(&leapTable), leap_(&leapTable.atUtc(states[0].time)) {}

    [[gnu::always_inline]] inline void prepare() noexcept;
    [[gnu::always_inline]] inline void answer(double t, Vorlanpoint& result, Covariance covariance) const noexcept;

private:
    struct Weights {
        Lanes<N> positionValue, positionDerivative;
        Lanes<N> velocityValue, velocityDerivative;
        Lanes<N> lagrange;
    };

    SplitTai split(double time) const noexcept {
        return time >= leap_->day && time < leap_->nextDay ? splitTai(time, leap_->taiMinusUtc)
                                                           : tosplittai(time, *leapTable_);
    }
    [[gnu::always_inline]] inline void weigh(const double (&dt)[N], Weights& weights) const noexcept;
    [[gnu::always_inline]] inline void addStates(const Weights& weights, Vorlanstate& result) const noexcept;
    void covarianceAt(double t, const Lanes<N>& weights, PointCovariance& result) const noexcept;

    const Vorlanstate* states_;
    const PointCovariance* covariances_;
    const LeapTable* leapTable_;
    const LeapStep* leap_;         // in force at the first node, and usually at all
    double days_[N], seconds_[N];  // split TAI times of the nodes
    Lanes<N> denominator_;         // products of the differences to the other nodes, s
    Lanes<N> squaredDenominator_;
    Lanes<N> sum_;  // sums of the reciprocal differences
    Lanes<N> c_;    // -0.5 / sum; set per request where the sum is 0
    Lanes<N> cTimesSquare_;
    bool sumVanishes_;  // at any node
};

// Stands in for -0.5 / sum when the sum is exactly 0: so large that it cancels in the weights.
inline double valueOfVanishedSum(double dt) noexcept {
    if (dt == 0.0) return 0.0;
    if (!std::isfinite(dt)) return std::numeric_limits<double>::quiet_NaN();
    int exponent = 0;
    static_cast<void>(std::frexp(std::abs(dt), &exponent));
    return std::scalbn(2.0 * std::abs(dt), 53 - exponent);
}

template <std::size_t N>
void HermiteNodes<N>::prepare() noexcept {
    for (std::size_t i = 0; i < N; ++i) {
        const SplitTai node = split(states_[i].time);
        days_[i] = node.days;
        seconds_[i] = node.seconds;
    }
    // Column j holds the differences of all nodes to node j. At node j itself it holds 1 or 0, which change neither
    // the product nor the sum.
    Lanes<N> differences[N]{}, reciprocals[N]{};
    forEachIndex<N>([&](auto i) __attribute__((always_inline)) {
        differences[i][i.value] = 1.0;
        forEachIndex<N>([&](auto j) __attribute__((always_inline)) {
            if constexpr (i < j) {
                const double e = minus({days_[i], seconds_[i]}, {days_[j], seconds_[j]});
                const double r = 1.0 / e;
                differences[j][i.value] = e;
                reciprocals[j][i.value] = r;
                // minus(b, a) is -minus(a, b), bit for bit.
                differences[i][j.value] = -e;
                reciprocals[i][j.value] = -r;
            }
        });
    });
    denominator_ = differences[0];
    sum_ = reciprocals[0];
    for (std::size_t j = 1; j < N; ++j) {
        denominator_ *= differences[j];
        sum_ += reciprocals[j];
    }
    squaredDenominator_ = denominator_ * denominator_;
    c_ = -(0.5 / sum_);
    cTimesSquare_ = c_ * squaredDenominator_;
    sumVanishes_ = false;
    for (std::size_t i = 0; i < N; ++i)
        sumVanishes_ |= sum_[i] == 0.0;
}

// The weights of all nodes. dt: the request minus each node, s.
template <std::size_t N>
void HermiteNodes<N>::weigh(const double (&dt)[N], Weights& weights) const noexcept {
    double product = dt[0];
    Lanes<N> lanes{};
    forEachIndex<N>([&](auto i) __attribute__((always_inline)) {
        if constexpr (i > 0) product *= dt[i];
        lanes[i.value] = dt[i];
    });
    Lanes<N> c = c_, cTimesSquare = cTimesSquare_;
    if (sumVanishes_) [[unlikely]] {
        for (std::size_t i = 0; i < N; ++i) {
            if (sum_[i] == 0.0) c[i] = valueOfVanishedSum(dt[i]);
        }
        cTimesSquare = c * squaredDenominator_;
    }
    const Lanes<N> reciprocals = 1.0 / lanes;
    Lanes<N> sum{};  // of the reciprocals of the other nodes
    forEachIndex<N>([&](auto j) __attribute__((always_inline)) {
        Lanes<N> column = reciprocals[j.value] - Lanes<N>{};
        column[j.value] = 0.0;
        if constexpr (j == 0)
            sum = column;
        else
            sum += column;
    });
    const Lanes<N> numerator = product / lanes;
    const Lanes<N> a = numerator * numerator;
    weights.positionValue = (lanes + c) * a / cTimesSquare;
    weights.positionDerivative = lanes * a / squaredDenominator_;
    weights.velocityValue = ((2.0 * sum) * (lanes + c) + 1.0) * a / cTimesSquare;
    weights.velocityDerivative = ((2.0 * sum) * lanes + 1.0) * a / squaredDenominator_;
    weights.lagrange = numerator / denominator_;
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
    for (int axis = 0; axis < 3; ++axis) {
        result.pos[axis] = position[axis + 1];
        result.vel[axis] = velocity[axis + 1];
    }
}

template <std::size_t N>
void HermiteNodes<N>::answer(double t, Vorlanpoint& result, Covariance covariance) const noexcept {
    const SplitTai request = split(t);
    double dt[N];
    for (std::size_t i = 0; i < N; ++i) {
        dt[i] = minus(request, {days_[i], seconds_[i]});
        if (dt[i] == 0.0) {
            static_cast<Vorlanstate&>(result) = states_[i];
            if (covariance == Covariance::Wanted) {
                static_cast<PointCovariance&>(result) = covariances_ != nullptr ? covariances_[i] : PointCovariance{};
            }
            return;
        }
    }
    Weights weights;
    weigh(dt, weights);
    addStates(weights, result);
    result.time = t;
    result.rev = 0;
    result.unused = 0;
    if (covariance == Covariance::Wanted) covarianceAt(t, weights.lagrange, result);
}

template <std::size_t N>
void HermiteNodes<N>::covarianceAt(double t, const Lanes<N>& weights, PointCovariance& result) const noexcept {
    result = PointCovariance{};
    if (covariances_ == nullptr) return;
    if (covariances_[0].cov[1] == kScalarMarker) {
        constexpr auto kStride = [](std::size_t size) { return static_cast<std::ptrdiff_t>(size / sizeof(double)); };
        result.cov[0] = lagrange_val({&covariances_[0].cov[0], N, kStride(sizeof(PointCovariance))},
                                     {&states_[0].time, N, kStride(sizeof(Vorlanstate))}, t);
        return;
    }
    // In a variable of its own, which cannot overlap with the nodes.
    PointCovariance sums;
    const PointCovariance* const nodes = covariances_;
    for (std::size_t k = 0; k < kCovarianceSize; ++k) {
        forEachIndex<N>([&](auto i) { sums.cov[k] += weights[i.value] * nodes[i.value].cov[k]; });
    }
    result = sums;
}

}  // namespace vorlandi
