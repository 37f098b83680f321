// Curves of an ephemeris over time, to be drawn.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <vector>

#include "analysis/Ephemeris.hpp"
#include "analysis/InterpolationErrors.hpp"
#include "analysis/PointRange.hpp"

namespace vorlandi::analysis {

// Values over rising times. A value that is not a number interrupts the curve.
struct Curve {
    std::vector<Ds50> times;
    std::vector<double> values;

    void add(Ds50 time, double value) {
        times.push_back(time);
        values.push_back(value);
    }
};

// The curves are of a range of the points, which has one or more; windows reach beyond it.

// A value of the states: of the stored ones if the range has at least `samples` of them, else of that many interpolated
// ones. Interrupted where the library doesn't answer.
Curve curveOf(const Satellite& satellite, const Ephemeris& ephemeris, const PointRange& range, std::size_t samples,
              const std::function<double(const State&)>& value);

double height_km(const State& state);  // above the equator's radius
double speed_km_s(const State& state);

// Standard deviations of the positions along the axes of the orbit, in m, at the points that have a covariance.
std::array<Curve, 3> sigmaCurves(const Ephemeris& ephemeris, const PointRange& range);

// The estimated interpolation error in m, constant within each interval.
Curve errorCurve(const Ephemeris& ephemeris, const PointRange& range, const InterpolationErrors& errors);

// At most two values per column, the least and the largest, in the order of their times. Columns divide a span evenly.
Curve reduced(const Curve& curve, const Span& span, std::size_t columns);

}  // namespace vorlandi::analysis
