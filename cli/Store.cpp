#include "Store.hpp"

#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>

#include "PaddedText.hpp"
#include "vorlandi/services.h"
#include "vorlandi/time.h"
#include "vorlandi/vorlandi.h"

namespace vorlandi::cli {
namespace {

constexpr std::int32_t kLoadOrder = 2;
constexpr std::int32_t kReplaceFile = 0;
constexpr double kTolerance_days = kTimeTolerance_s / kSecondsPerDay;

using RawMatrix = double[6][6];

// Some formats keep other numbers in the place of a covariance. They are told apart by this: where a variance
// is zero, the covariances of its row must be zero too.
bool isCovariance(const RawMatrix& matrix) {
    bool any = false;
    for (int row = 0; row < 6; ++row) {
        any = any || matrix[row][row] != 0.0;
        for (int column = 0; column < row; ++column) {
            const bool has_variances = matrix[row][row] != 0.0 && matrix[column][column] != 0.0;
            if (matrix[row][column] != 0.0 && !has_variances) return false;
        }
    }
    return any;
}

std::optional<Matrix6> covarianceOf(const RawMatrix& matrix) {
    if (!isCovariance(matrix)) return std::nullopt;
    Matrix6 result;
    for (std::size_t row = 0; row < 6; ++row)
        std::copy_n(matrix[row], 6, result[row].begin());
    return result;
}

Satellite describe(std::int64_t key) {
    Satellite satellite;
    satellite.key = key;
    PaddedText<128> tag;
    PaddedText<kFileNameLength> file;
    VorlanGetAllFields(key, &satellite.number, nullptr, tag.data(), nullptr, nullptr, nullptr, nullptr,
                       nullptr, &satellite.frame_code, &satellite.point_count, file.data());
    VorlanStartEndTime(key, &satellite.span.start, &satellite.span.end);
    satellite.tag = trimmed(tag);
    satellite.file = trimmed(file);
    return satellite;
}

void passOn(std::int32_t event, const char* file, std::int32_t file_length, std::int64_t line,
            const char* text, std::int32_t text_length, void* listener) {
    static_cast<ReadListener*>(listener)->hear({static_cast<ReadEvent::Kind>(event),
                                                {file, static_cast<std::size_t>(file_length)},
                                                line,
                                                {text, static_cast<std::size_t>(text_length)}});
}

}  // namespace

ReadListener::ReadListener() { VorlanSetReadObserver(passOn, this); }
ReadListener::~ReadListener() { VorlanSetReadObserver(nullptr, nullptr); }

double TimeSpan::snapped(double ds50_utc) const {
    if (ds50_utc < start && start - ds50_utc <= kTolerance_days) return start;
    if (ds50_utc > end && ds50_utc - end <= kTolerance_days) return end;
    return ds50_utc;
}

std::string Satellite::frame() const {
    static const std::map<std::int32_t, const char*> names{
        {1, "ECI"},  {2, "J2K"},    {3, "EFG"},    {4, "ECR"},    {15, "LLH"},
        {16, "SEN"}, {17, "HCSRL"}, {18, "WPTRL"}, {19, "HCSGC"}, {20, "WPTGC"}};
    const auto found = names.find(frame_code);
    return found != names.end() ? found->second : std::to_string(frame_code);
}

std::optional<double> Satellite::meanSpacing_s() const {
    const double spacing_s = (span.end - span.start) * kSecondsPerDay / (point_count - 1);
    if (point_count < 2 || !std::isfinite(spacing_s)) return std::nullopt;
    return spacing_s;
}

std::vector<Satellite> loadedSatellites() {
    std::vector<std::int64_t> keys(static_cast<std::size_t>(satelliteCount()));
    if (!keys.empty()) VorlanGetLoaded(kLoadOrder, keys.data());
    std::vector<Satellite> satellites(keys.size());
    std::transform(keys.begin(), keys.end(), satellites.begin(), describe);
    return satellites;
}

std::int32_t satelliteCount() { return VorlanGetCount(); }

std::optional<State> stateAt(const Satellite& satellite, double ds50_utc, Covariance covariance) {
    State state;
    state.ds50_utc = ds50_utc;
    double* const position = state.position_km.data();
    double* const velocity = state.velocity_km_s.data();
    if (covariance == Covariance::kLeftOut) {
        if (VorlanDs50UTC(satellite.key, ds50_utc, nullptr, position, velocity, &state.revolution) != 0)
            return {};
        return state;
    }
    RawMatrix matrix;
    if (VorlanDs50UTCCovMtx(satellite.key, ds50_utc, nullptr, position, velocity, &state.revolution,
                            matrix) != 0)
        return {};
    state.covariance = covarianceOf(matrix);
    return state;
}

std::optional<State> storedState(const Satellite& satellite, std::int32_t index, Covariance covariance) {
    State state;
    double* const position = state.position_km.data();
    double* const velocity = state.velocity_km_s.data();
    const std::int64_t key = satellite.key;
    if (covariance == Covariance::kLeftOut) {
        if (VorlanGetEphemeris(key, index, &state.ds50_utc, position, velocity, &state.revolution) != 0)
            return {};
        return state;
    }
    RawMatrix matrix;
    if (VorlanGetCovMtx(key, index, &state.ds50_utc, position, velocity, &state.revolution, matrix) != 0)
        return {};
    state.covariance = covarianceOf(matrix);
    return state;
}

// Only some points of a satellite may have one, so every point is looked at until the first that has.
bool carriesCovariance(const Satellite& satellite) {
    RawMatrix matrix;
    for (std::int32_t index = 1; index <= satellite.point_count; ++index) {
        VorlanGetCovMtx(satellite.key, index, nullptr, nullptr, nullptr, nullptr, matrix);
        if (isCovariance(matrix)) return true;
    }
    return false;
}

std::int32_t loadFile(const std::string& name) {
    return VorlanLoadFile(padded<kFileNameLength>(name).data());
}

std::int32_t saveCards(const std::string& name) {
    return VorlanSaveFile(padded<kFileNameLength>(name).data(), kReplaceFile);
}

std::optional<double> timeFromText(const std::string& text) {
    // No date is longer than this, and a length beyond the range of the interface must not wrap.
    constexpr std::size_t kLongestDate = 512;
    if (text.size() > kLongestDate) return std::nullopt;
    const double ds50_utc = VorlanTimeFromText(text.data(), static_cast<std::int32_t>(text.size()));
    return ds50_utc == 0.0 ? std::nullopt : std::optional(ds50_utc);
}

std::string isoTime(double ds50_utc) {
    PaddedText<26> text;
    VorlanTimeToIso(ds50_utc, text.data());
    return trimmed(text);
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
