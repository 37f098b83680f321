// Close approaches of fleets over a day: all satellites against all, at one point per minute.
#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "analysis/Approaches.hpp"
#include "analysis/TwoBodyOrbit.hpp"

namespace vorlandi::bench {
namespace {

constexpr double kEpoch_days = 27790.0;
constexpr int kPoints = 1441;

// Circular orbits in random planes, from 400 to 1,400 km high.
class Fleet {
public:
    explicit Fleet(std::int64_t satellites) {
        std::mt19937 random(1);
        for (std::int64_t i = 0; i < satellites; ++i) {
            owned_.push_back(add(static_cast<std::int32_t>(i + 1), Frame::J2K, {kEpoch_days}));
            fill(owned_.back(), random);
            satellites_.push_back(owned_.back());
        }
    }

    const std::vector<Satellite>& satellites() const { return satellites_; }

private:
    static void fill(Satellite satellite, std::mt19937& random) {
        const auto uniform = [&](double from, double to) {
            return std::uniform_real_distribution<double>(from, to)(random);
        };
        const double radius_km = uniform(6778.0, 7778.0);
        const double rate = std::sqrt(analysis::kMu_km3_s2 / (radius_km * radius_km * radius_km));
        const double node = uniform(0.0, 2.0 * std::numbers::pi);
        const double tilt = std::acos(uniform(-1.0, 1.0));
        const double start = uniform(0.0, 2.0 * std::numbers::pi);
        const double x[3] = {std::cos(node), std::sin(node), 0.0};
        const double y[3] = {-std::sin(node) * std::cos(tilt), std::cos(node) * std::cos(tilt), std::sin(tilt)};
        for (int k = 0; k < kPoints; ++k) {
            const double angle = start + rate * 60.0 * k;
            const double c = radius_km * std::cos(angle), s = radius_km * std::sin(angle);
            State state;
            for (std::size_t i = 0; i < 3; ++i) {
                state.position_km[i] = c * x[i] + s * y[i];
                state.velocity_km_s[i] = rate * (c * y[i] - s * x[i]);
            }
            satellite.append({kEpoch_days + k / 1440.0}, state);
        }
    }

    std::vector<OwnedSatellite> owned_;
    std::vector<Satellite> satellites_;
};

void approaches(benchmark::State& state) {
    const Fleet fleet(state.range(0));
    std::size_t events = 0;
    for (auto _ : state)
        events = analysis::findApproaches(fleet.satellites(),
                                          {.within_km = 5.0, .threads = static_cast<unsigned>(state.range(1))})
                     .events.size();
    state.counters["events"] = static_cast<double>(events);
}

BENCHMARK(approaches)
    ->ArgsProduct({{1000, 2000, 5000, 10000}, {1}})
    ->Args({10000, 2})
    ->Iterations(1)
    ->UseRealTime()
    ->Unit(benchmark::kSecond);

}  // namespace
}  // namespace vorlandi::bench
