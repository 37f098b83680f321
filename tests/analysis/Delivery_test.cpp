#include "analysis/Delivery.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analysis/Comparison.hpp"
#include "analysis/Orbits.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::analysis {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string textOf(const std::vector<RecordPair>& pairs) {
    std::string text;
    for (const RecordPair& pair : pairs)
        text += std::to_string(pair.now) + "-" + std::to_string(pair.before) + (pair.overlaps ? " " : "! ");
    return text;
}

TEST(Delivery, RecordsBelongTogetherByNumberAndFrameThenByOverlap) {
    const auto days = [](double first, double last) { return Span{{first}, {last}}; };
    const std::vector<DeliveredRecord> before{
        {1, Frame::J2K, "a", days(0, 3)},     {2, Frame::J2K, "a", days(0, 3)}, {3, Frame::J2K, "a", days(0, 1)},
        {3, Frame::J2K, "b", days(1, 3)},     {4, Frame::ECI, "a", days(0, 3)}, {5, Frame::J2K, "a", days(0, 1)},
        {99999, Frame::J2K, "x", days(0, 3)}, {6, Frame::J2K, "a", {}},         {0, Frame::J2K, "u", days(0, 3)}};
    const std::vector<DeliveredRecord> now{{2, Frame::J2K, "z", days(1, 4)},     {3, Frame::J2K, "z", days(0.5, 3)},
                                           {3, Frame::J2K, "z", days(0.2, 0.6)}, {4, Frame::J2K, "a", days(1, 4)},
                                           {5, Frame::J2K, "a", days(1.001, 2)}, {7, Frame::J2K, "a", days(1, 4)},
                                           {99999, Frame::J2K, "y", days(1, 4)}, {6, Frame::J2K, "a", days(1, 4)},
                                           {0, Frame::J2K, "u", days(1, 4)},     {2, Frame::J2K, "z", days(1, 4)}};
    const RecordMatch match = matchRecords(now, before);
    EXPECT_EQ(textOf(match.pairs), "0-1 1-3 2-2 4-5! 7-7! 8-8 ");
    EXPECT_EQ(textOf(match.framesDiffer), "3-4 ");
    EXPECT_THAT(match.added, ElementsAre(5, 6, 9));
    EXPECT_THAT(match.missing, ElementsAre(0, 6));
}

TEST(Delivery, FindingsWithAPlaceAreTheSameWhereTheirTimesOverlap) {
    const auto at = [](Kind kind, double first, double last) {
        Finding finding{Severity::Warning, kind, ""};
        finding.from = Ds50{first};
        finding.to = Ds50{last};
        return finding;
    };
    const std::vector<Finding> before{at(Kind::Gap, 10.0, 10.1),         at(Kind::Gap, 12.0, 12.1),
                                      at(Kind::Gap, 11.5, 11.6),         at(Kind::Interpolation, 10.0, 10.1),
                                      at(Kind::Interpolation, 10, 10.1), at(Kind::CoarseDigits, 10.0, 13.0)};
    const std::vector<Finding> now{at(Kind::Gap, 12.05, 12.2), at(Kind::Gap, 13.0, 13.1), at(Kind::Jump, 12.0, 12.1),
                                   at(Kind::Interpolation, 13.0, 13.1)};
    const FindingChanges changes = compareFindings(now, before, {{11.0}, {14.0}});
    EXPECT_THAT(changes.isNew, ElementsAre(false, true, true, false));
    // The gap at 10.0 was before the later record begins.
    EXPECT_THAT(changes.gone, ElementsAre(2, 4, 5));
}

// A circular orbit of 1024 points a day, from a day on, moved along the axes of each state.
Points moved(double first_days, int count, const std::array<double, 3>& metres, double sigma_m) {
    Points points = orbitPoints(7000.0, 0.0, 84.375, count, first_days * 86400.0);
    for (State& state : points.states) {
        const Axes axes = orbitAxes(state, Motion::Inertial).value();
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t i = 0; i < 3; ++i)
                state.position_km[i] += axes[k][i] * metres[k] * 1e-3;
    }
    Matrix6 covariance{};
    for (std::size_t k = 0; k < 3; ++k)
        covariance[k][k] = sigma_m * sigma_m * 1e-6;
    if (sigma_m > 0.0) points.covariances.assign(points.times.size(), covariance);
    return points;
}

TEST(Delivery, DifferencesAreTakenByTheAgeOfTheEarlierPrediction) {
    const OwnedSatellite before = moved(0.0, 2049, {}, 3.0).stored();
    const OwnedSatellite now = moved(0.5, 2048, {3.0, -4.0, 12.0}, 4.0).stored();
    const PredictionDifference difference = differenceByAge(before, now, commonSpan(before, now).value());
    // From half a day to two days after the first point, both included.
    const std::size_t times[] = {512, 1024, 1};
    ASSERT_EQ(difference.ages.size(), 3U);
    for (int day = 0; day < 3; ++day) {
        const AgeDifference& age = difference.ages[static_cast<std::size_t>(day)];
        EXPECT_EQ(age.age_days, day);
        EXPECT_EQ(age.times, times[day]);
        EXPECT_EQ(age.normalizedTimes, times[day]);
        const double squares_m2[] = {9.0, 16.0, 144.0, 169.0};
        for (std::size_t k = 0; k < 4; ++k)
            EXPECT_NEAR(age.meanSquares_m2[k], squares_m2[k], 1e-5) << k;
        for (std::size_t k = 0; k < 3; ++k)
            EXPECT_NEAR(age.meanSquares_sigma2[k], squares_m2[k] / 25.0, 1e-6) << k;
        EXPECT_NEAR(age.meanSquaredDistance, 169.0 / 25.0, 1e-6);
        EXPECT_NEAR(age.largest_m, 13.0, 1e-6);
    }
    EXPECT_FALSE(difference.isSame);

    const OwnedSatellite again = add(8, Frame::J2K, before->span().first);
    const Points plain = moved(0.0, 2049, {}, 0.0);
    for (std::size_t i = 0; i < plain.times.size(); ++i)
        again->append(plain.times[i], plain.states[i]);
    const PredictionDifference same = differenceByAge(before, again, before->span());
    EXPECT_TRUE(same.isSame);
    EXPECT_THAT(statisticsByAge(std::vector{same}), IsEmpty());
}

TEST(Delivery, StatesAcrossAGapOfTheLaterOneAreNotCompared) {
    const OwnedSatellite before = moved(0.0, 2049, {}, 0.0).stored();
    const Points points = moved(0.5, 2048, {3.0, -4.0, 12.0}, 0.0);
    const OwnedSatellite now = add(8, Frame::J2K, points.times[0]);
    for (std::size_t i = 0; i < points.times.size(); ++i)
        if ((i < 100 || i >= 120) && (i < 700 || i >= 704)) now->append(points.times[i], points.states[i]);
    const PredictionDifference difference = differenceByAge(before, now, commonSpan(before, now).value());
    EXPECT_EQ(difference.inGaps, 24U);
    EXPECT_EQ(difference.unanswered, 0U);
    ASSERT_EQ(difference.ages.size(), 3U);
    EXPECT_EQ(difference.ages[0].times, 512U - 20U);
    EXPECT_EQ(difference.ages[1].times, 1024U - 4U);
    for (const AgeDifference& age : difference.ages)
        EXPECT_NEAR(age.largest_m, 13.0, 1e-6);
}

PredictionDifference withDistance(double meanSquaredDistance) {
    AgeDifference age;
    age.age_days = 2;
    age.times = 10;
    age.meanSquares_m2 = {1.0, 4.0, 4.0, 9.0};
    age.largest_m = meanSquaredDistance;
    age.meanSquares_sigma2.fill(meanSquaredDistance / 3.0);
    age.meanSquaredDistance = meanSquaredDistance;
    PredictionDifference difference;
    difference.ages.push_back(age);
    return difference;
}

TEST(Delivery, CovariancesAreJudgedByChiSquaredOverTheSatellites) {
    struct Case {
        std::size_t satellites;
        double mean;  // of squared distances over 3
        Honesty honesty;
    };
    for (const Case& c : {
             Case{9, 100.0, Honesty::TooFew},
             Case{10, 1.77, Honesty::Honest},  // 53.67 / 30 and 13.79 / 30 in tables of chi squared
             Case{10, 1.81, Honesty::Optimistic},
             Case{10, 0.47, Honesty::Honest},
             Case{10, 0.45, Honesty::Pessimistic},
             Case{1000, 1.43, Honesty::Honest},  // too many for chance, but less than 1.2 in sigmas
             Case{1000, 1.45, Honesty::Optimistic},
             Case{1000, 0.70, Honesty::Honest},
             Case{1000, 0.69, Honesty::Pessimistic},
             Case{20, std::numeric_limits<double>::quiet_NaN(), Honesty::Untold},
         }) {
        const std::vector<PredictionDifference> differences(c.satellites, withDistance(3.0 * c.mean));
        const auto statistics = statisticsByAge(differences);
        ASSERT_EQ(statistics.size(), 1U);
        EXPECT_EQ(statistics[0].honesty, c.honesty) << c.satellites << ' ' << c.mean;
        if (c.honesty == Honesty::Untold) continue;
        EXPECT_NEAR(statistics[0].factor, std::sqrt(c.mean), 1e-12);
        EXPECT_NEAR(statistics[0].rms_sigma[1], std::sqrt(c.mean), 1e-12);
    }
}

TEST(Delivery, SatellitesFarOffAreSetAside) {
    std::vector<PredictionDifference> differences(9, withDistance(3.0));
    differences.push_back(withDistance(76.0));
    differences.back().ages[0].meanSquares_m2.fill(1e6);
    const auto statistics = statisticsByAge(differences);
    EXPECT_THAT(statistics[0].setAside, ElementsAre(9));
    EXPECT_EQ(statistics[0].normalizedSatellites, 9U);
    EXPECT_EQ(statistics[0].satellites, 10U);
    EXPECT_EQ(statistics[0].largestOf, 9U);
    EXPECT_DOUBLE_EQ(statistics[0].factor, 1.0);
    EXPECT_THAT(statistics[0].rms_m, ElementsAre(1.0, 2.0, 2.0, 3.0));
    differences.back() = withDistance(74.0);
    EXPECT_THAT(statisticsByAge(differences)[0].setAside, IsEmpty());
    EXPECT_DOUBLE_EQ(statisticsByAge(differences)[0].factor, std::sqrt((9 * 3.0 + 74.0) / 30.0));
    // States that were taken over don't count for what is usual.
    differences.insert(differences.end(), 30, withDistance(0.0));
    EXPECT_THAT(statisticsByAge(differences)[0].setAside, IsEmpty());
    EXPECT_EQ(statisticsByAge(differences)[0].satellites, 10U);
}

TEST(Delivery, WithoutCovariancesDistancesShowWhoIsFarOff) {
    struct Case {
        std::size_t others;  // of a distance of 3 m
        std::size_t withCovariance;
        double distance_m;
        std::size_t setAside;
    };
    for (const Case& c :
         {Case{9, 0, 76.0, 1}, Case{9, 0, 74.0, 0}, Case{9, 9, 76.0, 1}, Case{8, 0, 585e3, 0}, Case{10, 10, 76.0, 1}}) {
        std::vector<PredictionDifference> differences(c.others + 1, withDistance(kNone));
        for (std::size_t i = 0; i < c.withCovariance; ++i)
            differences[i] = withDistance(3.0);
        differences.back().ages[0].meanSquares_m2[3] = c.distance_m * c.distance_m;
        const AgeStatistics statistics = statisticsByAge(differences).at(0);
        EXPECT_EQ(statistics.setAside, std::vector<std::size_t>(c.setAside, c.others)) << c.distance_m;
        EXPECT_DOUBLE_EQ(statistics.usual_m, 3.0);
        EXPECT_EQ(statistics.rms_m[3] == 3.0, c.setAside > 0) << statistics.rms_m[3];
    }
}

}  // namespace
}  // namespace vorlandi::analysis
