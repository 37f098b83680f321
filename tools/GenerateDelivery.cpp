// Writes two deliveries of a fleet's predictions, a day apart, in modified ITC files with covariances: the folders
// `previous` and `clean`, and `faulty`, which is the clean one with planted faults; `planted.csv` says which.
//
// The errors of the predictions match their covariances: at the time of each fit two impulses with the given standard
// deviations disturb the true orbit, and the covariance comes from them, propagated by the linear equations of relative
// motion on a circle (Clohessy and Wiltshire 1960).
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "EphemerisFormats.hpp"
#include "PerturbedOrbit.hpp"
#include "writers/Targets.hpp"

namespace vorlandi::tools {
namespace {

namespace fs = std::filesystem;

constexpr double kDay_s = 86400.0;
constexpr double kStep_s = 120.0;
constexpr double kFirstFit_days = 27790.0;  // 2026-02-01
constexpr double kFitToEpoch_s = 3600.0;    // the first point of a prediction comes so long after its first impulse
constexpr double kImpulses_s[] = {0.0, 1500.0};
// Their standard deviations, radial, in-track, cross-track. The in-track ones change the period, which fits know best.
constexpr double kImpulses_km_s[] = {2e-6, 1e-7, 2e-6};
constexpr std::int32_t kFirstNumber = 81001;

struct Options {
    int satellites = 200;
    int faults = 40;
    int days = 3;
    double sigmas = 1.0;
    std::uint64_t seed = 1;
    fs::path directory;
};

// ---- Predictions ----

using Matrix3 = std::array<Vector3, 3>;

// The effect of an impulse some seconds before on the position, radial, in-track and cross-track.
Matrix3 relativeMotion(double rate, double seconds) {
    const double angle = rate * seconds;
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {{{s / rate, 2.0 * (1.0 - c) / rate, 0.0},
             {-2.0 * (1.0 - c) / rate, (4.0 * s - 3.0 * angle) / rate, 0.0},
             {0.0, 0.0, s / rate}}};
}

double dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector3 cross(const Vector3& a, const Vector3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector3 unit(Vector3 vector) {
    const double length = std::sqrt(dot(vector, vector));
    for (double& x : vector)
        x /= length;
    return vector;
}

std::array<Vector3, 3> axesOf(const State& state) {
    const Vector3 radial = unit(state.position_km);
    const Vector3 normal = unit(cross(state.position_km, state.velocity_km_s));
    return {radial, cross(normal, radial), normal};
}

// Of the position only, as many providers write it.
writers::Covariance covarianceAt(const State& state, double rate, double sinceFit_s, double scale) {
    Matrix3 onAxes{};
    for (const double impulse_s : kImpulses_s) {
        const Matrix3 motion = relativeMotion(rate, sinceFit_s - impulse_s);
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j < 3; ++j)
                for (std::size_t k = 0; k < 3; ++k)
                    onAxes[i][j] += motion[i][k] * motion[j][k] * std::pow(kImpulses_km_s[k] * scale, 2.0);
    }
    const std::array<Vector3, 3> axes = axesOf(state);
    writers::Covariance covariance{};
    std::size_t element = 0;
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column <= row; ++column, ++element)
            for (std::size_t i = 0; i < 3; ++i)
                for (std::size_t j = 0; j < 3; ++j)
                    covariance[element] += axes[i][row] * onAxes[i][j] * axes[j][column];
    return covariance;
}

using Random = std::mt19937_64;

PerturbedOrbit orbitOf(Random& random) {
    const auto between = [&](double least, double most) { return std::uniform_real_distribution(least, most)(random); };
    const double axis_km = between(6900.0, 7900.0);
    const double inclination = between(0.3, 1.7);
    const double node = between(0.0, 2.0 * std::numbers::pi);
    return PerturbedOrbit(stateAtPerigee(axis_km, 0.001, inclination, node, between(0.0, 2.0 * std::numbers::pi)));
}

// Mean motion, in radians per second.
double rateOf(PerturbedOrbit orbit) {
    double angle = 0.0;
    Vector3 before = unit(orbit.at(0.0).position_km);
    int steps = 0;
    for (; steps < 720; ++steps) {
        const Vector3 now = unit(orbit.at((steps + 1) * kStep_s).position_km);
        angle += std::acos(std::clamp(dot(before, now), -1.0, 1.0));
        before = now;
    }
    return angle / (steps * kStep_s);
}

void kick(PerturbedOrbit& orbit, double seconds, const Vector3& onAxes_km_s) {
    const std::array<Vector3, 3> axes = axesOf(orbit.at(seconds));
    Vector3 change{};
    for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t i = 0; i < 3; ++i)
            change[i] += onAxes_km_s[k] * axes[k][i];
    orbit.kick(change);
}

// Predicted from a fit so many seconds after the first one.
writers::Ephemeris predicted(const Options& options, std::int32_t number, PerturbedOrbit orbit, double rate,
                             double fit_s, Random& random) {
    std::normal_distribution<double> normal;
    for (const double impulse_s : kImpulses_s) {
        Vector3 impulse;
        for (std::size_t k = 0; k < 3; ++k)
            impulse[k] = kImpulses_km_s[k] * normal(random);
        kick(orbit, fit_s + impulse_s, impulse);
    }
    writers::Ephemeris ephemeris;
    ephemeris.number = number;
    ephemeris.frame = writers::Frame::J2k;
    for (double t = 0.0; t < options.days * kDay_s; t += kStep_s) {
        const State& state = orbit.at(fit_s + kFitToEpoch_s + t);
        ephemeris.times.push_back(kFirstFit_days + (fit_s + t) / kDay_s);
        ephemeris.states.push_back(state);
        ephemeris.covariances.push_back(covarianceAt(state, rate, kFitToEpoch_s + t, options.sigmas));
    }
    return ephemeris;
}

// ---- Files ----

const writers::Target& format() { return *writers::findTarget("modified-itc"); }

fs::path write(const writers::Ephemeris& ephemeris, const fs::path& folder) {
    writers::Options options;
    options.source = "integration";
    options.created = "2026-02-01T00:00:00";
    const fs::path path = folder / writers::fileName(format(), ephemeris);
    writeFile(path, [&](std::ostream& stream) {
        writers::Lines out(
            [&](std::string_view piece) { stream.write(piece.data(), static_cast<std::streamsize>(piece.size())); },
            writers::Style::Exact);
        format().write(ephemeris, options, out);
        out.handOn();
    });
    return path;
}

// ---- Faults ----

// What a fault changes: the ephemeris, or its file once written.
struct Fault {
    const char* name;
    const char* kinds;  // that the report has to have, errors and warnings
    std::function<void(writers::Ephemeris&)> change = {};
    std::function<void(const fs::path& file, const fs::path& previous)> changeFile = {};
};

void keepOnly(writers::Ephemeris& ephemeris, const std::function<bool(std::size_t)>& isKept) {
    writers::Ephemeris kept = ephemeris;
    kept.times.clear();
    kept.states.clear();
    kept.covariances.clear();
    for (std::size_t i = 0; i < ephemeris.times.size(); ++i) {
        if (!isKept(i)) continue;
        kept.times.push_back(ephemeris.times[i]);
        kept.states.push_back(ephemeris.states[i]);
        kept.covariances.push_back(ephemeris.covariances[i]);
    }
    ephemeris = std::move(kept);
}

void scaleVelocities(writers::Ephemeris& ephemeris, double factor) {
    for (State& state : ephemeris.states)
        for (double& v : state.velocity_km_s)
            v *= factor;
}

void moveCrossTrack(State& state, double kilometres) {
    const Vector3 normal = axesOf(state)[2];
    for (std::size_t i = 0; i < 3; ++i)
        state.position_km[i] += kilometres * normal[i];
}

void copyOver(const fs::path& from, const fs::path& to) {
    fs::copy_file(from, to, fs::copy_options::overwrite_existing);
}

// In the middle of a state's line.
void spoilLine(const fs::path& file) {
    constexpr int kLine = 405;
    std::ifstream input(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(input, line);)
        lines.push_back(std::move(line));
    lines.at(kLine - 1)[20] = 'x';
    std::ofstream output(file);
    for (const std::string& line : lines)
        output << line << '\n';
}

std::vector<Fault> faults() {
    using writers::Ephemeris;
    return {
        {"20 minutes without points", "gap",
         [](Ephemeris& e) { keepOnly(e, [](std::size_t i) { return i < 200 || i >= 209; }); }},
        {"four hours without points", "unanswered",
         [](Ephemeris& e) { keepOnly(e, [](std::size_t i) { return i < 200 || i >= 319; }); }},
        {"one position 10 m aside", "outlier", [](Ephemeris& e) { moveCrossTrack(e.states.at(300), 0.01); }},
        {"positions 10 m aside from a point on", "jump",
         [](Ephemeris& e) {
             for (std::size_t i = 300; i < e.states.size(); ++i)
                 moveCrossTrack(e.states[i], 0.01);
         }},
        {"velocities in m/s", "velocity-unit", [](Ephemeris& e) { scaleVelocities(e, 1000.0); }},
        {"no velocities", "no-velocity", [](Ephemeris& e) { scaleVelocities(e, 0.0); }},
        {"velocities 10 % off", "velocity-mismatch", [](Ephemeris& e) { scaleVelocities(e, 1.1); }},
        {"J2K points called ECI", "frame-changed", [](Ephemeris& e) { e.frame = writers::Frame::Eci; }},
        {"the file is missing", "missing", {}, [](const fs::path& file, const fs::path&) { fs::remove(file); }},
        {"the file of the previous day",
         "not-updated",
         {},
         [](const fs::path& file, const fs::path& previous) { copyOver(previous, file); }},
        {"a letter inside a number",
         "unreadable-line",
         {},
         [](const fs::path& file, const fs::path&) { spoilLine(file); }},
        {"an empty file",
         "missing not-read",
         {},
         [](const fs::path& file, const fs::path&) { fs::resize_file(file, 0); }},
        {"a correlation of 1.01", "covariance-not-positive",
         [](Ephemeris& e) {
             writers::Covariance& c = e.covariances.at(300);
             c[1] = 1.01 * std::sqrt(c[0] * c[2]);
         }},
        {"every third point without covariance", "covariance-missing",
         [](Ephemeris& e) {
             for (std::size_t i = 0; i < e.covariances.size(); i += 3)
                 e.covariances[i] = {};
         }},
        {"the same file twice",
         "duplicate",
         {},
         [](const fs::path& file, const fs::path&) {
             copyOver(file, file.parent_path() / (file.stem().string() + "_copy.txt"));
         }},
        {"ends half a day early", "ends-earlier",
         [](Ephemeris& e) {
             const double end = e.times.back() - 1.5;
             keepOnly(e, [&, times = e.times](std::size_t i) { return times[i] <= end; });
         }},
        {"a point repeated two points later", "dropped-point",
         [](Ephemeris& e) {
             const auto insert = [](auto& items) {
                 const auto item = items.at(300);
                 items.insert(items.begin() + 303, item);
             };
             insert(e.times);
             insert(e.states);
             insert(e.covariances);
         }},
        {"points every 720 s", "interpolation covariance-between",
         [](Ephemeris& e) { keepOnly(e, [](std::size_t i) { return i % 6 == 0; }); }},
        {"tagged in GPS time", "far-off",
         [](Ephemeris& e) {
             for (double& time : e.times)
                 time += 18.0 / kDay_s;
         }},
        {"a burn of 0.2 m/s before the fit", "far-off"},
    };
}
constexpr std::size_t kBurn = 19;  // which of them changes the orbit

void writeDeliveries(const Options& options) {
    const fs::path previous = options.directory / "previous";
    const fs::path clean = options.directory / "clean";
    const fs::path faulty = options.directory / "faulty";
    for (const fs::path& folder : {previous, clean, faulty})
        fs::create_directories(folder);
    std::ofstream planted(options.directory / "planted.csv");
    planted << "satellite,fault,kinds\n";
    const std::vector<Fault> list = faults();
    const int every = options.faults > 0 ? std::max(1, options.satellites / options.faults) : 0;
    Random random(options.seed);
    for (int i = 0; i < options.satellites; ++i) {
        const std::int32_t number = kFirstNumber + i;
        const PerturbedOrbit orbit = orbitOf(random);
        const double rate = rateOf(orbit);
        const fs::path before = write(predicted(options, number, orbit, rate, 0.0, random), previous);
        Random samePrediction = random;
        writers::Ephemeris ephemeris = predicted(options, number, orbit, rate, kDay_s, random);
        const fs::path good = write(ephemeris, clean);
        if (options.faults == 0 || i % every != 0 || i / every >= options.faults) {
            fs::create_hard_link(good, faulty / good.filename());
            continue;
        }
        const std::size_t index = static_cast<std::size_t>(i / every) % list.size();
        const Fault& fault = list[index];
        if (index == kBurn) {
            PerturbedOrbit burnt = orbit;
            kick(burnt, kDay_s / 2.0, {0.0, 2e-4, 0.0});
            ephemeris = predicted(options, number, burnt, rate, kDay_s, samePrediction);
        }
        if (fault.change) fault.change(ephemeris);
        const fs::path file = write(ephemeris, faulty);
        if (fault.changeFile) fault.changeFile(file, before);
        planted << number << ',' << fault.name << ',' << fault.kinds << '\n';
    }
    if (!planted.flush()) throw std::runtime_error("planted.csv was not written");
}

}  // namespace
}  // namespace vorlandi::tools

int main(int argc, char** argv) {
    using namespace vorlandi::tools;
    Options options;
    CLI::App app("Writes two deliveries of a fleet a day apart, and the second one with planted faults.");
    app.add_option("--satellites", options.satellites)->check(CLI::Range(1, 10000))->capture_default_str();
    app.add_option("--faults", options.faults, "of 20 kinds in turn")
        ->check(CLI::Range(0, 10000))
        ->capture_default_str();
    app.add_option("--days", options.days, "of each prediction")->check(CLI::Range(2, 30))->capture_default_str();
    app.add_option("--sigmas", options.sigmas, "write these times the true standard deviations")->capture_default_str();
    app.add_option("--seed", options.seed)->capture_default_str();
    app.add_option("--out", options.directory, "new folder")->required()->check(CLI::NonexistentPath);
    CLI11_PARSE(app, argc, argv);
    try {
        writeDeliveries(options);
    } catch (const std::exception& error) {
        fmt::print(stderr, "generate_delivery: {}\n", error.what());
        return 1;
    }
    return 0;
}
