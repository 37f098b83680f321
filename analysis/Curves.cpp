#include "analysis/Curves.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "analysis/Covariances.hpp"
#include "analysis/Steps.hpp"
#include "analysis/TwoBodyOrbit.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kBreak = std::numeric_limits<double>::quiet_NaN();

std::vector<Ds50> evenTimes(const Span& span, std::size_t count) {
    std::vector<Ds50> times;
    const double last = static_cast<double>(count - 1);
    for (std::size_t i = 0; i < count; ++i)
        times.push_back({std::lerp(span.first.days, span.last.days, static_cast<double>(i) / last)});
    return times;
}

Curve ofStoredStates(const Ephemeris& ephemeris, const PointRange& range,
                     const std::function<double(const State&)>& value) {
    Curve curve;
    for (std::size_t i = range.first; i < range.last; ++i) {
        if (i > range.first && !isAnswered(ephemeris, i - 1)) curve.add(ephemeris.times[i - 1], kBreak);
        curve.add(ephemeris.times[i], value(ephemeris.states[i]));
    }
    return curve;
}

}  // namespace

Curve curveOf(const Satellite& satellite, const Ephemeris& ephemeris, const PointRange& range, std::size_t samples,
              const std::function<double(const State&)>& value) {
    if (range.size() >= samples || ephemeris.size() < kWindow) return ofStoredStates(ephemeris, range, value);
    const std::vector<Ds50> times = evenTimes({ephemeris.times[range.first], ephemeris.times[range.last - 1]}, samples);
    std::vector<State> states(samples);
    std::vector<std::int32_t> codes(samples);
    satellite.try_states(times, states, codes);
    Curve curve;
    for (std::size_t i = 0; i < samples; ++i)
        curve.add(times[i], codes[i] == 0 ? value(states[i]) : kBreak);
    return curve;
}

double height_km(const State& state) { return positionOf(state).norm() - kEarthRadius_km; }

double speed_km_s(const State& state) { return velocityOf(state).norm(); }

std::array<Curve, 3> sigmaCurves(const Ephemeris& ephemeris, const PointRange& range) {
    std::array<Curve, 3> curves;
    if (ephemeris.covariances.empty()) return curves;
    for (std::size_t i = range.first; i < range.last; ++i) {
        const auto sigmas_m = orbitSigmas_m(ephemeris.covariances[i], ephemeris.states[i], ephemeris.frame);
        for (std::size_t axis = 0; axis < curves.size(); ++axis)
            curves[axis].add(ephemeris.times[i], sigmas_m ? (*sigmas_m)[axis] : kBreak);
    }
    return curves;
}

Curve errorCurve(const Ephemeris& ephemeris, const PointRange& range, const InterpolationErrors& errors) {
    Curve curve;
    if (errors.spacing_m.empty()) return curve;
    for (std::size_t i = range.first; i + 1 < range.last; ++i) {
        curve.add(ephemeris.times[i], errors.error_m(i));
        curve.add(ephemeris.times[i + 1], errors.error_m(i));
    }
    return curve;
}

Curve reduced(const Curve& curve, const Span& span, std::size_t columns) {
    Curve result;
    const double width_days = (span.last.days - span.first.days) / static_cast<double>(columns);
    // The end of the span is in the last column.
    const auto columnOf = [&](Ds50 time) {
        return std::min(std::floor((time.days - span.first.days) / width_days), static_cast<double>(columns - 1));
    };
    for (std::size_t i = 0; i < curve.times.size();) {
        const double column = columnOf(curve.times[i]);
        std::size_t least = i, largest = i;
        bool isBroken = false;
        for (; i < curve.times.size() && columnOf(curve.times[i]) == column; ++i) {
            isBroken = isBroken || std::isnan(curve.values[i]);
            if (std::isnan(curve.values[least]) || curve.values[i] < curve.values[least]) least = i;
            if (std::isnan(curve.values[largest]) || curve.values[i] > curve.values[largest]) largest = i;
        }
        const auto [first, second] = std::minmax(least, largest);
        result.add(curve.times[first], curve.values[first]);
        if (second != first) result.add(curve.times[second], curve.values[second]);
        // A break within a column is shown after it.
        if (isBroken && !std::isnan(result.values.back())) result.add(result.times.back(), kBreak);
    }
    return result;
}

}  // namespace vorlandi::analysis
