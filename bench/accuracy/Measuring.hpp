// Shared by the measures: a satellite in the store, the errors of its answers, and the line that reports a figure.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <random>
#include <span>
#include <string_view>
#include <vector>

#include "Truth.hpp"

namespace vorlandi::accuracy {

using Matrix6 = std::array<std::array<double, 6>, 6>;

struct Node {
    double time;  // Ds50UTC
    tools::State state;
    Matrix6 covariance{};
};

struct Answer {
    tools::State state;
    Matrix6 covariance;
};

// A satellite in the library's store for as long as the object lives. Throws std::runtime_error if it is not stored.
class Satellite {
public:
    explicit Satellite(std::span<const Node> nodes);
    ~Satellite();
    Satellite(const Satellite&) = delete;
    Satellite& operator=(const Satellite&) = delete;

    // Nothing if the library refuses.
    std::optional<Answer> at(double ds50UTC) const;

private:
    std::int64_t key_;
};

// One number from each of many answers.
class Sample {
public:
    void add(double value) { values_.push_back(value); }
    // This share of the values is at or below the result: 0.5 is the median, 1.0 the largest. Throws without values.
    double quantile(double share);

private:
    std::vector<double> values_;
};

struct Errors {
    Sample position_m, velocity_m_s;
    bool refused = false;

    void add(const std::optional<Answer>& answer, const tools::State& truth);
};

// The errors between four points: in the middle interval, and in the two outer ones, as in the first and last interval
// of an ephemeris.
struct WindowErrors {
    Errors inside, ends;
};

// Requests are spread evenly over an interval. None is at a point.
constexpr int kRequests = 7;
inline double requestTime(const Node& before, const Node& after, int request) {
    return before.time + (after.time - before.time) * (2 * request + 1) / (2.0 * kRequests);
}

// Adds the errors of the answers between these four points.
void addWindow(const Truth& truth, std::span<const Node, 4> nodes, WindowErrors& errors);

// Prints one figure.
void report(std::string_view measure, std::string_view row, std::string_view column, double value);
// Prints the largest and the median of position and velocity errors, NaN if the library refused a request.
void report(std::string_view measure, std::string_view row, std::string_view column, Errors errors);

// From 0 to 1. Unlike the standard distributions it returns the same numbers with every standard library.
inline double uniform(std::mt19937_64& random) { return static_cast<double>(random() >> 11) * 0x1p-53; }

}  // namespace vorlandi::accuracy
