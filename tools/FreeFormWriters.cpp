// Formats that give each point's time in its own way and its state as a list of numbers.
#include "EphemerisWriters.hpp"
#include "WriterSupport.hpp"

namespace vorlandi::tools {
namespace {

constexpr double kMetersPerKilometer = 1000.0;

// YYYY-MM-DD HH:MM:SS, the fraction left out.
std::string wholeSecondsText19(UtcTime time) {
    std::string text = isoText26(time).substr(0, 19);
    text[10] = ' ';
    return text;
}

// What the two layouts of the format have in common: the line by which it is recognised, then line 1 with the
// satellite number in columns 1-5, then six lines of free text.
void writeEcrHeader(LineOutput& out, const Ephemeris& ephemeris) {
    out.line("CLASSIFICATION: UNCLASSIFIED");
    out.line("{:05}", ephemeris.satelliteNumber);
    out.line("EARTH-FIXED EPHEMERIS");
    out.line("FROM   {}", isoText26(ephemeris.epoch()));
    out.line("TO     {}", isoText26(ephemeris.points.back().time));
    out.line("POINTS {}", ephemeris.points.size());
    out.line("UNITS  KM, KM/S");
    out.line("");
}

}  // namespace

void writeUniversalCsv(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    // 1-23 keyword, 24-29 version, 30-39 satellite number, 40-49 coordinate system, 50-53 layout of the
    // points
    // Another frame than in the fixed columns, so that both files can be loaded beside each other.
    out.line("KQ_UNIVERSAL_VORLANDI_V{:<6}{:10}{:<10}CSV", "1.0", ephemeris.satelliteNumber, "WPTRL");
    for (const auto& point : ephemeris.points) {
        // time with its comma in column 27 at the latest, x, y, z (km), vx, vy, vz (km/s)
        out.line("{},{},{}", isoText26(point.time), list(point.state.position_km, 1.0, ","),
                 list(point.state.velocity_km_s, 1.0, ","));
    }
}

void writeStk(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    out.line("stk.v.11.0");
    out.line("BEGIN Ephemeris");
    out.line("NumberOfEphemerisPoints {}", ephemeris.points.size());
    out.line("ScenarioEpoch           {}", monthNameText24(ephemeris.epoch()));
    out.line("CentralBody             Earth");
    out.line("CoordinateSystem        TEMEOfDate");
    out.line("DistanceUnit            Meters");
    out.line("EphemerisTimePosVel");
    for (const auto& point : ephemeris.points) {
        // seconds since the epoch, x, y, z (m), vx, vy, vz (m/s)
        out.line("{:.3f} {}", secondsBetween(ephemeris.epoch(), point.time),
                 stateList(point.state, kMetersPerKilometer));
    }
    out.line("end Ephemeris");  // readers look for the small e
}

void writeEcr(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    writeEcrHeader(out, ephemeris);
    // Line 8 is not the label of the layout without velocities, which tells that two lines per point follow
    // line 10.
    out.line("POSITION AND VELOCITY ON TWO LINES PER POINT");
    out.line("{:<16}{:>12}{:>24}{:>24}", "YYDDDHHMMSS.SSS", "X(KM)", "Y(KM)", "Z(KM)");
    out.line("{:<16}{:>12}{:>24}{:>24}", "", "VX(KM/S)", "VY(KM/S)", "VZ(KM/S)");
    for (const auto& point : ephemeris.points) {
        // 1-15 time, from 17 on x, y, z (km); on the next line, from 17 on, vx, vy, vz (km/s)
        out.line("{} {}", dayOfYearText15(point.time), list(point.state.position_km));
        out.line("{:16}{}", "", list(point.state.velocity_km_s));
    }
}

void writeEcrPositions(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    writeEcrHeader(out, ephemeris);
    // Line 8 with exactly these 56 characters says: one line per point, velocities are zero.
    out.line("YYDDDHHMMSS.SSS      X(KM)          Y(KM)          Z(KM)");
    out.line("");
    for (const auto& point : ephemeris.points) {
        // 1-15 time, from 17 on x, y, z (km)
        out.line("{} {}", dayOfYearText15(point.time), list(point.state.position_km));
    }
}

void writeLch(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    // 33-44 the classification: with a single blank before it, it would be another format
    out.line("{:<32}UNCLASSIFIED", "CLASSIFICATION:");
    out.line("FROM                            {}", isoText26(ephemeris.epoch()));
    out.line("TO                              {}", isoText26(ephemeris.points.back().time));
    out.line("POINTS                          {}", ephemeris.points.size());
    out.line("COORDINATES                     ECI");
    // Line 5: 44-48 satellite number
    out.line("{:<43}{:5}", "SATELLITE NUMBER", ephemeris.satelliteNumber);
    out.line("UNITS                           KM, KM/S");
    out.line("");
    out.line("{:<18}{:>12}{:>24}{:>24}{:>25}{:>24}{:>24}{:>18}", "YYYYDDDHHMMSS.SSS", "X", "Y", "Z", "VX", "VY", "VZ",
             "EXTRA");
    out.line("");
    for (const auto& point : ephemeris.points) {
        // 1-17 time, from 19 on x, y, z (km), vx, vy, vz (km/s) and a seventh number
        out.line("{} {} {: .16e}", dayOfYearText17(point.time), stateList(point.state), 0.0);
    }
}

void writeOasys(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    out.line("OASYS       Version: 1.0");                            // 13-20 the word that readers look for
    out.line("         Spacecraft: {}", ephemeris.satelliteNumber);  // 10-20 the word, from 21 on the number
    out.line("Coordinates: mean equator and equinox of J2000");
    for (const auto& point : ephemeris.points) {
        // 1-23 time, from 25 on x, y, z (km), vx, vy, vz (km/s)
        out.line("{} {}", slashText23(point.time), stateList(point.state));
    }
}

void writeOwner(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    for (const auto& point : ephemeris.points) {
        // 1-15 time, whose point falls into column 12, 16 blank, then x, y, z (km), vx, vy, vz (km/s)
        out.line("{}  {}", dayOfYearText15(point.time), stateList(point.state));
    }
}

void writeJ2k(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    // Every line after this one is read as a point, so that what there is to say must stand here.
    out.line(" SPEPH PREDICTION EPHEMERIS  J2000, KM, KM/S");
    for (const auto& point : ephemeris.points) {
        // 3-7 satellite number, 12-30 year, day, hour, minute, seconds with a blank between them, from 32 on
        // the state
        out.line("  {:5}    {} {}", ephemeris.satelliteNumber, spacedGroupsText19(point.time), stateList(point.state));
    }
}

void writeOem(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    out.line("CCSDS_OEM_VERS = 2.0");
    out.line("CREATION_DATE = {}", isoText26(ephemeris.epoch()));
    out.line("ORIGINATOR = EXAMPLE");
    out.line("");
    out.line("META_START");
    out.line("OBJECT_NAME = EXAMPLE");
    out.line("OBJECT_ID = {}", ephemeris.satelliteNumber);
    out.line("CENTER_NAME = EARTH");
    out.line("REF_FRAME = EME2000");
    out.line("TIME_SYSTEM = UTC");
    out.line("START_TIME = {}", isoText26(ephemeris.epoch()));
    out.line("STOP_TIME = {}", isoText26(ephemeris.points.back().time));
    out.line("META_STOP");
    out.line("");
    for (const auto& point : ephemeris.points) {
        // time, x, y, z (km), vx, vy, vz (km/s)
        out.line("{} {}", isoText26(point.time), stateList(point.state));
    }
}

void writeModifiedItc(const Ephemeris& ephemeris, std::ostream& stream) {
    LineOutput out(stream);
    const UtcTime first = ephemeris.epoch(), last = ephemeris.points.back().time;
    const double step_s = ephemeris.points.size() < 2
                              ? 0.0
                              : secondsBetween(first, last) / static_cast<double>(ephemeris.points.size() - 1);
    out.line("created:{} UTC", wholeSecondsText19(first));
    out.line("ephemeris_start:{} UTC ephemeris_stop:{} UTC step_size:{:g}", wholeSecondsText19(first),
             wholeSecondsText19(last), step_s);
    out.line("ephemeris_source:integration");
    out.line("UVW");  // axes of the covariances
    for (const auto& point : ephemeris.points) {
        // year, day of year and time, x, y, z (km), vx, vy, vz (km/s)
        out.line("{} {}", dayOfYearText17(point.time), stateList(point.state));
        writeCovariance(out, inAxesOfState(covarianceAt(hoursSinceEpoch(ephemeris, point)), point.state));
    }
}

}  // namespace vorlandi::tools
