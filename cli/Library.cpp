#include "Library.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string_view>

#include "PaddedText.hpp"
#include "vorlandi/services.h"
#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

namespace vorlandi::cli {
namespace {

constexpr std::int32_t kLoadOrder = 2;

using RawMatrix = double[6][6];

// Some formats store other numbers in place of a covariance. A matrix is a covariance only if the elements in the row
// and column of a zero variance are zero too.
bool isCovariance(const RawMatrix& matrix) {
    bool any = false;
    for (int row = 0; row < 6; ++row) {
        any = any || matrix[row][row] != 0.0;
        for (int column = 0; column < row; ++column) {
            const bool hasVariances = matrix[row][row] != 0.0 && matrix[column][column] != 0.0;
            if (matrix[row][column] != 0.0 && !hasVariances) return false;
        }
    }
    return any;
}

bool hasVelocity(const double (&state)[6]) {
    return std::any_of(state + 3, state + 6, [](double component) { return component != 0.0; });
}

Share shareOf(std::int64_t count, std::int64_t all) {
    if (count == 0) return Share::None;
    return count == all ? Share::All : Share::Some;
}

std::optional<Matrix6> covarianceOf(const RawMatrix& matrix) {
    if (!isCovariance(matrix)) return std::nullopt;
    Matrix6 result;
    for (std::size_t row = 0; row < 6; ++row)
        std::copy_n(matrix[row], 6, result[row].begin());
    return result;
}

void forward(std::int32_t event, const char* file, std::int32_t fileLength, std::int64_t line, const char* text,
             std::int32_t textLength, void* listener) {
    static_cast<ReadListener*>(listener)->onEvent({static_cast<ReadEvent::Kind>(event),
                                                   {file, static_cast<std::size_t>(fileLength)},
                                                   line,
                                                   {text, static_cast<std::size_t>(textLength)}});
}

}  // namespace

ReadListener::ReadListener() { VorlanSetReadObserver(forward, this); }
ReadListener::~ReadListener() { VorlanSetReadObserver(nullptr, nullptr); }

double TimeSpan::snapped(double ds50UTC) const {
    if (ds50UTC < start && start - ds50UTC <= kTimeTolerance_days) return start;
    if (ds50UTC > end && ds50UTC - end <= kTimeTolerance_days) return end;
    return ds50UTC;
}

std::string Satellite::frame() const {
    static const std::map<std::int32_t, const char*> names{{1, "ECI"},    {2, "J2K"},   {3, "EFG"},    {4, "ECR"},
                                                           {15, "LLH"},   {16, "SEN"},  {17, "HCSRL"}, {18, "WPTRL"},
                                                           {19, "HCSGC"}, {20, "WPTGC"}};
    const auto found = names.find(frameCode);
    return found != names.end() ? found->second : std::to_string(frameCode);
}

std::optional<double> Satellite::meanSpacing_s() const {
    const double spacing_s = (span.end - span.start) * kSecondsPerDay / (pointCount - 1);
    if (pointCount < 2 || !std::isfinite(spacing_s)) return std::nullopt;
    return spacing_s;
}

Satellite satelliteOf(std::int64_t key) {
    Satellite satellite;
    satellite.key = key;
    PaddedText<128> tag;
    PaddedText<kFileNameLength> file;
    VorlanGetAllFields(key, &satellite.number, nullptr, tag.data(), nullptr, nullptr, nullptr, nullptr, nullptr,
                       &satellite.frameCode, &satellite.pointCount, file.data());
    VorlanStartEndTime(key, &satellite.span.start, &satellite.span.end);
    satellite.tag = trimmed(tag);
    satellite.file = trimmed(file);
    return satellite;
}

std::vector<Satellite> loadedSatellites() {
    std::vector<std::int64_t> keys(static_cast<std::size_t>(satelliteCount()));
    if (!keys.empty()) VorlanGetLoaded(kLoadOrder, keys.data());
    std::vector<Satellite> satellites(keys.size());
    std::transform(keys.begin(), keys.end(), satellites.begin(), satelliteOf);
    return satellites;
}

std::int32_t satelliteCount() { return VorlanGetCount(); }

std::optional<State> interpolatedState(const Satellite& satellite, double ds50UTC, WithCovariance withCovariance) {
    State state;
    state.ds50UTC = ds50UTC;
    double* const position = state.position_km.data();
    double* const velocity = state.velocity_km_s.data();
    if (withCovariance == WithCovariance::No) {
        if (VorlanDs50UTC(satellite.key, ds50UTC, nullptr, position, velocity, &state.revolution) != 0) return {};
        return state;
    }
    RawMatrix matrix;
    if (VorlanDs50UTCCovMtx(satellite.key, ds50UTC, nullptr, position, velocity, &state.revolution, matrix) != 0)
        return {};
    state.covariance = covarianceOf(matrix);
    return state;
}

std::optional<State> storedState(const Satellite& satellite, std::int32_t index, WithCovariance withCovariance) {
    State state;
    double* const position = state.position_km.data();
    double* const velocity = state.velocity_km_s.data();
    const std::int64_t key = satellite.key;
    if (withCovariance == WithCovariance::No) {
        if (VorlanGetEphemeris(key, index, &state.ds50UTC, position, velocity, &state.revolution) != 0) return {};
        return state;
    }
    RawMatrix matrix;
    if (VorlanGetCovMtx(key, index, &state.ds50UTC, position, velocity, &state.revolution, matrix) != 0) return {};
    state.covariance = covarianceOf(matrix);
    return state;
}

std::vector<double> storedTimes(const Satellite& satellite) {
    std::vector<double> times(static_cast<std::size_t>(satellite.pointCount));
    VorlanGetEphemerisArr(satellite.key, 1, satellite.pointCount, times.data(), nullptr, nullptr, nullptr, nullptr);
    return times;
}

Contents contentsOf(const Satellite& satellite) {
    constexpr std::int64_t kPointsAtOnce = 1024;
    const auto states = std::make_unique<double[][6]>(kPointsAtOnce);
    const auto matrices = std::make_unique<RawMatrix[]>(kPointsAtOnce);
    std::int64_t velocities = 0;
    std::int64_t covariances = 0;
    for (std::int64_t read = 0; read < satellite.pointCount; read += kPointsAtOnce) {
        const std::int64_t count = std::min(kPointsAtOnce, satellite.pointCount - read);
        VorlanGetEphemerisArr(satellite.key, read + 1, count, nullptr, states.get(), nullptr, matrices.get(), nullptr);
        for (std::int64_t i = 0; i < count; ++i) {
            const auto at = static_cast<std::size_t>(i);
            velocities += hasVelocity(states[at]) ? 1 : 0;
            covariances += isCovariance(matrices[at]) ? 1 : 0;
        }
    }
    return {shareOf(velocities, satellite.pointCount), shareOf(covariances, satellite.pointCount)};
}

const char* nameOf(Rules rules) { return rules == Rules::Practical ? "practical" : "fixed"; }

std::int32_t loadOptionsOf(Rules rules) { return rules == Rules::Practical ? VORLAN_LOAD_PRACTICAL : 0; }

std::int32_t loadFile(const std::string& name, Rules rules) {
    return VorlanLoadFileExt(padded<kFileNameLength>(name).data(), loadOptionsOf(rules), 0, nullptr, nullptr);
}

std::int32_t loadBytes(const std::string& bytes, const std::string& name, Rules rules) {
    return VorlanLoadBytes(bytes.data(), static_cast<std::int64_t>(bytes.size()), padded<kFileNameLength>(name).data(),
                           loadOptionsOf(rules) | VORLAN_LOAD_NO_CARDS, 0, nullptr, nullptr);
}

std::optional<double> timeFromText(const std::string& text) {
    // No date is longer than this, and a length beyond the range of the interface must not wrap.
    constexpr std::size_t kLongestDate = 512;
    if (text.size() > kLongestDate) return std::nullopt;
    const double ds50UTC = VorlanTimeFromText(text.data(), static_cast<std::int32_t>(text.size()));
    return ds50UTC == 0.0 ? std::nullopt : std::optional(ds50UTC);
}

std::string isoTime(double ds50UTC) {
    PaddedText<26> text;
    VorlanTimeToIso(ds50UTC, text.data());
    return trimmed(text);
}

double taiMinusUtc_s(double ds50UTC) {
    const double difference_s = std::round((VorlanTimeUtcToTai(ds50UTC) - ds50UTC) * kSecondsPerDay);
    return std::isfinite(difference_s) ? difference_s : 0.0;
}

std::string lastLibraryError() {
    PaddedText<512> message;
    VorlanTraceLastError(message.data());
    return trimmed(message);
}

std::string libraryVersion() {
    PaddedText<128> information;
    VorlanGetInfo(information.data());
    return trimmed(information);
}

}  // namespace vorlandi::cli
