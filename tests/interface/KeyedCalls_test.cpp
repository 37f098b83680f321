// The exported functions that take a key: how they fail, and what the queries among them answer.
#include <cmath>
#include <span>

#include "interface/InterfaceSupport.hpp"

namespace vorlandi::testing {
namespace {

// Outputs filled with values that no answer has, or null outputs.
struct Outputs {
    explicit Outputs(bool areGiven = true) : given(areGiven) { numbers.fill(-987.5), integers.fill(-77); }
    double* d(std::size_t at) { return given ? &numbers[at] : nullptr; }
    std::int32_t* i(std::size_t at) { return given ? &integers[at] : nullptr; }
    char* t(std::size_t at) { return given ? &texts[at] : nullptr; }
    double (*cov())[6] { return reinterpret_cast<double(*)[6]>(d(7)); }

    auto count(double number, std::int32_t integer, char character) const {
        return std::count(numbers.begin(), numbers.end(), number) +
               std::count(integers.begin(), integers.end(), integer) +
               std::count(texts.begin(), texts.end(), character);
    }

    bool given;
    std::array<double, 130> numbers;
    std::array<std::int32_t, 4> integers;
    std::string texts = std::string(666, '#');
};

// What a function takes: a time in minutes, a time, an index, something about the points, anything else.
enum Asked { kMse, kAskedTime, kIndex, kPoints, kOther };

struct KeyedCall {
    const char* name;
    Asked asked;
    std::int32_t outputs;  // numbers and characters that it writes
    std::int32_t (*call)(std::int64_t key, double value, Outputs& outputs);
};
template <auto Function, class Value>
std::int32_t state(std::int64_t key, double value, Outputs& o) {
    return Function(key, static_cast<Value>(value), o.d(0), o.d(1), o.d(4), o.i(0));
}
template <auto Function, class Value>
std::int32_t withCov(std::int64_t key, double value, Outputs& o) {
    return Function(key, static_cast<Value>(value), o.d(0), o.d(1), o.d(4), o.i(0), o.cov());
}
template <std::int32_t Type>
std::int32_t xten(std::int64_t key, double value, Outputs& o) {
    return VorlanXten(key, Type, value, o.d(0));
}
// clang-format off
const KeyedCall kCalls[] = {
    {"Mse", kMse, 8, state<VorlanMse, double>}, {"MseCovMtx", kMse, 44, withCov<VorlanMseCovMtx, double>},
    {"Ds50UTC", kAskedTime, 8, state<VorlanDs50UTC, double>},
    {"Ds50UTCCovMtx", kAskedTime, 44, withCov<VorlanDs50UTCCovMtx, double>},
    {"GetEphemeris", kIndex, 8, state<VorlanGetEphemeris, std::int32_t>},
    {"GetCovMtx", kIndex, 44, withCov<VorlanGetCovMtx, std::int32_t>},
    {"Xten by MSE", kMse, 128, xten<1>}, {"Xten by time", kAskedTime, 128, xten<2>},
    {"Xten by index", kIndex, 128, xten<3>},
    {"StartEndTime", kPoints, 2, [](auto k, double, auto& o) { return VorlanStartEndTime(k, o.d(0), o.d(1)); }},
    {"GetField", kPoints, 512, [](auto k, double, auto& o) { return VorlanGetField(k, 1, o.t(0)); }},
    {"GetLine", kOther, 512, [](auto k, double, auto& o) { return VorlanGetLine(k, o.t(0)); }},
    {"GetAllFields", kOther, 660, [](auto k, double, auto& o) {
        return VorlanGetAllFields(k, o.i(0), o.t(0), o.t(9), o.d(0), o.d(1), o.d(2), o.d(3), o.d(6), o.i(1),
                                  o.i(2), o.t(138)); }},
    {"SetField", kOther, 0, [](auto k, double, auto&) { return VorlanSetField(k, 99, {}); }},
    {"AddSatEphem", kOther, 0, [](auto k, double v, auto&) { return VorlanAddSatEphem(k, v, kPos, kVel, 0); }},
    {"AddSatEphemCovMtx", kOther, 0, [](auto k, double v, auto&) {
        return VorlanAddSatEphemCovMtx(k, v, kPos, kVel, 0, std::array<double, 21>{}.data()); }},
    {"AddSatEphemExt", kOther, 0, [](auto k, double v, auto&) {
        return VorlanAddSatEphemExt(k, v, kPos, kVel, 0, std::array<double, 21>{}.data()); }},
};
// clang-format on
constexpr double kNoSuchPoint[] = {-1.0, 0.0, 0.0, 0.0, 0.0};

class KeyedCalls : public InterfaceTest {
protected:
    // Every output becomes zero or blank, one message is logged, and the guard is left.
    void fails(const KeyedCall& call, std::int64_t key, double value, const std::string& message) {
        SCOPED_TRACE(std::string(call.name) + " of " + std::to_string(key) + ", " + std::to_string(value));
        for (const bool given : {true, false}) {
            Outputs outputs(given);
            EXPECT_EQ(errorOf(call.call(key, value, outputs)), message);
            EXPECT_EQ(outputs.count(0.0, 0, ' '), given ? call.outputs : 0);
            EXPECT_EQ(outputs.count(-987.5, -77, '#'), 800 - (given ? call.outputs : 0));
        }
    }

    void allFail(std::int64_t key, const std::string& message) {
        for (const KeyedCall& call : kCalls)
            fails(call, key, kNoSuchPoint[call.asked], message);
    }
};

TEST_F(KeyedCalls, LogWhyThereIsNoRecordOrNoPoint) {
    allFail(kUnknownKey, "FindRecPtr: Search tree is empty.");
    const std::int64_t key = addSatellite(5), dma = addDmaSatellite(6), removed = addDmaSatellite(7);
    VorlanRemoveSat(removed);
    for (const std::int64_t unknown : {key + 1, std::int64_t{-1}, INT64_MIN, INT64_MAX})
        allFail(unknown, "FindRecPtr: search key doens't exist.");
    for (const std::int64_t notPositive : {std::int64_t{0}, std::int64_t{-10}})
        allFail(notPositive, "FindRecPtr: Invalid DMA key (<=0).");
    for (const std::int64_t noObject : {std::int64_t{10}, removed})
        allFail(noObject, "FindRecPtr: Invalid DMA key.");
    for (const std::int64_t empty : {key, dma}) {
        for (const KeyedCall& call : std::span(kCalls).first(11)) {
            const std::string who = call.asked == kPoints ? std::string("Vorlan") + call.name : "GetEphem";
            fails(call, empty, 1.0,
                  withKey((who + ": satKey ").c_str(), empty, " does not contain any ephemeris data."));
        }
    }
}

TEST_F(KeyedCalls, RefuseRequestsOutsideTheSpan) {
    const std::int64_t key = addSatellite(5);
    addLine(key, 3);
    const double microsecond = 1e-6 / 86400.0;
    const std::vector<double> outside[] = {
        {-1e-3, 2.001, kNaN, kInfinity, -kInfinity, 1e308, -1e308},
        {kEpoch - microsecond, lineTime(2) + microsecond, 0.0, kNaN, kInfinity, -kInfinity},
        {0.0, 4.0, -1.0, INT32_MIN, INT32_MAX}};
    for (const KeyedCall& call : std::span(kCalls).first(9)) {
        for (const double value : outside[call.asked])
            fails(call, key, value,
                  call.asked == kIndex ? "GetEphem: Input index is out of valid range."
                                       : "GetEphem: Requested time is outside of ephemeris time span.");
        if (call.asked == kIndex) continue;
        fails(call, key, call.asked == kMse ? 1.2 : lineTime(1) + 1e-4,
              "InterpolateEP: Can not interpolate with less than 4 ephemeris data points");
    }
    for (const double index : {0.999, -0.5, kNaN, kInfinity, -kInfinity, 4294967297.0, 1e300})
        fails(kCalls[8], key, index, "GetEphem: Input index is out of valid range.");
    for (const std::int64_t each : {key, kUnknownKey, std::int64_t{0}}) {
        for (const std::int32_t type : {0, 4, -1, INT32_MIN, INT32_MAX})
            EXPECT_EQ(errorOf(VorlanXten(each, type, 1.0, nullptr)),
                      "VorlanXten: Invalid ephemeris type. Valid values are 1, 2, and 3.");
    }
}

TEST_F(KeyedCalls, AnswerStoredPointsByIndexByTimeAndByMinutes) {
    for (const std::int64_t key : {addSatellite(5), addDmaSatellite(6)}) {
        addLine(key, 7);
        for (int i = 0; i < 7; ++i) {
            const double minutes = (lineTime(i) - kEpoch) * 1440.0;
            const double asked[] = {minutes, lineTime(i), i + 1.0};
            for (const KeyedCall& call : std::span(kCalls).first(9)) {
                SCOPED_TRACE(std::string(call.name) + " of point " + std::to_string(i));
                Outputs o, none(false);
                ASSERT_EQ(call.call(key, asked[call.asked], o), 0);
                EXPECT_EQ(call.call(key, asked[call.asked], none), 0);
                const bool extended = call.outputs == 128;
                EXPECT_EQ(*o.d(0), extended || call.asked == kAskedTime ? minutes : lineTime(i));
                EXPECT_EQ(extended ? *o.d(1) : lineTime(i), lineTime(i));
                // A request in minutes or by time goes through TAI and reaches the point within a rounding,
                // 4e-12 days, which is 4e-7 s of flight at 1 km/s.
                const auto near = ::testing::DoubleNear(call.asked == kIndex ? 0.0 : 5e-7);
                const double line[] = {i * 1.0, i * -2.0, i * 60.0, 1.0 / 60.0, -2.0 / 60.0, 1.0};
                EXPECT_THAT(std::span(o.d(extended ? 2 : 1), 6), ::testing::Pointwise(near, line));
                EXPECT_EQ(extended ? *o.d(8) : *o.i(0), i);
                EXPECT_NEAR(extended ? *o.d(29) : call.outputs == 44 ? *o.d(42) : 21.0, 21.0, 5e-7);
            }
        }
    }
}

TEST_F(KeyedCalls, FollowAStraightLineBetweenThePoints) {
    const std::int64_t key = addSatellite(5);
    addLine(key, 10);
    const double minutes = 4.3, time = kEpoch + minutes / 1440.0;
    Outputs o, extended, cut;
    EXPECT_EQ(kCalls[3].call(key, time, o) + kCalls[6].call(key, minutes, extended), 0);
    EXPECT_EQ(*o.d(0), (time - kEpoch) * 1440.0);
    EXPECT_EQ(*extended.d(0), minutes);
    EXPECT_EQ(*extended.d(1), time);
    EXPECT_NEAR(*o.d(3), minutes * 60.0, 1e-6) << "half a unit of the time is 2e-7 s";
    EXPECT_EQ(*extended.d(4), *o.d(3));
    EXPECT_NEAR(o.cov()[5][3], 19.0, 1e-9) << "constant in all points";
    EXPECT_EQ(o.cov()[3][5], o.cov()[5][3]);
    EXPECT_EQ(kCalls[8].call(key, std::nextafter(4.0, 0.0), cut), 0);
    EXPECT_EQ(*cut.d(8), 2.0) << "of the third point";
    EXPECT_EQ(kCalls[9].call(key, 0.0, cut), 0);
    EXPECT_EQ(std::pair(*cut.d(0), *cut.d(1)), std::pair(kEpoch, lineTime(9)));
}

}  // namespace
}  // namespace vorlandi::testing
