#include "Vorlandi/VorlandiProcessing/PointInterpolation.hpp"

#include <algorithm>
#include <cmath>

#include "CoreServices/Status.hpp"
#include "CoreServices/Units.hpp"
#include "TimeLibrary/DateTexts.hpp"

namespace vorlandi {
namespace {

constexpr double kSpanTolerance_s = 0.0005;
constexpr double kCoincidence_days = 1e-12;
constexpr double kLargestMeanSpacing_days = 0.04236111111111111;  // 61 minutes
constexpr std::int32_t kWindow = HermiteWindow::kNodes;
constexpr std::int32_t kRevolutionModulus = 100000;

// The last point that a bisection between 0 and n + 1 probes if `lo` is the last point earlier than the request: lo or
// lo + 1. The revolution number of an answer is counted from it.
std::int32_t lastProbed(std::int32_t n, std::int32_t lo) noexcept {
    std::int32_t below = 0;
    std::int32_t above = n + 1;
    std::int32_t mid = 0;
    while (above - below > 1) {
        mid = below + (above - below) / 2;
        (mid <= lo ? below : above) = mid;
    }
    return mid;
}

MessageText gapMessage(const Vorlanstate& first, const Vorlanstate& last) noexcept {
    return MessageText("InterpolateEP: Data points too far apart due to spacing or data gap. (")
           << ds50todate15(first.time) << ", " << ds50todate15(last.time) << ")";
}

std::int32_t fail(std::string_view why, Vorlanpoint& point, MessageText& message) noexcept {
    point = Vorlanpoint{};
    message = why;
    return kFailure;
}

void prefetchLines(const void* begin, std::size_t size) noexcept {
    for (std::size_t at = 0; at < size; at += kCacheLine)
        __builtin_prefetch(static_cast<const char*>(begin) + at);
}

// The index (from 1) of the point before t if all points were evenly spaced; 0 for a time far outside.
std::int32_t evenlySpaced(const PointArray& points, double t) noexcept {
    const double first = points.firstTime();
    const double spacings = (t - first) / (points.lastTime() - first) * (points.count() - 1);
    return spacings >= 0.0 && spacings <= points.count() ? static_cast<std::int32_t>(spacings) + 1 : 0;
}

}  // namespace

void prefetchPoints(const Vorlanrecord& record, double ds50UTC, Covariance covariance) noexcept {
    const PointArray& points = record.points;
    const std::int32_t n = points.count();
    if (n < kWindow) return;
    const std::int32_t first = std::clamp(evenlySpaced(points, ds50UTC), 2, n - 2) - 2;
    prefetchLines(points.states() + first, kWindow * sizeof(Vorlanstate));
    if (covariance == Covariance::Wanted && points.covariances() != nullptr) {
        prefetchLines(points.covariances() + first, kWindow * sizeof(PointCovariance));
    }
}

// Is `lo` the last point strictly earlier than t (0 if none is)?
bool PointInterpolator::isLastEarlier(std::int32_t lo, double t) const noexcept {
    return (lo == 0 || t > time(lo)) && (lo == points_.count() || !(t > time(lo + 1)));
}

// The last point strictly earlier than t, 0 if none. Tries the last request's point, then the one that even spacing
// suggests, then bisects.
std::int32_t PointInterpolator::lastEarlier(double t) const noexcept {
    const std::int32_t n = points_.count();
    for (const std::int32_t lo : {lo_, lo_ + 1}) {
        if (lo_ >= 0 && lo <= n && isLastEarlier(lo, t)) return lo;
    }
    if (const std::int32_t guess = evenlySpaced(points_, t); guess > 0) {
        for (const std::int32_t lo : {guess, guess - 1, guess + 1}) {
            if (lo <= n && isLastEarlier(lo, t)) return lo;
        }
    }
    std::int32_t lo = 0;
    std::int32_t hi = n + 1;
    while (hi - lo > 1) {
        const std::int32_t mid = lo + (hi - lo) / 2;
        (t > time(mid) ? lo : hi) = mid;
    }
    return lo;
}

// The first point at t among the points first to last, 0 if there is none.
std::int32_t PointInterpolator::coincident(std::int32_t first, std::int32_t last, double t) const noexcept {
    for (std::int32_t i = first; i <= last; ++i) {
        if (std::abs(t - time(i)) < kCoincidence_days) return i;
    }
    return 0;
}

// The revolution number of an interpolated point. Which of the two points around it is the reference matters only near
// an equator crossing, or where their numbers differ.
std::int32_t PointInterpolator::revolutionOf(const Vorlanstate& interpolated) const noexcept {
    const std::int32_t n = points_.count();
    if (lo_ >= 1 && lo_ < n) {
        const Vorlanstate& before = state(lo_);
        const Vorlanstate& after = state(lo_ + 1);
        const bool crossing = interpolated.pos[2] * before.pos[2] < 0.0 || interpolated.pos[2] * after.pos[2] < 0.0;
        if (!crossing && before.rev == after.rev) return before.rev % kRevolutionModulus;
    }
    const Vorlanstate& reference = state(lastProbed(n, lo_));
    return updaterev(interpolated, reference, reference.rev);
}

std::int32_t PointInterpolator::interpolate(double t, Vorlanpoint& result, MessageText& message,
                                            Covariance covariance) {
    const std::int32_t lo = lastEarlier(t);
    const std::int32_t last = std::min(std::max(lo - 1, 1) + kWindow - 1, points_.count());
    const std::int32_t first = last - (kWindow - 1);
    lo_ = lo;
    if (const std::int32_t stored = coincident(first, last, t); stored != 0) {
        result = points_[stored - 1];
        return kSuccess;
    }
    if (first != first_) {
        if ((time(last) - time(first)) / 3.0 > kLargestMeanSpacing_days) {
            return fail(gapMessage(state(first), state(last)), result, message);
        }
        const PointCovariance* const covariances = points_.covariances();
        window_.emplace(&state(first), covariances == nullptr ? nullptr : covariances + (first - 1), leapTable_);
        first_ = first;
    }
    hermitevorlan(*window_, t, result, covariance);
    result.rev = revolutionOf(result);
    return kSuccess;
}

std::int32_t PointInterpolator::InterpolateEP(double ds50TAI, Vorlanpoint& result, MessageText& message,
                                              Covariance covariance) {
    const double t = tai2utc(ds50TAI, leapTable_);
    const std::int32_t n = points_.count();
    if (n == 1) {
        result = points_[0];
        return kSuccess;
    }
    if (n < 1) return fail("InterpolateEP: Buffer not initialized.", result, message);
    if ((t - points_.firstTime()) * kSecondsPerDay < -kSpanTolerance_s ||
        (t - points_.lastTime()) * kSecondsPerDay > kSpanTolerance_s) {
        return fail("InterpolateEP: Request time out of ephemeris range.", result, message);
    }
    if (n >= kWindow) return interpolate(t, result, message, covariance);
    if (const std::int32_t stored = coincident(1, n, t); stored != 0) {
        result = points_[stored - 1];
        return kSuccess;
    }
    return fail("InterpolateEP: Can not interpolate with less than 4 ephemeris data points", result, message);
}

std::int32_t updaterev(const Vorlanstate& a, const Vorlanstate& b, std::int32_t rev) noexcept {
    std::int64_t counted = rev;
    if (a.pos[2] * b.pos[2] < 0.0 && a.vel[2] > 0.0) counted += std::signbit(a.time - b.time) ? -1 : 1;
    return static_cast<std::int32_t>(counted % kRevolutionModulus);
}

}  // namespace vorlandi
