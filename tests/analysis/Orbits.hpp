// Orbits in closed form, by the eccentric anomaly, as a reference for the analysis.
#pragma once

#include <cmath>
#include <numbers>
#include <vector>

#include "analysis/Check.hpp"

namespace vorlandi::analysis {

inline constexpr double kEpoch_days = 27790.0;
inline constexpr double kMu = 398600.4418;

// In a plane inclined by 0.9 to the equator, at perigee at time 0.
inline State keplerState(double axis_km, double eccentricity, double seconds) {
    const double motion = std::sqrt(kMu / (axis_km * axis_km * axis_km));
    const double mean = std::remainder(motion * seconds, 2.0 * std::numbers::pi);
    double anomaly = eccentricity < 0.8 ? mean : std::copysign(std::numbers::pi, mean);
    for (int i = 0; i < 50; ++i)
        anomaly -= (anomaly - eccentricity * std::sin(anomaly) - mean) / (1.0 - eccentricity * std::cos(anomaly));
    const double minor_km = axis_km * std::sqrt(1.0 - eccentricity * eccentricity);
    const double rate = motion / (1.0 - eccentricity * std::cos(anomaly));
    const double x = axis_km * (std::cos(anomaly) - eccentricity);
    const double y = minor_km * std::sin(anomaly);
    const double vx = -axis_km * rate * std::sin(anomaly);
    const double vy = minor_km * rate * std::cos(anomaly);
    const double c = std::cos(0.9);
    const double s = std::sin(0.9);
    return {{x, c * y, s * y}, {vx, c * vy, s * vy}};
}

// As seen on axes that turn with the earth.
inline State rotating(const State& state, double seconds) {
    constexpr double kRate = 7.292115e-5;
    const double c = std::cos(kRate * seconds);
    const double s = std::sin(kRate * seconds);
    const auto& [r, v] = state;
    const double x = c * r[0] + s * r[1];
    const double y = c * r[1] - s * r[0];
    return {{x, y, r[2]}, {c * v[0] + s * v[1] + kRate * y, c * v[1] - s * v[0] - kRate * x, v[2]}};
}

inline double distance_m(const State& a, const State& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < 3; ++i)
        sum += std::pow(a.position_km[i] - b.position_km[i], 2);
    return 1e3 * std::sqrt(sum);
}

struct Points {
    std::vector<Ds50> times;
    std::vector<State> states;
    std::vector<Matrix6> covariances;
    Frame frame = Frame::J2K;

    Ephemeris ephemeris() const { return makeEphemeris(7, frame, times, states, covariances); }
    OwnedSatellite stored() const {
        OwnedSatellite satellite = add(7, frame, times.front());
        for (std::size_t i = 0; i < times.size(); ++i)
            satellite->append(times[i], states[i], 0, covariances.empty() ? nullptr : &covariances[i]);
        return satellite;
    }
};

inline Points orbitPoints(double axis_km, double eccentricity, double step_s, int count, double first_s = 0.0,
                          bool rotates = false) {
    Points points;
    if (rotates) points.frame = Frame::ECR;
    for (int i = 0; i < count; ++i) {
        const double t = first_s + i * step_s;
        const State state = keplerState(axis_km, eccentricity, t);
        points.times.push_back({kEpoch_days + t / 86400.0});
        points.states.push_back(rotates ? rotating(state, t) : state);
    }
    return points;
}

// Without some of the points, first to last.
inline Points without(Points points, std::size_t first, std::size_t last) {
    const auto cut = [=](auto& items) {
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(first),
                    items.begin() + static_cast<std::ptrdiff_t>(last) + 1);
    };
    cut(points.times);
    cut(points.states);
    return points;
}

}  // namespace vorlandi::analysis
