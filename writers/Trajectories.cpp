// Launch trajectories: elapsed seconds, units of their own, no satellite number.
#include <array>
#include <cmath>

#include "writers/Times.hpp"
#include "writers/Writers.hpp"

namespace vorlandi::writers {
namespace {

constexpr double kFeetPerKilometer = 1.0 / 0.0003048;

// The lines skipped after the first one. They describe a data line.
constexpr std::array<std::string_view, 16> kLaunchHeader{
    "VALUE 1: SECONDS SINCE 00:00 OF THE DAY OF READING",
    "VALUES 2 TO 4: NOT USED",
    "VALUES 5 TO 7: POSITION X, Y, Z, METERS, EARTH-FIXED",
    "VALUES 8 TO 10: VELOCITY X, Y, Z, METERS PER SECOND, EARTH-FIXED",
    "VALUES 11 TO 15: NOT USED",
    "VALUE 16: LABEL",
    "",
    "",
    "",
    "",
    "",
    "",
    "",
    "",
    "TIME  -  -  -  X  Y  Z  VX  VY  VZ  -  -  -  -  -  LABEL",
    ""};

}  // namespace

void writeLaunch(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    out.line("TIME(SEC): TIME");
    for (const auto text : kLaunchHeader)
        out.line("{}", text);
    const double midnight = std::floor(ephemeris.times.front());
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // seconds, three unused, x, y, z (m), vx, vy, vz (m/s), five unused, a label without blanks
        out.line("{:.3f} 0.0 0.0 0.0 {} 0.0 0.0 0.0 0.0 0.0 COAST", (ephemeris.times[i] - midnight) * kSecondsPerDay,
                 out.list(ephemeris.states[i], kMetersPerKilometer));
    }
}

void writeEelv(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    const double first = ephemeris.times.front();
    const CalendarTime start = calendarTime(first);
    // Year, month, day, hour, minute, seconds in 23 columns each: their points in columns 2, 25, 48, 71, 94 and 117 are
    // the mark of the format.
    out.line("{:.16e} {:.16e} {:.16e} {:.16e} {:.16e} {:.16e}", static_cast<double>(start.year),
             static_cast<double>(start.month), static_cast<double>(start.day), static_cast<double>(start.hour),
             static_cast<double>(start.minute), start.second);
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // seconds since that time, x, y, z (ft), vx, vy, vz (ft/s)
        out.line("{:.3f} {}", (ephemeris.times[i] - first) * kSecondsPerDay,
                 out.list(ephemeris.states[i], kFeetPerKilometer));
    }
}

}  // namespace vorlandi::writers
