#include "analysis/ApproachSieve.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {
namespace {

constexpr double kJ2 = 1.0826e-3;
constexpr double kLeastRadius_km = 1000.0;
// Satellites that depart farther from their orbits are compared with all others, so that the cells stay small.
constexpr double kWild_km = 50.0;
// Of sun and moon at three times the distance of geostationary satellites, and of drag and manoeuvres at low thrust.
constexpr double kOtherForces_km_s2 = 1e-7;

// A cell's coordinates have 21 bits each, of which the outermost values are never used: the neighbour of a cell in x
// is the key plus or minus one.
constexpr int kBits = 21;
constexpr double kLargestCoordinate = (1 << (kBits - 1)) - 2;

std::uint64_t coordinate(double position_km, double edge_km) {
    // Everything farther out shares the outermost cells; pairs there are separated by their distance.
    const double cell = std::clamp(std::floor(position_km / edge_km), -kLargestCoordinate, kLargestCoordinate);
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(cell) + (1 << (kBits - 1)));
}

constexpr std::uint64_t kRow = std::uint64_t{1} << kBits;
constexpr std::uint64_t kLayer = kRow << kBits;
// Half of the rows around one: the other half has it as a neighbour.
constexpr std::array<std::uint64_t, 4> kRowsAhead = {kRow, kLayer - kRow, kLayer, kLayer + kRow};

bool isWild(const SievedState& state) { return !(state.excess <= kWild_km); }

}  // namespace

SievedState::SievedState(std::size_t index, const Vector& position_km, const Vector& velocity_km_s)
    : satellite(index), position(position_km), velocity(velocity_km_s) {
    // Nothing orbits nearer to the centre; bad points there still have bounds.
    const double r = std::max(position.norm(), kLeastRadius_km);
    const double rate2 = kMu_km3_s2 / (r * r * r);
    const Vector unit = position / r;
    const double speed2 = velocity.squaredNorm();
    acceleration = -rate2 * position;
    jerk = -rate2 * (velocity - 3.0 * velocity.dot(unit) * unit);
    // |d jerk / dt| <= mu/r^3 (4 |a| + 24 v^2 / r), for any direction of the velocity.
    snap = rate2 * (4.0 * rate2 * r + 24.0 * speed2 / r);
    perturbation = 3.0 * kJ2 * kMu_km3_s2 * std::pow(kEarthRadius_km / (r * r), 2) + kOtherForces_km_s2;
}

double SievedState::departure_km(const Vector& position_km, double seconds) const noexcept {
    const double t = seconds;
    return (position_km - position - t * (velocity + t / 2.0 * (acceleration + t / 3.0 * jerk))).norm();
}

// Two satellites in cells that don't touch are farther apart than this, and can't meet within half a step.
double ApproachSieve::cellEdge_km(const std::vector<SievedState>& states) const noexcept {
    double travel_km = 0.0;
    for (const SievedState& state : states) {
        if (isWild(state)) continue;
        const double t = halfStep_s_;
        const double accelerated =
            state.acceleration.norm() + state.perturbation + t / 3.0 * (state.jerk.norm() + t / 4.0 * state.snap);
        travel_km = std::max(travel_km, state.excess + t * (state.velocity.norm() + t / 2.0 * accelerated));
    }
    return within_km_ + 2.0 * travel_km;
}

void ApproachSieve::sortIntoCells(const std::vector<SievedState>& states, double edge_km) {
    cells_.clear();
    for (std::size_t i = 0; i < states.size(); ++i) {
        if (isWild(states[i])) continue;
        const Vector& position = states[i].position;
        cells_.push_back({coordinate(position.x(), edge_km) + kRow * coordinate(position.y(), edge_km) +
                              kLayer * coordinate(position.z(), edge_km),
                          static_cast<std::uint32_t>(i)});
    }
    std::sort(cells_.begin(), cells_.end(), [](const Cell& a, const Cell& b) { return a.key < b.key; });
}

// How far the distance of two satellites can depart from straight, uniform motion within half a step.
double ApproachSieve::departure_km(const SievedState& a, const SievedState& b) const noexcept {
    const double t = halfStep_s_;
    return a.excess + b.excess +
           t * t / 2.0 *
               ((a.acceleration - b.acceleration).norm() + a.perturbation + b.perturbation +
                t / 3.0 * ((a.jerk - b.jerk).norm() + t / 4.0 * (a.snap + b.snap)));
}

void ApproachSieve::testWild(const std::vector<SievedState>& states) {
    reach2_km2_ = std::numeric_limits<double>::infinity();
    for (std::size_t i = 0; i < states.size(); ++i) {
        if (!isWild(states[i])) continue;
        for (std::size_t j = 0; j < states.size(); ++j)
            if (j > i || !isWild(states[j])) test(states[i], states[j]);
    }
}

void ApproachSieve::test(const SievedState& a, const SievedState& b) {
    const Vector apart = b.position - a.position;
    if (apart.squaredNorm() > reach2_km2_) return;
    const Vector relative = b.velocity - a.velocity;
    const double speed2 = relative.squaredNorm();
    const double nearest_s = speed2 > 0.0 ? std::clamp(-apart.dot(relative) / speed2, -halfStep_s_, halfStep_s_) : 0.0;
    const double limit_km = within_km_ + departure_km(a, b);
    if ((apart + nearest_s * relative).squaredNorm() < limit_km * limit_km)
        candidates_.push_back(std::minmax(a.satellite, b.satellite));
}

const std::vector<ApproachSieve::Pair>& ApproachSieve::candidates(const std::vector<SievedState>& states) {
    candidates_.clear();
    const double edge_km = cellEdge_km(states);
    reach2_km2_ = edge_km * edge_km;
    sortIntoCells(states, edge_km);
    // The rows ahead advance together with the cells, since both are in rising order.
    std::array<std::size_t, kRowsAhead.size()> starts{};
    for (std::size_t i = 0; i < cells_.size(); ++i) {
        const SievedState& state = states[cells_[i].state];
        for (std::size_t j = i + 1; j < cells_.size() && cells_[j].key <= cells_[i].key + 1; ++j)
            test(state, states[cells_[j].state]);
        for (std::size_t row = 0; row < kRowsAhead.size(); ++row) {
            const std::uint64_t middle = cells_[i].key + kRowsAhead[row];
            std::size_t& start = starts[row];
            while (start < cells_.size() && cells_[start].key < middle - 1)
                ++start;
            for (std::size_t j = start; j < cells_.size() && cells_[j].key <= middle + 1; ++j)
                test(state, states[cells_[j].state]);
        }
    }
    testWild(states);
    return candidates_;
}

}  // namespace vorlandi::analysis
