#include "analysis/Explanations.hpp"

#include <Eigen/SVD>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>

#include "analysis/Vectors.hpp"

namespace vorlandi::analysis {
namespace {

constexpr std::size_t kLeastTimes = 3;
constexpr double kDegrees = 180.0 / std::numbers::pi;

// A queried some seconds after the times of B.
struct ShiftFit {
    std::size_t answered = 0;
    double before_km2 = 0.0;  // sums over the answered times of the squares of the distances
    double after_km2 = 0.0;
    double speed_km2_s2 = 0.0;    // and of the speeds
    double betterOffset_s = 0.0;  // by the velocities of A

    double share() const { return after_km2 / before_km2; }
};

class OffsetSearch {
public:
    OffsetSearch(const Satellite& a, const Track& b) : a_(a), b_(b), unshifted_(b.times.size()) {
        std::vector<std::int32_t> codes(b.times.size());
        a.try_states(b.times, unshifted_, codes);
    }

    // With `most` times at most, evenly chosen.
    ShiftFit fit(double offset_s, std::size_t most) const {
        const std::size_t stride = (b_.times.size() + most - 1) / most;
        std::vector<std::size_t> chosen;
        std::vector<Ds50> times;
        for (std::size_t i = 0; i < b_.times.size(); i += stride) {
            chosen.push_back(i);
            times.push_back(after(b_.times[i], offset_s));
        }
        std::vector<State> states(times.size());
        std::vector<std::int32_t> codes(times.size());
        a_.try_states(times, states, codes);
        ShiftFit fit;
        double alongTrack_km2_s = 0.0;
        for (std::size_t k = 0; k < times.size(); ++k) {
            if (codes[k] != 0) continue;
            const Vector b = vectorOf(b_.positions_km[chosen[k]]);
            const Vector missing = b - positionOf(states[k]);
            const Vector velocity = velocityOf(states[k]);
            // Times are rounded: the time that A was queried at counts, not the intended one.
            const double asked_s = elapsed_s(b_.times[chosen[k]], times[k]);
            ++fit.answered;
            fit.before_km2 += (b - positionOf(unshifted_[chosen[k]])).squaredNorm();
            fit.after_km2 += missing.squaredNorm();
            fit.speed_km2_s2 += velocity.squaredNorm();
            alongTrack_km2_s += velocity.dot(missing) + velocity.squaredNorm() * asked_s;
        }
        fit.betterOffset_s = alongTrack_km2_s / fit.speed_km2_s2;
        return fit;
    }

    // Newton's method; none if it leaves the ephemeris or does not converge.
    std::optional<TimeOffset> refined(double start_s) const {
        constexpr std::size_t kMostTimes = 10'000;
        constexpr int kMostSteps = 20;
        constexpr double kLastStep_s = 1e-6;
        double offset_s = start_s;
        for (int step = 0; step < kMostSteps; ++step) {
            const ShiftFit fit = this->fit(offset_s, kMostTimes);
            if (!isEnough(fit, kMostTimes)) return std::nullopt;
            const double change_s = fit.betterOffset_s - offset_s;
            offset_s = fit.betterOffset_s;
            if (!(std::abs(change_s) < kLastStep_s)) continue;
            const auto rms_m = [&](double sum_km2) {
                return std::sqrt(sum_km2 / static_cast<double>(fit.answered)) * kMetresPerKm;
            };
            return TimeOffset{offset_s, {rms_m(fit.before_km2), rms_m(fit.after_km2)}, nullptr};
        }
        return std::nullopt;
    }

    // Velocities lead to the nearest offset that fits, within a part of a revolution. Whole hours and a day are tried
    // as well.
    double start() const {
        constexpr std::size_t kMostTimes = 64;
        constexpr double kFarApart_s = 60.0;  // distances of that time at the speed of A
        constexpr int kMostHours = 14;        // of a time zone
        const ShiftFit unshifted = fit(0.0, kMostTimes);
        double best_s = unshifted.betterOffset_s;
        if (!(unshifted.before_km2 > kFarApart_s * kFarApart_s * unshifted.speed_km2_s2)) return best_s;
        double least = 1.0;
        const auto consider = [&](double offset_s) {
            const ShiftFit shifted = fit(offset_s, kMostTimes);
            if (!isEnough(shifted, kMostTimes) || !(shifted.share() < least)) return;
            least = shifted.share();
            best_s = offset_s;
        };
        consider(best_s);
        for (int hours = 1; hours <= kMostHours; ++hours)
            for (const double sign : {1.0, -1.0})
                consider(sign * hours * 3600.0);
        consider(kSecondsPerDay);
        consider(-kSecondsPerDay);
        return best_s;
    }

private:
    // An offset that leaves only a small part of the times explains little.
    bool isEnough(const ShiftFit& fit, std::size_t most) const {
        const std::size_t asked = std::min(b_.times.size(), most);
        return fit.answered >= kLeastTimes && 5 * fit.answered >= asked && std::isfinite(fit.betterOffset_s);
    }

    const Satellite& a_;
    const Track& b_;
    std::vector<State> unshifted_;
};

const char* meaningOf(double offset_s, Ds50 time) {
    constexpr double kTolerance_s = 0.002;
    const double size_s = std::abs(offset_s);
    const double tai_s = tai_minus_utc_s(time);
    const double gps_s = tai_s - kTaiMinusGps_s;
    struct Cause {
        double seconds;
        const char* meaning;
    };
    const Cause causes[] = {{gps_s, "GPS time taken as UTC"},
                            {tai_s, "TAI taken as UTC"},
                            {tai_s + kTtMinusTai_s, "TT taken as UTC"},
                            {kTaiMinusGps_s, "TAI taken as GPS time"},
                            {kTtMinusTai_s, "TT taken as TAI"},
                            {kTaiMinusGps_s + kTtMinusTai_s, "TT taken as GPS time"},
                            {gps_s + kTtMinusTai_s, "TT - TAI and GPS time - UTC added"},
                            {1.0, "a leap second"},
                            {kSecondsPerDay, "a day"}};
    for (const Cause& cause : causes)
        if (std::abs(size_s - cause.seconds) < kTolerance_s && cause.seconds > 0.0) return cause.meaning;
    const double hours = std::round(size_s / 3600.0);
    return hours >= 1.0 && std::abs(size_s - hours * 3600.0) < kTolerance_s ? "local time taken as UTC" : nullptr;
}

const char* meaningOf(double degrees, const Vector& axis, Ds50 time) {
    static const double kYear2000_days = ds50(std::chrono::sys_days{std::chrono::year{2000} / 1 / 1}).days;
    constexpr double kPrecessionDegreesPerYear = 0.01397;  // general precession in longitude
    const Vector poleOfEcliptic(0.0, -0.3978, 0.9175);
    const double expectedDegrees = kPrecessionDegreesPerYear * std::abs(time.days - kYear2000_days) / 365.25;
    const bool isAboutPole = std::abs(axis.dot(poleOfEcliptic)) > std::cos(5.0 / kDegrees);
    return isAboutPole && std::abs(degrees - expectedDegrees) < 0.03 * expectedDegrees
               ? "one is of date, the other of J2000"
               : nullptr;
}

}  // namespace

std::optional<TimeOffset> timeOffset(const Satellite& a, const Track& b) {
    if (b.times.size() < kLeastTimes) return std::nullopt;
    const OffsetSearch search(a, b);
    std::optional<TimeOffset> found = search.refined(search.start());
    if (found) found->meaning = meaningOf(found->seconds, b.times.front());
    return found;
}

// The singular values of the sum of the products of the positions give the rotation that leaves the least squares.
std::optional<Rotation> rotation(std::span<const std::array<double, 3>> a_km, const Track& b) {
    constexpr double kLine = 1e-12;  // of the largest singular value
    if (a_km.size() < kLeastTimes) return std::nullopt;
    Eigen::Matrix3d products = Eigen::Matrix3d::Zero();
    for (std::size_t i = 0; i < a_km.size(); ++i)
        products += vectorOf(b.positions_km[i]) * vectorOf(a_km[i]).transpose();
    const Eigen::JacobiSVD<Eigen::Matrix3d> parts(products, Eigen::ComputeFullU | Eigen::ComputeFullV);
    if (!(parts.singularValues()[1] > kLine * parts.singularValues()[0])) return std::nullopt;
    Eigen::Matrix3d handed = Eigen::Matrix3d::Identity();
    handed(2, 2) = (parts.matrixU() * parts.matrixV().transpose()).determinant() < 0.0 ? -1.0 : 1.0;
    const Eigen::Matrix3d turn = parts.matrixU() * handed * parts.matrixV().transpose();

    const Vector twiceSine(turn(2, 1) - turn(1, 2), turn(0, 2) - turn(2, 0), turn(1, 0) - turn(0, 1));
    if (!(twiceSine.norm() > 0.0)) return std::nullopt;
    double before_km2 = 0.0;
    double after_km2 = 0.0;
    for (std::size_t i = 0; i < a_km.size(); ++i) {
        const Vector positionOfB = vectorOf(b.positions_km[i]);
        before_km2 += (positionOfB - vectorOf(a_km[i])).squaredNorm();
        after_km2 += (positionOfB - turn * vectorOf(a_km[i])).squaredNorm();
    }
    const auto rms_m = [&](double sum_km2) {
        return std::sqrt(sum_km2 / static_cast<double>(a_km.size())) * kMetresPerKm;
    };
    const double degrees = std::atan2(twiceSine.norm(), turn.trace() - 1.0) * kDegrees;
    const Vector axis = twiceSine.normalized();
    return Rotation{
        degrees, arrayOf(axis), {rms_m(before_km2), rms_m(after_km2)}, meaningOf(degrees, axis, b.times.front())};
}

}  // namespace vorlandi::analysis
