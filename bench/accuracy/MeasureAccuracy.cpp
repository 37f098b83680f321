// Measures how accurate the library's answers are. Prints a line for each figure: measure, row, column and value,
// separated by tabs. write_page.py makes the tables and the plot of docs/accuracy.md from these lines.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <vector>

#include "Measures.hpp"
#include "Measuring.hpp"

namespace vorlandi::accuracy {
namespace {

double largestDifference_m(const Truth& a, const Truth& b) {
    double largest = 0.0;
    for (int seconds = 0; seconds <= Truth::kSpan_s; seconds += 1000) {
        const tools::State one = a.after(seconds), other = b.after(seconds);
        for (std::size_t axis = 0; axis < 3; ++axis)
            largest = std::max(largest, std::abs(one.position_km[axis] - other.position_km[axis]));
    }
    return 1000.0 * largest;
}

void measureAll() {
    std::vector<Truth> truths;
    for (const Orbit& orbit : orbits()) {
        const Truth& truth = truths.emplace_back(orbit);
        Orbit coarse = orbit;
        coarse.step_s *= 2.0;
        report("truth", "doubled step", orbit.name, largestDifference_m(truth, Truth(coarse)));
        measureSpacings(orbit, truth);
        measureHoles(orbit, truth);
        measurePositionsAlone(orbit, truth);
    }
    const Orbit smooth = inSmoothField(orbits()[0]);
    measureSpacings(smooth, Truth(smooth));
    measureRoundedTimes(truths[0]);
    measureCovariances();
    measureRoundings(truths[0], truths[2]);
}

}  // namespace
}  // namespace vorlandi::accuracy

int main() {
    try {
        vorlandi::accuracy::measureAll();
    } catch (const std::exception& error) {
        fmt::print(stderr, "measure_accuracy: {}\n", error.what());
        return 1;
    }
    return 0;
}
