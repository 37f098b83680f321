#include "Vorlandi/VorlandiProcessing/PointInterpolation.hpp"

#include <algorithm>
#include <cmath>

#include "TimeLibrary/DateTexts.hpp"
#include "TimeLibrary/TimeScales.hpp"

namespace vorlandi {
namespace {

constexpr std::int32_t kFound = 0;
constexpr std::int32_t kNotFound = 2;

constexpr double kSpanTolerance_s = 0.0005;
constexpr double kCoincidence_days = 1e-12;
constexpr double kLargestMeanSpacing_days = 0.04236111111111111;  // 61 minutes
constexpr std::int32_t kWindow = 4;
constexpr std::int32_t kRevolutionModulus = 100000;

// The points of a record by their index from 1.
class Points {
public:
    explicit Points(const PointArray& points) noexcept : first_(points.data()), count_(points.count()) {}
    std::int32_t count() const noexcept { return count_; }
    const Vorlanpoint& operator()(std::int32_t index) const noexcept { return first_[index - 1]; }
    double time(std::int32_t index) const noexcept { return first_[index - 1].time; }

private:
    const Vorlanpoint* first_;
    std::int32_t count_;
};

// Is `lo` the last point strictly earlier than t (0 if none is)?
bool isLastEarlier(const Points& points, std::int32_t lo, double t) noexcept {
    return (lo == 0 || t > points.time(lo)) && (lo == points.count() || !(t > points.time(lo + 1)));
}

// The last point strictly earlier than t, 0 if none. Evenly spaced points are found by their spacing;
// otherwise a bisection finds it.
std::int32_t lastEarlier(const Points& points, double t) noexcept {
    const std::int32_t n = points.count();
    const double spacings = (t - points.time(1)) / (points.time(n) - points.time(1)) * (n - 1);
    if (spacings >= 0.0 && spacings <= n) {
        const auto guess = static_cast<std::int32_t>(spacings) + 1;
        for (const std::int32_t lo : {guess, guess - 1, guess + 1}) {
            if (lo <= n && isLastEarlier(points, lo, t)) return lo;
        }
    }
    std::int32_t lo = 0;
    std::int32_t hi = n + 1;
    while (hi - lo > 1) {
        const std::int32_t mid = lo + (hi - lo) / 2;
        (t > points.time(mid) ? lo : hi) = mid;
    }
    return lo;
}

// The point that a bisection between 0 and n + 1 probes last when `lo` is the last one earlier than the
// request: lo or lo + 1. It carries the revolution number that a request is counted from.
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

// The revolution number of an interpolated point. Which of the two points around it is the reference only matters
// near a crossing of the equator, or where their numbers differ.
std::int32_t revolutionOf(const Vorlanpoint& point, const Points& points, std::int32_t lo) noexcept {
    const std::int32_t n = points.count();
    if (lo >= 1 && lo < n) {
        const Vorlanpoint& before = points(lo);
        const Vorlanpoint& after = points(lo + 1);
        const bool crossing = point.pos[2] * before.pos[2] < 0.0 || point.pos[2] * after.pos[2] < 0.0;
        if (!crossing && before.rev == after.rev) return before.rev % kRevolutionModulus;
    }
    const Vorlanpoint& reference = points(lastProbed(n, lo));
    return updaterev(point, reference, reference.rev);
}

std::string gapMessage(const Vorlanpoint& first, const Vorlanpoint& last) {
    const auto from = ds50todate15(first.time);
    const auto to = ds50todate15(last.time);
    return std::string("InterpolateEP: Data points too far apart due to spacing or data gap. (")
        .append(from.data(), from.size())
        .append(", ")
        .append(to.data(), to.size())
        .append(")");
}

bool coincides(const Vorlanpoint& point, double t) noexcept {
    return std::abs(t - point.time) < kCoincidence_days;
}

// The first of the points first to last that stands at t, or null.
const Vorlanpoint* pointAt(const Points& points, std::int32_t first, std::int32_t last, double t) noexcept {
    for (std::int32_t i = first; i <= last; ++i) {
        if (coincides(points(i), t)) return &points(i);
    }
    return nullptr;
}

std::int32_t interpolate(const Points& points, double t, Vorlanpoint& point, std::string& message,
                         Covariance covariance) {
    const std::int32_t n = points.count();
    const std::int32_t lo = lastEarlier(points, t);
    const std::int32_t last = std::min(std::max(lo - 1, 1) + kWindow - 1, n);
    const std::int32_t first = last - (kWindow - 1);
    if (const Vorlanpoint* const stored = pointAt(points, first, last, t)) {
        point = *stored;
        return kFound;
    }
    if ((points.time(last) - points.time(first)) / 3.0 > kLargestMeanSpacing_days) {
        message = gapMessage(points(first), points(last));
        return kNotFound;
    }
    hermitevorlan(std::span<const Vorlanpoint, kWindow>(&points(first), kWindow), t, point, covariance);
    point.rev = revolutionOf(point, points, lo);
    return kFound;
}

}  // namespace

std::int32_t updaterev(const Vorlanpoint& a, const Vorlanpoint& b, std::int32_t rev) noexcept {
    std::int64_t counted = rev;
    if (a.pos[2] * b.pos[2] < 0.0 && a.vel[2] > 0.0) counted += std::signbit(a.time - b.time) ? -1 : 1;
    return static_cast<std::int32_t>(counted % kRevolutionModulus);
}

std::int32_t InterpolateEP(const Vorlanrecord& record, double ds50TAI, Vorlanpoint& point,
                           std::string& message, Covariance covariance) {
    const double t = tai2utc(ds50TAI);
    const Points points(record.points);
    const std::int32_t n = points.count();
    point = Vorlanpoint{};
    if (n == 1) {
        point = points(1);
        return kFound;
    }
    if (n < 1) {
        message = "InterpolateEP: Buffer not initialized.";
        return kNotFound;
    }
    if ((t - points.time(1)) * 86400.0 < -kSpanTolerance_s ||
        (t - points.time(n)) * 86400.0 > kSpanTolerance_s) {
        message = "InterpolateEP: Request time out of ephemeris range.";
        return kNotFound;
    }
    if (n >= kWindow) return interpolate(points, t, point, message, covariance);
    if (const Vorlanpoint* const stored = pointAt(points, 1, n, t)) {
        point = *stored;
        return kFound;
    }
    message = "InterpolateEP: Can not interpolate with less than 4 ephemeris data points";
    return kNotFound;
}

}  // namespace vorlandi
