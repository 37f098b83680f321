// Point interpolation: which points answer a request, which requests are refused, and the revolution number.
#include "Vorlandi/VorlandiProcessing/PointInterpolation.hpp"

#include <bit>
#include <cmath>
#include <functional>
#include <random>

#include "TestSupport.hpp"
#include "TimeLibrary/DateTexts.hpp"
#include "TimeLibrary/TimeScales.hpp"

namespace vorlandi::testing {
namespace {

constexpr const char* kOutOfRange = "InterpolateEP: Request time out of ephemeris range.";
constexpr const char* kTooFew = "InterpolateEP: Can not interpolate with less than 4 ephemeris data points";
constexpr double kMinute = 1.0 / 1440.0;

// Start of most records: times near it have short binary forms, which the TAI scale gives back exactly.
constexpr double kStart = 27000.0;

Vorlanpoint pointAt(double time) {
    Vorlanpoint point;
    point.time = time;
    const double angle = 0.06 * (time - kStart) * 1440.0;
    point.pos[0] = 7000.0 * std::cos(angle);
    point.pos[1] = 3000.0 * std::sin(angle);
    point.pos[2] = 5000.0;
    point.vel[0] = -7.0 * std::sin(angle);
    point.vel[1] = 3.0 * std::cos(angle);
    point.rev = 42;
    point.cov[0] = 1.0 + angle;
    return point;
}

Vorlanrecord recordAt(const std::vector<double>& times) {
    Vorlanrecord record;
    for (const double time : times)
        record.points.append(pointAt(time));
    return record;
}

std::vector<double> every(double minutes, int count) {
    std::vector<double> times;
    for (int k = 0; k < count; ++k)
        times.push_back(kStart + k * minutes * kMinute);
    return times;
}

struct Answer {
    std::int32_t status;
    Vorlanpoint point;
    std::string message;
};

Answer ask(const Vorlanrecord& record, double ds50UTC) {
    Answer answer{77, pointAt(1.0), ""};
    answer.status = InterpolateEP(record, utc2tai(ds50UTC), answer.point, answer.message);
    return answer;
}

bool sameBits(const Vorlanpoint& a, const Vorlanpoint& b) {
    using Bits = std::array<std::uint64_t, 29>;
    return std::bit_cast<Bits>(a) == std::bit_cast<Bits>(b);
}

void expectRefused(const Answer& answer, const std::string& message) {
    EXPECT_EQ(answer.status, 2);
    EXPECT_EQ(answer.message, message);
    EXPECT_TRUE(sameBits(answer.point, Vorlanpoint{}));
}

void expectStored(const Answer& answer, const Vorlanpoint& stored) {
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.message, "");
    EXPECT_TRUE(sameBits(answer.point, stored)) << answer.point.time << " instead of " << stored.time;
}

TEST(InterpolateEP, AnswersEveryTimeWithTheOnlyPoint) {
    const Vorlanrecord record = recordAt({kStart});
    for (const double time : {kStart, kStart - 1000.0, kStart + 1e-9, 1e300, double(NAN)})
        expectStored(ask(record, time), record.points[0]);
}

TEST(InterpolateEP, RefusesARecordWithoutPoints) {
    Vorlanrecord record;
    expectRefused(ask(record, kStart), "InterpolateEP: Buffer not initialized.");
    record = recordAt({kStart});
    record.points.clear();
    expectRefused(ask(record, kStart), "InterpolateEP: Buffer not initialized.");
}

TEST(InterpolateEP, GivesTwoOrThreePointsOnlyAtTheirTimes) {
    for (const int count : {2, 3}) {
        const Vorlanrecord record = recordAt(every(22.5, count));
        for (int k = 0; k < count; ++k)
            expectStored(ask(record, record.points[k].time), record.points[k]);
        expectRefused(ask(record, kStart + 1e-9), kTooFew);
        expectRefused(ask(record, kStart + 10.0 * kMinute), kTooFew);
        expectRefused(ask(record, kStart - 0.0004 / 86400.0), kTooFew);
        expectRefused(ask(record, kStart - 0.0006 / 86400.0), kOutOfRange);
    }
}

TEST(InterpolateEP, ReachesHalfAMillisecondBeyondTheSpan) {
    const Vorlanrecord record = recordAt(every(11.25, 6));
    const double first = record.points.front().time, last = record.points.back().time;
    for (const double inside : {first - 0.0004 / 86400.0, last + 0.0004 / 86400.0}) {
        const Answer answer = ask(record, inside);
        EXPECT_EQ(answer.status, 0);
        EXPECT_NE(answer.point.time, first);
        EXPECT_NE(answer.point.time, last);
        EXPECT_NEAR(answer.point.time, inside, 4e-12);
    }
    expectRefused(ask(record, first - 0.0006 / 86400.0), kOutOfRange);
    expectRefused(ask(record, last + 0.0006 / 86400.0), kOutOfRange);
}

TEST(InterpolateEP, PutsTwoPointsOnEachSideOfTheRequestExceptAtTheEnds) {
    const Vorlanrecord record = recordAt(
        {kStart, kStart + 0.01, kStart + 0.015, kStart + 0.03, kStart + 0.035, kStart + 0.05, kStart + 0.06});
    const int n = record.points.count();
    for (int after = 1; after < n; ++after) {
        for (const double share : {0.001, 0.5, 0.999}) {
            const double request = std::lerp(record.points[after - 1].time, record.points[after].time, share);
            const double t = tai2utc(utc2tai(request));
            const int first = std::clamp(after - 2, 0, n - 4);
            Vorlanpoint expected;
            hermitevorlan(std::span(record.points.data() + first, 4), t, expected);
            expected.rev = 42;
            expectStored(ask(record, request), expected);
        }
    }
}

TEST(InterpolateEP, RefusesWindowsWiderThan61MinutesAPoint) {
    const auto gapMessage = [](double from, double to) {
        const auto first = ds50todate15(from), last = ds50todate15(to);
        return "InterpolateEP: Data points too far apart due to spacing or data gap. (" +
               std::string(first.data(), 15) + ", " + std::string(last.data(), 15) + ")";
    };
    EXPECT_EQ(gapMessage(kStart, kStart).size(), 103u);
    EXPECT_EQ(ask(recordAt(every(60.0, 8)), kStart + 0.15).status, 0);
    EXPECT_EQ(ask(recordAt(every(60.9, 8)), kStart + 0.15).status, 0);
    const Vorlanrecord sparse = recordAt(every(62.0, 8));
    expectRefused(ask(sparse, kStart + 0.01), gapMessage(sparse.points[0].time, sparse.points[3].time));

    // Points every 22.5 minutes, and three hours without any.
    std::vector<double> times = every(22.5, 8);
    for (const double time : every(22.5, 8))
        times.push_back(time + 7 * 22.5 * kMinute + 0.125);
    const Vorlanrecord gappy = recordAt(times);
    const double lastBefore = times[7], firstAfter = times[8];
    const std::pair<double, bool> requests[] = {{times[6] - 0.001, true},    {times[6] + 0.001, false},
                                                {lastBefore + 0.001, false}, {firstAfter - 0.001, false},
                                                {firstAfter + 0.001, false}, {times[9] + 0.001, true}};
    for (const auto& [request, found] : requests) {
        const Answer answer = ask(gappy, request);
        EXPECT_EQ(answer.status == 0, found) << request;
        EXPECT_EQ(answer.message.empty(), found);
    }
    for (int k = 0; k < gappy.points.count(); ++k)  // a stored time is served before the gap is looked at
        expectStored(ask(gappy, gappy.points[k].time), gappy.points[k]);
}

TEST(Updaterev, CountsNorthwardCrossingsInTheDirectionOfTime) {
    struct Case {
        double z, otherZ, vz, time, otherTime;
        std::int32_t rev, expected;
    };
    const Case cases[] = {
        {1, -1, 1, 2, 1, 5, 6},
        {-1, 1, 1, 1, 2, 5, 4},
        {1, -1, -1, 2, 1, 5, 5},  // southward
        {1, -1, 0, 2, 1, 5, 5},
        {1, 1, 1, 2, 1, 5, 5},  // no crossing
        {0, -1, 1, 2, 1, 5, 5},
        {1, -1, 1, 2, 2, 5, 6},  // a zero difference counts by its sign
        {1, -1, 1, -0.0, 0.0, 5, 4},
        {1, -1, 1, 0.0, -0.0, 5, 6},
        {1, -1, 1, 2, 1, 99999, 0},
        {1, 1, 1, 2, 1, 100000, 0},
        {1, 1, 1, 2, 1, 234567, 34567},
        {1, -1, 1, 2, 1, -1, 0},
        {-1, 1, 1, 1, 2, 0, -1},
        {1, 1, 1, 2, 1, -100001, -1},  // the remainder keeps the sign
        {1, -1, 1, 2, 1, INT32_MAX, 83648},
        {-1, 1, 1, 1, 2, INT32_MIN, -83649},
    };
    for (const Case& c : cases) {
        Vorlanpoint a, b;
        a.pos[2] = c.z;
        b.pos[2] = c.otherZ;
        a.vel[2] = c.vz;
        a.time = c.time;
        b.time = c.otherTime;
        EXPECT_EQ(updaterev(a, b, c.rev), c.expected) << "case " << &c - cases;
    }
}

TEST(InterpolateEP, CountsRevolutionsFromTheReferencePoint) {
    // Points 1 to 8, northward through the equator half way behind point `south`. For times behind point 3 the bisection
    // between 0 and 9 probes point 3 last, for times behind point 4 it probes point 5.
    struct Case {
        int south;
        std::int32_t before, after;         // revolution numbers of the points on both sides of the crossing
        std::int32_t southOfIt, northOfIt;  // of requests between the two points around it
    };
    const Case cases[] = {
        {3, 5, 6, 5, 6},           {3, 99999, 0, 99999, 0}, {3, -3, -2, -3, -2},  {3, 100007, 100008, 7, 8},
        {3, 5, 5, 5, 6},           {4, 5, 6, 5, 6},         {4, 99999, 0, -1, 0}, {4, -3, -2, -3, -2},
        {4, 100007, 100008, 7, 8}, {4, 5, 5, 4, 5},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        Vorlanrecord record;
        for (int k = 1; k <= 8; ++k) {
            Vorlanpoint point = pointAt(kStart + k * 0.001);
            point.vel[2] = 5.0;
            point.pos[2] = 5.0 * 86.4 * (k - c.south - 0.5);
            point.rev = k <= c.south ? c.before : c.after;
            record.points.append(point);
        }
        const double crossing = kStart + (c.south + 0.5) * 0.001;
        EXPECT_EQ(ask(record, crossing - 0.0001).point.rev, c.southOfIt);
        EXPECT_EQ(ask(record, crossing + 0.0001).point.rev, c.northOfIt);
        EXPECT_EQ(ask(record, kStart + 0.0013).point.rev, c.before % 100000);
        EXPECT_EQ(ask(record, kStart + 0.0077).point.rev, c.after % 100000);
    }
}

TEST(PointInterpolator, AnswersInAnyOrderAsASingleRequestDoes) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    std::vector<double> times = every(22.5, 30);
    for (double& time : times)
        time += time > kStart + 0.3 ? 0.125 : 0.0;  // three hours more between two points
    times[20] = std::lerp(times[19], times[21], 0.1);
    Vorlanrecord record;
    for (const double time : times) {
        Vorlanpoint point = pointAt(time);
        point.pos[2] = 5000.0 * std::sin(300.0 * time);
        point.vel[2] = std::cos(300.0 * time);
        point.rev = static_cast<std::int32_t>(random() % 3);
        record.points.append(point);
    }
    std::uniform_real_distribution<double> near(-0.02, 0.02),
        anywhere(times.front() - 1e-3, times.back() + 1e-3);
    PointInterpolator interpolator(record);
    Answer answer{};
    double request = kStart;
    for (int k = 0; k < 20000; ++k) {
        request = k % 7 == 0    ? times[random() % times.size()]
                  : k % 11 == 0 ? anywhere(random)
                                : request + near(random);
        const Answer single = ask(record, request);
        answer.message.clear();
        answer.status = interpolator.at(utc2tai(request), answer.point, answer.message, Covariance::Wanted);
        ASSERT_EQ(answer.status, single.status) << std::hexfloat << request;
        ASSERT_EQ(answer.message, single.message);
        ASSERT_TRUE(sameBits(answer.point, single.point)) << std::hexfloat << request;
    }
}

// The bisection as it is laid down, with the point it probes last.
struct Probes {
    int lo, lastMid;
};
Probes bisect(const std::vector<double>& times, double t) {
    int lo = 0, hi = static_cast<int>(times.size()) + 1, mid = 0;
    for (;;) {
        mid = (lo + hi) / 2;
        if (t > times[static_cast<std::size_t>(mid - 1)]) {
            lo = mid;
            if (hi == mid + 1) break;
        } else {
            hi = mid;
            if (mid == lo + 1) break;
        }
    }
    return {lo, mid};
}

TEST(InterpolateEP, TakesTheRevolutionFromThePointThatABisectionProbesLast) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    const std::function<double(int)> spacings[] = {
        [](int) { return 1.0; },                          // even
        [&](int) { return 0.9 + 0.2 * share(random); },   // nearly even
        [&](int) { return 0.01 + share(random); },        // irregular
        [](int k) { return k % 40 < 35 ? 0.01 : 20.0; },  // bursts
        [](int k) { return 0.02 + 1e-3 * k * k; },        // ever wider
    };
    for (int n = 4; n <= 300; ++n) {
        std::vector<double> times{kStart};
        const auto& spacing = spacings[n % 5];
        while (static_cast<int>(times.size()) < n)
            times.push_back(times.back() + spacing(static_cast<int>(times.size())) * kMinute);
        Vorlanrecord record = recordAt(times);
        Vorlanrecord numbered;
        for (int k = 0; k < n; ++k) {
            Vorlanpoint point = record.points[k];
            point.rev = k + 1;
            numbered.points.append(point);
        }
        std::vector<double> requests{kStart - 0.0004 / 86400.0, times.back() + 0.0004 / 86400.0};
        for (int k = 0; k < 60; ++k)
            requests.push_back(std::lerp(times.front(), times.back(), share(random)));
        for (const double time : times)
            requests.insert(requests.end(), {time - 1e-9, time, time + 1e-9});
        for (const double request : requests) {
            const double t = tai2utc(utc2tai(request));
            const Answer answer = ask(numbered, request);
            if (answer.status != 0) continue;  // before the span
            const auto [lo, reference] = bisect(times, t);
            const auto stored = std::find(times.begin(), times.end(), t);
            if (stored != times.end()) {
                ASSERT_EQ(answer.point.rev, stored - times.begin() + 1);
            } else {
                ASSERT_EQ(answer.point.rev, reference) << n << " points, " << lo << " before";
            }
        }
    }
}

}  // namespace
}  // namespace vorlandi::testing
