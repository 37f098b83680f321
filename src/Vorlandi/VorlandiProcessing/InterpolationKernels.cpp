#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"

#include <cmath>
#include <limits>
#include <vector>

#include "TimeLibrary/TimeScales.hpp"

namespace vorlandi {
namespace {

// One number for each of the four nodes of the usual window, calculated with side by side. A lane rounds exactly
// as a double alone does.
using Lanes = double __attribute__((vector_size(32)));

// Should the sum of the reciprocals vanish, the quotient by it becomes this: a number so large that the weights
// lose it again.
double valueOfVanishedSum(double dt) noexcept {
    if (dt == 0.0) return 0.0;
    if (!std::isfinite(dt)) return std::numeric_limits<double>::quiet_NaN();
    int exponent = 0;
    static_cast<void>(std::frexp(std::abs(dt), &exponent));
    return std::scalbn(2.0 * std::abs(dt), 53 - exponent);
}

// What the formulas need of one node (T = double) or of four (T = Lanes). e stands for the differences between
// this node and the others.
template <class T>
struct NodeTerms {
    T denominator;  // product of e
    T sum1;         // sum of 1/e
    T dt;           // request minus node, s
    T sum2;         // sum of 1/dt over the other nodes
};

template <class T>
struct Weights {
    T positionValue, positionDerivative;
    T velocityValue, velocityDerivative;
    T lagrange;
};

void divideHalfBySum(double sum1, double dt, double& c) noexcept {
    c = sum1 == 0.0 ? valueOfVanishedSum(dt) : -(0.5 / sum1);
}

void divideHalfBySum(const Lanes& sum1, const Lanes& dt, Lanes& c) noexcept {
    c = -(0.5 / sum1);
    for (int i = 0; i < 4; ++i) {
        if (sum1[i] == 0.0) [[unlikely]]
            c[i] = valueOfVanishedSum(dt[i]);
    }
}

// The weights of a node. `product` is that of all dt.
template <class T>
void weigh(const NodeTerms<T>& node, double product, Weights<T>& weights) noexcept {
    const T dt = node.dt;
    const T numerator = product / dt;
    T c;
    divideHalfBySum(node.sum1, dt, c);
    const T a = numerator * numerator;
    const T b = node.denominator * node.denominator;
    const T cb = c * b;
    weights.positionValue = (dt + c) * a / cb;
    weights.positionDerivative = dt * a / b;
    weights.velocityValue = ((2.0 * node.sum2) * (dt + c) + 1.0) * a / cb;
    weights.velocityDerivative = ((2.0 * node.sum2) * dt + 1.0) * a / b;
    weights.lagrange = numerator / node.denominator;
}

// What a node contributes to the state, in this order.
void addState(const Vorlanpoint& node, const Weights<double>& weights, Vorlanpoint& sum) noexcept {
    for (int axis = 0; axis < 3; ++axis) {
        sum.pos[axis] += weights.positionValue * node.pos[axis];
        sum.pos[axis] += weights.positionDerivative * node.vel[axis];
        sum.vel[axis] += weights.velocityValue * node.pos[axis];
        sum.vel[axis] += weights.velocityDerivative * node.vel[axis];
    }
}

void addCovariance(const Vorlanpoint& node, double weight, Vorlanpoint& sum) noexcept {
    for (std::size_t k = 0; k < kCovarianceSize; ++k)
        sum.cov[k] += weight * node.cov[k];
}

// The auxiliary scalar of marked points: Lagrange over plain differences in days.
double scalarAt(std::span<const Vorlanpoint> points, double t) noexcept {
    constexpr std::ptrdiff_t kStride = sizeof(Vorlanpoint) / sizeof(double);
    const std::size_t n = points.size();
    return lagrange_val({&points[0].cov[0], n, kStride}, {&points[0].time, n, kStride}, t);
}

// How the covariance of a window is worked out.
enum class CovarianceRule { None, Lagrange, Scalar };

CovarianceRule ruleOf(const Vorlanpoint& firstNode, Covariance covariance) noexcept {
    if (covariance == Covariance::NotWanted) return CovarianceRule::None;
    return firstNode.cov[1] == kScalarMarker ? CovarianceRule::Scalar : CovarianceRule::Lagrange;
}

// ---- Windows of four ----

// Each lane is a node, each column the difference to node j: 1 and 0 stand where a node would meet itself, so
// that products and sums pass over it.
void separate(const double (&days)[4], const double (&seconds)[4], NodeTerms<Lanes>& terms) noexcept {
    const auto e = [&](int i, int j) { return minus({days[i], seconds[i]}, {days[j], seconds[j]}); };
    const double e01 = e(0, 1), e02 = e(0, 2), e03 = e(0, 3), e12 = e(1, 2), e13 = e(1, 3), e23 = e(2, 3);
    // minus(b, a) and its reciprocal are those of minus(a, b) with the other sign, bit for bit.
    const double r01 = 1.0 / e01, r02 = 1.0 / e02, r03 = 1.0 / e03;
    const double r12 = 1.0 / e12, r13 = 1.0 / e13, r23 = 1.0 / e23;
    terms.denominator = Lanes{1.0, -e01, -e02, -e03} * Lanes{e01, 1.0, -e12, -e13} *
                        Lanes{e02, e12, 1.0, -e23} * Lanes{e03, e13, e23, 1.0};
    terms.sum1 = Lanes{0.0, -r01, -r02, -r03} + Lanes{r01, 0.0, -r12, -r13} + Lanes{r02, r12, 0.0, -r23} +
                 Lanes{r03, r13, r23, 0.0};
}

void sumReciprocals(const Lanes& dt, Lanes& sum) noexcept {
    const Lanes r = 1.0 / dt;
    sum = Lanes{0.0, r[0], r[0], r[0]} + Lanes{r[1], 0.0, r[1], r[1]} + Lanes{r[2], r[2], 0.0, r[2]} +
          Lanes{r[3], r[3], r[3], 0.0};
}

}  // namespace

void hermitevorlan(std::span<const Vorlanpoint, 4> points, double t, Vorlanpoint& result,
                   Covariance covariance) noexcept {
    const LeapStep& leap = leapTable().atUtc(t);
    // Nearly every window lies between two leap seconds as a whole.
    const bool oneLeapStep = points.front().time >= leap.day && points.back().time < leap.nextDay;
    const SplitTai request = splitTai(t, leap.taiMinusUtc);
    double days[4], seconds[4], dt[4];
    for (std::size_t i = 0; i < 4; ++i) {
        const double time = points[i].time;
        const SplitTai node = oneLeapStep ? splitTai(time, leap.taiMinusUtc) : tosplittai(time);
        days[i] = node.days;
        seconds[i] = node.seconds;
        dt[i] = minus(request, node);
        if (dt[i] == 0.0) {
            result = points[i];
            return;
        }
    }
    NodeTerms<Lanes> terms;
    terms.dt = Lanes{dt[0], dt[1], dt[2], dt[3]};
    separate(days, seconds, terms);
    sumReciprocals(terms.dt, terms.sum2);
    Weights<Lanes> weights;
    weigh(terms, dt[0] * dt[1] * dt[2] * dt[3], weights);

    result = Vorlanpoint{};
    result.time = t;
    const CovarianceRule rule = ruleOf(points[0], covariance);
    for (int i = 0; i < 4; ++i) {
        const Vorlanpoint& node = points[static_cast<std::size_t>(i)];
        addState(node,
                 {weights.positionValue[i], weights.positionDerivative[i], weights.velocityValue[i],
                  weights.velocityDerivative[i], weights.lagrange[i]},
                 result);
        if (rule == CovarianceRule::Lagrange) addCovariance(node, weights.lagrange[i], result);
    }
    if (rule == CovarianceRule::Scalar) result.cov[0] = scalarAt(points, t);
}

// ---- Windows of any size ----

void hermitevorlan(std::span<const Vorlanpoint> points, double t, Vorlanpoint& result,
                   Covariance covariance) {
    const std::size_t n = points.size();
    if (n == 4) return hermitevorlan(points.first<4>(), t, result, covariance);
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
    result = Vorlanpoint{};
    result.time = t;
    if (n == 0) return;
    const CovarianceRule rule = ruleOf(points[0], covariance);
    for (std::size_t i = 0; i < n; ++i) {
        NodeTerms<double> terms{1.0, 0.0, dt[i], 0.0};
        for (std::size_t j = 0; j < n; ++j) {
            if (j == i) continue;
            const double e = minus(times[i], times[j]);
            terms.denominator *= e;
            terms.sum1 += 1.0 / e;
            terms.sum2 += 1.0 / dt[j];
        }
        Weights<double> weights;
        weigh(terms, product, weights);
        addState(points[i], weights, result);
        if (rule == CovarianceRule::Lagrange) addCovariance(points[i], weights.lagrange, result);
    }
    if (rule == CovarianceRule::Scalar) result.cov[0] = scalarAt(points, t);
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
