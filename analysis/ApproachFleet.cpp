#include "analysis/ApproachFleet.hpp"

#include <algorithm>
#include <utility>

#include "analysis/Steps.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {

std::optional<State> stateOf(const Satellite& satellite, Ds50 time) {
    const Outcome<State> outcome = satellite.try_state(time);
    if (!outcome || !positionOf(outcome.value).allFinite() || !velocityOf(outcome.value).allFinite())
        return std::nullopt;
    return outcome.value;
}

std::vector<Piece> piecesOf(const Satellite& satellite, Motion motion, const Span& range) {
    std::vector<Piece> pieces;
    for (const Span& span : answeredSpans(makeEphemeris(0, Frame::ECI, satellite.times(), {}))) {
        const Span piece{std::max(span.first, range.first), std::min(span.last, range.last)};
        if (!(piece.first < piece.last)) continue;
        const std::optional<State> first = stateOf(satellite, piece.first);
        const std::optional<State> last = stateOf(satellite, piece.last);
        if (first && last) pieces.push_back({piece, TwoBodyOrbit(*first, motion), TwoBodyOrbit(*last, motion)});
    }
    return pieces;
}

double answeredShare(const Satellite& satellite, const std::vector<Piece>& pieces, const Span& range) {
    const Outcome<Span> span = satellite.try_span();
    if (!span) return 0.0;
    const double wanted_s = elapsed_s(std::max(span.value.first, range.first), std::min(span.value.last, range.last));
    double answered_s = 0.0;
    for (const Piece& piece : pieces)
        answered_s += elapsed_s(piece.span.first, piece.span.last);
    return wanted_s > 0.0 ? answered_s / wanted_s : 0.0;
}

bool hasVelocities(const Satellite& satellite) {
    std::int32_t index = 1;
    for (auto point = satellite.try_point(index); point; point = satellite.try_point(++index))
        if (velocityOf(point.value.state) != Vector::Zero()) return true;
    return false;
}

bool areComparable(const Member& a, const Member& b, bool sameNumber) {
    return (a.isWanted || b.isWanted) && (sameNumber || a.number != b.number || !isName(a.number));
}

// Pieces that begin while others last are met in the order of time; most fleets have such a pair at once.
bool anyCompared(const Fleet& fleet, bool sameNumber) {
    std::vector<std::pair<Span, const Member*>> pieces;
    for (const Member& member : fleet.members)
        for (const Piece& piece : member.pieces)
            pieces.emplace_back(piece.span, &member);
    std::sort(pieces.begin(), pieces.end(), [](const auto& x, const auto& y) { return x.first.first < y.first.first; });
    std::vector<std::pair<Span, const Member*>> lasting;
    for (const auto& [span, member] : pieces) {
        std::erase_if(lasting, [begin = span.first](const auto& earlier) { return !(begin < earlier.first.last); });
        for (const auto& earlier : lasting)
            if (earlier.second != member && areComparable(*earlier.second, *member, sameNumber)) return true;
        lasting.emplace_back(span, member);
    }
    return false;
}

std::vector<Span> sharedSpans(const std::vector<Member>& members) {
    std::vector<std::pair<Ds50, int>> changes;
    for (const Member& member : members)
        for (const Piece& piece : member.pieces) {
            changes.emplace_back(piece.span.first, 1);
            changes.emplace_back(piece.span.last, -1);
        }
    std::sort(changes.begin(), changes.end());
    std::vector<Span> spans;
    int present = 0;
    for (const auto& [time, change] : changes) {
        if (present == 1 && change == 1) spans.push_back({time, time});
        if (present == 2 && change == -1) spans.back().last = time;
        present += change;
    }
    return spans;
}

}  // namespace vorlandi::analysis
