// Formats whose numbers stand in fixed columns. Column numbers start at 1.
#include "EphemerisWriters.hpp"
#include "WriterSupport.hpp"

namespace vorlandi::tools {
namespace {

constexpr double kMetersPerKilometer = 1000.0;

// Header shared by the vector and the simulated-observation layout.
//   1-22   square root of the gravitational parameter, earth radii^1.5 per minute
//   23-44  earth radius, km
//   46-60  start time, so that the point of its seconds falls into column 57
//   mark   tells the two layouts apart
std::string constantsHeader(const Ephemeris& ephemeris, Placed mark) {
    const auto constants = fmt::format("{:22.15E}{:22.15E}", kKe_er15_min, kEarthRadius_km);
    return placed({{1, constants}, {46, dayOfYearText15(ephemeris.epoch())}, mark});
}

// One line of a point, without or before its covariance.
//   4-18    time
//   19-66   x, y, z in 16 columns each, km
//   67-114  vx, vy, vz in 16 columns each, km/s
void writeItcState(LineOutput& out, const EphemerisPoint& point, const StateFields& fields) {
    out.line("   {}{}{}", dayOfYearText15(point.time), columns(point.state.position_km, fields.position),
             columns(point.state.velocity_km_s, fields.velocity));
}

// Header of both layouts.
//   2-6      satellite number
//   52-68    epoch, so that the point of its seconds falls into column 65; 29 and 51 stay blank
//   107-111  WOCOV when no covariance follows the points
//   113-114  SP: special perturbations
std::string itcHeader(const Ephemeris& ephemeris, std::string_view covarianceMark) {
    return placed({{2, fmt::format("{:5}", ephemeris.satelliteNumber)},
                   {9, "INERTIAL KM KM/S"},
                   {52, dayOfYearText17(ephemeris.epoch())},
                   {107, covarianceMark},
                   {113, "SP"}});
}

}  // namespace

void writeUniversal(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    const StateFields fields = fittedFields(ephemeris, 19);
    // 1-23 keyword, 24-29 version, 30-39 satellite number, 40-49 coordinate system, 50-53 blank for fixed
    // columns
    out.line("KQ_UNIVERSAL_VORLANDI_V{:<6}{:10}{}", "1.0", ephemeris.satelliteNumber, "HCSRL");
    for (const auto& point : ephemeris.points) {
        // 1-26 time, then x, y, z (km) and vx, vy, vz (km/s) in 19 columns each, with one unread column
        // before each
        out.line("{}{}{}", isoText26(point.time), columns(point.state.position_km, fields.position, 1.0, " "),
                 columns(point.state.velocity_km_s, fields.velocity, 1.0, " "));
    }
}

void writeV31(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    const StateFields fields = fittedFields(ephemeris, 19, kMetersPerKilometer);
    // 30-34 satellite number
    out.line("EPHEMERIS FILE FOR SATELLITE {:5}", ephemeris.satelliteNumber);
    // 66-68 coordinate system
    out.line("{:<65}ECI", "Propagation by numerical integration, central term and J2");
    out.line("{:=<48}", "");  // data begin
    for (const auto& point : ephemeris.points) {
        // 1-15 time, 16-72 x, y, z in 19 columns each, km, 73-129 vx, vy, vz in 19 columns each, m/s
        out.line("{}{}{}", dayOfYearText15(point.time), columns(point.state.position_km, fields.position),
                 columns(point.state.velocity_km_s, fields.velocity, kMetersPerKilometer));
    }
    out.line("{:E<48}", "");  // data end
    out.line("{:Z<48}", "");  // nothing follows
}

void writeItc(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    const StateFields fields = fittedFields(ephemeris, 16);
    out.line("{}", itcHeader(ephemeris, "WCOV"));
    for (const auto& point : ephemeris.points) {
        writeItcState(out, point, fields);
        writeCovariance(out, covarianceAt(hoursSinceEpoch(ephemeris, point)));
    }
}

void writeItcWithoutCovariance(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    const StateFields fields = fittedFields(ephemeris, 16);
    out.line("{}", itcHeader(ephemeris, "WOCOV"));
    for (const auto& point : ephemeris.points)
        writeItcState(out, point, fields);
}

void writeVector(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    const StateFields fields = fittedFields(ephemeris, 16);
    out.line("{}", constantsHeader(ephemeris, {75, "SP"}));
    for (const auto& point : ephemeris.points) {
        // 18-65 x, y, z in 16 columns each, km, 67-71 satellite number, 78-80 coordinate system
        out.line("{:17}{} {:5}{:6}ECI", "", columns(point.state.position_km, fields.position),
                 ephemeris.satelliteNumber, "");
        // 3-17 time, 18-65 vx, vy, vz in 16 columns each, km/s
        out.line("  {}{}", dayOfYearText15(point.time), columns(point.state.velocity_km_s, fields.velocity));
    }
}

void writeSimObs(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    const StateFields fields = fittedFields(ephemeris, 22);
    out.line("{}", constantsHeader(ephemeris, {80, "Z"}));  // 75-79 stay blank
    for (const auto& point : ephemeris.points) {
        // 2-6 satellite number, 8-22 time, 23-29 an integer that readers check but don't use, 76-78
        // coordinate system
        out.line(" {:5} {}{:7}{:46}ECI", ephemeris.satelliteNumber, dayOfYearText15(point.time), 0, "");
        // x, y, z (km), then vx, vy, vz (km/s) on a line of their own, in 22 columns each
        out.line("{}", columns(point.state.position_km, fields.position));
        out.line("{}", columns(point.state.velocity_km_s, fields.velocity));
    }
}

}  // namespace vorlandi::tools
