// The points of a record, and the memory of points, nodes and records.
#include "Vorlandi/PointArray.hpp"

#include <cmath>
#include <fstream>
#include <random>
#include <set>

#include "CoreServices/Sanitized.hpp"
#include "Templates/BlockPool.hpp"
#include "TestSupport.hpp"
#include "Vorlandi/VorlandiTypes.hpp"

namespace vorlandi::testing {
namespace {

// An array and what it must hold.
struct Modelled {
    PointArray array;
    std::vector<std::pair<double, double>> model;  // time and last covariance value

    void append(double time, double covariance) {
        PointCovariance values;
        values.cov[20] = covariance;
        Vorlanstate state;
        state.time = state.vel[2] = time;
        array.append(state, covariance != 0.0 ? &values : nullptr);
        model.emplace_back(time, covariance);
    }

    void expectHeld() const {
        ASSERT_EQ(static_cast<std::size_t>(array.count()), model.size());
        if (model.empty()) return;
        EXPECT_EQ(array.firstTime(), model.front().first);
        EXPECT_EQ(array.lastTime(), model.back().first);
        for (const void* const block :
             {static_cast<const void*>(array.states()), static_cast<const void*>(array.covariances())}) {
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % kCacheLine, 0U);
        }
        for (std::int32_t k = 0; k < array.count(); ++k) {
            const Vorlanpoint point = array[k];
            const auto& [time, covariance] = model[static_cast<std::size_t>(k)];
            ASSERT_TRUE(point.time == time && point.vel[2] == time && point.cov[20] == covariance) << k;
        }
        const TimeDirectory& directory = array.directory();
        for (std::int32_t k = 0; k < directory.count(); ++k)
            ASSERT_EQ(directory.times()[k], model.at(static_cast<std::size_t>(k) * 64).first) << k;
    }
};

// Up to 100,000 points, so that blocks begin on the heap, become mappings and are remapped.
TEST(PointArray, HoldsWhatIsAppendedThroughSharingCopyingTrimmingAndClearing) {
    SCOPED_TRACE(testSeed());
    std::mt19937_64 random(testSeed());
    for (const double firstCovariance : {0.0, 30'000.0, HUGE_VAL}) {
        std::vector<Modelled> arrays(1);
        double time = 0.0;
        for (int step = 0; step < 400; ++step) {
            const std::size_t which = random() % arrays.size();
            const std::uint64_t what = random() % 16;
            if (what < 9) {
                const std::uint64_t points = random() % (random() % 8 == 0 ? 20'000 : 1500);
                for (std::uint64_t k = 0; k < points && arrays[which].model.size() < 100'000; ++k) {
                    time += 1.0;
                    arrays[which].append(time, time >= firstCovariance && random() % 2 == 0 ? -time : 0.0);
                }
            } else if (what < 12 && arrays.size() < 6) {
                arrays.push_back({what == 9 ? arrays[which].array : arrays[which].array.share(), arrays[which].model});
            } else if (what == 12) {
                arrays[which].array.trim();
            } else if (what == 13) {
                arrays[which].array.clear();
                arrays[which].model.clear();
            } else if (what == 14 && arrays.size() > 1) {
                arrays.erase(arrays.begin() + static_cast<std::ptrdiff_t>(which));
            }
            for (const Modelled& array : arrays) {
                if (what >= 13) array.expectHeld();
            }
        }
    }
}

TEST(PointArray, GrowsByAThousandAndTakesNoRoomForCovariancesBeforeTheFirst) {
    Modelled points;
    const auto entriesOf = [](int count) { return count < 4000 ? 0 : (count - 1) / 64 + 1; };
    for (int k = 1; k <= 6500; ++k) {
        points.append(k, k == 1700 ? -1.0 : 0.0);
        ASSERT_EQ(points.array.capacity(), (k + 999) / 1000 * 1000) << k;
        ASSERT_EQ(points.array.covariances() != nullptr, k >= 1700) << k;
        ASSERT_EQ(points.array.directory().count(), entriesOf((k - 1) / 1000 * 1000)) << k;
    }
    EXPECT_EQ(PointArray(points.array).capacity(), 7000) << "a copy keeps the space";
    points.array.trim();
    EXPECT_EQ(points.array.capacity(), 6500);
    EXPECT_EQ(points.array.directory().count(), entriesOf(6500));
    points.expectHeld();

    PointArray negativeZeros;
    const PointCovariance none{{0.0, -0.0}}, some{{1.0, -0.0}};
    negativeZeros.append({}, &none);
    EXPECT_EQ(negativeZeros.covariances(), nullptr) << "negative zeros alone are not a covariance";
    for (const PointCovariance* covariance : {&some, &none})
        negativeZeros.append({}, covariance);
    EXPECT_TRUE(std::signbit(negativeZeros[1].cov[1]));
    EXPECT_FALSE(std::signbit(negativeZeros[2].cov[1]));
}

TEST(PointArray, ReleasesTheMemoryOfLargeBlocks) {
    if (VORLANDI_SANITIZED) GTEST_SKIP() << "sanitizers keep freed memory for a while";
    const auto addressSpace_kb = [] {
        std::int64_t pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        return pages * 4;
    };
    constexpr int kBlocks = 32, kPoints = 100'000;
    const std::int64_t before = addressSpace_kb();
    for (int round = 0; round < kBlocks; ++round) {
        PointArray points;
        for (int k = 0; k < kPoints; ++k)
            points.append({}, nullptr);
    }
    EXPECT_LT(addressSpace_kb() - before, kBlocks / 2 * kPoints / 1024 * std::int64_t{sizeof(Vorlanstate)});
}

TEST(BlockPool, NeverHandsOutOverlappingObjects) {
    BlockPool<40, 8> pool;
    for (int round = 0; round < 3; ++round) {
        std::set<char*> taken;
        for (int k = 0; k < 5000; ++k) {
            auto* const object = static_cast<char*>(pool.take());
            std::fill_n(object, 40, '\x7f');
            const auto next = taken.insert(object).first;
            const bool apart = (next == taken.begin() || object - *std::prev(next) >= 40) &&
                               (std::next(next) == taken.end() || *std::next(next) - object >= 40);
            ASSERT_TRUE(apart) << k;
            if (k % 3 == 0) {
                pool.release(*taken.begin());
                taken.erase(taken.begin());
            }
        }
        for (char* const object : taken)
            pool.release(object);
    }
}

}  // namespace
}  // namespace vorlandi::testing
