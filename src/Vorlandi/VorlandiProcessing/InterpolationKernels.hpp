// The interpolation kernels. Lagrange: a scalar polynomial through given values. Hermite: a state between
// consecutive points of an ephemeris, its position by the polynomial of degree 2n - 1 that matches the
// positions and velocities of n nodes, its velocity as the derivative of that polynomial, its covariance by
// Lagrange interpolation. Source: F. B. Hildebrand, Introduction to Numerical Analysis, 2nd ed. 1974,
// sections 3.2 and 8.2.
//
// The order of operations is fixed and nothing is contracted, so that results have the same bits with every
// compiler, optimisation and instruction set. Nodes have strictly rising times; equal ones give non-finite
// results.
#pragma once

#include <cstddef>
#include <span>

#include "Vorlandi/PointArray.hpp"

namespace vorlandi {

// The second covariance value of points whose first one is no covariance but an auxiliary scalar.
constexpr double kScalarMarker = 12345.0;

// `size` doubles, `stride` doubles apart.
struct StridedDoubles {
    const double* first;
    std::size_t size;
    std::ptrdiff_t stride = 1;

    double operator[](std::size_t k) const noexcept { return first[static_cast<std::ptrdiff_t>(k) * stride]; }
};

// The value at t of the polynomial of degree n - 1 through (x(i), y(i)); 0.0 for n = 0. Each of x and y has n
// values.
double lagrange_val(StridedDoubles y, StridedDoubles x, double t) noexcept;

enum class Covariance { Wanted, NotWanted };

// The state at t (Ds50UTC) between the points, and its covariance where it is wanted, else zeros; revolution
// number 0. A t equal to a node's time gives that node, all of it. Allocates nothing for four points.
void hermitevorlan(std::span<const Vorlanpoint> points, double t, Vorlanpoint& result,
                   Covariance covariance = Covariance::Wanted);

// The same for the usual window.
void hermitevorlan(std::span<const Vorlanpoint, 4> points, double t, Vorlanpoint& result,
                   Covariance covariance = Covariance::Wanted) noexcept;

}  // namespace vorlandi
