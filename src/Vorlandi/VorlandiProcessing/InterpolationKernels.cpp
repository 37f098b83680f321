#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"

#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "TimeLibrary/TimeScales.hpp"

namespace vorlandi {
namespace {

// What the formulas need of the nodes and of the request, one number per node each. Numbers is an array of
// the usual four or a vector of any length.
template <class Numbers>
struct Differences {
    Numbers dt;    // request minus node, s
    Numbers e;     // node i minus node j, s: row i, column j; not used on the diagonal
    Numbers days;  // split TAI times of the nodes
    Numbers seconds;
};

// Should the sum of the reciprocals vanish, the quotient by it becomes this: a number so large that the
// weights lose it again.
double valueOfVanishedSum(double dt) noexcept {
    if (dt == 0.0) return 0.0;
    if (!std::isfinite(dt)) return std::numeric_limits<double>::quiet_NaN();
    int exponent = 0;
    static_cast<void>(std::frexp(std::abs(dt), &exponent));
    return std::scalbn(2.0 * std::abs(dt), 53 - exponent);
}

struct Weights {
    double positionValue, positionDerivative;
    double velocityValue, velocityDerivative;
    double lagrange;
};

// The weights of node i. `product` is that of all dt.
template <class Numbers>
Weights weightsOf(std::size_t i, std::size_t n, const Numbers& dt, const Numbers& e,
                  double product) noexcept {
    double denominator = 1.0;
    double sum1 = 0.0;
    double sum2 = 0.0;
    for (std::size_t j = 0; j < n; ++j) {
        if (j == i) continue;
        denominator *= e[i * n + j];
        sum1 += 1.0 / e[i * n + j];
        sum2 += 1.0 / dt[j];
    }
    const double numerator = product / dt[i];
    const double c = sum1 == 0.0 ? valueOfVanishedSum(dt[i]) : -(0.5 / sum1);
    const double a = numerator * numerator;
    const double b = denominator * denominator;
    return {
        (dt[i] + c) * a / (c * b),
        dt[i] * a / b,
        ((2.0 * sum2) * (dt[i] + c) + 1.0) * a / (c * b),
        ((2.0 * sum2) * dt[i] + 1.0) * a / b,
        numerator / denominator,
    };
}

void addWeighted(const Vorlanpoint& node, const Weights& weights, Vorlanpoint& sum) noexcept {
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

constexpr std::ptrdiff_t kPointStride = sizeof(Vorlanpoint) / sizeof(double);

// The auxiliary scalar of marked points: Lagrange over plain differences in days.
double scalarAt(const Vorlanpoint* points, std::size_t n, double t) noexcept {
    return lagrange_val({&points->cov[0], n, kPointStride}, {&points->time, n, kPointStride}, t);
}

// `n` is a compile-time constant for the usual window, so that everything below unrolls.
template <class Numbers, class Count>
void hermite(const Vorlanpoint* points, Count n, double t, Covariance covariance, Differences<Numbers>& work,
             Vorlanpoint& result) noexcept {
    const SplitTai request = tosplittai(t);
    double product = 1.0;
    for (std::size_t i = 0; i < n; ++i) {
        const SplitTai node = tosplittai(points[i].time);
        work.days[i] = node.days;
        work.seconds[i] = node.seconds;
        work.dt[i] = minus(request, node);
        product *= work.dt[i];
    }
    for (std::size_t i = 0; i < n; ++i) {
        if (work.dt[i] == 0.0) {
            result = points[i];
            return;
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j < n; ++j) {
            work.e[i * n + j] = minus({work.days[i], work.seconds[i]}, {work.days[j], work.seconds[j]});
        }
    }
    result = Vorlanpoint{};
    result.time = t;
    const bool marked = n > 0 && points[0].cov[1] == kScalarMarker;
    for (std::size_t i = 0; i < n; ++i) {
        const Weights weights = weightsOf(i, n, work.dt, work.e, product);
        addWeighted(points[i], weights, result);
        if (covariance == Covariance::Wanted && !marked) addCovariance(points[i], weights.lagrange, result);
    }
    if (covariance == Covariance::Wanted && marked) result.cov[0] = scalarAt(points, n, t);
}

}  // namespace

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

void hermitevorlan(std::span<const Vorlanpoint, 4> points, double t, Vorlanpoint& result,
                   Covariance covariance) noexcept {
    struct Four {
        std::array<double, 16> values;
        double& operator[](std::size_t k) noexcept { return values[k]; }
        double operator[](std::size_t k) const noexcept { return values[k]; }
    };
    Differences<Four> work;
    hermite(points.data(), std::integral_constant<std::size_t, 4>{}, t, covariance, work, result);
}

void hermitevorlan(std::span<const Vorlanpoint> points, double t, Vorlanpoint& result,
                   Covariance covariance) {
    if (points.size() == 4) return hermitevorlan(points.first<4>(), t, result, covariance);
    const std::size_t n = points.size();
    using Numbers = std::vector<double>;
    Differences<Numbers> work{Numbers(n), Numbers(n * n), Numbers(n), Numbers(n)};
    hermite(points.data(), n, t, covariance, work, result);
}

}  // namespace vorlandi
