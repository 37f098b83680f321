// The store of the library as C++ values: a thin layer over the C functions, without decisions of its own.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorlandi::cli {

inline constexpr double kSecondsPerDay = 86400.0;

// Times are printed to the microsecond, so what is closer than that counts as the same time.
inline constexpr double kTimeTolerance_s = 1e-6;

using Vector3 = std::array<double, 3>;
using Matrix6 = std::array<std::array<double, 6>, 6>;

// First and last time of a satellite, days since 1950, UTC.
struct TimeSpan {
    double start = 0.0;
    double end = 0.0;

    // A time that misses the span by rounding only is moved onto its end: the first and last times that this
    // tool prints can be asked for again.
    double snapped(double ds50_utc) const;
};

struct Satellite {
    std::int64_t key = 0;
    std::int32_t number = 0;
    std::int32_t frame_code = 0;
    std::int32_t point_count = 0;
    TimeSpan span;
    std::string file;
    std::string tag;

    std::string frame() const;

    // Average seconds between neighbouring points; none if there are fewer than two.
    std::optional<double> meanSpacing_s() const;
};

struct State {
    double ds50_utc = 0.0;
    Vector3 position_km{};
    Vector3 velocity_km_s{};
    std::int32_t revolution = 0;
    std::optional<Matrix6> covariance;
};

enum class Covariance { kLeftOut, kWanted };

// All satellites in the order of loading.
std::vector<Satellite> loadedSatellites();
std::int32_t satelliteCount();

// The state at a time, or a stored point by its index from 1; none on failure, see lastLibraryError.
std::optional<State> stateAt(const Satellite& satellite, double ds50_utc, Covariance covariance);
std::optional<State> storedState(const Satellite& satellite, std::int32_t index, Covariance covariance);

bool carriesCovariance(const Satellite& satellite);

// The longest file name that the library takes.
inline constexpr std::size_t kFileNameLength = 512;

// Both return the status of the library: 0, 2, or the errno of a failed open.
std::int32_t loadFile(const std::string& name);
std::int32_t saveCards(const std::string& name);

std::optional<double> timeFromText(const std::string& text);
std::string isoTime(double ds50_utc);

// What loading met on this thread, told while the object lives.
struct ReadEvent {
    enum class Kind { kFormat = 1, kBad, kDropped, kStored };
    Kind kind;
    std::string_view file;
    std::int64_t line;      // from 1; of a binary file the record
    std::string_view text;  // the format's name, the line, or the key
};
class ReadListener {
public:
    ReadListener();
    virtual ~ReadListener();
    ReadListener(const ReadListener&) = delete;
    ReadListener& operator=(const ReadListener&) = delete;

    virtual void hear(const ReadEvent& event) noexcept = 0;
};

std::string lastLibraryError();
std::string libraryVersion();

}  // namespace vorlandi::cli
