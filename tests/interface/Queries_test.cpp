#include <cmath>

#include "Vorlandi/VorlandiTree.hpp"
#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

// What a state query answers, filled with garbage first.
struct Answer {
    double time = kGarbage;
    double pos[3] = {kGarbage, kGarbage, kGarbage};
    double vel[3] = {kGarbage, kGarbage, kGarbage};
    std::int32_t rev = -77;
    double cov[6][6];

    Answer() { std::fill_n(&cov[0][0], 36, kGarbage); }
};

enum Kind { kMse, kTime, kIndex };

// The six state queries, each also callable without outputs.
struct Query {
    const char* name;
    Kind kind;
    std::int32_t (*ask)(std::int64_t key, double value, Answer* answer);
    bool givesCovariance;
};

template <auto Function, class Value>
std::int32_t ask(std::int64_t key, double value, Answer* a) {
    const auto given = static_cast<Value>(value);
    if (a == nullptr) return Function(key, given, nullptr, nullptr, nullptr, nullptr);
    return Function(key, given, &a->time, a->pos, a->vel, &a->rev);
}
template <auto Function, class Value>
std::int32_t askWithCovariance(std::int64_t key, double value, Answer* a) {
    const auto given = static_cast<Value>(value);
    if (a == nullptr) return Function(key, given, nullptr, nullptr, nullptr, nullptr, nullptr);
    return Function(key, given, &a->time, a->pos, a->vel, &a->rev, a->cov);
}

const Query kQueries[] = {
    {"VorlanMse", kMse, ask<VorlanMse, double>, false},
    {"VorlanMseCovMtx", kMse, askWithCovariance<VorlanMseCovMtx, double>, true},
    {"VorlanDs50UTC", kTime, ask<VorlanDs50UTC, double>, false},
    {"VorlanDs50UTCCovMtx", kTime, askWithCovariance<VorlanDs50UTCCovMtx, double>, true},
    {"VorlanGetEphemeris", kIndex, ask<VorlanGetEphemeris, std::int32_t>, false},
    {"VorlanGetCovMtx", kIndex, askWithCovariance<VorlanGetCovMtx, std::int32_t>, true},
};

using State = std::array<double, 128>;

constexpr const char* kOutside = "GetEphem: Requested time is outside of ephemeris time span.";
constexpr const char* kNoIndex = "GetEphem: Input index is out of valid range.";

std::string noData(const char* procedure, std::int64_t key) {
    return std::string(procedure) + ": satKey " + columns19(key) + " does not contain any ephemeris data.";
}

void expectZeros(const Answer& answer, bool withCovariance) {
    EXPECT_EQ(answer.time, 0.0);
    EXPECT_EQ(answer.rev, 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(answer.pos[i], 0.0);
        EXPECT_EQ(answer.vel[i], 0.0);
    }
    for (const auto& row : answer.cov) {
        for (const double value : row)
            EXPECT_EQ(value, withCovariance ? 0.0 : kGarbage);
    }
}

class Queries : public InterfaceTest {
protected:
    // Every output becomes zero, one message is logged, and the guard is left.
    void fails(const Query& query, std::int64_t key, double value, const std::string& message) {
        SCOPED_TRACE(std::string(query.name) + " of " + std::to_string(value));
        log.clear();
        Answer answer;
        EXPECT_EQ(query.ask(key, value, &answer), 2);
        expectZeros(answer, query.givesCovariance);
        EXPECT_EQ(log.errors(), Messages{message});
        EXPECT_EQ(query.ask(key, value, nullptr), 2);
        leftTheGuard();
    }

    void extendedFails(std::int64_t key, std::int32_t type, double value, const std::string& message) {
        SCOPED_TRACE("VorlanXten of " + std::to_string(value));
        log.clear();
        State state;
        state.fill(kGarbage);
        EXPECT_EQ(VorlanXten(key, type, value, state.data()), 2);
        EXPECT_EQ(state, State{});
        EXPECT_EQ(log.errors(), Messages{message});
        EXPECT_EQ(VorlanXten(key, type, value, nullptr), 2);
        leftTheGuard();
    }

    void allFail(std::int64_t key, const std::string& message) {
        const double asked[] = {0.0, kEpoch, 1.0};
        for (const Query& query : kQueries)
            fails(query, key, asked[query.kind], message);
        for (const std::int32_t type : {1, 2, 3})
            extendedFails(key, type, asked[type - 1], message);
    }
};

TEST_F(Queries, LeaveZerosWhenThereIsNoEphemeris) {
    allFail(kUnknownKey, "FindRecPtr: Search tree is empty.");
    allFail(0, "FindRecPtr: Invalid DMA key (<=0).");
    for (const std::int64_t key : {addSatellite(5), addDmaSatellite(6)})
        allFail(key, noData("GetEphem", key));
}

TEST_F(Queries, LeaveZerosWhenTheRequestLiesOutside) {
    const std::int64_t key = addSatellite(5);
    addLine(key, 4);
    const double microsecond = 1e-6 / 86400.0;
    const std::vector<double> outside[] = {
        {-1e-3, 3.001, kNaN, kInfinity, -kInfinity, 1e308, -1e308},
        {kEpoch - microsecond, lineTime(3) + microsecond, 0.0, kNaN, kInfinity, -kInfinity},
        {0.0, 5.0, -1.0, INT32_MIN, INT32_MAX},
    };
    for (const Query& query : kQueries) {
        for (const double value : outside[query.kind])
            fails(query, key, value, query.kind == kIndex ? kNoIndex : kOutside);
    }
    for (const double value : outside[kMse])
        extendedFails(key, 1, value, kOutside);
    for (const double value : outside[kTime])
        extendedFails(key, 2, value, kOutside);
    for (const double index : {0.5, 0.999, -0.5, 5.0, kNaN, kInfinity, -kInfinity, 4294967297.0, 1e300})
        extendedFails(key, 3, index, kNoIndex);
}

TEST_F(Queries, PassOnTheMessagesOfTheInterpolation) {
    const std::int64_t key = addSatellite(5);
    addLine(key, 3);
    extendedFails(key, 2, lineTime(1) + 0.0001,
                  "InterpolateEP: Can not interpolate with less than 4 ephemeris data points");
    const std::int64_t sparse = addSatellite(6);
    const double state[3] = {1.0, 2.0, 3.0};
    for (int hour = 0; hour < 8; hour += 2)
        VorlanAddSatEphem(sparse, kEpoch + hour / 24.0, state, state, 0);
    const Query& query = kQueries[kTime + 1];
    fails(query, sparse, kEpoch + 0.1,
          "InterpolateEP: Data points too far apart due to spacing or data gap. (23337000000.000, "
          "23337060000.000)");
}

TEST_F(Queries, RefuseAnUnknownTypeBeforeTheyLookForTheKey) {
    for (const std::int64_t key : {addSatellite(5), kUnknownKey, std::int64_t{0}}) {
        for (const std::int32_t type : {0, 4, -1, INT32_MIN, INT32_MAX})
            extendedFails(key, type, 1.0,
                          "VorlanXten: Invalid ephemeris type. Valid values are 1, 2, and 3.");
    }
}

TEST_F(Queries, AnswerStoredPointsByIndexByTimeAndByMinutes) {
    for (const std::int64_t key : {addSatellite(5), addDmaSatellite(6)}) {
        addLine(key, 7);
        for (int i = 0; i < 7; ++i) {
            const double minutes = (lineTime(i) - kEpoch) * 1440.0;
            const double asked[] = {minutes, lineTime(i), i + 1.0};
            for (const Query& query : kQueries) {
                SCOPED_TRACE(std::string(query.name) + " of point " + std::to_string(i));
                Answer a;
                ASSERT_EQ(query.ask(key, asked[query.kind], &a), 0);
                EXPECT_EQ(query.ask(key, asked[query.kind], nullptr), 0);
                leftTheGuard();
                EXPECT_EQ(a.time, query.kind == kTime ? minutes : lineTime(i));
                // A request in minutes or by time passes through TAI and meets the point within a rounding,
                // 4e-12 days, which is 4e-7 s of flight at 1 km/s.
                const double tolerance = query.kind == kIndex ? 0.0 : 5e-7;
                EXPECT_NEAR(a.pos[0], i * 1.0, tolerance);
                EXPECT_NEAR(a.pos[1], i * -2.0, tolerance);
                EXPECT_NEAR(a.pos[2], i * 60.0, tolerance);
                EXPECT_NEAR(a.vel[2], 1.0, query.kind == kIndex ? 0.0 : 1e-9);
                EXPECT_EQ(a.rev, i);
            }
        }
    }
    EXPECT_EQ(log.errors(), Messages{});
}

TEST_F(Queries, FollowAStraightLineBetweenThePoints) {
    const std::int64_t key = addSatellite(5);
    addLine(key, 10);
    for (const double minutes : {0.25, 4.5, 8.75}) {
        SCOPED_TRACE(minutes);
        Answer byTime;
        const double time = kEpoch + minutes / 1440.0;
        ASSERT_EQ(
            VorlanDs50UTCCovMtx(key, time, &byTime.time, byTime.pos, byTime.vel, &byTime.rev, byTime.cov), 0);
        EXPECT_EQ(byTime.time, (time - kEpoch) * 1440.0);
        EXPECT_NEAR(byTime.pos[2], minutes * 60.0, 1e-6) << "half a unit of the time is 2e-7 s";
        EXPECT_NEAR(byTime.vel[2], 1.0, 1e-8) << "times of the points, rounded to 2e-7 s of 60 s";
        EXPECT_NEAR(byTime.cov[5][3], 19.0, 1e-9) << "constant in all points";
        Answer byMinutes;
        ASSERT_EQ(VorlanMse(key, minutes, &byMinutes.time, byMinutes.pos, byMinutes.vel, &byMinutes.rev), 0);
        EXPECT_EQ(byMinutes.time, time);
        EXPECT_EQ(byMinutes.pos[2], byTime.pos[2]);
        EXPECT_EQ(byMinutes.rev, byTime.rev);
    }
}

TEST_F(Queries, PutEverythingIntoTheExtendedState) {
    const std::int64_t key = addSatellite(5);
    addLine(key, 6);
    const double minutes = (lineTime(2) - kEpoch) * 1440.0;
    const std::pair<std::int32_t, double> cases[] = {
        {1, minutes}, {2, lineTime(2)}, {3, 3.0}, {3, 3.9}, {3, std::nextafter(4.0, 0.0)}};
    for (const auto& [type, value] : cases) {
        SCOPED_TRACE(std::to_string(type) + ": " + std::to_string(value));
        State state;
        state.fill(kGarbage);
        ASSERT_EQ(VorlanXten(key, type, value, state.data()), 0);
        EXPECT_EQ(VorlanXten(key, type, value, nullptr), 0);
        leftTheGuard();
        EXPECT_EQ(state[0], minutes);
        EXPECT_EQ(state[1], lineTime(2));
        const double tolerance = type == 3 ? 0.0 : 5e-7;  // as above
        EXPECT_NEAR(state[2], 2.0, tolerance);
        EXPECT_NEAR(state[4], 120.0, tolerance);
        EXPECT_NEAR(state[5], 1.0 / 60.0, tolerance);
        EXPECT_EQ(state[8], 2.0);
        for (std::size_t k = 0; k < 21; ++k)
            EXPECT_NEAR(state[9 + k], static_cast<double>(k + 1), tolerance);
        for (std::size_t k = 30; k < 128; ++k)
            EXPECT_EQ(state[k], 0.0);
    }
    // The request itself is repeated, also between the points.
    State state;
    ASSERT_EQ(VorlanXten(key, 1, 2.3, state.data()), 0);
    EXPECT_EQ(state[0], 2.3);
    EXPECT_EQ(state[1], kEpoch + 2.3 / 1440.0);
}

TEST_F(Queries, ServeASinglePointOnlyAtItsOwnTime) {
    const std::int64_t key = addSatellite(5);
    addLine(key, 1);
    Answer a;
    EXPECT_EQ(VorlanDs50UTC(key, kEpoch, &a.time, a.pos, a.vel, &a.rev), 0);
    EXPECT_EQ(a.time, 0.0);
    EXPECT_EQ(a.vel[2], 1.0);
    fails(kQueries[kTime + 1], key, std::nextafter(kEpoch, kInfinity), kOutside);
    fails(kQueries[kTime + 1], key, std::nextafter(kEpoch, 0.0), kOutside);
}

TEST_F(Queries, GiveTheSpanOfThePoints) {
    const std::int64_t key = addSatellite(5);
    const auto spanFails = [&](std::int64_t asked, const std::string& message) {
        log.clear();
        double start = kGarbage;
        double end = kGarbage;
        EXPECT_EQ(VorlanStartEndTime(asked, &start, &end), 2);
        EXPECT_EQ(start, 0.0);
        EXPECT_EQ(end, 0.0);
        EXPECT_EQ(log.errors(), Messages{message});
        leftTheGuard();
    };
    spanFails(key, noData("VorlanStartEndTime", key));
    spanFails(key + 1, "FindRecPtr: search key doens't exist.");
    spanFails(0, "FindRecPtr: Invalid DMA key (<=0).");
    addLine(key, 3);
    double start = kGarbage;
    double end = kGarbage;
    EXPECT_EQ(VorlanStartEndTime(key, &start, nullptr), 0);
    EXPECT_EQ(VorlanStartEndTime(key, nullptr, &end), 0);
    EXPECT_EQ(start, kEpoch);
    EXPECT_EQ(end, lineTime(2));
}

TEST_F(Queries, GiveTheCardOfTheFileName) {
    std::string name(512, 'n');
    name.replace(0, 4, "  a ");
    name.replace(501, 3, "xyz");
    const std::pair<std::string, std::string> cases[] = {
        {"", "EPHFIL = "}, {"data/a.eph", "EPHFIL = data/a.eph"}, {name, "EPHFIL = " + name.substr(0, 503)}};
    for (const auto& [fileName, card] : cases) {
        Vorlanrecord record;
        record.satNum = 5;
        record.fileName = fileName;
        const std::int64_t key = AddRecToMem(record);
        TextOutput<512> line;
        EXPECT_EQ(VorlanGetLine(key, line), 0);
        EXPECT_EQ(line.text(), padded(card, 512));
        EXPECT_EQ(VorlanGetLine(key, nullptr), 0);
        leftTheGuard();
        TextOutput<512> blank;
        EXPECT_EQ(VorlanGetLine(key + 1, blank), 2);
        EXPECT_EQ(blank.text(), padded("", 512));
        VorlanRemoveSat(key);
    }
    EXPECT_EQ(log.errors(), Messages(3, "FindRecPtr: search key doens't exist."));
}

}  // namespace
}  // namespace vorlandi::testing
