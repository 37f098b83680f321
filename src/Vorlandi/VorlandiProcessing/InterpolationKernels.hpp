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

#include "TimeLibrary/TimeScales.hpp"
#include "Vorlandi/PointArray.hpp"

namespace vorlandi {

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

// One number for each of the four nodes of the usual window, calculated with side by side. A lane rounds
// exactly as a double alone does.
using Lanes = double __attribute__((vector_size(32)));

// The usual window: four nodes, and what the formulas need of them alone, worked out once for all requests
// between them. The nodes must stay where they are.
class HermiteWindow {
public:
    static constexpr std::size_t kNodes = 4;

    // Four states and their covariances, null where none has one.
    HermiteWindow(const Vorlanstate* nodes, const PointCovariance* covariances,
                  const LeapTable& leapTable = vorlandi::leapTable()) noexcept;

    // As hermitevorlan, but where no covariance is wanted that of the result stays as it is.
    void at(double t, Vorlanpoint& result, Covariance covariance) const noexcept;

private:
    SplitTai split(double time) const noexcept {
        return time >= leap_->day && time < leap_->nextDay ? splitTai(time, leap_->taiMinusUtc)
                                                           : tosplittai(time, *leapTable_);
    }
    void prepare() noexcept;
    void answer(double t, Vorlanpoint& result, Covariance covariance) const noexcept;
    void covarianceAt(double t, const Lanes& weights, PointCovariance& result) const noexcept;

    const Vorlanstate* nodes_;
    const PointCovariance* covariances_;
    const LeapTable* leapTable_;
    const LeapStep* leap_;                   // in force at the first node, and mostly at all
    double days_[kNodes], seconds_[kNodes];  // split TAI times of the nodes
    Lanes denominator_;                      // products of the differences to the other nodes, s
    Lanes squaredDenominator_;
    Lanes sum_;  // sums of the reciprocal differences
    Lanes c_;    // -1/2 by the sum; of a request's making where the sum is 0
    Lanes cTimesSquare_;
    bool sumVanishes_;
};

}  // namespace vorlandi
