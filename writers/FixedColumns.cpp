// Formats whose numbers are in fixed columns. Column numbers start at 1.
#include <algorithm>

#include "writers/Frames.hpp"
#include "writers/Times.hpp"
#include "writers/Writers.hpp"

namespace vorlandi::writers {
namespace {

// Header shared by the vector and the simulated-observation layout.
//   1-22   square root of the gravitational parameter, earth radii^1.5 per minute
//   23-44  earth radius, km
//   46-60  start time, so that the point of its seconds falls into column 57
//   mark   tells the two layouts apart
std::string constantsHeader(const Ephemeris& ephemeris, Placed mark) {
    const auto constants = fmt::format("{:22.15E}{:22.15E}", ephemeris.ke, ephemeris.earthRadius_km);
    return placed({{1, constants}, {46, dayOfYearText15(ephemeris.times.front())}, mark});
}

// One line of a point, without or before its covariance.
//   4-18    time
//   19-66   x, y, z in 16 columns each, km
//   67-114  vx, vy, vz in 16 columns each, km/s
void writeItcState(Lines& out, double time, const State& state, const StateFields& fields) {
    out.line("   {}{}{}", dayOfYearText15(time), columns(state.position_km, fields.position),
             columns(state.velocity_km_s, fields.velocity));
}

// Header of both layouts.
//   2-6      satellite number
//   52-68    epoch, so that the point of its seconds falls into column 65; 29 and 51 stay blank
//   107-111  WOCOV when no covariance follows the points
//   113-114  SP: special perturbations
std::string itcHeader(const Ephemeris& ephemeris, std::string_view covarianceMark) {
    return placed({{2, fmt::format("{:5}", ephemeris.number)},
                   {9, "INERTIAL KM KM/S"},
                   {52, dayOfYearText17(ephemeris.times.front())},
                   {107, covarianceMark},
                   {113, "SP"}});
}

// A file of the library's own format has nine decimals.
StateFields universalFields(const Ephemeris& ephemeris, Style style) {
    constexpr int kWidth = 19;
    constexpr FixedField kNineDecimals{kWidth, 9};
    return style == Style::Example ? fittedFields(ephemeris, kWidth) : StateFields{kNineDecimals, kNineDecimals};
}

}  // namespace

void writeUniversal(const Ephemeris& ephemeris, const Options& options, Lines& out) {
    const StateFields fields = universalFields(ephemeris, out.style());
    const std::string_view name = nameIn(kUniversalFrames, ephemeris.frame);
    // 1-23 keyword, 24-29 version, 30-39 satellite number, 40-49 coordinate system, 50-53 blank for fixed columns
    out.line("KQ_UNIVERSAL_VORLANDI_V{:<6}{:10}{}", "1.0", ephemeris.number,
             name.empty() ? std::string_view(options.universalFrame) : name);
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // 1-26 time, then x, y, z (km) and vx, vy, vz (km/s) in 19 columns each, with one unread column before each
        const double time = ephemeris.times[i];
        out.line("{}{}{}", out.style() == Style::Example ? isoText26(time) : exactText26(time),
                 columns(ephemeris.states[i].position_km, fields.position, 1.0, " "),
                 columns(ephemeris.states[i].velocity_km_s, fields.velocity, 1.0, " "));
    }
}

void writeV31(const Ephemeris& ephemeris, const Options& options, Lines& out) {
    const StateFields fields = fittedFields(ephemeris, 19, kMetersPerKilometer);
    // 30-34 satellite number
    out.line("EPHEMERIS FILE FOR SATELLITE {:5}", ephemeris.number);
    // 66-68 coordinate system
    out.line("{:<65.65}{}", "Propagation by " + options.source, nameIn(kV31Frames, ephemeris.frame));
    out.line("{:=<48}", "");  // data begin
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // 1-15 time, 16-72 x, y, z in 19 columns each, km, 73-129 vx, vy, vz in 19 columns each, m/s
        out.line("{}{}{}", dayOfYearText15(ephemeris.times[i]),
                 columns(ephemeris.states[i].position_km, fields.position),
                 columns(ephemeris.states[i].velocity_km_s, fields.velocity, kMetersPerKilometer));
    }
    out.line("{:E<48}", "");  // data end
    out.line("{:Z<48}", "");  // nothing follows
}

void writeItc(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    const StateFields fields = fittedFields(ephemeris, 16);
    const bool withCovariance = std::ranges::any_of(ephemeris.covariances, isGiven);
    out.line("{}", itcHeader(ephemeris, withCovariance ? "WCOV" : "WOCOV"));
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        writeItcState(out, ephemeris.times[i], ephemeris.states[i], fields);
        if (withCovariance) out.covariance(ephemeris.covariances[i]);
    }
}

void writeVector(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    const StateFields fields = fittedFields(ephemeris, 16);
    out.line("{}", constantsHeader(ephemeris, {75, "SP"}));
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        const State& state = ephemeris.states[i];
        // 18-65 x, y, z in 16 columns each, km, 67-71 satellite number, 78-80 coordinate system
        out.line("{:17}{} {:5}{:6}{}", "", columns(state.position_km, fields.position), ephemeris.number, "",
                 nameIn(kFourFrames, ephemeris.frame));
        // 3-17 time, 18-65 vx, vy, vz in 16 columns each, km/s
        out.line("  {}{}", dayOfYearText15(ephemeris.times[i]), columns(state.velocity_km_s, fields.velocity));
    }
}

void writeSimObs(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    const StateFields fields = fittedFields(ephemeris, 22);
    out.line("{}", constantsHeader(ephemeris, {80, "Z"}));  // 75-79 stay blank
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // 2-6 satellite number, 8-22 time, 23-29 an integer that readers check but don't use, 76-78 coordinate system
        out.line(" {:5} {}{:7}{:46}{}", ephemeris.number, dayOfYearText15(ephemeris.times[i]), 0, "",
                 nameIn(kFourFrames, ephemeris.frame));
        // x, y, z (km), then vx, vy, vz (km/s) on a line of their own, in 22 columns each
        out.line("{}", columns(ephemeris.states[i].position_km, fields.position));
        out.line("{}", columns(ephemeris.states[i].velocity_km_s, fields.velocity));
    }
}

}  // namespace vorlandi::writers
