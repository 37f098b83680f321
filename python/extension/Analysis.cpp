// The results of analysis/, as arrays and as dictionaries with the field names of the tool's JSON.
#include <pybind11/stl.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "DiffWriter.hpp"
#include "Support.hpp"
#include "TimeGrid.hpp"
#include "analysis/Approaches.hpp"
#include "analysis/Check.hpp"
#include "analysis/Comparison.hpp"
#include "analysis/Covariances.hpp"
#include "analysis/InterpolationErrors.hpp"

namespace vorlandi::python {
namespace {

using namespace py::literals;

// Runs a calculation without the interpreter's lock.
template <typename Work>
auto calculated(const Work& work) {
    const py::gil_scoped_release release;
    return work();
}

py::object numberOf(const std::optional<double>& value) {
    if (!value || !std::isfinite(*value)) return py::none();
    return py::float_(*value);
}

py::object timeOf(const std::optional<Ds50>& time) { return numberOf(time ? std::optional(time->days) : std::nullopt); }

py::object textOrNone(const char* text) {
    if (text == nullptr || *text == '\0') return py::none();
    return py::str(text);
}

template <typename Value>
Array<Value> arrayOf(const std::vector<Value>& values) {
    return Array<Value>(static_cast<py::ssize_t>(values.size()), values.data());
}

py::tuple tupleOf(const std::array<double, 3>& vector) { return py::make_tuple(vector[0], vector[1], vector[2]); }

py::dict findingOf(const analysis::Finding& finding) {
    py::object jump = py::none();
    if (finding.jump)
        jump = py::dict("dv_m_s"_a = tupleOf(finding.jump->dv_m_s),
                        "dx_m"_a = finding.jump->dx_m ? py::object(tupleOf(*finding.jump->dx_m)) : py::none());
    return py::dict("severity"_a = nameOf(finding.severity), "kind"_a = nameOf(finding.kind),
                    "line"_a = finding.line > 0 ? py::object(py::int_(finding.line)) : py::none(),
                    "from_utc"_a = timeOf(finding.from), "to_utc"_a = timeOf(finding.to),
                    "value"_a = numberOf(finding.value), "unit"_a = textOrNone(finding.unit),
                    "text"_a = textOf(finding.text), "jump"_a = jump);
}

py::dict interpolationOf(const analysis::InterpolationSummary& summary) {
    return py::dict("inside_m"_a = numberOf(summary.inside_m), "first_m"_a = numberOf(summary.first_m),
                    "last_m"_a = numberOf(summary.last_m), "spacing_m"_a = numberOf(summary.spacing_m),
                    "digits_m"_a = numberOf(summary.digits_m), "worst_utc"_a = timeOf(summary.worst),
                    "scatter_m"_a = numberOf(summary.scatter_m), "largest_gain"_a = numberOf(summary.largestGain),
                    "would_do_s"_a = numberOf(summary.wouldDo_s));
}

py::dict check(std::int64_t key, double tolerance_m, double gapFactor, double first, double last) {
    const Satellite satellite(key);
    const auto [ephemeris, found] = calculated([&] {
        analysis::Ephemeris points = analysis::ephemerisOf(satellite, {{first}, {last}});
        analysis::SatelliteCheck result = analysis::checkEphemeris(
            points, {tolerance_m, gapFactor}, [&] { return analysis::covariancesBetween(satellite, points); });
        return std::pair(std::move(points), std::move(result));
    });
    py::list findings;
    for (const analysis::Finding& finding : found.findings)
        findings.append(findingOf(finding));
    py::object spacing = py::none();
    if (found.spacing)
        spacing = py::dict("least"_a = found.spacing->least_s, "median"_a = found.spacing->median_s,
                           "largest"_a = found.spacing->largest_s);
    const bool isEmpty = ephemeris.times.empty();
    return py::dict("points"_a = ephemeris.size(),
                    "first_utc"_a = timeOf(isEmpty ? std::nullopt : std::optional(ephemeris.times.front())),
                    "last_utc"_a = timeOf(isEmpty ? std::nullopt : std::optional(ephemeris.times.back())),
                    "spacing_s"_a = spacing, "interpolation"_a = interpolationOf(found.interpolation),
                    "covariances"_a = found.covariances, "findings"_a = findings);
}

// Times of the points, and the estimated errors of the intervals, NaN where there are none.
std::pair<Doubles, Doubles> intervalErrors(std::int64_t key) {
    std::vector<double> times;
    const std::vector<double> errors = calculated([&] {
        const analysis::Ephemeris ephemeris = analysis::ephemerisOf(Satellite(key));
        const analysis::InterpolationErrors estimated = analysis::estimatedErrors(ephemeris);
        for (const Ds50 time : ephemeris.times)
            times.push_back(time.days);
        std::vector<double> all(ephemeris.intervals(), std::nan(""));
        for (std::size_t i = 0; i < estimated.spacing_m.size(); ++i)
            all[i] = estimated.error_m(i);
        return all;
    });
    return {arrayOf(times), arrayOf(errors)};
}

py::dict statisticsOf(const analysis::Comparison& comparison) {
    py::dict all;
    for (std::size_t i = 0; i < analysis::kQuantityNames.size(); ++i) {
        const auto [mean, rms, largest, when] = comparison.statistics(static_cast<analysis::Quantity>(i));
        all[analysis::kQuantityNames[i]] = py::dict("mean"_a = numberOf(mean), "rms"_a = numberOf(rms),
                                                    "largest"_a = numberOf(largest), "largest_utc"_a = timeOf(when));
    }
    return all;
}

py::object normalizedOf(const analysis::Comparison& comparison) {
    const auto normalized = comparison.normalized();
    if (!normalized) return py::none();
    return py::dict("count"_a = normalized->count, "median"_a = normalized->median, "largest"_a = normalized->largest,
                    "largest_utc"_a = timeOf(normalized->when), "share_above"_a = normalized->shareAbove);
}

py::object offsetOf(const analysis::Comparison& comparison) {
    const auto& offset = comparison.timeOffset;
    if (!offset) return py::none();
    return py::dict("seconds"_a = offset->seconds, "meaning"_a = textOrNone(offset->meaning),
                    "rms_m"_a = offset->rms.after_m);
}

py::object rotationOf(const analysis::Comparison& comparison) {
    const auto& rotation = comparison.rotation;
    if (!rotation) return py::none();
    return py::dict("degrees"_a = rotation->degrees, "axis"_a = tupleOf(rotation->axis),
                    "meaning"_a = textOrNone(rotation->meaning), "rms_m"_a = rotation->rms.after_m);
}

std::vector<Ds50> timesOf(const Satellite& a, const Span& span, std::optional<double> step_s) {
    if (!step_s) return analysis::timesWithin(a, span);
    const cli::TimeGrid grid(span.first.days, span.last.days, *step_s);
    std::vector<Ds50> times;
    for (std::int64_t i = 0; i < grid.size(); ++i)
        times.push_back({grid[i]});
    return times;
}

cli::GapsOfRecord gapsOf(const Satellite& satellite, const Span& span) {
    cli::Gaps gaps(satellite);
    const std::size_t count = gaps.countWithin(span);
    return {std::move(gaps), count};
}

// None if the two have no time in common. Differences have a row for each time: the time, the quantities, and the
// normalized distance.
py::object compare(std::int64_t keyOfA, std::int64_t keyOfB, double first, double last, std::optional<double> step_s) {
    const Satellite a(keyOfA);
    const Satellite b(keyOfB);
    const auto span = analysis::commonSpan(a, b, {{first}, {last}});
    if (!span) return py::none();
    if (step_s) requireTimesInMemory(cli::timesIn(span->last.days - span->first.days, *step_s));
    const analysis::Comparison comparison =
        calculated([&] { return analysis::compare(a, b, timesOf(a, *span, step_s)); });
    const auto [gapsOfA, gapsOfB] = calculated([&] { return std::pair(gapsOf(a, *span), gapsOf(b, *span)); });
    const std::size_t quantities = analysis::kQuantityNames.size();
    auto rows = newArray<double>({comparison.differences.size(), quantities + 2});
    double* value = rows.mutable_data();
    for (const analysis::Difference& difference : comparison.differences) {
        *value++ = difference.time.days;
        value = std::copy(difference.values.begin(), difference.values.end(), value);
        *value++ = difference.normalized;
    }
    return py::dict("first_utc"_a = span->first.days, "last_utc"_a = span->last.days,
                    "compared"_a = comparison.differences.size(), "unanswered"_a = comparison.unanswered,
                    "gaps_a"_a = gapsOfA.count, "gaps_b"_a = gapsOfB.count, "in_gaps_a"_a = gapsOfA.timesOf(comparison),
                    "in_gaps_b"_a = gapsOfB.timesOf(comparison), "statistics"_a = statisticsOf(comparison),
                    "normalized"_a = normalizedOf(comparison), "time_offset"_a = offsetOf(comparison),
                    "rotation"_a = rotationOf(comparison), "differences"_a = rows);
}

// One array for each column; missing values are NaN.
py::dict approaches(const std::vector<std::int64_t>& keys, double within_km, double step_s, double first, double last,
                    bool sameNumber, unsigned threads) {
    std::vector<Satellite> satellites;
    satellites.reserve(keys.size());
    for (const std::int64_t key : keys)
        satellites.emplace_back(key);
    const analysis::Approaches found = calculated([&] {
        analysis::ApproachOptions options;
        options.within_km = within_km;
        options.step_s = step_s;
        options.range = {{first}, {last}};
        options.sameNumber = sameNumber;
        options.threads = threads;
        return analysis::findApproaches(satellites, options);
    });
    const std::size_t count = found.events.size();
    auto indices = newArray<std::int64_t>({count, 2});
    auto values = newArray<double>({count, 7});
    auto atEnds = newArray<bool>({count});
    for (std::size_t i = 0; i < count; ++i) {
        const analysis::Approach& event = found.events[i];
        const double nan = std::nan("");
        const auto components = event.components_km.value_or(std::array{nan, nan, nan});
        indices.mutable_data(static_cast<py::ssize_t>(i))[0] = static_cast<std::int64_t>(event.a);
        indices.mutable_data(static_cast<py::ssize_t>(i))[1] = static_cast<std::int64_t>(event.b);
        const std::array row{event.time.days,  event.distance_km,         components[0], components[1], components[2],
                             event.speed_km_s, event.sigmas.value_or(nan)};
        std::copy(row.begin(), row.end(), values.mutable_data(static_cast<py::ssize_t>(i)));
        atEnds.mutable_data()[i] = event.atEnd;
    }
    return py::dict("indices"_a = indices, "values"_a = values, "at_end"_a = atEnds,
                    "answered"_a = arrayOf(found.answered), "pairs_across_frames"_a = found.pairsAcrossFrames,
                    "pairs_of_same_number"_a = found.pairsOfSameNumber, "in_unknown_frames"_a = found.inUnknownFrames,
                    "without_velocities"_a = found.withoutVelocities);
}

}  // namespace

void addAnalysis(py::module_& module) {
    module.def("check", &check);
    module.def("interval_errors", &intervalErrors);
    module.def("compare", &compare);
    module.def("approaches", &approaches);
}

}  // namespace vorlandi::python
