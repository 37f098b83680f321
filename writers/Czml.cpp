// CZML: a list of packets in JSON, for globes in web pages. Each segment is a list of samples, between which a viewer
// interpolates as the library does: four samples, Hermite, degree 7.
#include <cmath>
#include <numbers>

#include "writers/Frames.hpp"
#include "writers/Segments.hpp"
#include "writers/Times.hpp"
#include "writers/Writers.hpp"

namespace vorlandi::writers {
namespace {

constexpr double kEarthGm_km3_s2 = 398600.4418;

std::string zulu(double time) { return exactIsoText(time) + "Z"; }
std::string interval(double first, double last) { return zulu(first) + "/" + zulu(last); }

double dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

// The time of one revolution, of the whole ephemeris if the orbit is not closed.
double period_s(const Ephemeris& ephemeris) {
    const State& state = ephemeris.states.front();
    const auto& [x, y, z] = state.position_km;
    Vector3 velocity = state.velocity_km_s;
    if (isRotating(ephemeris.frame)) {
        velocity[0] -= kEarthRotation_rad_s * y;
        velocity[1] += kEarthRotation_rad_s * x;
    }
    const double inverse = 2.0 / std::sqrt(dot(state.position_km, state.position_km)) -
                           dot(velocity, velocity) / kEarthGm_km3_s2;  // of the semimajor axis
    const double period = 2.0 * std::numbers::pi / std::sqrt(kEarthGm_km3_s2 * inverse * inverse * inverse);
    if (std::isfinite(period) && period > 0.0) return period;
    return (ephemeris.times.back() - ephemeris.times.front()) * kSecondsPerDay;
}

void writeAvailability(const Ephemeris& ephemeris, const std::vector<Segment>& segments, Lines& out) {
    const char* separator = "";
    out.text(R"("availability":[)");
    for (const Segment& segment : segments) {
        out.text(
            fmt::format("{}\"{}\"", separator, interval(firstTime(ephemeris, segment), lastTime(ephemeris, segment))));
        separator = ",";
    }
    out.line("],");
}

// The leap steps that lie after a time, counted from it.
std::vector<LeapStep> stepsAfter(double time, const std::vector<LeapStep>& steps) {
    std::vector<LeapStep> after;
    int before = 0;
    for (const LeapStep& step : steps) {
        if (step.day <= time)
            before = step.inserted;
        else
            after.push_back({step.day, step.inserted - before});
    }
    return after;
}

// Digits that a viewer can show: a tenth of a millimeter, and of a micrometer per second.
void writeSample(double elapsed_s, const State& state, const char* separator, Lines& out) {
    const auto& [x, y, z] = state.position_km;
    const auto& [vx, vy, vz] = state.velocity_km_s;
    const double k = kMetersPerKilometer;
    out.text(separator);
    out.number(elapsed_s);
    out.text(fmt::format(",{:.4f},{:.4f},{:.4f},{:.7f},{:.7f},{:.7f}", x * k, y * k, z * k, vx * k, vy * k, vz * k));
}

void writeSegment(const Ephemeris& ephemeris, const Segment& segment, Lines& out) {
    const double epoch = firstTime(ephemeris, segment);
    const std::vector<LeapStep> steps = stepsAfter(epoch, ephemeris.leapSteps);
    const ElapsedSeconds elapsed_s(epoch, steps);
    out.line(R"({{"interval":"{}","epoch":"{}","referenceFrame":"{}",)", interval(epoch, lastTime(ephemeris, segment)),
             zulu(epoch), nameIn(kCzmlFrames, ephemeris.frame));
    out.line(R"("interpolationAlgorithm":"HERMITE","interpolationDegree":7,)");
    out.line(R"("forwardExtrapolationType":"NONE","backwardExtrapolationType":"NONE",)");
    out.text(R"("cartesianVelocity":[)");
    for (std::size_t i = 0; i < segment.count; ++i) {
        const std::size_t at = segment.first + i;
        writeSample(elapsed_s(ephemeris.times[at]), ephemeris.states[at], i == 0 ? "\n" : ",\n", out);
        out.bytes("");
    }
    out.text("]}");
}

}  // namespace

void beginCzml(const Options& options, Lines& out) {
    out.line(R"([{{"id":"document","name":"Ephemerides","version":"1.0",)");
    out.text(fmt::format(R"("clock":{{"interval":"{}","currentTime":"{}","multiplier":60}}}})",
                         interval(options.first, options.last), zulu(options.first)));
}

void writeCzml(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    const std::vector<Segment> segments = segmentsOf(ephemeris);
    const double trail_s = period_s(ephemeris);
    const std::string suffix = ephemeris.record == 1 ? "" : fmt::format("-{}", ephemeris.record);
    out.line(",");
    out.line(R"({{"id":"{0}{1}","name":"{0}",)", ephemeris.number, suffix);
    writeAvailability(ephemeris, segments, out);
    out.line(R"("point":{{"pixelSize":5}},)");
    out.line(R"("path":{{"width":1,"resolution":60,"leadTime":{0:.3f},"trailTime":{0:.3f}}},)", trail_s);
    out.text(R"("position":[)");
    const char* separator = "";
    for (const Segment& segment : segments) {
        out.text(separator);
        writeSegment(ephemeris, segment, out);
        separator = ",\n";
    }
    out.text("]}");
}

void endCzml(const Options& /*options*/, Lines& out) { out.line("]"); }

}  // namespace vorlandi::writers
