// What the tests of the exported functions share: a store behind the C door, and texts of fixed length.
#pragma once

#include <array>
#include <limits>

#include "TestSupport.hpp"
#include "Vorlandi/StoreGuard.hpp"
#include "vorlandi/services.h"
#include "vorlandi/vorlandi.h"

namespace vorlandi::testing {

using Messages = std::vector<std::string>;

constexpr double kEpoch = 27000.0;
constexpr double kGarbage = -987.5;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

constexpr std::int64_t kUnknownKey = 16;  // of satellite 0, which no test adds

inline std::string padded(std::string text, std::size_t size) {
    text.resize(size, ' ');
    return text;
}

// A key right-aligned in the 19 columns of a message.
inline std::string columns19(std::int64_t key) {
    const std::string digits = std::to_string(key);
    return std::string(19 - digits.size(), ' ') + digits;
}

// A text output, filled with what no answer holds, with guards behind it.
template <std::size_t N>
class TextOutput {
public:
    TextOutput() { chars_.fill('#'); }
    operator char*() { return chars_.data(); }
    std::string text() const {
        EXPECT_EQ(std::string(chars_.data() + N, 4), "####");
        return std::string(chars_.data(), N);
    }

private:
    std::array<char, N + 4> chars_;
};

class InterfaceTest : public StoreTest {
protected:
    ~InterfaceTest() override { leftTheGuard(); }

    // Every export leaves the reader side on every path.
    static void leftTheGuard() { EXPECT_EQ(numreads, 0); }

    static std::int64_t addSatellite(std::int32_t satNum, double epoch = kEpoch, std::int32_t code = 1) {
        return VorlanAddSat(satNum, code, epoch, 6378.135, 0.07436691613317341);
    }

    static std::int64_t addDmaSatellite(std::int32_t satNum) {
        VorlanSetAllKeyMode(1, 1);
        const std::int64_t key = addSatellite(satNum);
        VorlanSetAllKeyMode(0, 0);
        return key;
    }

    // Point i of a straight line from kEpoch on, one point a minute: i km along x, -2i along y, 60i along z.
    static double lineTime(int i) { return kEpoch + i / 1440.0; }
    static void addLine(std::int64_t key, int points) {
        for (int i = 0; i < points; ++i) {
            const double pos[3] = {i * 1.0, i * -2.0, i * 60.0};
            const double vel[3] = {1.0 / 60.0, -2.0 / 60.0, 1.0};
            std::array<double, 21> cov;
            for (std::size_t k = 0; k < cov.size(); ++k)
                cov[k] = static_cast<double>(k + 1);
            EXPECT_EQ(VorlanAddSatEphemCovMtx(key, lineTime(i), pos, vel, i, cov.data()), 0);
        }
    }
};

}  // namespace vorlandi::testing
