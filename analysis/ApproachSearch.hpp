// The search for close approaches among the satellites of one frame, window by window.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "analysis/ApproachFleet.hpp"
#include "analysis/ApproachSamples.hpp"
#include "analysis/ApproachSieve.hpp"
#include "analysis/Approaches.hpp"

namespace vorlandi::analysis {

// Each thread has its own.
class ApproachSearch {
public:
    ApproachSearch(const Fleet& fleet, const ApproachSamples& samples, const ApproachOptions& options);

    // Adds the approaches in the window of a sample.
    void examine(std::size_t sample, std::vector<Approach>& found);

private:
    void takeSample(Ds50 time);
    void findPresent();
    void takeStates(Ds50 time);
    void takeDepartures(Ds50 time, Ds50 border);

    const Fleet& fleet_;
    const ApproachSamples& samples_;
    const ApproachOptions& options_;
    ApproachSieve sieve_;
    Span window_{};
    std::vector<std::pair<std::size_t, const Piece*>> present_;
    std::vector<Satellite> satellites_;
    std::vector<State> states_;
    std::vector<std::int32_t> codes_;
    std::vector<SievedState> sample_;
    std::vector<std::size_t> origins_;  // of the sampled ones, among those present
};

}  // namespace vorlandi::analysis
