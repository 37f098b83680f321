// The satellites among which close approaches are sought, and when they have states.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "analysis/Ephemeris.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {

// A stretch of time in which a satellite has states, and its orbit at both ends.
struct Piece {
    Span span;
    TwoBodyOrbit atFirst;
    TwoBodyOrbit atLast;
};

struct Member {
    std::size_t index;  // among all satellites
    Satellite satellite;
    std::int32_t number;
    bool isWanted;              // all its pairs are compared; otherwise only those with a wanted one
    std::vector<Piece> pieces;  // by time
};

// The satellites of one frame.
struct Fleet {
    Motion motion;
    std::vector<Member> members;
};

// None where the satellite has no state, or one that is not finite.
std::optional<State> stateOf(const Satellite& satellite, Ds50 time);

// The stretches of the range in which the satellite has states.
std::vector<Piece> piecesOf(const Satellite& satellite, Motion motion, const Span& range);

// How much of its span in the range they cover, 0 to 1.
double answeredShare(const Satellite& satellite, const std::vector<Piece>& pieces, const Span& range);

// Whether a point has a velocity other than zero.
bool hasVelocities(const Satellite& satellite);

bool areComparable(const Member& a, const Member& b, bool sameNumber);

// Whether two members that are compared have states at a common time.
bool anyCompared(const Fleet& fleet, bool sameNumber);

// The spans in which two or more of the members have states, by time.
std::vector<Span> sharedSpans(const std::vector<Member>& members);

}  // namespace vorlandi::analysis
