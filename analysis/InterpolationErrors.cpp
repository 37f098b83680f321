#include "analysis/InterpolationErrors.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "analysis/Dynamics.hpp"
#include "analysis/HermiteNodes.hpp"
#include "analysis/LeftOut.hpp"
#include "analysis/Steps.hpp"
#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr std::size_t kMostOfScatter = 10'000;  // points are enough for the median
constexpr std::array<double, 3> kInstants{0.25, 0.5, 0.75};

HermiteNodes<kWindow> windowNodes(const Ephemeris& ephemeris, std::size_t interval, double origin_s) {
    const std::size_t first = windowOf(interval, ephemeris.size());
    std::array<double, kWindow> times_s;
    for (std::size_t k = 0; k < kWindow; ++k)
        times_s[k] = ephemeris.elapsed_s[first + k] - origin_s;
    return HermiteNodes<kWindow>(times_s);
}

class Estimate {
public:
    Estimate(const Ephemeris& ephemeris, Motion motion) : ephemeris_(ephemeris), points_(ephemeris.size()) {
        errors_.motion = motion;
        errors_.spacing_m.assign(ephemeris.intervals(), kNone);
        errors_.digits_m.assign(ephemeris.intervals(), kNone);
        errors_.gain.assign(ephemeris.intervals(), kNone);
        errors_.residuals.assign(points_, {kNone, kNone, kNone});
        errors_.velocityResiduals.assign(points_, {kNone, kNone, kNone});
        leftOut_.assign(motion == Motion::Unknown ? points_ : 0, kNone);
    }

    InterpolationErrors result() {
        for (std::size_t i = 0; i < points_; ++i)
            examine(i);
        errors_.scatter_m = scatter_.empty() ? 0.0 : medianOf(std::move(scatter_)) * kMetresPerKm;
        for (std::size_t i = 0; i < ephemeris_.intervals(); ++i) {
            if (errors_.motion == Motion::Unknown && isAnswered(ephemeris_, i)) estimateWithoutOrbit(i);
            errors_.digits_m[i] = 3.0 * errors_.scatter_m * errors_.gain[i];
        }
        return std::move(errors_);
    }

private:
    void examine(std::size_t i) {
        const bool sampled = i % stride_ == 0 && i >= 3 && i + 3 < points_;
        const bool atEnd = i == 0 || i + 1 == points_;
        const Neighbourhood near(ephemeris_, ephemeris_.elapsed_s, i, errors_.motion, atEnd ? kReach : kReach - 1);
        if (i >= 2 && i + 2 < points_) leaveOutPoint(near, i);
        if (sampled) {
            // The library interpolates over the stored times, so the effect of their rounding belongs to the scatter.
            const Neighbourhood stored(ephemeris_, ephemeris_.stored_s, i, errors_.motion);
            const Neighbours<6> neighbours = neighboursOf<6>(stored);
            const LeftOut left = leaveOut(stored, neighbours, neighbours.nodes.at(0.0), positionAt(i));
            scatter_.push_back(left.residual.norm() / std::sqrt(1.0 + left.squaredGain));
        }
        // The last interval uses the orbit of its second point.
        if (i + 2 < points_ && isAnswered(ephemeris_, i)) estimate(near, i, i);
        if (i + 1 == points_ && isAnswered(ephemeris_, i - 1)) estimate(near, i, i - 1);
    }

    Vector positionAt(std::size_t point) const { return positionOf(ephemeris_.states[point]); }

    void leaveOutPoint(const Neighbourhood& near, std::size_t i) {
        const Neighbours<4> neighbours = neighboursOf<4>(near);
        const LeftOut position = leaveOut(near, neighbours, neighbours.nodes.at(0.0), positionAt(i));
        errors_.residuals[i] = {position.residual.norm(), position.curvature.norm(),
                                std::sqrt(1.0 + position.squaredGain)};
        if (!near.hasOrbit()) {
            const double distances = neighbours.nodes.distances(0.0);
            leftOut_[i] = position.residual.norm() / (distances * distances);
            return;
        }
        const double step_s = neighbours.meanStep_s;
        const LeftOut velocity =
            leaveOut(near, neighbours, neighbours.nodes.rateAt(0.0), velocityOf(ephemeris_.states[i]));
        errors_.velocityResiduals[i] = {step_s * velocity.residual.norm(), step_s * velocity.curvature.norm(),
                                        std::sqrt(1.0 + step_s * step_s * velocity.squaredGain)};
    }

    void estimate(const Neighbourhood& near, std::size_t centre, std::size_t interval) {
        const double origin_s = ephemeris_.elapsed_s[centre];
        const HermiteNodes<kWindow> nodes = windowNodes(ephemeris_, interval, origin_s);
        const auto first =
            static_cast<std::ptrdiff_t>(windowOf(interval, points_)) - static_cast<std::ptrdiff_t>(centre);
        const std::size_t begin = windowOf(interval, points_);
        const double step_s =
            (ephemeris_.elapsed_s[begin + kWindow - 1] - ephemeris_.elapsed_s[begin]) / (kWindow - 1.0);
        double squaredGain = 0.0;
        double largest_km = 0.0;
        for (const double instant : kInstants) {
            const double t_s = ephemeris_.elapsed_s[interval] - origin_s +
                               instant * (ephemeris_.elapsed_s[interval + 1] - ephemeris_.elapsed_s[interval]);
            const HermiteWeights<kWindow> weights = nodes.at(t_s);
            squaredGain = std::max(squaredGain, weights.squaredGain(step_s));
            if (!near.hasOrbit()) continue;
            Vector difference = -near.orbitPosition(t_s);
            for (std::size_t k = 0; k < kWindow; ++k) {
                const State& orbit = near.orbitAt(first + static_cast<std::ptrdiff_t>(k));
                difference += weights.position[k] * positionOf(orbit) + weights.velocity[k] * velocityOf(orbit);
            }
            largest_km = std::max(largest_km, difference.norm());
        }
        errors_.gain[interval] = std::sqrt(squaredGain);
        if (near.hasOrbit()) errors_.spacing_m[interval] = 2.0 * largest_km * kMetresPerKm;
    }

    // The error of a polynomial goes with the square of the product of the distances to its nodes. The window's error
    // therefore follows from leaving out the nearer inner points.
    void estimateWithoutOrbit(std::size_t interval) {
        constexpr int kParts = 8;
        if (points_ < 5) return;
        const HermiteNodes<kWindow> nodes = windowNodes(ephemeris_, interval, 0.0);
        double largest = 0.0;
        for (int part = 1; part < kParts; ++part) {
            const double step_s = ephemeris_.elapsed_s[interval + 1] - ephemeris_.elapsed_s[interval];
            largest = std::max(largest, std::abs(nodes.distances(ephemeris_.elapsed_s[interval] +
                                                                 step_s * static_cast<double>(part) / kParts)));
        }
        const auto inner = [&](std::size_t point) { return leftOut_[std::clamp(point, std::size_t{2}, points_ - 3)]; };
        const double perSquare_km = std::max(inner(interval), inner(interval + 1));
        errors_.spacing_m[interval] = 2.0 * perSquare_km * largest * largest * kMetresPerKm;
    }

    const Ephemeris& ephemeris_;
    std::size_t points_;
    std::size_t stride_ = points_ / kMostOfScatter + 1;
    InterpolationErrors errors_;
    std::vector<double> leftOut_;  // residuals over the squared product of distances, where there is no orbit
    std::vector<double> scatter_;
};

}  // namespace

InterpolationErrors estimatedErrors(const Ephemeris& ephemeris, Motion motion) {
    if (ephemeris.size() < kWindow) return {};
    return Estimate(ephemeris, motion).result();
}

InterpolationErrors estimatedErrors(const Ephemeris& ephemeris) {
    const Dynamics dynamics = examineDynamics(ephemeris);
    return estimatedErrors(ephemeris, dynamics.points > 0 ? dynamics.motion : motionOf(ephemeris.frame));
}

std::optional<double> errorAt(const Ephemeris& ephemeris, const InterpolationErrors& errors, Ds50 time) {
    constexpr double kCoincidence_days = 1e-12;  // times this close to a point return the point
    const auto& times = ephemeris.times;
    const auto next = std::lower_bound(times.begin(), times.end(), Ds50{time.days - kCoincidence_days});
    if (next != times.end() && next->days - time.days < kCoincidence_days) return 0.0;
    if (errors.spacing_m.empty()) return std::nullopt;
    // States are also answered a little beyond the ends.
    const auto after = std::clamp<std::ptrdiff_t>(next - times.begin(), 1, std::ssize(times) - 1);
    const double error_m = errors.error_m(static_cast<std::size_t>(after - 1));
    return std::isnan(error_m) ? std::nullopt : std::optional(error_m);
}

}  // namespace vorlandi::analysis
