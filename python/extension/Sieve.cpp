// The sieve of close approaches on samples of states, for searches that are divided among processes.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "Support.hpp"
#include "analysis/ApproachSieve.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::python {
namespace {

using analysis::SievedState;

constexpr std::size_t kNumbers = 7;  // of a sample: its state, and how far the satellite departs from that orbit

// Throws unless an array has this shape.
void requireShape(const char* name, const py::array& array, const std::vector<std::size_t>& shape) {
    if (!std::equal(array.shape(), array.shape() + array.ndim(), shape.begin(), shape.end(),
                    [](py::ssize_t size, std::size_t wanted) { return size == static_cast<py::ssize_t>(wanted); }))
        throw py::value_error(fmt::format("{} needs the shape ({})", name, fmt::join(shape, ", ")));
}

State stateAt(const double* row) { return {{row[0], row[1], row[2]}, {row[3], row[4], row[5]}}; }

// The states of a row each some seconds later along its orbit, on axes that don't rotate; NaN stays NaN.
Doubles propagated(const Doubles& states, const Doubles& seconds, bool isRotating) {
    const auto motion = isRotating ? analysis::Motion::Rotating : analysis::Motion::Inertial;
    const auto count = static_cast<std::size_t>(seconds.size());
    requireShape("states", states, {count, 6});
    auto results = newArray<double>({count, 6});
    double(*const result)[6] = statesIn(results);
    withoutLock(count, [&] {
        for (std::size_t i = 0; i < count; ++i) {
            State state = stateAt(states.data() + 6 * i);
            if (const double after = seconds.data()[i]; after != 0.0)
                state = analysis::TwoBodyOrbit(state, motion).at(after);
            const auto [position_km, velocity_km_s] = analysis::onInertialAxes(state, motion);
            std::copy(velocity_km_s.begin(), velocity_km_s.end(),
                      std::copy(position_km.begin(), position_km.end(), result[i]));
        }
    });
    return results;
}

// How far states some seconds after samples (states and departures so far, shape (n, 7)) are from the samples' orbits;
// NaN where there is no state.
Doubles departures(const Doubles& samples, const Doubles& states, const Doubles& seconds, bool isRotating) {
    const auto motion = isRotating ? analysis::Motion::Rotating : analysis::Motion::Inertial;
    const auto count = static_cast<std::size_t>(seconds.size());
    requireShape("samples", samples, {count, kNumbers});
    requireShape("states", states, {count, 6});
    auto results = newArray<double>({count});
    double* const result = results.mutable_data();
    withoutLock(count, [&] {
        for (std::size_t i = 0; i < count; ++i) {
            const State sample = stateAt(samples.data() + kNumbers * i);
            const double after = seconds.data()[i];
            const State later = analysis::onInertialAxes(stateAt(states.data() + 6 * i), motion, after);
            result[i] = SievedState(i, analysis::positionOf(sample), analysis::velocityOf(sample))
                            .departure_km(analysis::positionOf(later), after);
        }
    });
    return results;
}

using Candidate = std::array<std::int64_t, 3>;  // two satellites and a step

// The candidates of all steps of a slab, shape (satellites, steps, 7): states and departures. A satellite is absent
// where its state is NaN.
std::vector<Candidate> candidatesOf(const Doubles& slab, std::int64_t firstStep, const std::int64_t* numbers,
                                    double within_km, double halfStep_s) {
    const auto satellites = static_cast<std::size_t>(slab.shape(0));
    const auto steps = static_cast<std::size_t>(slab.shape(1));
    analysis::ApproachSieve sieve(within_km, halfStep_s);
    std::vector<SievedState> states;
    std::vector<Candidate> found;
    for (std::size_t step = 0; step < steps; ++step) {
        states.clear();
        for (std::size_t i = 0; i < satellites; ++i) {
            const double* const row = slab.data() + kNumbers * (i * steps + step);
            const State state = stateAt(row);
            const analysis::Vector position = analysis::positionOf(state);
            const analysis::Vector velocity = analysis::velocityOf(state);
            if (!position.allFinite() || !velocity.allFinite()) continue;
            states.emplace_back(i, position, velocity);
            states.back().excess = row[6];
        }
        for (const auto& [a, b] : sieve.candidates(states))
            if (numbers[a] != numbers[b] || numbers[a] < 0)
                found.push_back({static_cast<std::int64_t>(a), static_cast<std::int64_t>(b),
                                 firstStep + static_cast<std::int64_t>(step)});
    }
    return found;
}

Array<std::int64_t> sieve(const Doubles& slab, std::int64_t firstStep, const Array<std::int64_t>& numbers,
                          double within_km, double halfStep_s) {
    const auto steps = slab.ndim() == 3 ? static_cast<std::size_t>(slab.shape(1)) : 0;
    requireShape("slab", slab, {static_cast<std::size_t>(numbers.size()), steps, kNumbers});
    std::vector<Candidate> found;
    {
        const py::gil_scoped_release release;
        found = candidatesOf(slab, firstStep, numbers.data(), within_km, halfStep_s);
    }
    auto rows = newArray<std::int64_t>({found.size(), 3});
    std::int64_t* element = rows.mutable_data();
    for (const Candidate& candidate : found)
        element = std::copy(candidate.begin(), candidate.end(), element);
    return rows;
}

}  // namespace

void addSieve(py::module_& module) {
    const auto as = [](const char* name) { return py::arg(name).noconvert(); };
    module.def("propagated", &propagated, as("states"), as("seconds"), as("rotating"));
    module.def("departures", &departures, as("samples"), as("states"), as("seconds"), as("rotating"));
    module.def("sieve", &sieve, as("slab"), py::arg("first_step"), as("numbers"), py::arg("within_km"),
               py::arg("half_step_s"));
}

}  // namespace vorlandi::python
