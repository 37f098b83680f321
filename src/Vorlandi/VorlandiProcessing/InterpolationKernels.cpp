#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "CoreServices/Sanitized.hpp"

// Compiles a function for wider instructions, too; a process chooses when it starts. The bits of a result are
// the same: lanes round as scalars do, and none of the sets brings fused operations here. Such a function is
// called from this file alone, since Clang 14 leaves others without its symbol.
#if defined(__x86_64__) && defined(__gnu_linux__) && !VORLANDI_SANITIZED
#define FOR_EACH_INSTRUCTION_SET __attribute__((target_clones("avx2", "default")))
#else
#define FOR_EACH_INSTRUCTION_SET
#endif

namespace vorlandi {
namespace {

// ---- The formulas, for one node (T = double) or four side by side (T = Lanes) ----

// What the weights need of a node, but for the request.
template <class T>
struct NodeTerms {
    T denominator;  // product of the differences to the other nodes, s
    T squaredDenominator;
    T c;  // -1/2 by the sum of the reciprocal differences, s
    T cTimesSquare;
};

template <class T>
struct Weights {
    T positionValue, positionDerivative;
    T velocityValue, velocityDerivative;
    T lagrange;
};

// The weights of a node. dt is the request minus the node (s), sum2 the sum of 1/dt over the other nodes,
// product that of all dt.
template <class T>
void weigh(const NodeTerms<T>& node, const T& dt, const T& sum2, double product, Weights<T>& weights) noexcept {
    const T numerator = product / dt;
    const T a = numerator * numerator;
    weights.positionValue = (dt + node.c) * a / node.cTimesSquare;
    weights.positionDerivative = dt * a / node.squaredDenominator;
    weights.velocityValue = ((2.0 * sum2) * (dt + node.c) + 1.0) * a / node.cTimesSquare;
    weights.velocityDerivative = ((2.0 * sum2) * dt + 1.0) * a / node.squaredDenominator;
    weights.lagrange = numerator / node.denominator;
}

// Should the sum of the reciprocals vanish, the quotient by it becomes this: a number so large that the
// weights lose it again.
double valueOfVanishedSum(double dt) noexcept {
    if (dt == 0.0) return 0.0;
    if (!std::isfinite(dt)) return std::numeric_limits<double>::quiet_NaN();
    int exponent = 0;
    static_cast<void>(std::frexp(std::abs(dt), &exponent));
    return std::scalbn(2.0 * std::abs(dt), 53 - exponent);
}

// What a node contributes to the state, in this order.
void addState(const Vorlanstate& node, const Weights<double>& weights, Vorlanstate& sum) noexcept {
    for (int axis = 0; axis < 3; ++axis) {
        sum.pos[axis] += weights.positionValue * node.pos[axis];
        sum.pos[axis] += weights.positionDerivative * node.vel[axis];
        sum.vel[axis] += weights.velocityValue * node.pos[axis];
        sum.vel[axis] += weights.velocityDerivative * node.vel[axis];
    }
}

void addCovariance(const PointCovariance& node, double weight, PointCovariance& sum) noexcept {
    for (std::size_t k = 0; k < kCovarianceSize; ++k)
        sum.cov[k] += weight * node.cov[k];
}

// How far the same number of the next element of an array is away.
template <class Element>
constexpr std::ptrdiff_t kStride = sizeof(Element) / sizeof(double);

bool isMarked(const PointCovariance& firstNode) noexcept { return firstNode.cov[1] == kScalarMarker; }

// Sets all of a state but its covariance to the beginning of the sums.
void beginState(double t, Vorlanstate& sum) noexcept {
    sum.time = t;
    std::fill_n(sum.pos, 3, 0.0);
    std::fill_n(sum.vel, 3, 0.0);
    sum.rev = 0;
    sum.unused = 0;
}

// ---- Windows of four ----

// Products of the differences of each node to the others, and sums of their reciprocals. Each lane is a node,
// each column the difference to one node: 1 and 0 stand where a node would meet itself, so that the product
// and the sum pass over it.
void separate(const double (&days)[4], const double (&seconds)[4], Lanes& product, Lanes& sum) noexcept {
    const auto e = [&](int i, int j) { return minus({days[i], seconds[i]}, {days[j], seconds[j]}); };
    const double e01 = e(0, 1), e02 = e(0, 2), e03 = e(0, 3), e12 = e(1, 2), e13 = e(1, 3), e23 = e(2, 3);
    // minus(b, a) and its reciprocal are those of minus(a, b) with the other sign, bit for bit.
    const double r01 = 1.0 / e01, r02 = 1.0 / e02, r03 = 1.0 / e03;
    const double r12 = 1.0 / e12, r13 = 1.0 / e13, r23 = 1.0 / e23;
    product = Lanes{1.0, -e01, -e02, -e03} * Lanes{e01, 1.0, -e12, -e13} * Lanes{e02, e12, 1.0, -e23} *
              Lanes{e03, e13, e23, 1.0};
    sum = Lanes{0.0, -r01, -r02, -r03} + Lanes{r01, 0.0, -r12, -r13} + Lanes{r02, r12, 0.0, -r23} +
          Lanes{r03, r13, r23, 0.0};
}

// addState for the four nodes, the axes side by side.
void addStates(const Vorlanstate* nodes, const Weights<Lanes>& weights, double t, Vorlanstate& result) noexcept {
    Lanes position{}, velocity{};
    for (int i = 0; i < 4; ++i) {
        // Lane 0 isn't used: the time stands before the position, and its z before the velocity.
        static_assert(offsetof(Vorlanstate, pos) == 8 && offsetof(Vorlanstate, vel) == 32);
        const char* const node = reinterpret_cast<const char*>(nodes + i);
        Lanes value, derivative;
        std::memcpy(&value, node, sizeof value);
        std::memcpy(&derivative, node + 24, sizeof derivative);
        position += weights.positionValue[i] * value;
        position += weights.positionDerivative[i] * derivative;
        velocity += weights.velocityValue[i] * value;
        velocity += weights.velocityDerivative[i] * derivative;
    }
    result.time = t;
    for (int axis = 0; axis < 3; ++axis) {
        result.pos[axis] = position[axis + 1];
        result.vel[axis] = velocity[axis + 1];
    }
    result.rev = 0;
    result.unused = 0;
}

// For each node the sum of 1/dt over the other nodes.
void sumReciprocals(const Lanes& dt, Lanes& sum) noexcept {
    const Lanes r = 1.0 / dt;
    sum = Lanes{0.0, r[0], r[0], r[0]} + Lanes{r[1], 0.0, r[1], r[1]} + Lanes{r[2], r[2], 0.0, r[2]} +
          Lanes{r[3], r[3], r[3], 0.0};
}

}  // namespace

FOR_EACH_INSTRUCTION_SET void HermiteWindow::prepare() noexcept {
    for (std::size_t i = 0; i < kNodes; ++i) {
        const SplitTai node = split(nodes_[i].time);
        days_[i] = node.days;
        seconds_[i] = node.seconds;
    }
    separate(days_, seconds_, denominator_, sum_);
    squaredDenominator_ = denominator_ * denominator_;
    c_ = -(0.5 / sum_);
    cTimesSquare_ = c_ * squaredDenominator_;
    sumVanishes_ = sum_[0] == 0.0 || sum_[1] == 0.0 || sum_[2] == 0.0 || sum_[3] == 0.0;
}

FOR_EACH_INSTRUCTION_SET void HermiteWindow::answer(double t, Vorlanpoint& result,
                                                    Covariance covariance) const noexcept {
    const SplitTai request = split(t);
    double dt[kNodes];
    for (std::size_t i = 0; i < kNodes; ++i) {
        dt[i] = minus(request, {days_[i], seconds_[i]});
        if (dt[i] == 0.0) {
            static_cast<Vorlanstate&>(result) = nodes_[i];
            if (covariance == Covariance::Wanted) {
                static_cast<PointCovariance&>(result) = covariances_ != nullptr ? covariances_[i] : PointCovariance{};
            }
            return;
        }
    }
    const Lanes lanes{dt[0], dt[1], dt[2], dt[3]};
    NodeTerms<Lanes> terms{denominator_, squaredDenominator_, c_, cTimesSquare_};
    if (sumVanishes_) [[unlikely]] {
        for (int i = 0; i < 4; ++i) {
            if (sum_[i] == 0.0) terms.c[i] = valueOfVanishedSum(lanes[i]);
        }
        terms.cTimesSquare = terms.c * terms.squaredDenominator;
    }
    Lanes sum2;
    sumReciprocals(lanes, sum2);
    Weights<Lanes> weights;
    weigh(terms, lanes, sum2, dt[0] * dt[1] * dt[2] * dt[3], weights);

    addStates(nodes_, weights, t, result);
    if (covariance == Covariance::Wanted) covarianceAt(t, weights.lagrange, result);
}

void HermiteWindow::covarianceAt(double t, const Lanes& weights, PointCovariance& result) const noexcept {
    result = PointCovariance{};
    if (covariances_ == nullptr) return;
    if (isMarked(covariances_[0])) {
        result.cov[0] = lagrange_val({&covariances_[0].cov[0], kNodes, kStride<PointCovariance>},
                                     {&nodes_[0].time, kNodes, kStride<Vorlanstate>}, t);
        return;
    }
    for (int i = 0; i < 4; ++i)
        addCovariance(covariances_[i], weights[i], result);
}

HermiteWindow::HermiteWindow(const Vorlanstate* nodes, const PointCovariance* covariances,
                             const LeapTable& leapTable) noexcept
    : nodes_(nodes), covariances_(covariances), leapTable_(&leapTable), leap_(&leapTable.atUtc(nodes[0].time)) {
    prepare();
}

void HermiteWindow::at(double t, Vorlanpoint& result, Covariance covariance) const noexcept {
    answer(t, result, covariance);
}

// ---- Windows of any size ----

namespace {

void hermiteOfFour(std::span<const Vorlanpoint> points, double t, Vorlanpoint& result, Covariance covariance) {
    Vorlanstate nodes[HermiteWindow::kNodes];
    PointCovariance covariances[HermiteWindow::kNodes];
    std::copy(points.begin(), points.end(), nodes);
    std::copy(points.begin(), points.end(), covariances);
    HermiteWindow(nodes, covariances).at(t, result, covariance);
}

}  // namespace

void hermitevorlan(std::span<const Vorlanpoint> points, double t, Vorlanpoint& result, Covariance covariance) {
    const std::size_t n = points.size();
    result = Vorlanpoint{};
    if (n == HermiteWindow::kNodes) return hermiteOfFour(points, t, result, covariance);
    std::vector<SplitTai> times;
    std::vector<double> dt;
    double product = 1.0;
    for (const Vorlanpoint& node : points) {
        times.push_back(tosplittai(node.time));
        dt.push_back(minus(tosplittai(t), times.back()));
        if (dt.back() == 0.0) {
            result = node;
            return;
        }
        product *= dt.back();
    }
    beginState(t, result);
    const bool wanted = covariance == Covariance::Wanted && n > 0;
    for (std::size_t i = 0; i < n; ++i) {
        double denominator = 1.0, sum1 = 0.0, sum2 = 0.0;
        for (std::size_t j = 0; j < n; ++j) {
            if (j == i) continue;
            const double e = minus(times[i], times[j]);
            denominator *= e;
            sum1 += 1.0 / e;
            sum2 += 1.0 / dt[j];
        }
        const double squared = denominator * denominator;
        const double c = sum1 == 0.0 ? valueOfVanishedSum(dt[i]) : -(0.5 / sum1);
        Weights<double> weights;
        weigh({denominator, squared, c, c * squared}, dt[i], sum2, product, weights);
        addState(points[i], weights, result);
        if (wanted && !isMarked(points[0])) addCovariance(points[i], weights.lagrange, result);
    }
    if (wanted && isMarked(points[0])) {
        constexpr std::ptrdiff_t kWhole = kStride<Vorlanpoint>;
        result.cov[0] = lagrange_val({&points[0].cov[0], n, kWhole}, {&points[0].time, n, kWhole}, t);
    }
}

double lagrange_val(StridedDoubles y, StridedDoubles x, double t) noexcept {
    const std::size_t n = y.size;
    double product = 1.0;
    for (std::size_t i = 0; i < n; ++i) {
        const double difference = t - x[i];
        if (difference == 0.0) return y[i];
        product *= difference;
    }
    double sum = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        double denominator = 1.0;
        for (std::size_t j = 0; j < n; ++j) {
            if (j != i) denominator *= x[i] - x[j];
        }
        const double weight = product / (t - x[i]) / denominator;
        sum = std::fma(weight, y[i], sum);
    }
    return sum;
}

}  // namespace vorlandi
