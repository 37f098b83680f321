// Keyword lines, then one line per point: seconds since an epoch, and the state.
#include <algorithm>
#include <cmath>

#include "writers/Frames.hpp"
#include "writers/Times.hpp"
#include "writers/Writers.hpp"

namespace vorlandi::writers {
namespace {

void writeSettings(const Ephemeris& ephemeris, double epoch, std::string_view unit, Lines& out) {
    out.line("NumberOfEphemerisPoints {}", ephemeris.times.size());
    out.line("ScenarioEpoch           {}", monthNameText24(epoch));
    out.line("CentralBody             Earth");
    out.line("CoordinateSystem        {}", nameIn(kStkFrames, ephemeris.frame));
    out.line("DistanceUnit            {}", unit);
}

// Seconds since the first point; meters.
void writeExample(const Ephemeris& ephemeris, Lines& out) {
    const double epoch = ephemeris.times.front();
    out.line("stk.v.11.0");
    out.line("BEGIN Ephemeris");
    writeSettings(ephemeris, epoch, "Meters", out);
    out.line("EphemerisTimePosVel");
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // seconds since the epoch, x, y, z (m), vx, vy, vz (m/s)
        out.line("{:.3f} {}", (ephemeris.times[i] - epoch) * kSecondsPerDay,
                 out.list(ephemeris.states[i], kMetersPerKilometer));
    }
    out.line("end Ephemeris");  // readers look for the small e
}

void writeStates(const Ephemeris& ephemeris, const ElapsedSeconds& elapsed_s, Lines& out) {
    out.line("EphemerisTimePosVel");
    out.inBlocks(ephemeris.times.size(), [&](std::size_t first, std::size_t last, Lines& block) {
        for (std::size_t i = first; i < last; ++i) {
            block.number(elapsed_s(ephemeris.times[i]));
            block.numbersOf(ephemeris.states[i]);
            block.end();
        }
    });
}

// One row of the triangle per line, the first one after the time. After the end of the states, readers may look for
// other formats here, which begin with a number in the first columns: these lines don't.
void writeCovariances(const Ephemeris& ephemeris, const ElapsedSeconds& elapsed_s, Lines& out) {
    out.line("CovarianceFormat        LowerTriangular");
    out.line("CovarianceTimePosVel");
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        if (!isGiven(ephemeris.covariances[i])) continue;
        auto value = ephemeris.covariances[i].begin();
        for (int row = 0; row < 6; ++row) {
            out.text("               ");
            if (row == 0) out.text(" " + shortest(elapsed_s(ephemeris.times[i])));
            for (int column = 0; column <= row; ++column) {
                out.text(" ");
                out.number(*value++);
            }
            out.end();
        }
    }
}

}  // namespace

void writeStk(const Ephemeris& ephemeris, const Options& options, Lines& out) {
    if (out.style() == Style::Example) return writeExample(ephemeris, out);
    const double epoch = std::floor(ephemeris.times.front());
    const ElapsedSeconds elapsed_s(epoch, ephemeris.leapSteps);
    out.line("stk.v.11.0");
    for (const std::string& comment : options.comments)
        out.line("# {}", comment);
    if (!ephemeris.leapSteps.empty()) {
        out.line("# Times are elapsed seconds, over a leap second at {}.", isoText19(ephemeris.leapSteps.front().day));
        out.line("# Readers that count 86400 seconds a day are a second off after it.");
    }
    out.line("BEGIN Ephemeris");
    writeSettings(ephemeris, epoch, "Kilometers", out);
    out.line("InterpolationMethod     Hermite");
    out.line("InterpolationSamplesM1  3");
    writeStates(ephemeris, elapsed_s, out);
    // Some readers know no other end, among them the library's by its fixed rules: they would take the next lines for
    // points.
    out.line("# end Ephemeris");
    if (std::ranges::any_of(ephemeris.covariances, isGiven)) writeCovariances(ephemeris, elapsed_s, out);
    out.line("END Ephemeris");
}

}  // namespace vorlandi::writers
