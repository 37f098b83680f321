#include "Vorlandi/VorlandiProcessing/InterpolationKernels.hpp"

#include <cmath>

#include "CoreServices/Sanitized.hpp"

// Also compiles a function for wider instructions; a process chooses when it starts. The bits of a result are the same:
// lanes round as scalars do, and none of the sets brings fused operations here. Such a function is called only from
// this file, since Clang 14 doesn't export its symbol.
#if defined(__x86_64__) && defined(__gnu_linux__) && !VORLANDI_SANITIZED
#define FOR_EACH_INSTRUCTION_SET __attribute__((target_clones("avx2", "default")))
#else
#define FOR_EACH_INSTRUCTION_SET
#endif

namespace vorlandi {

FOR_EACH_INSTRUCTION_SET void HermiteWindow::prepare() noexcept { nodes_.prepare(); }

FOR_EACH_INSTRUCTION_SET void HermiteWindow::answer(double t, Vorlanpoint& result,
                                                    WithCovariance covariance) const noexcept {
    nodes_.answer(t, result, covariance);
}

HermiteWindow::HermiteWindow(const Vorlanstate* states, const PointCovariance* covariances,
                             const LeapTable& leapTable) noexcept
    : nodes_(states, covariances, leapTable) {
    prepare();
}

void hermitevorlan(const HermiteWindow& window, double t, Vorlanpoint& result, WithCovariance covariance) noexcept {
    window.answer(t, result, covariance);
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
