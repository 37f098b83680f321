// Batches: the same bits as single queries, in any order, at any batch size and on any thread.
#include <cmath>
#include <cstring>
#include <future>
#include <random>

#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

using Keys = std::vector<std::int64_t>;
using Times = std::vector<double>;

struct Answers {
    explicit Answers(std::size_t n) : posVel(6 * n, 9.9), cov(36 * n, 9.9), revNums(n, -7), errCodes(n, -7) {}
    auto posVels(std::size_t k = 0) { return reinterpret_cast<double(*)[6]>(&posVel[6 * k]); }
    auto covMtxs(std::size_t k = 0) { return reinterpret_cast<double(*)[6][6]>(&cov[36 * k]); }
    bool operator==(const Answers& other) const {
        const auto sameBits = [](const Times& a, const Times& b) {
            return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
        };
        return sameBits(posVel, other.posVel) && sameBits(cov, other.cov) && revNums == other.revNums &&
               errCodes == other.errCodes;
    }

    Times posVel, cov;
    std::vector<std::int32_t> revNums, errCodes;
};

// One key at all times, or all keys at one time.
Answers singles(const Keys& keys, const Times& times) {
    Answers all(std::max(keys.size(), times.size()));
    for (std::size_t k = 0; k < all.errCodes.size(); ++k) {
        double mse, *const state = all.posVels(k)[0];
        all.errCodes[k] = VorlanDs50UTCCovMtx(keys[k % keys.size()], times[k % times.size()], &mse, state, state + 3,
                                              &all.revNums[k], all.covMtxs(k)[0]);
    }
    return all;
}

Answers batches(std::int64_t key, const Times& times, std::size_t batch) {
    Answers all(times.size());
    for (std::size_t k = 0; k < times.size(); k += batch) {
        const auto n = static_cast<std::int64_t>(std::min(batch, times.size() - k));
        VorlanDs50UTCArr(key, n, &times[k], all.posVels(k), &all.revNums[k], all.covMtxs(k), &all.errCodes[k]);
    }
    return all;
}

class ManyAtOnce : public InterfaceTest {
protected:
    // Two days of a bent orbit with a gap of four hours, equator crossings, and covariance in its first day
    // only.
    static std::int64_t addOrbit() {
        const std::int64_t key = addSatellite(7);
        for (int minute = 0; minute < 2880; ++minute) {
            if (minute > 1700 && minute < 1940) continue;
            const double angle = 0.065 * minute, c = std::cos(angle), s = std::sin(angle);
            const double pos[3] = {7000 * c, 6000 * s, 3500 * s}, vel[3] = {-7.5 * s, 6.5 * c, 3.8 * c};
            std::array<double, 21> cov{};
            for (std::size_t k = 0; k < cov.size() && minute < 1440; ++k)
                cov[k] = std::cos(angle + static_cast<double>(k));
            VorlanAddSatEphemCovMtx(key, lineTime(minute), pos, vel, minute / 97, cov.data());
        }
        return key;
    }
};

constexpr int kRounds = 8;  // a million answers of batches

TEST_F(ManyAtOnce, TimesHaveTheBitsOfSingleQueriesInAnyOrderBatchAndThread) {
    SCOPED_TRACE(testSeed());
    const std::int64_t key = addOrbit();
    std::mt19937_64 random(testSeed());
    std::uniform_real_distribution<double> around(kEpoch - 0.01, kEpoch + 2.01);
    VorlanTraceSetHandler(nullptr, nullptr);  // it would write between the readers of several threads
    for (int round = 0; round < kRounds; ++round) {
        // Inside and outside the span, on stored points, and no times at all.
        Times times(10'000);
        for (double& time : times)
            time = random() % 8 == 0 ? lineTime(static_cast<int>(random() % 2880)) : around(random);
        times[5000] = kNaN;
        times[3000] = kInfinity;
        for (const char* const order : {"random", "sorted", "reversed"}) {
            const Answers expected = singles({key}, times);
            std::vector<std::future<Answers>> threads;
            for (const std::size_t batch : {std::size_t{1}, std::size_t{60}, std::size_t{4097}, times.size()})
                threads.push_back(std::async(std::launch::async, batches, key, std::cref(times), batch));
            for (auto& thread : threads)
                ASSERT_TRUE(thread.get() == expected) << order;
            const auto isLess = [](double a, double b) { return a < b || (!std::isnan(a) && std::isnan(b)); };
            std::sort(times.begin(), times.end(), isLess);
            if (order[0] == 's') std::reverse(times.begin(), times.end());
        }
    }
}

TEST_F(ManyAtOnce, SatellitesAnswerOneTimeAndABadKeyDoesNotStopTheRest) {
    // Unknown, a DMA key of nothing, and without points.
    Keys keys{addSatellite(1), kUnknownKey, 20, addDmaSatellite(2), addSatellite(3), addDmaSatellite(4)};
    addLine(keys[0], 5);
    addLine(keys[5], 7);
    const double time = lineTime(3) + 1e-4;
    Answers all(6);
    EXPECT_EQ(errorOf(VorlanSatsDs50UTC(6, keys.data(), time, all.posVels(), all.revNums.data(), all.covMtxs(),
                                        all.errCodes.data())),
              "FindRecPtr: search key doens't exist.");
    EXPECT_TRUE(all == singles(keys, {time}));
    EXPECT_THAT(all.errCodes, ::testing::ElementsAre(0, 2, 2, 2, 2, 0));

    messages.clear();  // of the single queries
    const std::int64_t empty = keys[4];
    const std::string noData = withKey("GetEphem: satKey ", empty, " does not contain any ephemeris data.");
    EXPECT_EQ(errorOf(VorlanSatsDs50UTC(1, &empty, time, {}, {}, {}, {})), noData);
    EXPECT_EQ(errorOf(VorlanDs50UTCArr(empty, 1, &time, {}, {}, {}, {})), noData);
    EXPECT_EQ(errorOf(VorlanGetEphemerisArr(empty, 1, 1, {}, {}, {}, {}, {})), noData);
}

TEST_F(ManyAtOnce, StoredPointsAreReturnedAndOtherIndexesFail) {
    const std::int64_t key = addSatellite(3);
    addLine(key, 3);
    Answers all(5);
    double times[5];
    const auto ask = [&](std::int64_t first) {
        return VorlanGetEphemerisArr(key, first, 5, times, all.posVels(), all.revNums.data(), all.covMtxs(),
                                     all.errCodes.data());
    };
    for (const std::int64_t first : {INT64_MIN, INT64_MAX, std::int64_t{0}})
        EXPECT_EQ(errorOf(ask(first)), "GetEphem: Input index is out of valid range.") << first;
    EXPECT_THAT(all.errCodes, ::testing::ElementsAre(2, 0, 0, 0, 2));
    EXPECT_THAT(times, ::testing::ElementsAre(0.0, lineTime(0), lineTime(1), lineTime(2), 0.0));
    EXPECT_THAT(all.posVels()[2], ::testing::ElementsAre(1.0, -2.0, 60.0, 1.0 / 60.0, -2.0 / 60.0, 1.0));
    EXPECT_THAT(all.posVels()[4], ::testing::Each(0.0));
    EXPECT_EQ(all.covMtxs()[2][5][4], 20.0);
    EXPECT_THAT(all.revNums, ::testing::ElementsAre(0, 0, 1, 2, 0));
}

TEST_F(ManyAtOnce, BadArgumentsAreRefusedAndOutputsMayBeMissing) {
    const std::int64_t key = addOrbit();
    EXPECT_EQ(VorlanDs50UTCArr(key, -1, &kEpoch, {}, {}, {}, {}), 2);
    EXPECT_EQ(VorlanDs50UTCArr(key, 1, nullptr, {}, {}, {}, {}), 2);
    EXPECT_EQ(VorlanSatsDs50UTC(-1, &key, kEpoch, {}, {}, {}, {}), 2);
    EXPECT_EQ(VorlanSatsDs50UTC(1, nullptr, kEpoch, {}, {}, {}, {}), 2);
    EXPECT_EQ(VorlanGetEphemerisArr(key, 1, -1, {}, {}, {}, {}, {}), 2);
    EXPECT_EQ(VorlanDs50UTCArr(key, 0, nullptr, {}, {}, {}, {}), 0);
    EXPECT_EQ(VorlanDs50UTCArr(key, 1, &kEpoch, {}, {}, {}, {}), 0);
    EXPECT_EQ(VorlanGetEphemerisArr(key, 1, 5, {}, {}, {}, {}, {}), 0);
}

}  // namespace
}  // namespace vorlandi::testing
