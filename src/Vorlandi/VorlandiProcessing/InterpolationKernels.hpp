// The interpolation kernels. Lagrange: see LagrangeKernel.hpp. Hermite: a state between consecutive points of an
// ephemeris. Its position is the polynomial of degree 2n - 1 that matches the positions and velocities of n nodes, its
// velocity the derivative of that polynomial; its covariance comes from Lagrange interpolation. Source:
// F. B. Hildebrand, Introduction to Numerical Analysis, 2nd ed. 1974, sections 3.2 and 8.2.
//
// The order of operations is fixed and nothing is contracted, so that results have the same bits with every compiler,
// optimisation and instruction set. Nodes have strictly rising times; equal ones lead to non-finite results.
#pragma once

#include "Vorlandi/VorlandiProcessing/HermiteFormulas.hpp"

namespace vorlandi {

// The usual window: four nodes, prepared for all requests between them. They must stay where they are.
class HermiteWindow {
public:
    static constexpr std::size_t kNodes = 4;

    // Four states and their covariances, null where none has one.
    HermiteWindow(const Vorlanstate* states, const PointCovariance* covariances,
                  const LeapTable& leapTable = vorlandi::leapTable()) noexcept;

private:
    friend void hermitevorlan(const HermiteWindow& window, double t, Vorlanpoint& result,
                              WithCovariance covariance) noexcept;

    void prepare() noexcept;
    void answer(double t, Vorlanpoint& result, WithCovariance covariance) const noexcept;

    HermiteNodes<kNodes> nodes_;
};

// The state at t (Ds50UTC) between the nodes, and its covariance if wanted; otherwise the covariance of `result` stays
// as it is. Revolution number 0. A t equal to a node's time returns the whole node.
void hermitevorlan(const HermiteWindow& window, double t, Vorlanpoint& result,
                   WithCovariance covariance = WithCovariance::Yes) noexcept;

}  // namespace vorlandi
