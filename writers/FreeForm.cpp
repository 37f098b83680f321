// Formats with each point's time in a form of their own and its state as a list of numbers.
#include <algorithm>

#include "writers/CovarianceAxes.hpp"
#include "writers/Frames.hpp"
#include "writers/Times.hpp"
#include "writers/Writers.hpp"

namespace vorlandi::writers {
namespace {

// YYYY-MM-DD HH:MM:SS, the fraction left out.
std::string wholeSecondsText19(double time) {
    std::string text = isoText26(time).substr(0, 19);
    text[10] = ' ';
    return text;
}

// What the two layouts of the format have in common: the line by which it is recognised, then line 1 with the
// satellite number in columns 1-5, then six lines of free text.
void writeEcrHeader(const Ephemeris& ephemeris, Lines& out) {
    out.line("CLASSIFICATION: UNCLASSIFIED");
    out.line("{:05}", ephemeris.number);
    out.line("EARTH-FIXED EPHEMERIS");
    out.line("FROM   {}", isoText26(ephemeris.times.front()));
    out.line("TO     {}", isoText26(ephemeris.times.back()));
    out.line("POINTS {}", ephemeris.times.size());
    out.line("UNITS  KM, KM/S");
    out.line("");
}

// A list in which every number has a decimal point, by which its reader recognises the format.
std::string pointedList(const Vector3& vector) {
    std::string list;
    for (const double value : vector) {
        std::string digits = shortest(value);
        if (digits.find('.') == std::string::npos) digits.insert(std::min(digits.find('e'), digits.size()), ".0");
        list += (list.empty() ? "" : " ") + digits;
    }
    return list;
}

std::string ownerList(const State& state, const Lines& out) {
    if (out.style() == Style::Example) return out.list(state);
    return pointedList(state.position_km) + " " + pointedList(state.velocity_km_s);
}

// Ten decimals of km and km/s.
std::string modifiedItcList(const State& state, const Lines& out) {
    if (out.style() == Style::Example) return out.list(state);
    const auto& [x, y, z] = state.position_km;
    const auto& [vx, vy, vz] = state.velocity_km_s;
    return fmt::format("{:.10f} {:.10f} {:.10f} {:.10f} {:.10f} {:.10f}", x, y, z, vx, vy, vz);
}

double meanStep_s(const Ephemeris& ephemeris) {
    if (ephemeris.times.size() < 2) return 0.0;
    const double span_days = ephemeris.times.back() - ephemeris.times.front();
    return span_days * kSecondsPerDay / static_cast<double>(ephemeris.times.size() - 1);
}

}  // namespace

void writeUniversalCsv(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    // 1-23 keyword, 24-29 version, 30-39 satellite number, 40-49 coordinate system, 50-53 layout of the points
    out.line("KQ_UNIVERSAL_VORLANDI_V{:<6}{:10}{:<10}CSV", "1.0", ephemeris.number,
             nameIn(kUniversalFrames, ephemeris.frame));
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // time with its comma in column 27 at the latest, x, y, z (km), vx, vy, vz (km/s)
        out.line("{},{},{}", isoText26(ephemeris.times[i]), out.list(ephemeris.states[i].position_km, 1.0, ","),
                 out.list(ephemeris.states[i].velocity_km_s, 1.0, ","));
    }
}

void writeEcr(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    writeEcrHeader(ephemeris, out);
    // Line 8 is not the label of the layout without velocities, so two lines per point follow line 10.
    out.line("POSITION AND VELOCITY ON TWO LINES PER POINT");
    out.line("{:<16}{:>12}{:>24}{:>24}", "YYDDDHHMMSS.SSS", "X(KM)", "Y(KM)", "Z(KM)");
    out.line("{:<16}{:>12}{:>24}{:>24}", "", "VX(KM/S)", "VY(KM/S)", "VZ(KM/S)");
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // 1-15 time, from 17 on x, y, z (km); on the next line, from 17 on, vx, vy, vz (km/s)
        out.line("{} {}", dayOfYearText15(ephemeris.times[i]), out.list(ephemeris.states[i].position_km));
        out.line("{:16}{}", "", out.list(ephemeris.states[i].velocity_km_s));
    }
}

void writeEcrPositions(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    writeEcrHeader(ephemeris, out);
    // Line 8 with exactly these 56 characters means: one line per point, velocities are zero.
    out.line("YYDDDHHMMSS.SSS      X(KM)          Y(KM)          Z(KM)");
    out.line("");
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // 1-15 time, from 17 on x, y, z (km)
        out.line("{} {}", dayOfYearText15(ephemeris.times[i]), out.list(ephemeris.states[i].position_km));
    }
}

void writeLch(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    // 33-44 the classification: with a single blank before it, it would be another format
    out.line("{:<32}UNCLASSIFIED", "CLASSIFICATION:");
    out.line("FROM                            {}", isoText26(ephemeris.times.front()));
    out.line("TO                              {}", isoText26(ephemeris.times.back()));
    out.line("POINTS                          {}", ephemeris.times.size());
    out.line("COORDINATES                     ECI");
    // Line 5: 44-48 satellite number
    out.line("{:<43}{:5}", "SATELLITE NUMBER", ephemeris.number);
    out.line("UNITS                           KM, KM/S");
    out.line("");
    out.line("{:<18}{:>12}{:>24}{:>24}{:>25}{:>24}{:>24}{:>18}", "YYYYDDDHHMMSS.SSS", "X", "Y", "Z", "VX", "VY", "VZ",
             "EXTRA");
    out.line("");
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // 1-17 time, from 19 on x, y, z (km), vx, vy, vz (km/s) and a seventh number
        out.line("{} {} {: .16e}", dayOfYearText17(ephemeris.times[i]), out.list(ephemeris.states[i]), 0.0);
    }
}

void writeOasys(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    out.line("OASYS       Version: 1.0");                   // 13-20 the word that readers look for
    out.line("         Spacecraft: {}", ephemeris.number);  // 10-20 the word, from 21 on the number
    out.line("Coordinates: mean equator and equinox of J2000");
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // 1-23 time, from 25 on x, y, z (km), vx, vy, vz (km/s)
        out.line("{} {}", slashText23(ephemeris.times[i]), out.list(ephemeris.states[i]));
    }
}

void writeOwner(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // 1-15 time, whose point falls into column 12, 16 blank, then x, y, z (km), vx, vy, vz (km/s)
        out.line("{}  {}", dayOfYearText15(ephemeris.times[i]), ownerList(ephemeris.states[i], out));
    }
}

void writeJ2k(const Ephemeris& ephemeris, const Options& /*options*/, Lines& out) {
    // Every line after this one is read as a point, so all comments have to be here.
    out.line(" SPEPH PREDICTION EPHEMERIS  J2000, KM, KM/S");
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        // 3-7 satellite number, 12-30 year, day, hour, minute, seconds with a blank between them, from 32 on the state
        out.line("  {:5}    {} {}", ephemeris.number, spacedGroupsText19(ephemeris.times[i]),
                 out.list(ephemeris.states[i]));
    }
}

void writeModifiedItc(const Ephemeris& ephemeris, const Options& options, Lines& out) {
    std::string created = options.created;
    std::ranges::replace(created, 'T', ' ');
    out.line("created:{} UTC", created);
    out.line("ephemeris_start:{} UTC ephemeris_stop:{} UTC step_size:{:g}", wholeSecondsText19(ephemeris.times.front()),
             wholeSecondsText19(ephemeris.times.back()), meanStep_s(ephemeris));
    out.line("ephemeris_source:{}", options.source);
    out.line("UVW");  // axes of the covariances
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        const State& state = ephemeris.states[i];
        // year, day of year and time, x, y, z (km), vx, vy, vz (km/s)
        out.line("{} {}", dayOfYearText17(ephemeris.times[i]), modifiedItcList(state, out));
        if (ephemeris.covariances.empty() || !isGiven(ephemeris.covariances[i])) continue;
        if (const auto turned = inAxesOfState(ephemeris.covariances[i], state, ephemeris.frame))
            out.covariance(*turned);
    }
}

}  // namespace vorlandi::writers
