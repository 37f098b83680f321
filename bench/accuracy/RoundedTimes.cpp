#include <array>
#include <cstddef>
#include <string_view>
#include <vector>

#include "Measures.hpp"
#include "Measuring.hpp"

namespace vorlandi::accuracy {
namespace {

// Whole seconds between points, repeated for a day.
struct Schedule {
    std::string_view name;
    std::vector<int> steps_s;
};

const std::vector<Schedule>& schedules() {
    static const std::vector<Schedule> all{
        {"10 s", {10}},
        {"60 s", {60}},
        {"60 s and 20 s alternating", {60, 20}},
        {"60 s and 6 s alternating", {60, 6}},
        {"71 s and 2 to 6 s alternating", {71, 2, 71, 3, 71, 4, 71, 5, 71, 6}},
        {"71 s, then three of 2 s", {71, 2, 2, 2}},
    };
    return all;
}

// Like the points of a file: states at whole seconds, with times rounded to doubles of days.
std::vector<Node> nodesOf(const Schedule& schedule, const Truth& truth) {
    std::vector<Node> nodes;
    int seconds = 0;
    for (std::size_t k = 0; seconds < 86400; ++k) {
        nodes.push_back({kEpoch + seconds / 86400.0, truth.after(seconds)});
        seconds += schedule.steps_s[k % schedule.steps_s.size()];
    }
    return nodes;
}

}  // namespace

void measureRoundedTimes(const Truth& lowOrbit) {
    for (const Schedule& schedule : schedules()) {
        const std::vector<Node> nodes = nodesOf(schedule, lowOrbit);
        WindowErrors errors;
        for (std::size_t first = 0; first + 4 <= nodes.size(); ++first)
            addWindow(lowOrbit, std::span<const Node, 4>(&nodes[first], 4), errors);
        report("rounded times", schedule.name, "inside", errors.inside);
        report("rounded times", schedule.name, "ends", errors.ends);
    }
}

}  // namespace vorlandi::accuracy
