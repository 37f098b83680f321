#include <cstdio>
#include <vorlandi/vorlandi.hpp>

int main(int, char** argv) {
    const auto loaded = vorlandi::load(argv[1]);
    const auto [x, y, z] = loaded.at(0)->state(vorlandi::parse("2026-01-31T01:00:30")).position_km;
    std::printf("%.6f %.6f %.6f\n", x, y, z);
}
