// Shared by the actors of the stress program: satellites whose points identify their satellite, so that any answer can
// be checked on its own, and the count of faults.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <string>
#include <vector>

namespace vorlandi::stress {

using Random = std::minstd_rand;

constexpr double kEpoch = 27000.0;

// A point of satellite `number`, `index` minutes after its epoch.
struct Point {
    double time;
    double pos[3], vel[3];
    std::int32_t rev;
};
Point pointOf(std::int32_t number, std::int32_t index);

// A state as a query returns it.
struct Answer {
    double time = 0.0, pos[3] = {}, vel[3] = {};
    std::int32_t rev = 0;
};

// Is this a stored point of the satellite?
bool isPointOf(std::int32_t number, const Answer& answer);
// Is this a stored point of the satellite that it names?
bool isPointOfAny(const Answer& answer);

std::int64_t addSatellite(std::int32_t number);
std::int32_t append(std::int64_t key, std::int32_t number, std::int32_t index);

class World {
public:
    // `phases`: an actor that changes the store excludes all others meanwhile, as the fixed guard mode requires.
    World(bool phases, std::filesystem::path folder);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    // Counts a fault, and prints the first ones.
    void expect(bool good, const char* what);
    std::int64_t faults() const noexcept { return faults_; }

    // After all actors have stopped: is the content of the store exactly as expected?
    void checkWhatIsLeft();

    // ---- What is stored ----

    // Residents stay, with kPoints points each; times and answers of their queries by each of the leap-second tables.
    static constexpr std::int32_t kResidents = 50, kPoints = 60, kFirstResident = 100;
    std::vector<std::int64_t> residents;
    std::vector<double> times;
    std::vector<std::vector<std::array<double, 6>>> residentAnswers[kResidents];  // [table][time]

    // Movers are added and removed, under keys that never change.
    static constexpr std::int32_t kMovers = 64, kFirstMover = 1000;
    std::vector<std::int64_t> moverKeys;

    // Satellites under DMA keys; whoever takes a key out of its slot removes the satellite.
    std::array<std::atomic<std::int64_t>, 64> dmaKeys{};

    // Keys of satellites that have been removed, which may name others by now.
    std::array<std::atomic<std::int64_t>, 64> staleDmaKeys{};

    // Satellites that grow: generation and number of points known to be stored, in one number.
    struct Growing {
        std::atomic<std::int64_t> key{0};
        std::atomic<std::uint64_t> state{0};
    };
    static constexpr std::int32_t kGrowing = 2, kFirstGrowing = 3000;
    std::array<Growing, kGrowing> growing;

    std::vector<std::string> leapLists;
    std::filesystem::path folder;
    std::atomic<bool> done{false};

    // ---- Phases of the fixed mode ----

    bool hasPhases() const noexcept { return phases_; }

    template <class Action>
    void act(bool changes, Action&& action) {
        if (!phases_) return action();
        // In turn, so that changes are not starved by queries.
        std::unique_lock turn(turn_);
        if (changes) {
            const std::unique_lock lock(phase_);
            turn.unlock();
            action();
        } else {
            const std::shared_lock lock(phase_);
            turn.unlock();
            action();
        }
    }

private:
    void addResidents();

    bool phases_;
    std::mutex turn_;
    std::shared_mutex phase_;
    std::atomic<std::int64_t> faults_{0};
};

}  // namespace vorlandi::stress
