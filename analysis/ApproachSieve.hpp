// Which pairs of a fleet can come close to each other within some seconds of a sample of all their states.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {

// A satellite at the time of the sample, on axes that don't rotate, with what bounds its motion around it.
struct SievedState {
    SievedState(std::size_t satellite, const Vector& position_km, const Vector& velocity_km_s);

    // How far a position some seconds after the sample is from where the motion would have brought the satellite.
    double departure_km(const Vector& position_km, double seconds) const noexcept;

    std::size_t satellite;
    Vector position;
    Vector velocity;
    Vector acceleration;  // of the two-body orbit, as is the jerk
    Vector jerk;
    double snap;          // an upper limit of the next derivative
    double perturbation;  // an upper limit of the natural accelerations not in the two-body orbit
    double excess = 0.0;  // the largest departure found, by thrust or faults of the data; counts in full
};

class ApproachSieve {
public:
    using Pair = std::pair<std::size_t, std::size_t>;

    // Pairs nearer than `within_km` at some time of at most `halfStep_s` before or after the sample.
    ApproachSieve(double within_km, double halfStep_s) noexcept : within_km_(within_km), halfStep_s_(halfStep_s) {}

    // The pairs that the motion doesn't rule out, unordered, each with the lower satellite first. Valid until the next
    // call.
    const std::vector<Pair>& candidates(const std::vector<SievedState>& states);

private:
    struct Cell {
        std::uint64_t key;
        std::uint32_t state;
    };

    double cellEdge_km(const std::vector<SievedState>& states) const noexcept;
    void sortIntoCells(const std::vector<SievedState>& states, double edge_km);
    void testWild(const std::vector<SievedState>& states);
    void test(const SievedState& a, const SievedState& b);
    double departure_km(const SievedState& a, const SievedState& b) const noexcept;

    double within_km_;
    double halfStep_s_;
    double reach2_km2_ = 0.0;  // pairs in cells that are farther apart than the edge of a cell are ruled out at once
    std::vector<Cell> cells_;
    std::vector<Pair> candidates_;
};

}  // namespace vorlandi::analysis
