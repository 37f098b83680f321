#include "PlainKernel.hpp"

#include <algorithm>
#include <cstring>

#include "CoreServices/Units.hpp"

namespace vorlandi::bench {
namespace {

// The first of the four points around t; -1 if t is not where even spacing puts it.
[[gnu::always_inline]] inline std::int32_t firstOfWindow(const PlainPoints& points, double t) noexcept {
    const auto& [states, n, begin, end] = points;
    const auto lo = static_cast<std::int32_t>((t - begin) * (n - 1) / (end - begin));
    for (const std::int32_t guess : {lo, lo - 1, lo + 1}) {
        if (guess >= 0 && guess < n - 1 && states[guess].time <= t && t <= states[guess + 1].time)
            return std::clamp(guess - 1, 0, n - 4);
    }
    return -1;
}

// The weights of the four nodes, where a Value is one node's or holds all of them: dt and its neighbours are t minus
// the times of the node and of the other three, in seconds; e their differences to the node.
template <class Value>
struct Weights {
    Value position[2], velocity[2];  // of the nodes' positions and velocities

    [[gnu::always_inline]] Weights(const Value& dt, const Value (&others)[3]) noexcept {
        const auto& [a, b, c] = others;
        const Value ea = a - dt, eb = b - dt, ec = c - dt;
        const Value r = 1.0 / (ea * eb * ec);
        const Value l = a * b * c * r;                               // Lagrange polynomial
        const Value slope = (a * (b + c) + b * c) * r;               // its derivative at t
        const Value atNode = -2.0 * (ea * (eb + ec) + eb * ec) * r;  // and -2 times its value at the node
        const Value square = l * l, rise = 2.0 * l * slope, value = 1.0 + atNode * dt;
        position[0] = value * square;
        position[1] = dt * square;
        velocity[0] = atNode * square + value * rise;
        velocity[1] = square + dt * rise;
    }
};

// Four doubles side by side: one of each node, or the axes of one.
typedef double Four __attribute__((vector_size(32)));

}  // namespace

bool plainScalar(const PlainPoints& points, double t, double (&posVel)[6]) {
    const std::int32_t first = firstOfWindow(points, t);
    if (first < 0) return false;
    const Vorlanstate* const nodes = points.states + first;
    double dt[4], sums[6] = {};
    for (int i = 0; i < 4; ++i)
        dt[i] = (t - nodes[i].time) * kSecondsPerDay;
    for (int i = 0; i < 4; ++i) {
        const Weights<double> weights(dt[i], {dt[(i + 1) & 3], dt[(i + 2) & 3], dt[(i + 3) & 3]});
        for (int axis = 0; axis < 3; ++axis) {
            const double pos = nodes[i].pos[axis], vel = nodes[i].vel[axis];
            sums[axis] += weights.position[0] * pos + weights.position[1] * vel;
            sums[axis + 3] += weights.velocity[0] * pos + weights.velocity[1] * vel;
        }
    }
    std::copy_n(sums, 6, posVel);
    return true;
}

#ifdef __x86_64__

[[gnu::target("avx2")]] bool plainAvx2(const PlainPoints& points, double t, double (&posVel)[6]) {
    const std::int32_t first = firstOfWindow(points, t);
    if (first < 0) return false;
    const Vorlanstate* const nodes = points.states + first;
    const Four dt = (t - Four{nodes[0].time, nodes[1].time, nodes[2].time, nodes[3].time}) * kSecondsPerDay;
    const Weights<Four> weights(
        dt, {__builtin_shufflevector(dt, dt, 1, 2, 3, 0), __builtin_shufflevector(dt, dt, 2, 3, 0, 1),
             __builtin_shufflevector(dt, dt, 3, 0, 1, 2)});
    // Lane 0 is not used: it holds the time, and z.
    Four position{}, velocity{};
    for (int i = 0; i < 4; ++i) {
        Four pos, vel;
        std::memcpy(&pos, nodes + i, sizeof pos);
        std::memcpy(&vel, nodes[i].pos + 2, sizeof vel);
        position += weights.position[0][i] * pos + weights.position[1][i] * vel;
        velocity += weights.velocity[0][i] * pos + weights.velocity[1][i] * vel;
    }
    for (int axis = 0; axis < 3; ++axis) {
        posVel[axis] = position[axis + 1];
        posVel[axis + 3] = velocity[axis + 1];
    }
    return true;
}

bool hasAvx2() noexcept { return __builtin_cpu_supports("avx2"); }

#else

bool plainAvx2(const PlainPoints& points, double t, double (&posVel)[6]) { return plainScalar(points, t, posVel); }

bool hasAvx2() noexcept { return false; }

#endif

}  // namespace vorlandi::bench
