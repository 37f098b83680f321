/*
 * Interpolation accuracy: compares the states that the library interpolates from a file with integrated ones.
 *
 * From the top folder of the project, once ./dev demo has built the library:
 *
 *   g++ -std=c++20 -Iinclude examples/interpolation_accuracy.cpp -o build/interpolation_accuracy \
 *       -Lbuild/gcc/lib -lvorlandi -Wl,-rpath,$PWD/build/gcc/lib
 *   build/interpolation_accuracy examples/data/81001_stk.e examples/data/81001_truth.csv
 *
 * With the installed library: g++ -std=c++20 interpolation_accuracy.cpp -lvorlandi
 *
 * The table of integrated states has the columns time, Ds50UTC, position (km) and velocity (km/s).
 */
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "vorlandi/services.h"
#include "vorlandi/vorlandi.h"

namespace {

struct State {
    double time;                     // Ds50UTC
    std::array<double, 3> position;  // km
    std::array<double, 3> velocity;  // km/s
};

// One row of the table; nothing if it is incomplete.
std::optional<State> parse(const std::string& row) {
    std::istringstream fields(row);
    std::string field;
    std::array<double, 7> numbers{};
    std::getline(fields, field, ',');  // the time as text
    for (double& number : numbers) {
        if (!std::getline(fields, field, ',')) return std::nullopt;
        number = std::strtod(field.c_str(), nullptr);
    }
    return State{numbers[0], {numbers[1], numbers[2], numbers[3]}, {numbers[4], numbers[5], numbers[6]}};
}

double distance(const std::array<double, 3>& a, const double (&b)[3]) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

void printMessage(int32_t severity, const char* text, int32_t length, void*) {
    if (severity == VORLAN_TRACE_ERROR) std::fprintf(stderr, "%.*s\n", static_cast<int>(length), text);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s EPHEMERIS_FILE TABLE_OF_STATES\n", argv[0]);
        return 2;
    }
    VorlanTraceSetHandler(printMessage, nullptr);
    const int64_t key = VorlanAddSatFrFile(argv[1]);
    if (key <= 0) {
        std::fprintf(stderr, "%s: nothing was loaded\n", argv[1]);
        return 1;
    }

    std::ifstream table(argv[2]);
    std::string row;
    std::getline(table, row);  // the names of the columns
    double worstPosition_km = 0.0;
    double worstVelocity_km_s = 0.0;
    int compared = 0;
    std::printf("%-26s %16s %18s\n", "time (UTC)", "position (m)", "velocity (m/s)");
    while (std::getline(table, row)) {
        const auto state = parse(row);
        if (!state) continue;
        double minutes = 0.0, position[3], velocity[3];
        int32_t revolution = 0;
        if (VorlanDs50UTC(key, state->time, &minutes, position, velocity, &revolution) != 0) return 1;
        const double off_km = distance(state->position, position);
        const double off_km_s = distance(state->velocity, velocity);
        std::printf("%.26s %16.6f %18.9f\n", row.c_str(), off_km * 1000.0, off_km_s * 1000.0);
        worstPosition_km = std::fmax(worstPosition_km, off_km);
        worstVelocity_km_s = std::fmax(worstVelocity_km_s, off_km_s);
        ++compared;
    }
    if (compared == 0) {
        std::fprintf(stderr, "%s: no states to compare with\n", argv[2]);
        return 1;
    }
    std::printf("largest of %-15d %16.6f %18.9f\n", compared, worstPosition_km * 1000.0, worstVelocity_km_s * 1000.0);
    return 0;
}
