#include "analysis/PairApproaches.hpp"

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>
#include <optional>

#include "analysis/Covariances.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

struct States {
    State a;
    State b;

    Vector apart() const { return positionOf(b) - positionOf(a); }
};

class PairSearch {
public:
    PairSearch(const Member& a, const Member& b, Motion motion, double within_km, std::vector<Approach>& found)
        : a_(a), b_(b), motion_(motion), within_km_(within_km), found_(found) {}

    void search(const Span& common, const Span& window) {
        for (const Ds50 end : {common.first, common.last})
            if (window.first <= end && end < window.last) describe(end, true);
        const Span part{std::max(common.first, window.first), std::min(common.last, window.last)};
        if (!(part.first < part.last)) return;
        constexpr int kParts = 4;
        Ds50 from = part.first;
        double rateBefore = rangeRate(from);
        for (int i = 1; i <= kParts; ++i) {
            const Ds50 to =
                i == kParts ? part.last : Ds50{std::lerp(part.first.days, part.last.days, i * (1.0 / kParts))};
            const double rateAfter = rangeRate(to);
            if (rateBefore < 0.0 && rateAfter >= 0.0) {
                const Ds50 root = nearest(from, rateBefore, to, rateAfter);
                const bool isEnd = root.days - common.first.days < kMicrosecond_days ||
                                   common.last.days - root.days < kMicrosecond_days;
                if (!isEnd && isDeep(from, root, to)) describe(root, false);
            }
            from = to;
            rateBefore = rateAfter;
        }
    }

private:
    std::optional<States> statesAt(Ds50 time) const {
        const std::optional<State> ofA = stateOf(a_.satellite, time);
        const std::optional<State> ofB = stateOf(b_.satellite, time);
        if (!ofA || !ofB) return std::nullopt;
        return States{*ofA, *ofB};
    }

    // The range rate times the range; zero where one has no state.
    double rangeRate(Ds50 time) const {
        const auto states = statesAt(time);
        return states ? states->apart().dot(velocityOf(states->b) - velocityOf(states->a)) : 0.0;
    }

    double distance_km(Ds50 time) const {
        const auto states = statesAt(time);
        return states ? states->apart().norm() : 0.0;
    }

    // The root of the range rate in a bracket, by regula falsi with the Illinois modification (Dowell and Jarratt 1971)
    // and a bisection wherever that gains little.
    Ds50 nearest(Ds50 low, double atLow, Ds50 high, double atHigh) const {
        int sameSide = 0;
        while (high.days - low.days > kMicrosecond_days / 4.0) {
            Ds50 middle{low.days - atLow * (high.days - low.days) / (atHigh - atLow)};
            if (std::abs(sameSide) > 3 || !(low < middle && middle < high))
                middle.days = low.days + (high.days - low.days) / 2.0;
            if (!(low < middle && middle < high)) break;  // neighbouring doubles
            const double atMiddle = rangeRate(middle);
            if (atMiddle < 0.0) {
                sameSide = std::min(sameSide, 0) - 1;
                if (sameSide < -1) atHigh /= 2.0;
                low = middle;
                atLow = atMiddle;
            } else {
                sameSide = std::max(sameSide, 0) + 1;
                if (sameSide > 1) atLow /= 2.0;
                high = middle;
                atHigh = atMiddle;
            }
        }
        return high;
    }

    // Whether a minimum is more than the rounding of a distance that stays the same.
    bool isDeep(Ds50 before, Ds50 root, Ds50 after) const {
        constexpr double kLeastDepth_km = 1e-9;
        return std::max(distance_km(before), distance_km(after)) - distance_km(root) > kLeastDepth_km;
    }

    void describe(Ds50 time, bool atEnd) {
        const auto states = statesAt(time);
        if (!states) return;
        const Vector apart = states->apart();
        if (!(apart.norm() < within_km_)) return;
        const Vector relative =
            velocityOf(onInertialAxes(states->b, motion_)) - velocityOf(onInertialAxes(states->a, motion_));
        Approach approach{a_.index, b_.index, time, atEnd, apart.norm(), {}, relative.norm(), {}};
        if (const std::optional<Axes> axes = orbitAxes(states->a, motion_))
            approach.components_km = onAxes(*axes, arrayOf(apart));
        approach.sigmas = sigmasOf(time, apart);
        found_.push_back(approach);
    }

    std::optional<double> sigmasOf(Ds50 time, const Vector& apart) const {
        Eigen::Matrix3d sum = Eigen::Matrix3d::Zero();
        for (const Member* const member : {&a_, &b_}) {
            const auto answer = member->satellite.try_state_and_covariance(time);
            if (!answer || !isCovariance(answer.value.second)) return std::nullopt;
            const Matrix6& covariance = answer.value.second;
            for (Eigen::Index row = 0; row < 3; ++row)
                for (Eigen::Index column = 0; column < 3; ++column)
                    sum(row, column) += covariance[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)];
        }
        const Eigen::LLT<Eigen::Matrix3d> factor(sum);
        if (factor.info() != Eigen::Success) return std::nullopt;
        return factor.matrixL().solve(apart).norm();
    }

    const Member& a_;
    const Member& b_;
    Motion motion_;
    double within_km_;
    std::vector<Approach>& found_;
};

}  // namespace

void addApproaches(const Member& a, const Member& b, Motion motion, const Span& window, double within_km,
                   std::vector<Approach>& found) {
    PairSearch pair(a, b, motion, within_km, found);
    for (const Piece& ofA : a.pieces)
        for (const Piece& ofB : b.pieces) {
            const Span common{std::max(ofA.span.first, ofB.span.first), std::min(ofA.span.last, ofB.span.last)};
            if (common.first < common.last) pair.search(common, window);
        }
}

}  // namespace vorlandi::analysis
