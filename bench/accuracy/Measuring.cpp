#include "Measuring.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>

#include "vorlandi/vorlandi.h"

namespace vorlandi::accuracy {
namespace {

double distance(const tools::Vector3& a, const tools::Vector3& b) {
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

void addPoint(std::int64_t key, const Node& node) {
    std::array<double, 21> lowerTriangle{};
    std::size_t next = 0;
    for (std::size_t row = 0; row < 6; ++row) {
        for (std::size_t column = 0; column <= row; ++column)
            lowerTriangle[next++] = node.covariance[row][column];
    }
    if (VorlanAddSatEphemCovMtx(key, node.time, node.state.position_km.data(), node.state.velocity_km_s.data(), 0,
                                lowerTriangle.data()) != 0)
        throw std::runtime_error("a point was not stored");
}

}  // namespace

Satellite::Satellite(std::span<const Node> nodes)
    : key_(VorlanAddSat(81001, 1, nodes.front().time, tools::kEarthRadius_km, 0.0743669161)) {
    if (key_ <= 0) throw std::runtime_error("the satellite was not stored");
    for (const Node& node : nodes)
        addPoint(key_, node);
}

Satellite::~Satellite() { VorlanRemoveSat(key_); }

std::optional<Answer> Satellite::at(double ds50UTC) const {
    Answer answer;
    double covariance[6][6];
    if (VorlanDs50UTCCovMtx(key_, ds50UTC, nullptr, answer.state.position_km.data(), answer.state.velocity_km_s.data(),
                            nullptr, covariance) != 0)
        return std::nullopt;
    for (std::size_t row = 0; row < 6; ++row)
        std::copy_n(covariance[row], 6, answer.covariance[row].begin());
    return answer;
}

double Sample::quantile(double share) {
    if (values_.empty()) throw std::logic_error("a sample without values");
    const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(values_.size() - 1));
    std::nth_element(values_.begin(), values_.begin() + rank, values_.end());
    return values_[static_cast<std::size_t>(rank)];
}

void Errors::add(const std::optional<Answer>& answer, const tools::State& truth) {
    if (!answer) {
        refused = true;
        return;
    }
    position_m.add(1000.0 * distance(answer->state.position_km, truth.position_km));
    velocity_m_s.add(1000.0 * distance(answer->state.velocity_km_s, truth.velocity_km_s));
}

void addWindow(const Truth& truth, std::span<const Node, 4> nodes, WindowErrors& errors) {
    const Satellite satellite(nodes);
    for (std::size_t interval = 0; interval < 3; ++interval) {
        Errors& found = interval == 1 ? errors.inside : errors.ends;
        for (int request = 0; request < kRequests; ++request) {
            const double time = requestTime(nodes[interval], nodes[interval + 1], request);
            found.add(satellite.at(time), truth.at(time));
        }
    }
}

void report(std::string_view measure, std::string_view row, std::string_view column, double value) {
    fmt::print("{}\t{}\t{}\t{:.6e}\n", measure, row, column, value);
}

void report(std::string_view measure, std::string_view row, std::string_view column, Errors errors) {
    const auto figure = [&](std::string_view quantity, std::string_view kind, Sample& sample, double share) {
        const double value = errors.refused ? std::numeric_limits<double>::quiet_NaN() : sample.quantile(share);
        report(fmt::format("{} {}", measure, quantity), row, fmt::format("{} {}", column, kind), value);
    };
    figure("position", "largest", errors.position_m, 1.0);
    figure("position", "median", errors.position_m, 0.5);
    figure("velocity", "largest", errors.velocity_m_s, 1.0);
    figure("velocity", "median", errors.velocity_m_s, 0.5);
}

}  // namespace vorlandi::accuracy
