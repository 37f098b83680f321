#include <fmt/format.h>

#include <array>
#include <cstddef>

#include "Measures.hpp"
#include "Measuring.hpp"

namespace vorlandi::accuracy {
namespace {

constexpr int kSpacings_s[] = {10, 20, 30, 45, 60, 90, 120, 180, 240, 300, 450, 600, 900, 1200, 1800, 2700, 3600};
constexpr int kHoles_min[] = {5, 10, 30, 60, 120, 180, 182};
constexpr int kSpacingsOfPositions_s[] = {10, 30, 60, 120, 300, 600};
constexpr int kWindows = 720;  // of each kind, over a day

enum class Velocities { True, Zero };

// Windows of four points, these seconds after the start of the window. Each state belongs to its stored time.
WindowErrors errorsOver(const Truth& truth, const std::array<int, 4>& offsets_s,
                        Velocities velocities = Velocities::True) {
    WindowErrors errors;
    for (int window = 0; window < kWindows; ++window) {
        std::array<Node, 4> nodes;
        for (std::size_t k = 0; k < nodes.size(); ++k) {
            const double time = kEpoch + window / double{kWindows} + offsets_s[k] / 86400.0;
            nodes[k] = {time, truth.at(time)};
            if (velocities == Velocities::Zero) nodes[k].state.velocity_km_s = {};
        }
        addWindow(truth, nodes, errors);
    }
    return errors;
}

}  // namespace

void measureSpacings(const Orbit& orbit, const Truth& truth) {
    for (const int spacing : kSpacings_s) {
        WindowErrors errors = errorsOver(truth, {0, spacing, 2 * spacing, 3 * spacing});
        report("inside", fmt::format("{}", spacing), orbit.name, errors.inside);
        report("ends", fmt::format("{}", spacing), orbit.name, errors.ends);
    }
}

void measureHoles(const Orbit& orbit, const Truth& truth) {
    for (const int hole : kHoles_min) {
        report("holes", fmt::format("{}", hole), orbit.name,
               errorsOver(truth, {0, 60, 60 + 60 * hole, 120 + 60 * hole}).inside);
        report("beside holes", fmt::format("{}", hole), orbit.name,
               errorsOver(truth, {0, 60, 120, 120 + 60 * hole}).inside);
    }
}

void measurePositionsAlone(const Orbit& orbit, const Truth& truth) {
    for (const int spacing : kSpacingsOfPositions_s) {
        WindowErrors errors = errorsOver(truth, {0, spacing, 2 * spacing, 3 * spacing}, Velocities::Zero);
        report("positions alone", fmt::format("{}", spacing), orbit.name, errors.inside);
        report("positions alone at ends", fmt::format("{}", spacing), orbit.name, errors.ends);
    }
}

}  // namespace vorlandi::accuracy
