#include "analysis/ApproachSearch.hpp"

#include <algorithm>
#include <optional>

#include "analysis/PairApproaches.hpp"

namespace vorlandi::analysis {

ApproachSearch::ApproachSearch(const Fleet& fleet, const ApproachSamples& samples, const ApproachOptions& options)
    : fleet_(fleet), samples_(samples), options_(options), sieve_(options.within_km, options.step_s / 2.0 + 1e-5) {}

void ApproachSearch::examine(std::size_t sample, std::vector<Approach>& found) {
    window_ = samples_.window(sample);
    takeSample(samples_.time(sample));
    for (const auto& [a, b] : sieve_.candidates(sample_)) {
        const Member& first = fleet_.members[a];
        const Member& second = fleet_.members[b];
        if (areComparable(first, second, options_.sameNumber))
            addApproaches(first, second, fleet_.motion, window_, options_.within_km, found);
    }
}

// A satellite whose states begin or end near the sample is propagated along its orbit from there.
void ApproachSearch::takeSample(Ds50 time) {
    findPresent();
    takeStates(time);
    sample_.clear();
    origins_.clear();
    for (std::size_t i = 0; i < present_.size(); ++i) {
        const auto [member, piece] = present_[i];
        State state = states_[i];
        if (codes_[i] != 0)
            state = time < piece->span.first ? piece->atFirst.at(elapsed_s(piece->span.first, time))
                                             : piece->atLast.at(elapsed_s(piece->span.last, time));
        state = onInertialAxes(state, fleet_.motion);
        if (!positionOf(state).allFinite() || !velocityOf(state).allFinite()) continue;
        sample_.emplace_back(member, positionOf(state), velocityOf(state));
        origins_.push_back(i);
    }
    for (const Ds50 border : {window_.first, window_.last})
        takeDepartures(time, border);
}

void ApproachSearch::findPresent() {
    present_.clear();
    satellites_.clear();
    for (const Member& member : fleet_.members)
        for (const Piece& piece : member.pieces)
            if (piece.span.first < window_.last && window_.first <= piece.span.last) {
                present_.push_back({static_cast<std::size_t>(&member - fleet_.members.data()), &piece});
                satellites_.push_back(member.satellite);
                break;
            }
}

void ApproachSearch::takeStates(Ds50 time) {
    states_.resize(satellites_.size());
    codes_.resize(satellites_.size());
    try_states(satellites_, time, states_, codes_);
}

// How far the states at a border of the window, or where they begin or end in it, depart from the orbits.
void ApproachSearch::takeDepartures(Ds50 time, Ds50 border) {
    takeStates(border);
    for (std::size_t k = 0; k < sample_.size(); ++k) {
        const Piece& piece = *present_[origins_[k]].second;
        std::optional<State> state = states_[origins_[k]];
        Ds50 there = border;
        if (border < piece.span.first || piece.span.last < border) {
            there = border < piece.span.first ? piece.span.first : piece.span.last;
            state = stateOf(satellites_[origins_[k]], there);
        } else if (codes_[origins_[k]] != 0) {
            state.reset();
        }
        if (!state) continue;
        const double after_s = elapsed_s(time, there);
        const Vector position = positionOf(onInertialAxes(*state, fleet_.motion, after_s));
        sample_[k].excess = std::max(sample_[k].excess, sample_[k].departure_km(position, after_s));
    }
}

}  // namespace vorlandi::analysis
