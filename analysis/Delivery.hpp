// A delivery of ephemerides compared with the previous one: which records belong together, which findings are new, and
// how far the earlier predictions were off. The later delivery is nearer to the truth: the difference over the overlap
// shows the error of the earlier one by its age and, where there are covariances, whether these are honest.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "analysis/Curves.hpp"
#include "analysis/Ephemeris.hpp"
#include "analysis/Findings.hpp"

namespace vorlandi::analysis {

// ---- Which records belong together ----

struct DeliveredRecord {
    std::int32_t number;
    Frame frame;
    std::string name;          // identifies a record whose number doesn't, 0 or 99999
    std::optional<Span> span;  // none without points
};

// Indices of records of the two deliveries.
struct RecordPair {
    std::size_t now;
    std::size_t before;
    bool overlaps;
};

struct RecordMatch {
    std::vector<RecordPair> pairs;         // with the same number and frame, by `now`
    std::vector<RecordPair> framesDiffer;  // with the same number; these are not compared
    std::vector<std::size_t> added;        // without a record in the other delivery
    std::vector<std::size_t> missing;
};

// Each record has at most one partner. Of several with the same number and frame, those with the longest overlap belong
// together, then those without overlap, in their order.
RecordMatch matchRecords(std::span<const DeliveredRecord> now, std::span<const DeliveredRecord> before);

// ---- Which findings are new ----

struct FindingChanges {
    std::vector<bool> isNew;        // for each finding of now
    std::vector<std::size_t> gone;  // of those before
};

// Compares the findings of two records that belong together. Findings that have a place in time (gaps, jumps and the
// like) are the same if their times overlap, the others if their kind is the same. Earlier findings from before the
// later record begins, or after it ends, are neither gone nor still there.
FindingChanges compareFindings(std::span<const Finding> now, std::span<const Finding> before, const Span& spanNow);

// ---- How far the earlier predictions were off ----

// The difference of a satellite's two ephemerides, the later minus the earlier one, at one age of the earlier. Means of
// squares are NaN where there is nothing to average.
struct AgeDifference {
    int age_days = 0;  // whole days since the first point of the earlier one
    std::size_t times = 0;
    std::array<double, 4> meanSquares_m2{};  // radial, in-track, cross-track, distance
    double largest_m = 0.0;
    Ds50 when{};
    std::size_t normalizedTimes = 0;             // with a covariance on one side or both
    std::array<double, 3> meanSquares_sigma2{};  // each component over its standard deviation
    double meanSquaredDistance = 0.0;            // the squared normalized distance d' P^-1 d
};

// False where the states are the same at all times: the later one copied them, so the difference says nothing about
// errors.
bool differs(const AgeDifference& age);

struct PredictionDifference {
    std::vector<AgeDifference> ages;  // rising
    std::size_t unanswered = 0;       // times at which one of the two has no state
    std::size_t inGaps = 0;           // times inside a gap of the later one, which aren't compared
    bool isSame = false;              // no point differs: it has been delivered before
    bool isLeftOut = false;           // states of one of the two are wrong: there are no ages
    Curve distance_m;                 // over time, reduced for a picture
    Curve normalized;
};

// Whether a check has found that states between the points are wrong: errors of the velocities or of the unit of the
// positions.
bool areStatesWrong(std::span<const Finding> findings);

// At the points of the earlier one in the common span. States that the later one interpolates across a gap say nothing
// about the earlier one. Throws Error if a satellite has gone.
PredictionDifference differenceByAge(const Satellite& before, const Satellite& now, const Span& common);

enum class Honesty { Untold, TooFew, Honest, Optimistic, Pessimistic };

// Fewer satellites than this don't show whether covariances are honest.
inline constexpr std::size_t kFewestForHonesty = 10;

// Of all satellites at one age. Each satellite counts once, however many points it has: differences at neighbouring
// points come from the same orbit error, and are independent only between satellites.
struct AgeStatistics {
    int age_days = 0;
    std::size_t satellites = 0;
    std::size_t times = 0;
    std::array<double, 4> rms_m{};  // without those that are set aside
    double largest_m = 0.0;
    std::size_t largestOf = 0;             // index of the difference
    std::size_t normalizedSatellites = 0;  // that count: with covariances, and not set aside
    std::array<double, 3> rms_sigma{};     // 1 for covariances that are right
    double factor = 0.0;                   // see below; NaN without covariances
    Honesty honesty = Honesty::Untold;
    std::size_t withCovariances = 0;    // satellites, with those that are set aside
    double usual_m = 0.0;               // median of the satellites' rms distances
    std::vector<std::size_t> setAside;  // indices of the differences that are far off
};

// What shows that a satellite is far off at an age: its normalized distance or, if it or too many others have no
// covariances, its distance. Nothing does if there are too few satellites.
enum class Yardstick { None, Sigmas, Metres };
Yardstick yardstickFor(const AgeDifference& difference, const AgeStatistics& statistics);

// The covariances of an age are tested with the squared normalized distances e = d' P^-1 d of the positions, P being
// the sum of the covariances of both predictions (or the one that there is): averaged over time for each satellite,
// divided by 3, and averaged over all satellites to m. If the covariances are right, m is 1: e is distributed as chi
// squared with three degrees of freedom. The factor is sqrt(m): standard deviations would have to grow by it.
//
// With n satellites 3 n m is distributed as chi squared with 3 n degrees of freedom, even if the error of each is the
// same at all times, and more narrowly if it is not. The covariances are optimistic or pessimistic if m lies outside of
// its 99 % interval and the factor is not between 1/1.2 and 1.2. (The test of the normalized estimation error squared:
// Bar-Shalom, Li and Kirubarajan, Estimation with Applications to Tracking and Navigation, 2001, section 5.4.)
//
// Errors that both predictions have in common cancel in their difference, which makes m smaller: optimistic covariances
// are then worse than the factor says, and pessimistic ones may be right.
//
// A satellite whose mean of e is above 25 times the median of an age, five times in sigmas, is set aside: it has
// manoeuvred, or one of its ephemerides is wrong. With right covariances this happens by chance once in 1e12. Without
// covariances, its own or those of 10 satellites, it is set aside if its rms distance is above 25 times the median: the
// accuracy of orbits varies more than their errors in sigmas.
// Ephemerides that have been delivered before don't count, nor do ages at which nothing differs.
std::vector<AgeStatistics> statisticsByAge(std::span<const PredictionDifference> differences);

}  // namespace vorlandi::analysis
