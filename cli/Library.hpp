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
inline constexpr double kMicrosecondsPerSecond = 1e6;

// Times are printed to the microsecond: times closer than that count as the same.
inline constexpr double kTimeTolerance_s = 1e-6;
inline constexpr double kTimeTolerance_days = kTimeTolerance_s / kSecondsPerDay;

using Vector3 = std::array<double, 3>;
using Matrix6 = std::array<std::array<double, 6>, 6>;

// First and last time of a satellite, days since 1950, UTC.
struct TimeSpan {
    double start = 0.0;
    double end = 0.0;

    // Moves a time that misses the span only by rounding to the near end of the span, so that the first and last times
    // that this tool prints can be used in a query.
    double snapped(double ds50UTC) const;
};

struct Satellite {
    std::int64_t key = 0;
    std::int32_t number = 0;
    std::int32_t frameCode = 0;
    std::int32_t pointCount = 0;
    TimeSpan span;
    std::string file;
    std::string tag;

    std::string frame() const;

    // Average seconds between neighbouring points; none if there are fewer than two.
    std::optional<double> meanSpacing_s() const;
};

struct State {
    double ds50UTC = 0.0;
    Vector3 position_km{};
    Vector3 velocity_km_s{};
    std::int32_t revolution = 0;
    std::optional<Matrix6> covariance;
};

enum class WithCovariance { No, Yes };

// All satellites in the order of loading.
std::vector<Satellite> loadedSatellites();
std::int32_t satelliteCount();

// The interpolated state at a time, or a stored point by its index from 1. Nothing on failure: see lastLibraryError.
std::optional<State> interpolatedState(const Satellite& satellite, double ds50UTC, WithCovariance withCovariance);
std::optional<State> storedState(const Satellite& satellite, std::int32_t index, WithCovariance withCovariance);

// The times of all stored points.
std::vector<double> storedTimes(const Satellite& satellite);

// How many of a satellite's points have something.
enum class Share { None, Some, All };

// Points with a velocity other than zero, and points with a covariance.
struct Contents {
    Share velocities = Share::None;
    Share covariances = Share::None;
};
Contents contentsOf(const Satellite& satellite);

// The satellite of a key; number 0 and no points if there is none.
Satellite satelliteOf(std::int64_t key);

// The longest file name that the library takes.
inline constexpr std::size_t kFileNameLength = 512;

// By which rules files are read.
enum class Rules { Practical, Fixed };
const char* nameOf(Rules rules);
std::int32_t loadOptionsOf(Rules rules);

// Both return the status of the library: 0, 2, or the errno of a failed open. Cards in `bytes` are not followed.
std::int32_t loadFile(const std::string& name, Rules rules);
std::int32_t loadBytes(const std::string& bytes, const std::string& name, Rules rules);

std::optional<double> timeFromText(const std::string& text);
std::string isoTime(double ds50UTC);

// Whole seconds from 1972 on, 10 before; 0 for a time that is not finite.
double taiMinusUtc_s(double ds50UTC);

// An event of a load. A listener receives the events of loads on its thread for as long as it lives.
struct ReadEvent {
    enum class Kind { Format = 1, Bad, Dropped, Stored, Missing, Refused };
    Kind kind;
    std::string_view file;
    std::int64_t line;  // from 1; of a binary file the record
    // The format's name, the line, the line, the key, the name on the card, or the reason.
    std::string_view text;
};
class ReadListener {
public:
    ReadListener();
    virtual ~ReadListener();
    ReadListener(const ReadListener&) = delete;
    ReadListener& operator=(const ReadListener&) = delete;

    virtual void onEvent(const ReadEvent& event) noexcept = 0;
};

std::string lastLibraryError();
std::string libraryVersion();

}  // namespace vorlandi::cli
