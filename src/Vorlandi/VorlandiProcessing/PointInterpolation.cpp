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
[[gnu::noinline]] std::int32_t lastProbed(std::int32_t n, std::int32_t lo) noexcept {
    std::int32_t below = 0;
    std::int32_t above = n + 1;
    std::int32_t mid = 0;
    while (above - below > 1) {
        mid = below + (above - below) / 2;
        (mid <= lo ? below : above) = mid;
    }
    return mid;
}

// Out of line, so that an answer reserves no room for them.
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

void prefetchWindow(const PointArray& points, std::int32_t guess, WithCovariance covariance) noexcept {
    const std::int32_t first = std::clamp(guess, 2, points.count() - 2) - 2;
    prefetchLines(points.states() + first, kWindow * sizeof(Vorlanstate));
    if (covariance == WithCovariance::Yes && points.covariances() != nullptr) {
        prefetchLines(points.covariances() + first, kWindow * sizeof(PointCovariance));
    }
}

// The last index from `lo` on that is early, if `lo` is and `hi` is not. Looks within `near` of a guess first, then at
// eight parts of what is left at a time: the probes of a round wait for memory, but not for each other.
template <class IsEarly>
std::int32_t lastEarly(std::int32_t lo, std::int32_t hi, std::int32_t guess, std::int32_t near,
                       const IsEarly& isEarly) noexcept {
    constexpr std::int32_t kParts = 8;
    const std::int64_t far = std::int64_t{kParts} * near;
    const std::int64_t places[] = {guess - far, guess - near, guess + near, guess + far};
    std::int32_t bounds[6] = {lo, 0, 0, 0, 0, hi};
    std::int32_t early = 0;
    for (std::size_t k = 0; k < 4; ++k) {
        bounds[k + 1] = static_cast<std::int32_t>(std::clamp<std::int64_t>(places[k], lo, hi));
        early += isEarly(bounds[k + 1]);
    }
    lo = bounds[early], hi = bounds[early + 1];
    while (hi - lo > 1) {
        const std::int32_t step = (hi - lo - 1) / kParts + 1;
        early = 0;
        for (std::int32_t k = 1; k < kParts; ++k)
            early += isEarly(std::min(lo + k * step, hi));
        lo += early * step;
        hi = std::min(hi, lo + step);
    }
    return lo;
}

// The last point earlier than t, if the first one is earlier and the last one is not. The guess assumes even spacing.
[[gnu::noinline]] std::int32_t lastEarlierOf(const PointArray& points, double t, std::int32_t guess) noexcept {
    constexpr std::int32_t kStride = TimeDirectory::kStride;
    const auto isEarly = [&](std::int32_t index) { return points.state(index - 1).time < t; };
    const std::int32_t n = points.count(), entries = points.directory().count();
    // Steps of random length seldom move a point further than this from its even place.
    const auto near = static_cast<std::int32_t>(std::sqrt(static_cast<double>(n)) / 2) + 1;
    if (entries == 0) return lastEarly(1, n, guess, near, isEarly);
    const double* const times = points.directory().times();
    std::int32_t entry = entries - 1;
    if (!(times[entry] < t)) {
        entry = lastEarly(0, entry, guess / kStride, near / kStride + 1,
                          [&](std::int32_t index) { return times[index] < t; });
    }
    const bool isLast = entry == entries - 1;
    const std::int32_t lo = entry * kStride + 1, hi = isLast ? n : lo + kStride;
    const double until = isLast ? points.lastTime() : times[entry + 1];
    const double share = (t - times[entry]) / (until - times[entry]);
    // Written so that infinite times, which have no ratio, also produce an index.
    const auto place = lo + (share > 0.0 && share < 1.0 ? static_cast<std::int32_t>(share * (hi - lo)) : 0);
    prefetchLines(&points.state(std::clamp(place, 3, n - 2) - 3), 5 * sizeof(Vorlanstate));
    return lastEarly(lo, hi, place, 3, isEarly);
}

}  // namespace

void prefetchPoints(const Vorlanrecord& record, double ds50UTC, WithCovariance covariance) noexcept {
    const PointArray& points = record.points;
    if (points.count() >= kWindow) prefetchWindow(points, EvenSpacing(points).pointBefore(ds50UTC), covariance);
}

void PointInterpolator::prefetch(double ds50UTC, WithCovariance covariance) const noexcept {
    if (points_.count() >= kWindow) prefetchWindow(points_, evenSpacing_.pointBefore(ds50UTC), covariance);
}

// Is `lo` the last point strictly earlier than t (0 if none is)?
inline bool PointInterpolator::isLastEarlier(std::int32_t lo, double t) const noexcept {
    return (lo == 0 || t > time(lo)) && (lo == points_.count() || !(t > time(lo + 1)));
}

// The last point strictly earlier than t, 0 if none. Tries the one that even spacing suggests, then the last request's,
// then searches.
[[gnu::always_inline]] inline std::int32_t PointInterpolator::lastEarlier(double t) const noexcept {
    const std::int32_t n = points_.count();
    const std::int32_t guess = evenSpacing_.pointBefore(t);
    if (guess > 0) {
        for (const std::int32_t lo : {guess, guess - 1, guess + 1}) {
            if (lo <= n && isLastEarlier(lo, t)) return lo;
        }
    }
    for (const std::int32_t lo : {lo_, lo_ + 1}) {
        if (lo_ >= 0 && lo <= n && isLastEarlier(lo, t)) return lo;
    }
    if (!(points_.firstTime() < t)) return 0;
    if (points_.lastTime() < t) return n;
    return lastEarlierOf(points_, t, guess);
}

inline bool PointInterpolator::coincides(std::int32_t index, double t) const noexcept {
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
[[gnu::always_inline]] inline std::int32_t PointInterpolator::revolutionOf(
    const Vorlanstate& interpolated) const noexcept {
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

[[gnu::always_inline]] inline std::int32_t PointInterpolator::interpolate(double t, Vorlanpoint& result,
                                                                          MessageText& message,
                                                                          WithCovariance covariance) {
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
                                              WithCovariance covariance) {
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
