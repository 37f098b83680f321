// The Lagrange kernel: a scalar polynomial through given values. Source: F. B. Hildebrand, Introduction to Numerical
// Analysis, 2nd ed. 1974, section 3.2.
#pragma once

#include <cstddef>

namespace vorlandi {

// `size` doubles, `stride` doubles apart.
struct StridedDoubles {
    const double* first;
    std::size_t size;
    std::ptrdiff_t stride = 1;

    double operator[](std::size_t k) const noexcept { return first[static_cast<std::ptrdiff_t>(k) * stride]; }
};

// The value at t of the polynomial of degree n - 1 through (x(i), y(i)); 0.0 for n = 0. Each of x and y has n values.
double lagrange_val(StridedDoubles y, StridedDoubles x, double t) noexcept;

}  // namespace vorlandi
