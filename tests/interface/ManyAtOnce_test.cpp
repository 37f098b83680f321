// Many answers at once: the bits of the single queries, whatever the order, the batch and the thread.
#include <bit>
#include <cmath>
#include <numeric>
#include <random>
#include <thread>

#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

#ifdef VORLANDI_SANITIZED
constexpr std::size_t kAnswersPerRound = 20'000;
#else
constexpr std::size_t kAnswersPerRound = 1'000'000;
#endif

std::uint64_t mixed(std::uint64_t hash, std::uint64_t word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15ULL;
    return hash ^ (hash >> 29);
}

// The hash of an answer to a request, so that their sum doesn't depend on the order.
std::uint64_t hashOf(std::uint64_t request, const double (&posVel)[6], const double (&covMtx)[6][6],
                     std::int32_t revNum, std::int32_t errCode) {
    std::uint64_t hash = mixed(request, static_cast<std::uint32_t>(revNum));
    hash = mixed(hash, static_cast<std::uint32_t>(errCode));
    for (const double value : posVel)
        hash = mixed(hash, std::bit_cast<std::uint64_t>(value));
    for (const auto& row : covMtx) {
        for (const double value : row)
            hash = mixed(hash, std::bit_cast<std::uint64_t>(value));
    }
    return hash;
}

class ManyAtOnce : public InterfaceTest {
protected:
    // Two days of a bent orbit with a gap of four hours, equator crossings, and covariance in its first day only.
    static std::int64_t addOrbit(std::int32_t satNum, double epoch = kEpoch) {
        const std::int64_t key = addSatellite(satNum, epoch);
        for (int minute = 0; minute < 2880; ++minute) {
            if (minute > 1700 && minute < 1940) continue;
            const double angle = 0.065 * minute + satNum;
            const double pos[3] = {7000 * std::cos(angle), 6000 * std::sin(angle), 3500 * std::sin(angle)};
            const double vel[3] = {-7.5 * std::sin(angle), 6.5 * std::cos(angle), 3.8 * std::cos(angle)};
            std::array<double, 21> cov{};
            for (std::size_t k = 0; k < cov.size() && minute < 1440; ++k)
                cov[k] = std::cos(angle + static_cast<double>(k));
            VorlanAddSatEphemCovMtx(key, epoch + minute / 1440.0, pos, vel, minute / 97, cov.data());
        }
        return key;
    }

    // Inside and outside the span, on stored points, and no times at all.
    static std::vector<double> someTimes(std::size_t n) {
        std::mt19937_64 random(testSeed());
        std::uniform_real_distribution<double> around(kEpoch - 0.01, kEpoch + 2.01);
        std::uniform_int_distribution<int> minutes(0, 2879);
        std::vector<double> times(n);
        for (double& time : times)
            time = random() % 8 == 0 ? kEpoch + minutes(random) / 1440.0 : around(random);
        times[n / 2] = kNaN;
        times[n / 3] = kInfinity;
        return times;
    }

    static std::uint64_t hashOfSingles(std::int64_t key, const std::vector<double>& times) {
        std::uint64_t sum = 0;
        for (const double time : times) {
            double mse, posVel[6], covMtx[6][6];
            std::int32_t revNum;
            const std::int32_t code =
                VorlanDs50UTCCovMtx(key, time, &mse, posVel, posVel + 3, &revNum, covMtx);
            sum += hashOf(std::bit_cast<std::uint64_t>(time), posVel, covMtx, revNum, code);
        }
        return sum;
    }

    static std::uint64_t hashOfBatches(std::int64_t key, std::span<const double> times, std::size_t batch) {
        std::uint64_t sum = 0;
        std::vector<std::array<double, 6>> posVel(batch);
        std::vector<std::array<double, 36>> covMtx(batch);
        std::vector<std::int32_t> revNums(batch), errCodes(batch);
        for (std::size_t begin = 0; begin < times.size(); begin += batch) {
            const std::size_t n = std::min(batch, times.size() - begin);
            const auto posVels = reinterpret_cast<double(*)[6]>(posVel.data());
            const auto covariances = reinterpret_cast<double(*)[6][6]>(covMtx.data());
            VorlanDs50UTCArr(key, static_cast<std::int64_t>(n), &times[begin], posVels, revNums.data(),
                             covariances, errCodes.data());
            for (std::size_t k = 0; k < n; ++k) {
                sum += hashOf(std::bit_cast<std::uint64_t>(times[begin + k]), posVels[k], covariances[k],
                              revNums[k], errCodes[k]);
            }
        }
        return sum;
    }
};

TEST_F(ManyAtOnce, TimesGiveTheBitsOfTheSingleQueryInAnyOrderAndBatch) {
    const std::int64_t key = addOrbit(7);
    std::vector<double> times = someTimes(kAnswersPerRound);
    const std::uint64_t expected = hashOfSingles(key, times);
    for (const std::size_t batch : {std::size_t{1}, std::size_t{7}, std::size_t{4097}, times.size()}) {
        EXPECT_EQ(hashOfBatches(key, times, batch), expected) << "batch of " << batch;
    }
    const auto isLess = [](double a, double b) { return a < b || (!std::isnan(a) && std::isnan(b)); };
    std::sort(times.begin(), times.end(), isLess);
    for (const std::size_t batch : {std::size_t{60}, times.size()}) {
        EXPECT_EQ(hashOfBatches(key, times, batch), expected) << "sorted, batch of " << batch;
    }
    std::reverse(times.begin(), times.end());
    EXPECT_EQ(hashOfBatches(key, times, 5000), expected) << "reversed";
}

TEST_F(ManyAtOnce, SeveralThreadsGiveTheSameBits) {
    const std::int64_t key = addOrbit(7);
    const std::vector<double> times = someTimes(kAnswersPerRound);
    const std::uint64_t expected = hashOfSingles(key, times);
    std::array<std::uint64_t, 3> hashes{};
    std::vector<std::thread> threads;
    for (std::size_t k = 0; k < hashes.size(); ++k) {
        threads.emplace_back([&, k] { hashes[k] = hashOfBatches(key, times, 1000 + k); });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(hashes, ::testing::Each(expected));
}

TEST_F(ManyAtOnce, SatellitesAnswerOneTimeAndOneBadKeyStopsNothing) {
    std::vector<std::int64_t> keys;
    for (int satNum = 1; satNum <= 40; ++satNum)
        keys.push_back(addOrbit(satNum, kEpoch + satNum / 40.0));
    keys[5] = kUnknownKey;
    keys[6] = 20;                 // a DMA key of nothing
    keys[7] = addSatellite(900);  // without points
    keys.push_back(addDmaSatellite(901));
    log.clear();
    std::vector<std::array<double, 6>> posVel(keys.size());
    std::vector<std::int32_t> revNums(keys.size()), errCodes(keys.size());
    const double time = kEpoch + 0.61;
    EXPECT_EQ(VorlanSatsDs50UTC(static_cast<std::int64_t>(keys.size()), keys.data(), time,
                                reinterpret_cast<double(*)[6]>(posVel.data()), revNums.data(), nullptr,
                                errCodes.data()),
              2);
    EXPECT_EQ(log.errors(), Messages{"FindRecPtr: search key doens't exist."});
    for (std::size_t k = 0; k < keys.size(); ++k) {
        double mse, single[6];
        std::int32_t revNum;
        EXPECT_EQ(errCodes[k], VorlanDs50UTC(keys[k], time, &mse, single, single + 3, &revNum)) << k;
        EXPECT_EQ(revNums[k], revNum) << k;
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_EQ(std::bit_cast<std::uint64_t>(posVel[k][i]), std::bit_cast<std::uint64_t>(single[i]))
                << k;
        }
    }
}

TEST_F(ManyAtOnce, StoredPointsAreGivenAndOtherIndexesFail) {
    const std::int64_t key = addSatellite(3);
    addLine(key, 5);
    log.clear();
    double times[8], posVel[8][6], covMtx[8][6][6];
    std::int32_t revNums[8], errCodes[8];
    EXPECT_EQ(VorlanGetEphemerisArr(key, -1, 8, times, posVel, revNums, covMtx, errCodes), 2);
    EXPECT_THAT(errCodes, ::testing::ElementsAre(2, 2, 0, 0, 0, 0, 0, 2));
    EXPECT_THAT(times, ::testing::ElementsAre(0.0, 0.0, lineTime(0), lineTime(1), lineTime(2), lineTime(3),
                                              lineTime(4), 0.0));
    EXPECT_THAT(posVel[3], ::testing::ElementsAre(1.0, -2.0, 60.0, 1.0 / 60.0, -2.0 / 60.0, 1.0));
    EXPECT_THAT(posVel[7], ::testing::Each(0.0));
    EXPECT_EQ(covMtx[3][5][4], 20.0);
    EXPECT_EQ(revNums[6], 4);
    EXPECT_EQ(log.errors(), Messages{"GetEphem: Input index is out of valid range."});
    for (const std::int64_t first : {INT64_MIN, INT64_MAX}) {
        EXPECT_EQ(VorlanGetEphemerisArr(key, first, 8, times, posVel, revNums, covMtx, errCodes), 2);
        EXPECT_THAT(errCodes, ::testing::Each(2));
    }
}

TEST_F(ManyAtOnce, BadArgumentsAreRefusedAndOutputsMayBeMissing) {
    const std::int64_t key = addOrbit(3);
    const double time = kEpoch + 0.5;
    EXPECT_EQ(VorlanDs50UTCArr(key, -1, &time, nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(VorlanDs50UTCArr(key, 1, nullptr, nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(VorlanSatsDs50UTC(-1, &key, time, nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(VorlanSatsDs50UTC(1, nullptr, time, nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(VorlanGetEphemerisArr(key, 1, -1, nullptr, nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(VorlanDs50UTCArr(key, 0, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(VorlanDs50UTCArr(key, 1, &time, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(VorlanGetEphemerisArr(key, 1, 5, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
}

}  // namespace
}  // namespace vorlandi::testing
