#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "Measures.hpp"
#include "Measuring.hpp"

namespace vorlandi::accuracy {
namespace {

using Window = std::array<Node, 4>;
// With at least 11 bits more than a double, its own roundings don't show.
using Long = long double;
static_assert(std::numeric_limits<Long>::digits >= 64);

// Exact, for times of the same day.
Long secondsBetween(double from, double to) { return (Long{to} - Long{from}) * 86400; }

struct ValueAndDerivative {
    Long value = 0, derivative = 0;
};

// The polynomial of degree 7 with these values and derivatives at the points, by divided differences over doubled
// nodes. The library sums weights instead.
ValueAndDerivative hermite(const Window& window, std::size_t axis, double time) {
    constexpr std::size_t kTerms = 8;
    std::array<Long, kTerms> node_s, column;
    for (std::size_t k = 0; k < kTerms; ++k) {
        node_s[k] = secondsBetween(window[0].time, window[k / 2].time);
        column[k] = window[k / 2].state.position_km[axis];
    }
    for (std::size_t order = 1; order < kTerms; ++order) {
        for (std::size_t k = kTerms - 1; k >= order; --k) {
            const Long step_s = node_s[k] - node_s[k - order];
            column[k] = step_s == 0 ? window[k / 2].state.velocity_km_s[axis] : (column[k] - column[k - 1]) / step_s;
        }
    }
    ValueAndDerivative result;
    const Long time_s = secondsBetween(window[0].time, time);
    for (std::size_t k = kTerms; k-- > 0;) {
        result.derivative = result.derivative * (time_s - node_s[k]) + result.value;
        result.value = result.value * (time_s - node_s[k]) + column[k];
    }
    return result;
}

// One unit in the last place of the largest of the coordinates.
double lastPlace(const Window& window, tools::Vector3 tools::State::*vector) {
    double largest = 0.0;
    for (const Node& node : window) {
        for (const double coordinate : node.state.*vector)
            largest = std::max(largest, std::abs(coordinate));
    }
    return std::nextafter(largest, std::numeric_limits<double>::infinity()) - largest;
}

struct Roundings {
    Sample position, velocity;  // in units of the last place

    void add(const Window& window, double time) {
        const auto answer = Satellite(window).at(time);
        if (!answer) throw std::runtime_error("a window was refused");
        Long position_km = 0, velocity_km_s = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const ValueAndDerivative exact = hermite(window, axis, time);
            position_km = std::max(position_km, std::abs(answer->state.position_km[axis] - exact.value));
            velocity_km_s = std::max(velocity_km_s, std::abs(answer->state.velocity_km_s[axis] - exact.derivative));
        }
        position.add(static_cast<double>(position_km) / lastPlace(window, &tools::State::position_km));
        velocity.add(static_cast<double>(velocity_km_s) / lastPlace(window, &tools::State::velocity_km_s));
    }
};

// Steps uniformly distributed between the shortest and the longest.
struct Grid {
    std::string name;
    double shortest_s, longest_s;
};

void reportRoundings(const std::string& row, std::string_view place, Roundings& found) {
    for (const auto& [column, share] :
         {std::pair{"half", 0.5}, {"99 of 100", 0.99}, {"999 of 1,000", 0.999}, {"all", 1.0}}) {
        const std::string name = row + ", " + std::string(place);
        report("roundings position", name, column, found.position.quantile(share));
        report("roundings velocity", name, column, found.velocity.quantile(share));
    }
}

void measureGrid(const Grid& grid, const Truth& truth, std::mt19937_64& random) {
    constexpr int kWindows = 20000;
    Roundings inside, ends;
    for (int k = 0; k < kWindows; ++k) {
        Window window;
        double time = kEpoch + uniform(random);
        for (Node& node : window) {
            node = {time, truth.at(time)};
            time += (grid.shortest_s + (grid.longest_s - grid.shortest_s) * uniform(random)) / 86400.0;
        }
        const auto between = [&](std::size_t before) {
            return window[before].time + (window[before + 1].time - window[before].time) * uniform(random);
        };
        inside.add(window, between(1));
        ends.add(window, between(k % 2 == 0 ? 0 : 2));
    }
    reportRoundings(grid.name, "inside", inside);
    reportRoundings(grid.name, "ends", ends);
}

}  // namespace

void measureRoundings(const Truth& lowOrbit, const Truth& geostationary) {
    std::mt19937_64 random(19500101);
    measureGrid({"LEO, 10 s", 10.0, 10.0}, lowOrbit, random);
    measureGrid({"LEO, 60 s", 60.0, 60.0}, lowOrbit, random);
    measureGrid({"GEO, 900 s", 900.0, 900.0}, geostationary, random);
    measureGrid({"LEO, 15 to 240 s", 15.0, 240.0}, lowOrbit, random);
}

}  // namespace vorlandi::accuracy
