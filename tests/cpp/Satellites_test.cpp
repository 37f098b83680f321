// Each function of vorlandi.hpp, in success and in failure, compared with the C functions.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <vector>

#include "vorlandi/vorlandi.hpp"

namespace {

using namespace vorlandi;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string kExamples = VORLANDI_EXAMPLES "/";
constexpr Ds50 kEpoch{27790.0};

Ds50 minutesOn(double minutes) { return {kEpoch.days + minutes / 1440.0}; }

Matrix6 someMatrix() {
    Matrix6 matrix;
    for (std::size_t row = 0; row < 6; ++row)
        for (std::size_t column = 0; column < 6; ++column)
            matrix[row][column] =
                10.0 * static_cast<double>(std::max(row, column)) + static_cast<double>(std::min(row, column)) + 1.0;
    return matrix;
}

OwnedSatellite lineOf(int points) {
    OwnedSatellite satellite = add(81001, Frame::J2K, kEpoch);
    const Matrix6 covariance = someMatrix();
    for (int i = 0; i < points; ++i)
        satellite->append(minutesOn(i), {{7000.0 + i, -2.0 * i, 60.0 * i}, {1.0 / 60, -2.0 / 60, 1.0}}, 5 + i,
                          &covariance);
    return satellite;
}

template <typename Call>
std::string errorOf(Call call) {
    try {
        call();
    } catch (const Error& error) {
        EXPECT_EQ(error.status(), 2);
        return error.what();
    }
    return "no error";
}

class VorlandiHpp : public ::testing::Test {
protected:
    ~VorlandiHpp() override { EXPECT_EQ(count(), 0) << "a satellite has no owner"; }
};

TEST_F(VorlandiHpp, ChoosesTheSafeGuardMode) {
    count();
    EXPECT_EQ(VorlanGetGuardMode(), VORLAN_GUARD_SAFE);
}

TEST_F(VorlandiHpp, AnswersWithTheBitsOfTheCFunctions) {
    const OwnedSatellite satellite = lineOf(6);
    const Ds50 time = minutesOn(2.3);
    State wanted{};
    Matrix6 wantedMatrix{};
    ASSERT_EQ(
        VorlanDs50UTCCovMtx(satellite->key(), time.days, nullptr, wanted.position_km.data(),
                            wanted.velocity_km_s.data(), nullptr, reinterpret_cast<double(*)[6]>(wantedMatrix.data())),
        0);
    const auto same = [&wanted](const State& state) { return std::memcmp(&state, &wanted, sizeof state) == 0; };
    EXPECT_TRUE(same(satellite->state(time)));
    const auto [state, matrix] = satellite->state_and_covariance(time);
    EXPECT_TRUE(same(state));
    EXPECT_EQ(matrix, wantedMatrix);

    const std::vector<Ds50> times{time, minutesOn(-1), time};
    std::vector<State> states(3);
    std::vector<std::int32_t> codes(3);
    std::vector<Matrix6> matrices(3);
    EXPECT_EQ(satellite->try_states(times, states, codes, matrices), 1U);
    EXPECT_THAT(codes, ElementsAre(0, 2, 0));
    EXPECT_TRUE(same(states[2]));
    EXPECT_EQ(matrices[0], wantedMatrix);
    EXPECT_EQ(matrices[1], Matrix6{});

    std::fill(states.begin(), states.end(), State{});
    EXPECT_THAT(errorOf([&] { satellite->states(times, states); }), StartsWith("GetEphem: "));
    EXPECT_TRUE(same(states[2])) << "the others are filled";
    EXPECT_NO_THROW(satellite->states(std::span(times).first(1), std::span(states).first(1)));

    const std::vector<Satellite> fleet{satellite, Satellite(16), satellite};
    std::fill(states.begin(), states.end(), State{});
    EXPECT_EQ(try_states(fleet, time, states, codes), 1U);
    EXPECT_THAT(codes, ElementsAre(0, 2, 0));
    EXPECT_TRUE(same(states[2]));
}

TEST_F(VorlandiHpp, RefusesBatchesWhoseSizesDiffer) {
    const OwnedSatellite satellite = lineOf(4);
    const std::vector<Ds50> times(3, kEpoch);
    std::vector<State> states(4);
    std::vector<std::int32_t> codes(3, 7);
    std::vector<Matrix6> matrices(2);
    EXPECT_EQ(satellite->try_states(times, states, codes), 3U);
    EXPECT_THAT(codes, ElementsAre(2, 2, 2));
    EXPECT_EQ(satellite->try_states(times, std::span(states).first(3), codes, matrices), 3U);
    EXPECT_EQ(satellite->try_states(times, std::span(states).first(3), std::span(codes).first(2)), 3U);
    const std::vector<Satellite> fleet(3, satellite);
    EXPECT_EQ(try_states(fleet, kEpoch, states, codes), 3U);
    EXPECT_THAT(errorOf([&] { satellite->states(times, states); }), HasSubstr("different sizes"));
    EXPECT_THAT(errorOf([&] { satellite->states(times, std::span(states).first(3), matrices); }),
                HasSubstr("different sizes"));
    EXPECT_EQ(states[0].position_km[0], 0.0) << "nothing was called";
}

TEST_F(VorlandiHpp, ReadsAndWritesPointsAndFields) {
    const OwnedSatellite satellite = lineOf(4);
    const Point point = satellite->point(2);
    EXPECT_EQ(point.time, minutesOn(1));
    EXPECT_EQ(point.state.position_km, (std::array{7001.0, -2.0, 60.0}));
    EXPECT_EQ(point.revolution, 6);
    EXPECT_EQ(point.covariance, someMatrix());
    const std::vector<Point> points = satellite->points();
    ASSERT_EQ(points.size(), 4U);
    EXPECT_EQ(points[1].time, point.time);
    EXPECT_EQ(std::memcmp(&points[1].state, &point.state, sizeof point.state), 0);
    EXPECT_EQ(points[1].revolution, point.revolution);
    EXPECT_EQ(points[1].covariance, point.covariance);
    EXPECT_EQ(satellite->span().first, kEpoch);
    EXPECT_EQ(satellite->span().last, minutesOn(3));

    satellite->set_frame(Frame::ECR);
    satellite->set_tag(std::string(128, 't'));
    const Fields fields = satellite->fields();
    EXPECT_EQ(fields.number, 81001);
    EXPECT_EQ(name(fields.frame), "ECR");
    EXPECT_EQ(fields.epoch, kEpoch);
    EXPECT_EQ(fields.points, 4);
    EXPECT_EQ(fields.tag, std::string(128, 't'));
    EXPECT_EQ(name(Frame{19}), "HCSGC");
    EXPECT_EQ(name(Frame{7}), "7");
}

TEST_F(VorlandiHpp, FailsWithTheMessageOfTheLibrary) {
    const Satellite none(16);
    const State state{};
    EXPECT_EQ(none.try_state(kEpoch).status, 2);
    EXPECT_EQ(none.try_append(kEpoch, state), 2);
    const std::vector<std::function<void()>> calls{[&] { none.state(kEpoch); },
                                                   [&] { none.state_and_covariance(kEpoch); },
                                                   [&] { none.point(1); },
                                                   [&] { none.span(); },
                                                   [&] { none.fields(); },
                                                   [&] { none.points(); },
                                                   [&] { none.append(kEpoch, state); },
                                                   [&] { none.set_frame(Frame::ECI); },
                                                   [&] { none.set_tag("tag"); }};
    for (const auto& call : calls)
        EXPECT_THAT(errorOf(call), StartsWith("FindRecPtr: "));
    const OwnedSatellite satellite = lineOf(0);
    EXPECT_THAT(errorOf([&] { satellite->set_tag(std::string(129, 't')); }), HasSubstr("longer than 128"));
    EXPECT_THAT(errorOf([&] { satellite->set_tag(std::string(1, '\0')); }), HasSubstr("NUL"));
    EXPECT_THAT(errorOf([] { add(1'000'000'000, Frame::J2K, kEpoch); }), HasSubstr("number is not in"));
    EXPECT_THAT(errorOf([] { add(1, Frame::J2K, Ds50{parse("2199-12-31").days + 1}); }), HasSubstr("epoch is not in"));
    EXPECT_THAT(errorOf([&] { add(81001, Frame::J2K, kEpoch); }), HasSubstr("Duplicated record/key"));
    EXPECT_TRUE(satellite->points().empty());
}

TEST_F(VorlandiHpp, OwnersRemoveWhatTheyOwn) {
    OwnedSatellite first = lineOf(1);
    OwnedSatellite second = add(81002, Frame::ECI, kEpoch);
    EXPECT_THAT(satellites(), ElementsAre(*first, *second));
    EXPECT_THAT(satellites(Order::NumberDescending), ElementsAre(*second, *first));
    first = std::move(second);
    EXPECT_THAT(satellites(), ElementsAre(*first)) << "assignment removes what was owned before";
    const Satellite kept = first.release();
    first = OwnedSatellite();
    EXPECT_EQ(count(), 1);
    { const OwnedSatellite owner(kept); }
    EXPECT_EQ(count(), 0);
    lineOf(2).release();
    remove_all();
    EXPECT_TRUE(satellites().empty());
}

TEST_F(VorlandiHpp, LoadsFilesAndBytes) {
    const std::string file = kExamples + "81001_stk.e";
    const auto fromFile = load(file);
    ASSERT_EQ(fromFile.size(), 1U);
    EXPECT_EQ(fromFile[0]->fields().number, 81001);
    EXPECT_EQ(fromFile[0]->fields().file, file);
    EXPECT_EQ(load(file).size(), 1U) << "duplicate satellites are all kept";

    std::ifstream stream(file, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    const auto fromBytes = load_bytes(std::as_bytes(std::span(content)), "7.e");
    ASSERT_EQ(fromBytes.size(), 1U);
    EXPECT_EQ(fromBytes[0]->fields().number, 7);

    EXPECT_EQ(load(kExamples + "fleet.card").size(), 3U);
    const auto card = try_load(kExamples + "fleet.card", {.follow_cards = false});
    EXPECT_FALSE(card);
    EXPECT_THAT(card.message, HasSubstr("missing file"));

    const auto ordinary = load(file, {.keys = Keys::Ordinary});
    const auto refused = try_load(file, {.keys = Keys::Ordinary});
    EXPECT_FALSE(refused);
    EXPECT_THAT(refused.message, HasSubstr("81001"));
}

TEST_F(VorlandiHpp, SaysWhyNothingWasLoaded) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"/nowhere/7.e", "/nowhere/7.e: No such file or directory"},
        {"/", "/: Is a directory"},
        {"", "the file name is empty"},
        {" 7.e", "begins with a blank"},
        {"7.e ", "ends with a blank"},
        {std::string("7\0.e", 4), "holds a NUL"},
        {std::string(513, 'x'), "longer than 512"}};
    for (const auto& [file, message] : cases) {
        try {
            load(file);
            ADD_FAILURE() << file;
        } catch (const LoadError& error) {
            EXPECT_THAT(error.what(), HasSubstr(message));
            EXPECT_TRUE(error.loaded.empty());
        }
    }
    EXPECT_THAT(errorOf([] { load_leap_seconds(std::string(513, 'x')); }), HasSubstr("longer than 512"));
    const std::string nonsense = "no ephemeris\n";
    EXPECT_THAT(try_load_bytes(std::as_bytes(std::span(nonsense)), "7.e").message, HasSubstr("No ephemeris format"));
    EXPECT_THAT(try_load_bytes({}, "7.e", {.rules = Rules::Fixed}).message, HasSubstr("nothing was stored"));
}

// An STK file with a bad line.
std::span<const std::byte> damaged() {
    static const std::string text =
        "stk.v.4.3\nBEGIN Ephemeris\nScenarioEpoch 31 Jan 2026 00:00:00\nCoordinateSystem J2000\n"
        "EphemerisTimePosVel\n0 7e6 0 0 0 7e3 0\n60 7e6 4e5 0 0 7e3 0\nnonsense\n120 7e6 8e5 0 0 7e3 0\nEND "
        "Ephemeris\n";
    return std::as_bytes(std::span(text));
}

TEST_F(VorlandiHpp, TellsItsListenersWhatCouldNotBeRead) {
    std::vector<std::string> outer, heard;
    VorlanSetReadObserver(
        [](std::int32_t, const char*, std::int32_t, std::int64_t, const char* text, std::int32_t length, void* data) {
            static_cast<std::vector<std::string>*>(data)->emplace_back(text, static_cast<std::size_t>(length));
        },
        &outer);
    const auto listener = [&heard](const ReadEvent& event) {
        if (event.kind == ReadEvent::Kind::Bad)
            heard.push_back(std::string(event.file) + ":" + std::to_string(event.line) + ": " +
                            std::string(event.text));
    };
    const auto loaded = load_bytes(damaged(), "7.e", {.listener = listener});
    EXPECT_EQ(loaded.size(), 1U);
    EXPECT_THAT(heard, ElementsAre("7.e:8: nonsense"));
    EXPECT_THAT(outer, ElementsAre("STK", "nonsense", std::to_string(loaded[0]->key())));
    VorlanReadObserver observer = nullptr;
    VorlanGetReadObserver(&observer, nullptr);
    EXPECT_NE(observer, nullptr) << "the previous observer is restored";
    VorlanSetReadObserver(nullptr, nullptr);

    const auto strict = try_load_bytes(damaged(), "7.e", {.strict = true});
    EXPECT_FALSE(strict);
    EXPECT_EQ(strict.message, "7.e:8: bad line: nonsense");
    EXPECT_EQ(strict.loaded.size(), 1U);

    try {
        load_bytes(damaged(), "7.e", {.strict = true});
        ADD_FAILURE();
    } catch (const LoadError& error) {
        EXPECT_EQ(error.status(), 2);
    }

    std::vector<OwnedSatellite> inner;
    const auto loads = [&inner](const ReadEvent& event) {
        if (event.kind == ReadEvent::Kind::Bad) inner = load_bytes(damaged(), "9.e");
    };
    EXPECT_EQ(load_bytes(damaged(), "8.e", {.listener = loads}).size(), 1U);
    EXPECT_EQ(inner.size(), 1U) << "each load owns what it stored itself";
    inner.clear();

    const auto throws = [](const ReadEvent&) { throw std::logic_error("from the listener"); };
    EXPECT_THROW(load_bytes(damaged(), "8.e", {.listener = throws}), std::logic_error);
    EXPECT_EQ(count(), 2) << "what that load stored is gone";
}

TEST_F(VorlandiHpp, SavesCards) {
    const auto loaded = load(kExamples + "81001_stk.e");
    const std::string file = ::testing::TempDir() + "vorlandi_hpp.card";
    save(file);
    EXPECT_EQ(load(file).size(), 1U);
    std::filesystem::remove(file);
    EXPECT_THAT(errorOf([] { save("/nowhere/a.card"); }), HasSubstr("/nowhere/a.card: No such file"));
    EXPECT_THAT(errorOf([] { save("a.card "); }), HasSubstr("ends with a blank"));
}

TEST_F(VorlandiHpp, OneListenerHearsTheMessages) {
    std::vector<std::string> outer, heard;
    VorlanTraceSetHandler(
        [](std::int32_t, const char* text, std::int32_t length, void* data) {
            static_cast<std::vector<std::string>*>(data)->emplace_back(text, static_cast<std::size_t>(length));
        },
        &outer);
    {
        const TraceListener listener([&heard](Severity severity, std::string_view text) {
            EXPECT_EQ(severity, Severity::Error);
            heard.emplace_back(text);
        });
        EXPECT_THAT(errorOf([] { const TraceListener second([](Severity, std::string_view) {}); }),
                    HasSubstr("already"));
        EXPECT_FALSE(Satellite(16).try_state(kEpoch));
    }
    EXPECT_FALSE(Satellite(16).try_span());
    VorlanTraceSetHandler(nullptr, nullptr);
    ASSERT_EQ(heard.size(), 1U);
    EXPECT_EQ(last_error(), heard[0]);
    EXPECT_EQ(outer.size(), 2U) << "the previous handler receives all messages, and is restored";
}

}  // namespace
