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

// Out of line, so that an answer makes no room for them.
[[gnu::cold, gnu::noinline]] std::int32_t fail(std::string_view why, Vorlanpoint& point,
                                               MessageText& message) noexcept {
    point = Vorlanpoint{};
    message = why;
    return kFailure;
}

[[gnu::cold, gnu::noinline]] std::int32_t failInGap(const Vorlanstate& first, const Vorlanstate& last,
                                                    Vorlanpoint& point, MessageText& message) noexcept {
    return fail(MessageText("InterpolateEP: Data points too far apart due to spacing or data gap. (")
                    << ds50todate15(first.time) << ", " << ds50todate15(last.time) << ")",
                point, message);
}

void prefetchLines(const void* begin, std::size_t size) noexcept {
    for (std::size_t at = 0; at < size; at += kCacheLine)
        __builtin_prefetch(static_cast<const char*>(begin) + at);
    asm volatile("");  // GCC drops calls of a function that does nothing but prefetch
}

// The index (from 1) of the point before t if all points were evenly spaced; 0 for a time far outside.
std::int32_t evenlySpaced(const PointArray& points, double t) noexcept {
    const double first = points.firstTime();
    const double spacings = (t - first) / (points.lastTime() - first) * (points.count() - 1);
    return spacings >= 0.0 && spacings <= points.count() ? static_cast<std::int32_t>(spacings) + 1 : 0;
}

void prefetchWindow(const PointArray& points, std::int32_t guess, Covariance covariance) noexcept {
    const std::int32_t first = std::clamp(guess, 2, points.count() - 2) - 2;
    prefetchLines(points.states() + first, kWindow * sizeof(Vorlanstate));
    if (covariance == Covariance::Wanted && points.covariances() != nullptr) {
        prefetchLines(points.covariances() + first, kWindow * sizeof(PointCovariance));
    }
}

// The last point earlier than t, if the first one is earlier and the last one is not; `guess` is from evenlySpaced().
// Points are probed many at a time: the probes of a round don't wait for each other, and memory is what they wait for.
// So a million points take about as many rounds as a bisection of thirty, wherever they lie.
std::int32_t lastEarlierOf(const PointArray& points, double t, std::int32_t guess) noexcept {
    constexpr std::int32_t kWays = 16;
    const std::int32_t n = points.count();
    const auto isEarlier = [&](std::int32_t index) { return points.state(index - 1).time < t; };
    // Steps of random length move a point away from its even place by less than this.
    const auto near = static_cast<std::int32_t>(std::sqrt(static_cast<double>(n)) / 2) + 1;
    const std::int64_t places[] = {guess - std::int64_t{kWays} * near, guess - near, guess + near,
                                   guess + std::int64_t{kWays} * near};
    std::int32_t bounds[6] = {1, 0, 0, 0, 0, n};
    std::int32_t earlier = 0;
    for (std::size_t k = 0; k < 4; ++k) {
        bounds[k + 1] = static_cast<std::int32_t>(std::clamp<std::int64_t>(places[k], 1, n));
        earlier += isEarlier(bounds[k + 1]);
    }
    std::int32_t lo = bounds[earlier], hi = bounds[earlier + 1];
    while (hi - lo > 1) {
        const std::int32_t step = (hi - lo - 1) / kWays + 1;
        earlier = 0;
        for (std::int32_t k = 1; k < kWays; ++k)
            earlier += isEarlier(std::min(lo + k * step, hi));
        lo += earlier * step;
        hi = std::min(hi, lo + step);
    }
    return lo;
}

}  // namespace

void prefetchPoints(const Vorlanrecord& record, double ds50UTC, Covariance covariance) noexcept {
    const PointArray& points = record.points;
    if (points.count() >= kWindow) prefetchWindow(points, evenlySpaced(points, ds50UTC), covariance);
}

PrefetchAhead::PrefetchAhead(const Vorlanrecord& record, Covariance covariance) noexcept
    : points_(record.points), covariance_(covariance) {
    if (points_.count() >= kWindow) perDay_ = (points_.count() - 1) / (points_.lastTime() - points_.firstTime());
}

void PrefetchAhead::operator()(double present, double coming) const noexcept {
    // Written so that what is not a number, or has no points, is not prefetched.
    if (!(std::abs(coming - present) * perDay_ > 2 * kWindow)) return;
    const double spacings = (coming - points_.firstTime()) * perDay_;
    if (!(spacings >= 0.0 && spacings <= points_.count())) return;
    prefetchWindow(points_, static_cast<std::int32_t>(spacings) + 1, covariance_);
}

// Is `lo` the last point strictly earlier than t (0 if none is)?
bool PointInterpolator::isLastEarlier(std::int32_t lo, double t) const noexcept {
    return (lo == 0 || t > time(lo)) && (lo == points_.count() || !(t > time(lo + 1)));
}

// The last point strictly earlier than t, 0 if none. Tries the last request's point, then the one that even spacing
// suggests, then searches.
std::int32_t PointInterpolator::lastEarlier(double t) const noexcept {
    const std::int32_t n = points_.count();
    for (const std::int32_t lo : {lo_, lo_ + 1}) {
        if (lo_ >= 0 && lo <= n && isLastEarlier(lo, t)) return lo;
    }
    const std::int32_t guess = evenlySpaced(points_, t);
    if (guess > 0) {
        for (const std::int32_t lo : {guess, guess - 1, guess + 1}) {
            if (lo <= n && isLastEarlier(lo, t)) return lo;
        }
    }
    if (!(points_.firstTime() < t)) return 0;
    if (points_.lastTime() < t) return n;
    return lastEarlierOf(points_, t, guess);
}

bool PointInterpolator::coincides(std::int32_t index, double t) const noexcept {
    return std::abs(t - time(index)) < kCoincidence_days;
}

// The first point at t among the points first to last, 0 if there is none.
std::int32_t PointInterpolator::coincident(std::int32_t first, std::int32_t last, double t) const noexcept {
    for (std::int32_t i = first; i <= last; ++i) {
        if (coincides(i, t)) return i;
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
    // No point is nearer than the two around t.
    if ((lo >= 1 && coincides(lo, t)) || (lo < points_.count() && coincides(lo + 1, t))) [[unlikely]] {
        result = points_[coincident(first, last, t) - 1];
        return kSuccess;
    }
    if (first != first_) {
        if ((time(last) - time(first)) / 3.0 > kLargestMeanSpacing_days) [[unlikely]]
            return failInGap(state(first), state(last), result, message);
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
