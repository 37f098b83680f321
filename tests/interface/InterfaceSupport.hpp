// Shared by the tests of the store and of the exported functions.
#pragma once

#include <unistd.h>

#include <array>
#include <atomic>
#include <limits>
#include <numeric>
#include <utility>

#include "TestSupport.hpp"
#include "Vorlandi/VorlandiTree.hpp"
#include "vorlandi/services.h"
#include "vorlandi/vorlandi.h"

namespace vorlandi::testing {

constexpr double kEpoch = 27000.0;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kPos[3] = {7000.5, -0.25, 1e20};
constexpr double kVel[3] = {-7.5, 0.1, 0.0};
constexpr std::int64_t kUnknownKey = 16;  // of satellite 0, which no test adds

inline std::string padded(std::string text, std::size_t size) {
    text.resize(size, ' ');
    return text;
}

// A key right-aligned in 19 columns, with text on both sides.
inline std::string withKey(const char* text, std::int64_t key, const char* tail) {
    return text + padded("", 19 - std::to_string(key).size()) + std::to_string(key) + tail;
}

// What a function writes into a text of N characters; checks that it writes nothing after them.
template <std::size_t N, class Fill>
std::string textOf(Fill&& fill) {
    std::string chars(N + 4, '#');
    fill(chars.data());
    EXPECT_EQ(chars.substr(N), "####");
    return chars.substr(0, N);
}

class InterfaceTest : public StoreTest {
protected:
    InterfaceTest() {
        VorlanTraceSetHandler(receive, this);
        alarm(300);  // ends the test program when a guard is never left
    }
    ~InterfaceTest() override {
        alarm(0);
        EXPECT_EQ(numreads, 0);
        EXPECT_STREQ(vorlantree.check(), nullptr);
    }

    // The one message of a call that failed. Every export leaves the reader side on every path.
    std::string errorOf(std::int32_t status) {
        EXPECT_EQ(status, 2);
        EXPECT_EQ(numreads, 0);
        EXPECT_EQ(messages.size(), 1U);
        return messages.empty() ? "" : std::exchange(messages, {}).front();
    }

    static std::int64_t addSatellite(std::int32_t satNum, double epoch = kEpoch, std::int32_t code = 1) {
        return VorlanAddSat(satNum, code, epoch, 6378.135, 0.07436691613317341);
    }
    static std::int64_t addDmaSatellite(std::int32_t satNum) {
        VorlanSetAllKeyMode(1, 1);
        const std::int64_t key = addSatellite(satNum);
        VorlanSetAllKeyMode(0, 0);
        return key;
    }

    static Vorlanrecord stored(std::int64_t key) { return storedRecord(key); }

    // Point i of a straight line from kEpoch on, one point a minute: i km along x, -2i along y, 60i along z.
    static double lineTime(int i) { return kEpoch + i / 1440.0; }
    static void addLine(std::int64_t key, int points) {
        std::array<double, 21> cov;
        std::iota(cov.begin(), cov.end(), 1.0);
        for (int i = 0; i < points; ++i) {
            const double pos[3] = {i * 1.0, i * -2.0, i * 60.0}, vel[3] = {1.0 / 60.0, -2.0 / 60.0, 1.0};
            EXPECT_EQ(VorlanAddSatEphemCovMtx(key, lineTime(i), pos, vel, i, cov.data()), 0);
        }
    }

    std::vector<std::string> messages;  // all that came since the last call of errorOf()

private:
    // Adds, queries and removes a satellite at each message: no message may come from inside the guard.
    static void receive(std::int32_t, const char* text, std::int32_t size, void* given) {
        auto& self = *static_cast<InterfaceTest*>(given);
        if (self.busy_.exchange(true)) return;
        self.messages.emplace_back(text, static_cast<std::size_t>(size));
        EXPECT_EQ(VorlanRemoveSat(addSatellite(999)), 0);
        EXPECT_EQ(VorlanStartEndTime(kUnknownKey, nullptr, nullptr), 2);
        self.busy_ = false;
    }
    std::atomic<bool> busy_ = false;  // on any thread
};

}  // namespace vorlandi::testing
