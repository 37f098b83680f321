// Verifies the analysis on integrated orbits: estimated errors against true ones, faults that it has to find, clean
// points in which it has to find nothing. Prints the tables of docs/checking.md.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <numbers>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "PerturbedOrbit.hpp"
#include "analysis/Check.hpp"
#include "analysis/InterpolationErrors.hpp"

namespace vorlandi::tools {
namespace {

using analysis::Kind;
using analysis::Severity;

// The output is printed, or written into a page after this line.
constexpr std::string_view kMark = "<!-- From here on written by verify_checks -->\n";

std::string& printed() {
    static std::string text;
    return text;
}

template <typename... Arguments>
void print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(printed()), format, std::forward<Arguments>(arguments)...);
}

bool writeInto(const std::string& page) {
    std::ifstream input(page);
    std::string text{std::istreambuf_iterator<char>(input), {}};
    const auto mark = text.find(kMark);
    if (mark == std::string::npos) return false;
    text.resize(mark + kMark.size());
    std::ofstream output(page);
    output << text << '\n' << printed();
    return output.flush().good();
}

constexpr double kEpoch_days = 27790.0;  // 2026-02-01
constexpr double kDegree = std::numbers::pi / 180.0;

struct Orbit {
    const char* name;
    double axis_km;
    double eccentricity;
    double inclination;
};
constexpr Orbit kLeo{"LEO", 6900.0, 0.001, 53.0 * kDegree};
constexpr Orbit kMeo{"MEO", 26560.0, 0.01, 55.0 * kDegree};
constexpr Orbit kGeo{"GEO", 42164.0, 0.0003, 0.1 * kDegree};
constexpr Orbit kHeo{"HEO", 26560.0, 0.74, 63.4 * kDegree};

using Grid = std::function<double(std::size_t point, double time_s, std::mt19937_64& random)>;  // the next step

Grid even(double step_s) {
    return [=](std::size_t, double, std::mt19937_64&) { return step_s; };
}
double alternating(std::size_t i, double, std::mt19937_64&) { return i % 2 == 0 ? 10.0 : 110.0; }
double changing(std::size_t i, double, std::mt19937_64&) { return i % 400 < 200 ? 10.0 : 120.0; }
double uneven(std::size_t, double, std::mt19937_64& random) {
    return std::round(1000.0 * std::uniform_real_distribution(20.0, 120.0)(random)) / 1000.0;
}
double eclipses(std::size_t i, double, std::mt19937_64&) {
    const std::size_t k = i % 40;
    return k == 10 || k == 25 ? 4.0 : k == 11 || k == 26 ? 10.0 : 71.0;
}
Grid withGap(double gap_s) {
    return [=](std::size_t i, double, std::mt19937_64&) { return i % 500 == 250 ? gap_s : 60.0; };
}

struct Scenario {
    std::string name;
    Orbit orbit;
    Grid grid;
    double digits_m;  // of positions; velocities have a thousandth of it a second
    bool rotates = false;
};

struct Burn {
    std::size_t interval;
    double share;
    double size_m_s;
};

double rounded(double value, double unit) { return std::round(value / unit) * unit; }

struct Made {
    std::vector<Ds50> times;
    std::vector<vorlandi::State> states;
    std::vector<double> seconds;           // since the epoch
    std::vector<double> middles_s;         // of the intervals
    std::vector<vorlandi::State> between;  // the exact states there
};

Made make(const Scenario& scenario, std::size_t points, std::mt19937_64& random, const Burn* burn = nullptr) {
    const auto angle = [&] { return std::uniform_real_distribution(0.0, 2.0 * std::numbers::pi)(random); };
    PerturbedOrbit orbit(stateAtPerigee(scenario.orbit.axis_km, scenario.orbit.eccentricity, scenario.orbit.inclination,
                                        angle(), angle()));
    Made made;
    const auto stateAt = [&](double t) {
        const State exact = scenario.rotates ? onRotatingAxes(orbit.at(t), t) : orbit.at(t);
        return vorlandi::State{exact.position_km, exact.velocity_km_s};
    };
    double t = 0.0;
    for (std::size_t i = 0; i < points; ++i) {
        vorlandi::State state = stateAt(t);
        for (double& x : state.position_km)
            x = rounded(x, scenario.digits_m / 1e3);
        for (double& v : state.velocity_km_s)
            v = rounded(v, scenario.digits_m / 1e6);
        made.times.push_back({kEpoch_days + t / 86400.0});
        made.states.push_back(state);
        made.seconds.push_back(t);
        const double step_s = scenario.grid(i, t, random);
        if (burn && burn->interval == i) {
            const State& before = orbit.at(t + burn->share * step_s);
            const double speed = std::hypot(before.velocity_km_s[0], before.velocity_km_s[1], before.velocity_km_s[2]);
            Vector3 change = before.velocity_km_s;
            for (double& v : change)
                v *= burn->size_m_s / 1e3 / speed;
            orbit.kick(change);
        } else {
            // The library rounds the time of a request: the exact state is taken at the rounded time.
            const Ds50 middle{kEpoch_days + (t + 0.5 * step_s) / 86400.0};
            made.middles_s.push_back((tai_days(middle) - tai_days(made.times.front())) * 86400.0);
            made.between.push_back(stateAt(made.middles_s.back()));
        }
        t += step_s;
    }
    return made;
}

Frame frameOf(const Scenario& scenario) { return scenario.rotates ? Frame::ECR : Frame::J2K; }

OwnedSatellite store(const Made& made, Frame frame, const std::vector<Matrix6>& covariances = {}) {
    OwnedSatellite satellite = add(1, frame, made.times.front());
    for (std::size_t i = 0; i < made.times.size(); ++i)
        satellite->append(made.times[i], made.states[i], 0, covariances.empty() ? nullptr : &covariances[i]);
    return satellite;
}

double distance_m(const vorlandi::State& a, const vorlandi::State& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < 3; ++i)
        sum += (a.position_km[i] - b.position_km[i]) * (a.position_km[i] - b.position_km[i]);
    return std::sqrt(sum) * 1e3;
}

double quantile(std::vector<double>& values, double share) {
    if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

std::vector<Scenario> scenarios() {
    std::vector<Scenario> result;
    const auto add = [&](std::string name, const Orbit& orbit, const Grid& grid, bool rotates = false) {
        for (const double digits_m : {0.001, 1.0})
            result.push_back({fmt::format("{} {}, {}", orbit.name, name, digits_m < 1.0 ? "1 mm" : "1 m"), orbit, grid,
                              digits_m, rotates});
    };
    for (const double step_s : {10.0, 60.0, 120.0, 300.0})
        add(fmt::format("{} s", step_s), kLeo, even(step_s));
    add("60 s, rotating", kLeo, even(60.0), true);
    add("900 s", kMeo, even(900.0));
    add("240 s", kGeo, even(240.0));
    add("900 s", kGeo, even(900.0));
    add("900 s, rotating", kGeo, even(900.0), true);
    for (const double step_s : {60.0, 300.0, 900.0})
        add(fmt::format("{} s", step_s), kHeo, even(step_s));
    add("10 and 110 s in turn", kLeo, alternating);
    add("10 s, then 120 s", kLeo, changing);
    add("20 to 120 s at random", kLeo, uneven);
    add("71 s with 4 and 10 s", kLeo, eclipses);
    return result;
}

// ---- Estimated errors, and findings in clean points ----

void verifyClean(std::size_t points, std::uint64_t seed) {
    print(
        "| points | intervals | estimate above the error | estimate / error, median | largest error | errors | "
        "warnings | of them `interpolation` |\n|---|---|---|---|---|---|---|---|\n");
    for (const Scenario& scenario : scenarios()) {
        std::mt19937_64 random(seed);
        const Made made = make(scenario, points, random);
        const OwnedSatellite satellite = store(made, frameOf(scenario));
        const analysis::Ephemeris ephemeris = analysis::ephemerisOf(satellite);
        const analysis::InterpolationErrors errors = analysis::estimatedErrors(ephemeris);
        std::vector<double> ratios;
        std::size_t above = 0;
        double largest_m = 0.0;
        for (std::size_t i = 0; i < ephemeris.intervals(); ++i) {
            const Ds50 middle{kEpoch_days + (made.seconds[i] + made.seconds[i + 1]) / 2.0 / 86400.0};
            const double error_m = distance_m(satellite->state(middle), made.between[i]);
            above += errors.error_m(i) >= error_m;
            largest_m = std::max(largest_m, error_m);
            ratios.push_back(errors.error_m(i) / error_m);
        }
        const analysis::SatelliteCheck check = analysis::checkEphemeris(ephemeris);
        std::size_t faults = 0;
        std::size_t warnings = 0;
        std::size_t interpolation = 0;
        for (const analysis::Finding& finding : check.findings) {
            faults += finding.severity == Severity::Error;
            warnings += finding.severity == Severity::Warning;
            interpolation += finding.severity == Severity::Warning && finding.kind == Kind::Interpolation;
        }
        print("| {} | {} | {:.2f} % | {:.2f} | {:.3g} m | {} | {} | {} |\n", scenario.name, ratios.size(),
              100.0 * static_cast<double>(above) / static_cast<double>(ratios.size()), quantile(ratios, 0.5), largest_m,
              faults, warnings, interpolation);
    }
}

void verifyGaps(std::size_t points, std::uint64_t seed) {
    print("| gap | gaps | estimate / error, least | median | largest |\n|---|---|---|---|---|\n");
    for (const double minutes : {30.0, 90.0}) {
        const Scenario scenario{"", kLeo, withGap(60.0 * minutes), 0.001};
        std::mt19937_64 random(seed);
        std::vector<double> ratios;
        for (std::size_t done = 0; done < points; done += 500) {
            const Made made = make(scenario, 500, random);
            const OwnedSatellite satellite = store(made, Frame::J2K);
            const analysis::InterpolationErrors errors = analysis::estimatedErrors(analysis::ephemerisOf(satellite));
            const Ds50 middle{kEpoch_days + (made.seconds[250] + made.seconds[251]) / 2.0 / 86400.0};
            ratios.push_back(errors.error_m(250) / distance_m(satellite->state(middle), made.between[250]));
        }
        print("| {} minutes | {} | {:.2f} | {:.2f} | {:.2f} |\n", minutes, ratios.size(), quantile(ratios, 0.0),
              quantile(ratios, 0.5), quantile(ratios, 1.0));
    }
}

// ---- Burns ----

void verifyBurns(std::size_t files, std::uint64_t seed) {
    struct Case {
        Scenario scenario;
        double size_m_s;
    };
    const std::vector<Case> cases{{{"LEO 60 s", kLeo, even(60.0), 0.001}, 0.001},
                                  {{"LEO 60 s, rotating", kLeo, even(60.0), 0.001, true}, 0.001},
                                  {{"LEO 300 s", kLeo, even(300.0), 0.001}, 0.1},
                                  {{"MEO 900 s", kMeo, even(900.0), 0.001}, 0.0001},
                                  {{"GEO 900 s", kGeo, even(900.0), 0.001}, 0.0001},
                                  {{"GEO 900 s, rotating", kGeo, even(900.0), 0.001, true}, 0.0001}};
    print(
        "| points | burn | files | found | in its interval | size to 20 % | a `manoeuvre` | others |\n"
        "|---|---|---|---|---|---|---|---|\n");
    for (const auto& [scenario, size_m_s] : cases) {
        std::mt19937_64 random(seed);
        std::size_t found = 0;
        std::size_t placed = 0;
        std::size_t sized = 0;
        std::size_t manoeuvres = 0;
        std::size_t others = 0;
        for (std::size_t file = 0; file < files; ++file) {
            const Burn burn{60 + static_cast<std::size_t>(random() % 80),
                            std::uniform_real_distribution(0.1, 0.9)(random), size_m_s};
            const Made made = make(scenario, 200, random, &burn);
            const OwnedSatellite satellite = store(made, frameOf(scenario));
            const analysis::Finding* nearest = nullptr;
            const analysis::SatelliteCheck check = analysis::checkSatellite(satellite);
            for (const analysis::Finding& finding : check.findings) {
                if (finding.kind != Kind::Jump) continue;
                const bool isNear = finding.from->days >= made.times[burn.interval - 3].days &&
                                    finding.to->days <= made.times[burn.interval + 4].days;
                if (isNear && !nearest)
                    nearest = &finding;
                else
                    ++others;
            }
            if (!nearest) continue;
            ++found;
            placed += *nearest->from == made.times[burn.interval];
            const auto& dv = nearest->jump->dv_m_s;
            sized += std::abs(std::hypot(dv[0], dv[1], dv[2]) / size_m_s - 1.0) <= 0.2;
            manoeuvres += !nearest->jump->dx_m;
        }
        print("| {} | {} mm/s | {} | {} | {} | {} | {} | {} |\n", scenario.name, size_m_s * 1e3, files, found, placed,
              sized, manoeuvres, others);
    }
}

// ---- Faults ----

struct Fault {
    std::string name;
    Kind kind;
    Scenario scenario;
    std::function<void(Made&, std::vector<Matrix6>&, std::mt19937_64&)> inject;
    Frame frame = Frame::J2K;
};

Scenario leo(double step_s, bool rotates = false) { return {"", kLeo, even(step_s), 0.001, rotates}; }

void keepOnly(Made& made, const std::function<bool(std::size_t)>& isKept) {
    Made kept;
    for (std::size_t i = 0; i < made.times.size(); ++i) {
        if (!isKept(i)) continue;
        kept.times.push_back(made.times[i]);
        kept.states.push_back(made.states[i]);
    }
    made = std::move(kept);
}

void scale(Made& made, double positions, double velocities) {
    for (vorlandi::State& state : made.states)
        for (std::size_t i = 0; i < 3; ++i) {
            state.position_km[i] *= positions;
            state.velocity_km_s[i] *= velocities;
        }
}

void addRotationToVelocities(Made& made, double share) {
    constexpr double kRotation_rad_s = 7.292115e-5;
    for (vorlandi::State& state : made.states) {
        state.velocity_km_s[0] -= share * kRotation_rad_s * state.position_km[1];
        state.velocity_km_s[1] += share * kRotation_rad_s * state.position_km[0];
    }
}

Matrix6 plainCovariance(double variance_km2) {
    Matrix6 matrix{};
    for (std::size_t i = 0; i < 6; ++i)
        matrix[i][i] = variance_km2 * (i < 3 ? 1.0 : 1e-6);
    return matrix;
}

void correlate(Matrix6& matrix, double correlation) {
    matrix[1][0] = matrix[0][1] = correlation * std::sqrt(matrix[0][0] * matrix[1][1]);
}

std::size_t somewhere(const Made& made, std::mt19937_64& random) { return 40 + random() % (made.times.size() - 80); }

std::vector<Fault> faults() {
    using Covariances = std::vector<Matrix6>;
    std::vector<Fault> list;
    const auto add = [&](const std::string& name, Kind kind, Scenario scenario, auto inject, Frame frame = Frame::J2K) {
        list.push_back({std::string(name), kind, std::move(scenario),
                        [inject](Made& m, Covariances& c, std::mt19937_64& r) { inject(m, c, r); }, frame});
    };
    add("three points", Kind::FewPoints, leo(60),
        [](Made& m, auto&, auto&) { keepOnly(m, [](std::size_t i) { return i < 3; }); });
    add("four hours without points", Kind::Unanswered, leo(60),
        [](Made& m, auto&, auto&) { keepOnly(m, [](std::size_t i) { return i < 100 || i > 340; }); });
    add("30 minutes without points", Kind::Gap, leo(60), [](Made& m, auto&, auto& r) {
        const std::size_t at = somewhere(m, r);
        keepOnly(m, [=](std::size_t i) { return i < at || i > at + 30; });
    });
    add("every seventh point missing", Kind::Steps, leo(60),
        [](Made& m, auto&, auto&) { keepOnly(m, [](std::size_t i) { return i % 7 != 0; }); });
    add("points every 600 s", Kind::Interpolation, leo(600), [](Made&, auto&, auto&) {});
    add("times in 1950", Kind::TimeSpan, leo(60), [](Made& m, auto&, auto&) {
        for (Ds50& time : m.times)
            time.days -= kEpoch_days - 100.0;
    });
    for (const auto& [name, offset_s] : {std::pair{"GPS time", 18.0}, {"TAI", 37.0}, {"TT", 69.184}})
        add(name, Kind::TimeScale, leo(60), [offset_s = offset_s](Made& m, auto&, auto&) {
            for (Ds50& time : m.times)
                time.days += (86400.0 - offset_s) / 86400.0;
        });
    add("no velocities", Kind::NoVelocity, leo(60), [](Made& m, auto&, auto&) { scale(m, 1.0, 0.0); });
    add("velocities of rotating axes", Kind::VelocityFrame, leo(60),
        [](Made& m, auto&, auto&) { addRotationToVelocities(m, -1.0); });
    add(
        "inertial velocities", Kind::VelocityFrame, leo(60, true),
        [](Made& m, auto&, auto&) { addRotationToVelocities(m, 1.0); }, Frame::ECR);
    for (const double factor : {1000.0, 0.001, 3280.84, 0.3048, 60.0, 1.0 / 60.0, 3600.0, 86400.0, 1.0 / 86400.0, -1.0})
        add(fmt::format("velocities times {:.6g}", factor), Kind::VelocityUnit, leo(60),
            [=](Made& m, auto&, auto&) { scale(m, 1.0, factor); });
    add("velocities 10 % off", Kind::VelocityMismatch, leo(60), [](Made& m, auto&, auto&) { scale(m, 1.0, 1.1); });
    for (const double factor : {1000.0, 3280.84, 0.621371, 0.539957, 1.0 / 6378.137})
        add(fmt::format("states times {:.6g}", factor), Kind::PositionUnit, leo(60),
            [=](Made& m, auto&, auto&) { scale(m, factor, factor); });
    add("positions in metres, velocities in km/s", Kind::PositionUnit, leo(60),
        [](Made& m, auto&, auto&) { scale(m, 1000.0, 1.0); });
    add("rotating points called J2K", Kind::FrameMismatch, leo(60, true), [](Made&, auto&, auto&) {});
    add(
        "inertial points called ECR", Kind::FrameMismatch, leo(60), [](Made&, auto&, auto&) {}, Frame::ECR);
    add(
        "a frame without axes", Kind::FrameUnknown, leo(60), [](Made&, auto&, auto&) {}, Frame{17});
    add("positions 10 m aside from a point on", Kind::Jump, leo(60), [](Made& m, auto&, auto& r) {
        for (std::size_t i = somewhere(m, r); i < m.states.size(); ++i)
            m.states[i].position_km[2] += 0.01;
    });
    add("one position 10 m aside", Kind::Outlier, leo(60),
        [](Made& m, auto&, auto& r) { m.states[somewhere(m, r)].position_km[1] += 0.01; });
    add("one point inside the earth", Kind::BelowGround, leo(60), [](Made& m, auto&, auto& r) {
        for (double& x : m.states[somewhere(m, r)].position_km)
            x *= 0.5;
    });
    add("positions rounded to 10 m", Kind::CoarseDigits, leo(60), [](Made& m, auto&, auto&) {
        for (vorlandi::State& state : m.states)
            for (double& x : state.position_km)
                x = rounded(x, 0.01);
    });
    add("times with eight decimals of a day", Kind::CoarseDigits, leo(60), [](Made& m, auto&, auto&) {
        for (Ds50& time : m.times)
            time.days = std::round(time.days * 1e8) / 1e8;
    });
    const auto covariances = [&](const char* name, Kind kind, auto change) {
        add(name, kind, leo(60), [=](Made& m, Covariances& c, auto&) {
            c.assign(m.times.size(), plainCovariance(1e-4));
            for (std::size_t i = 0; i < c.size(); ++i)
                change(c[i], i);
        });
    };
    covariances("one correlation of 1.01", Kind::CovarianceNotPositive, [](Matrix6& m, std::size_t i) {
        if (i == 50) correlate(m, 1.01);
    });
    covariances("variances that jump from 1e-4 to 1 km^2 and back", Kind::CovarianceBetween,
                [](Matrix6& m, std::size_t i) {
                    if (i % 4 == 0) m = plainCovariance(1.0);
                });
    covariances("some without a covariance", Kind::CovarianceMissing, [](Matrix6& m, std::size_t i) {
        if (i % 3 == 0) m = {};
    });
    covariances("m^2 for km^2", Kind::CovarianceSize, [](Matrix6& m, std::size_t) { m = plainCovariance(1e7); });
    return list;
}

void verifyFaults(std::size_t files, std::uint64_t seed) {
    print("| fault | kind | files | found | other errors | other warnings |\n|---|---|---|---|---|---|\n");
    for (const Fault& fault : faults()) {
        std::mt19937_64 random(seed);
        std::size_t found = 0;
        std::size_t otherErrors = 0;
        std::size_t otherWarnings = 0;
        for (std::size_t file = 0; file < files; ++file) {
            Made made = make(fault.scenario, 400, random);
            std::vector<Matrix6> covariances;
            fault.inject(made, covariances, random);
            const OwnedSatellite satellite = store(made, fault.frame, covariances);
            const analysis::SatelliteCheck check = analysis::checkSatellite(satellite);
            bool isFound = false;
            for (const analysis::Finding& finding : check.findings) {
                isFound = isFound || finding.kind == fault.kind;
                otherErrors += finding.kind != fault.kind && finding.severity == Severity::Error;
                otherWarnings += finding.kind != fault.kind && finding.severity == Severity::Warning;
            }
            found += isFound;
        }
        print("| {} | `{}` | {} | {} | {} | {} |\n", fault.name, nameOf(fault.kind), files, found, otherErrors,
              otherWarnings);
    }
}

// ---- Few points ----

bool hasOutlier(const Made& made, Frame frame) {
    const OwnedSatellite satellite = store(made, frame);
    const analysis::SatelliteCheck check = analysis::checkSatellite(satellite);
    return std::any_of(check.findings.begin(), check.findings.end(),
                       [](const analysis::Finding& finding) { return finding.kind == Kind::Outlier; });
}

// Parts of an ephemeris, as they are and with one position off.
void verifyFewPoints(std::size_t files, std::uint64_t seed) {
    print(
        "| orbit | points | files | clean: `outlier` | 5 km off: found | 100 m off: found | 10 m off: found |\n"
        "|---|---|---|---|---|---|---|\n");
    for (const Scenario& scenario : {Scenario{"LEO 60 s", kLeo, even(60.0), 0.001},
                                     {"LEO 60 s, rotating", kLeo, even(60.0), 0.001, true},
                                     {"GEO 900 s", kGeo, even(900.0), 0.001},
                                     {"HEO 900 s", kHeo, even(900.0), 0.001}}) {
        std::mt19937_64 random(seed);
        const Made whole = make(scenario, 400, random);
        for (const std::size_t points : {4U, 5U, 6U, 8U, 12U, 16U, 20U}) {
            std::array<std::size_t, 4> found{};
            for (std::size_t file = 0; file < files; ++file) {
                const std::size_t first = random() % (400 - points);
                Made part = whole;
                keepOnly(part, [=](std::size_t i) { return i >= first && i < first + points; });
                double& x_km = part.states[random() % points].position_km[random() % 3];
                const double clean_km = x_km;
                constexpr std::array<double, 4> kOff_km{0.0, 5.0, 0.1, 0.01};
                for (std::size_t i = 0; i < kOff_km.size(); ++i) {
                    x_km = clean_km + kOff_km[i];
                    found[i] += hasOutlier(part, frameOf(scenario));
                }
            }
            print("| {} | {} | {} | {} | {} | {} | {} |\n", scenario.name, points, files, found[0], found[1], found[2],
                  found[3]);
        }
    }
}

}  // namespace
}  // namespace vorlandi::tools

int main(int argc, char** argv) {
    using namespace vorlandi::tools;
    std::size_t points = 2000;
    std::size_t files = 10;
    std::uint64_t seed = 1;
    std::string page;
    CLI::App app("Prints the tables of docs/checking.md: how well the analysis finds faults and estimates errors.");
    app.add_option("--points", points, "points of each clean ephemeris")->capture_default_str();
    app.add_option("--files", files, "files with each fault")->capture_default_str();
    app.add_option("--seed", seed, "of the random numbers")->capture_default_str();
    app.add_option("--page", page, "write the tables into this page, after its mark");
    CLI11_PARSE(app, argc, argv);
    print("Made with `verify_checks --points {} --files {} --seed {}`.\n\n### Clean points\n\n", points, files, seed);
    verifyClean(points, seed);
    print("\n### Gaps\n\n");
    verifyGaps(points, seed);
    print("\n### Burns\n\n");
    verifyBurns(files, seed);
    print("\n### Faults\n\n");
    verifyFaults(files, seed);
    print("\n### Few points\n\n");
    verifyFewPoints(files, seed);
    if (page.empty()) {
        std::fputs(printed().c_str(), stdout);
        return 0;
    }
    if (writeInto(page)) return 0;
    fmt::print(stderr, "verify_checks: {}: not written\n", page);
    return 1;
}
