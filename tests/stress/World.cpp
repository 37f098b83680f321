#include "World.hpp"

#include <cmath>
#include <cstdio>
#include <fstream>

#include "vorlandi/services.h"
#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

namespace vorlandi::stress {
namespace {

constexpr double kMinute_days = 1.0 / 1440.0;

}  // namespace

Point pointOf(std::int32_t number, std::int32_t index) {
    const double i = index;
    return {
        kEpoch + i * kMinute_days, {number + 0.25 * i, -i, 1000.0 * number}, {0.25 / 60.0, -1.0 / 60.0, 0.0}, index};
}

bool isPointOf(std::int32_t number, const Answer& answer) {
    const Point point = pointOf(number, answer.rev);
    return answer.time == point.time && answer.pos[0] == point.pos[0] && answer.pos[1] == point.pos[1] &&
           answer.pos[2] == point.pos[2] && answer.vel[0] == point.vel[0] && answer.vel[1] == point.vel[1];
}

bool isPointOfAny(const Answer& answer) { return isPointOf(static_cast<std::int32_t>(answer.pos[2] / 1000.0), answer); }

std::int64_t addSatellite(std::int32_t number) { return VorlanAddSat(number, 1, kEpoch, 6378.135, 0.0743669161); }

std::int32_t append(std::int64_t key, std::int32_t number, std::int32_t index) {
    const Point point = pointOf(number, index);
    return VorlanAddSatEphem(key, point.time, point.pos, point.vel, point.rev);
}

World::World(bool phases, std::filesystem::path where) : folder(std::move(where)), phases_(phases) {
    VorlanSetGuardMode(phases ? VORLAN_GUARD_FIXED : VORLAN_GUARD_SAFE);
    addResidents();
    for (std::int32_t k = 0; k < kMovers; ++k) {
        moverKeys.push_back(addSatellite(kFirstMover + k));
        VorlanRemoveSat(moverKeys.back());
    }
    for (std::int32_t k = 0; k < kGrowing; ++k)
        growing[static_cast<std::size_t>(k)].key = addSatellite(kFirstGrowing + k);
}

World::~World() { VorlanRemoveAllSats(); }

// Queries each answer once under each of the leap-second tables: the last bits depend on it.
void World::addResidents() {
    const char* const lists[] = {"2272060800 10\n", "2272060800 10\n2287785600 11\n"};
    for (const char* const list : lists) {
        leapLists.push_back((folder / ("leap-seconds-" + std::to_string(leapLists.size()))).string());
        std::ofstream(leapLists.back()) << list;
    }
    for (int k = 0; k < 40; ++k)
        times.push_back(kEpoch + (0.3 + 1.4 * k) * kMinute_days);
    for (std::int32_t k = 0; k < kResidents; ++k) {
        const std::int32_t number = kFirstResident + k;
        residents.push_back(addSatellite(number));
        for (std::int32_t index = 0; index < kPoints; ++index)
            append(residents.back(), number, index);
    }
    for (std::size_t table = 0; table <= leapLists.size(); ++table) {
        for (std::size_t k = 0; k < residents.size(); ++k) {
            auto& answers = residentAnswers[k].emplace_back();
            for (const double time : times) {
                std::array<double, 6>& state = answers.emplace_back();
                const auto status = VorlanDs50UTC(residents[k], time, nullptr, state.data(), state.data() + 3, nullptr);
                const double minutes = (time - kEpoch) * 1440.0;
                const double expected_km = kFirstResident + static_cast<double>(k) + 0.25 * minutes;
                expect(status == 0 && std::abs(state[0] - expected_km) < 1e-6,
                       "a resident's state is right at the start");
            }
        }
        if (table < leapLists.size()) VorlanTimeLoadLeapSeconds(leapLists[table].c_str());
    }
}

void World::expect(bool good, const char* what) {
    if (good) [[likely]]
        return;
    if (++faults_ <= 20) std::fprintf(stderr, "wrong: %s does not hold\n", what);
}

void World::checkWhatIsLeft() {
    std::int64_t expected = kResidents + kGrowing;
    for (const std::int64_t key : residents) {
        Answer last;
        expect(VorlanGetEphemeris(key, kPoints, &last.time, last.pos, last.vel, &last.rev) == 0 && isPointOfAny(last),
               "a resident is whole at the end");
    }
    for (const std::int64_t key : moverKeys)
        expected += VorlanGetAllFields(key, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}) == 0;
    for (const auto& slot : dmaKeys) {
        if (slot == 0) continue;
        expect(VorlanGetAllFields(slot, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}) == 0,
               "a DMA key is found at the end");
        ++expected;
    }
    expect(VorlanGetCount() == expected, "nothing is lost and nothing is left over at the end");
}

}  // namespace vorlandi::stress
