// Point interpolation: which points answer a request, which requests are refused, and the revolution number.
#include "Vorlandi/VorlandiProcessing/PointInterpolation.hpp"

#include <bit>
#include <cmath>
#include <numeric>
#include <random>

#include "TestSupport.hpp"
#include "TimeLibrary/DateTexts.hpp"

namespace vorlandi::testing {
namespace {

constexpr double kMinute = 1.0 / 1440.0, kHalfMillisecond = 0.0005 / 86400.0;

// Start of the records: times near it have short binary forms, which a trip through TAI restores exactly.
constexpr double kStart = 27000.0;

struct Answer {
    std::int32_t status;
    Vorlanpoint point;
    std::string message;
};

Answer ask(const Vorlanrecord& record, double ds50UTC) {
    Answer answer{};
    answer.point.rev = 77;
    MessageText message;
    answer.status =
        PointInterpolator(record).InterpolateEP(utc2tai(ds50UTC), answer.point, message, WithCovariance::Yes);
    answer.message = message.view();
    return answer;
}

void expectEqual(const Answer& answer, const Answer& expected) {
    using Bits = std::array<std::uint64_t, 29>;
    ASSERT_TRUE(answer.status == expected.status && answer.message == expected.message) << answer.message;
    ASSERT_EQ(std::bit_cast<Bits>(answer.point), std::bit_cast<Bits>(expected.point));
}

// Random states of an orbit that crosses the equator often, these many minutes after a start.
Vorlanrecord recordAt(const std::vector<double>& minutes, std::mt19937_64& random, double start = kStart) {
    Vorlanrecord record;
    for (const double minute : minutes) {
        Vorlanpoint point;
        point.time = start + minute * kMinute;
        point.pos[2] = 5000.0 * std::sin(0.2 * minute);
        point.vel[2] = std::cos(0.2 * minute);
        point.cov[0] = minute;
        point.rev = 99999 + static_cast<std::int32_t>(random() % 3);
        record.points.append(point, &point);
    }
    return record;
}

// The rules one after another: the bisection as specified, with the last point that it probes.
Answer plainAnswer(const PointArray& points, double ds50UTC) {
    const double t = tai2utc(utc2tai(ds50UTC));
    const int n = points.count();
    if (points[0].time - t > kHalfMillisecond || t - points[n - 1].time > kHalfMillisecond)
        return {2, {}, "InterpolateEP: Request time out of ephemeris range."};
    int lo = 0, hi = n + 1, mid = 0;
    while (hi > lo + 1) {
        mid = (lo + hi) / 2;
        (t > points[mid - 1].time ? lo : hi) = mid;
    }
    const int first = std::clamp(lo - 2, 0, n - 4);
    for (int k = first; k < first + 4; ++k)
        if (std::abs(points[k].time - t) < 1e-12) return {0, points[k], ""};
    const double from = points[first].time, to = points[first + 3].time;
    const auto text = [](double time) { return std::string(ds50todate15(time).data(), 15); };
    if (to - from > 3 * 61.0 * kMinute)
        return {2,
                {},
                "InterpolateEP: Data points too far apart due to spacing or data gap. (" + text(from) + ", " +
                    text(to) + ")"};
    Answer answer{0, {}, ""};
    hermitevorlan({points.states() + first, points.covariances() + first}, t, answer.point);
    answer.point.rev = updaterev(answer.point, points[mid - 1], points[mid - 1].rev);
    return answer;
}

TEST(InterpolateEP, AnswersAsTheRulesSayInAnyOrderOfRequests) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    std::uniform_real_distribution<double> share(0.0, 1.0), near(-0.02, 0.02);
    std::vector<int> sizes(197);
    std::iota(sizes.begin(), sizes.end(), 4);
    sizes.insert(sizes.end(), {4321, 5007, 9002});  // with a directory of times, and points after its end
    for (const int n : sizes) {
        // Even, irregular around 61 minutes, in bursts, ever wider.
        std::vector<double> minutes{0.0};
        for (int k = 1; k < n; ++k) {
            const double steps[] = {22.5, 60.5 + share(random), k % 40 < 35 ? 0.01 : 100.0,
                                    0.02 + (n > 200 ? 1e-5 : 0.01) * k * k};
            minutes.push_back(minutes.back() + steps[n % 4]);
        }
        const Vorlanrecord record = recordAt(minutes, random);
        const double last = record.points.lastTime();
        PointInterpolator interpolator(record);
        std::vector<double> requests{kStart - 1.2 * kHalfMillisecond, kStart - 0.8 * kHalfMillisecond,
                                     last + 0.8 * kHalfMillisecond, last + 1.2 * kHalfMillisecond};
        for (int k = 0; k < n; ++k)
            requests.insert(requests.end(), {record.points[k].time, record.points[k].time + 1e-9,
                                             std::lerp(kStart, last, share(random)), requests.back() + near(random)});
        for (const double request : requests) {
            SCOPED_TRACE(request);
            const Answer expected = plainAnswer(record.points, request);
            expectEqual(ask(record, request), expected);
            Answer next{};
            MessageText message;
            next.status = interpolator.InterpolateEP(utc2tai(request), next.point, message, WithCovariance::Yes);
            next.message = message.view();
            expectEqual(next, expected);
        }
    }
}

TEST(InterpolateEP, RefusesPointsMoreThan61MinutesApart) {
    std::mt19937_64 random(testSeed());
    // From day 0 on, both times are exact to the bit: the limit, and the double after it.
    for (const double last : {183.0, std::nextafter(183.0, 184.0)}) {
        const Vorlanrecord record = recordAt({0.0, 61.0, 122.0, last}, random, 0.0);
        EXPECT_EQ(ask(record, 90.0 * kMinute).status, last > 183.0 ? 2 : 0);
    }
}

TEST(InterpolateEP, AnswersFewPointsOnlyAtTheirTimesAndASinglePointAtAny) {
    std::mt19937_64 random(testSeed());
    expectEqual(ask({}, kStart), {2, {}, "InterpolateEP: Buffer not initialized."});
    const Vorlanrecord one = recordAt({0.0}, random), three = recordAt({0.0, 22.5, 45.0}, random);
    for (const double time : {kStart, kStart - 1000.0, 1e300, double(NAN)})
        expectEqual(ask(one, time), {0, one.points[0], ""});
    for (int k = 0; k < 3; ++k)
        expectEqual(ask(three, three.points[k].time), {0, three.points[k], ""});
    const char* const tooFew = "InterpolateEP: Can not interpolate with less than 4 ephemeris data points";
    for (const double time : {kStart + 1e-9, kStart - 0.8 * kHalfMillisecond})
        expectEqual(ask(three, time), {2, {}, tooFew});
    expectEqual(ask(three, kStart - 1.2 * kHalfMillisecond),
                {2, {}, "InterpolateEP: Request time out of ephemeris range."});
}

TEST(Updaterev, CountsNorthwardCrossingsInTheDirectionOfTime) {
    // z, the other's z, vz, time, the other's time, revolution, what is counted
    // clang-format off
    const std::tuple<double, double, double, double, double, std::int32_t, std::int32_t> cases[] = {
        {1, -1, 1, 2, 1, 5, 6}, {-1, 1, 1, 1, 2, 5, 4}, {1, -1, -1, 2, 1, 5, 5}, {1, -1, 0, 2, 1, 5, 5},
        {1, 1, 1, 2, 1, 5, 5}, {0, -1, 1, 2, 1, 5, 5}, {1, -1, 1, 2, 2, 5, 6},
        {1, -1, 1, -0.0, 0.0, 5, 4},  // a zero difference counts by its sign
        {1, -1, 1, 2, 1, 99999, 0}, {1, 1, 1, 2, 1, 234567, 34567}, {1, -1, 1, 2, 1, -1, 0},
        {-1, 1, 1, 1, 2, 0, -1},
        {1, 1, 1, 2, 1, -100001, -1},  // the remainder keeps the sign
        {1, -1, 1, 2, 1, INT32_MAX, 83648}, {-1, 1, 1, 1, 2, INT32_MIN, -83649},
    };
    // clang-format on
    for (const auto& [z, otherZ, vz, time, otherTime, rev, expected] : cases) {
        Vorlanpoint a, b;
        a.pos[2] = z, a.vel[2] = vz, a.time = time;
        b.pos[2] = otherZ, b.time = otherTime;
        EXPECT_EQ(updaterev(a, b, rev), expected) << z << " " << time << " " << rev;
    }
}

}  // namespace
}  // namespace vorlandi::testing
