// libvorlandi in C++: satellites, states and covariances as values, over the C functions of vorlandi/vorlandi.h.
//
//     for (const vorlandi::OwnedSatellite& satellite : vorlandi::load("81001.e"))
//         std::cout << satellite->state(vorlandi::parse("2026-01-31T01:00")).position_km[0] << '\n';
//
// Times are Ds50, days since 1950 Jan 0.0 UTC. Positions are km, velocities km/s, covariances km and km/s, in the frame
// of the ephemeris; nothing is converted between frames. Answers have the bits of the C functions.
//
// Errors: a function that fails throws Error with the library's message and status. Most have a twin whose name
// begins with try_, which throws nothing of its own and returns the status; last_error() then has the message, unless
// the arguments were refused before the library was called.
// With VORLANDI_NO_EXCEPTIONS defined only the twins exist, and the header compiles with -fno-exceptions. Memory that
// runs out is std::bad_alloc, except where a function is noexcept.
//
// Threads: the first call that needs the store chooses the safe guard mode for the process (vorlandi/services.h), in
// which every function may run at the same time as every other; define VORLANDI_KEEP_GUARD_MODE to leave the mode
// alone.
//
// Define each of the two macros in all files of a program or in none: the functions here differ with them, and the
// linker keeps one of each.
#ifndef VORLANDI_VORLANDI_HPP
#define VORLANDI_VORLANDI_HPP

#if __cplusplus < 202002L
#error "vorlandi.hpp needs C++20: GCC 12, Clang 14 or newer, with -std=c++20. vorlandi.h works with any compiler."
#endif
#if !defined(__cpp_exceptions) && !defined(VORLANDI_NO_EXCEPTIONS)
#error "vorlandi.hpp with -fno-exceptions needs -DVORLANDI_NO_EXCEPTIONS; its functions then begin with try_."
#endif

#include <vorlandi/services.h>
#include <vorlandi/time.h>
#include <vorlandi/vorlandi.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cmath>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace vorlandi {

// ---- Values ----

// Days since 1950 Jan 0.0 UTC: 1950 Jan 1 00:00 is 1.0, 1970 Jan 1 is 7306.0. Each day has 86,400 s. The resolution
// is 0.3 microseconds until 2039, 0.6 from then on.
struct Ds50 {
    double days;
    auto operator<=>(const Ds50&) const = default;  // NOLINT(modernize-use-nullptr): there is no null here
};

// The coordinate system of a satellite, a name that no query looks at. Other codes, which files can bring
// (docs/formats.md), keep their number.
enum class Frame : std::int32_t { ECI = 1, J2K = 2, EFG = 3, ECR = 4 };

// Position and velocity, in the frame of the ephemeris. An array of states is an array of six doubles each.
struct State {
    std::array<double, 3> position_km;
    std::array<double, 3> velocity_km_s;
};

// Covariance of x, y, z, vx, vy, vz in km and km/s. All zero: there is none.
using Matrix6 = std::array<std::array<double, 6>, 6>;

// Times of the first and the last point.
struct Span {
    Ds50 first;
    Ds50 last;
};

// A stored point. The covariance is all zero if there is none.
struct Point {
    Ds50 time;
    State state;
    std::int32_t revolution;
    Matrix6 covariance;
};

// What the library knows of a satellite besides its points.
struct Fields {
    std::int32_t number;
    Frame frame;
    Ds50 epoch;  // of the first point
    double earth_radius_km;
    double ke;
    std::int32_t points;
    std::string text;  // at most 8 characters
    std::string tag;   // at most 128
    std::string file;  // that the satellite was read from
};

// The result of a function that doesn't throw. The value is valid only if the status is 0.
template <typename T>
struct Outcome {
    std::int32_t status = 0;
    T value{};
    explicit operator bool() const noexcept { return status == 0; }
};

// "ECI", "J2K" and so on; the code in digits if it has no name.
inline std::string name(Frame frame) {
    struct Named {
        std::int32_t code;
        const char* name;
    };
    constexpr Named kNames[] = {{1, "ECI"},  {2, "J2K"},    {3, "EFG"},    {4, "ECR"},    {15, "LLH"},
                                {16, "SEN"}, {17, "HCSRL"}, {18, "WPTRL"}, {19, "HCSGC"}, {20, "WPTGC"}};
    const auto code = static_cast<std::int32_t>(frame);
    for (const Named& named : kNames)
        if (named.code == code) return named.name;
    return std::to_string(code);
}

// The status of everything that fails here and is not the errno of a failed open.
inline constexpr std::int32_t kFailure = 2;

#ifndef VORLANDI_NO_EXCEPTIONS
// Thrown by a function that fails; what() is the library's message.
class Error : public std::runtime_error {
public:
    Error(const std::string& message, std::int32_t status) : std::runtime_error(message), status_(status) {}

    // The status: 2, or the errno of a failed open.
    std::int32_t status() const noexcept { return status_; }

private:
    std::int32_t status_;
};
#endif

// ---- How it works inside ----

namespace detail {

// Every function that calls the library begins with this.
inline void prepare() noexcept {
#ifndef VORLANDI_KEEP_GUARD_MODE
    [[maybe_unused]] static const std::int32_t once = VorlanSetGuardMode(VORLAN_GUARD_SAFE);
#endif
}

template <std::size_t Length>
std::string trimmed(const std::array<char, Length>& text) {
    const std::string_view all(text.data(), Length);
    return std::string(all.substr(0, all.find_last_not_of(' ') + 1));
}

// A text as the C functions take it: blank padded, without terminator.
template <std::size_t Length>
std::array<char, Length> padded(std::string_view text) noexcept {
    std::array<char, Length> result;
    result.fill(' ');
    std::copy_n(text.data(), std::min(text.size(), Length), result.begin());
    return result;
}

inline constexpr std::size_t kFileNameLength = 512;
inline constexpr std::size_t kTagLength = 128;
inline constexpr std::int32_t kLargestNumber = 999'999'999;
inline constexpr double kEndOf2199 = 91312.0;
using FileName = std::array<char, kFileNameLength>;

// What is wrong with a name for the C functions, which know no terminator and skip leading blanks; nothing if it is
// fine.
inline const char* fault_of_name(std::string_view name) noexcept {
    if (name.empty()) return "the file name is empty";
    if (name.front() == ' ') return "the file name begins with a blank; put the folder before it, such as ./";
    if (name.back() == ' ') return "the file name ends with a blank, which the library can't keep";
    if (name.find('\0') != std::string_view::npos) return "the file name holds a NUL";
    if (name.size() > kFileNameLength) return "the file name is longer than 512 characters";
    return nullptr;
}

inline const char* fault_of_tag(std::string_view tag) noexcept {
    if (tag.size() > kTagLength) return "vorlandi: the tag is longer than 128 characters";
    if (tag.find('\0') != std::string_view::npos) return "vorlandi: the tag holds a NUL";
    return nullptr;
}

// The C functions take arrays of numbers where this header has structs of the same layout.
using RawState = double[6];
using RawMatrix = double[6][6];
static_assert(sizeof(State) == sizeof(RawState));
static_assert(alignof(State) == alignof(double));
static_assert(offsetof(State, velocity_km_s) == 3 * sizeof(double));
static_assert(sizeof(Matrix6) == sizeof(RawMatrix));
static_assert(alignof(Matrix6) == alignof(double));
static_assert(sizeof(Ds50) == sizeof(double));
static_assert(alignof(Ds50) == alignof(double));

inline RawState* raw(State* states) noexcept { return reinterpret_cast<RawState*>(states); }
inline RawMatrix* raw(Matrix6* matrices) noexcept { return reinterpret_cast<RawMatrix*>(matrices); }
inline const double* raw(const Ds50* times) noexcept { return reinterpret_cast<const double*>(times); }
inline double* raw(Ds50* times) noexcept { return reinterpret_cast<double*>(times); }

// The pointer of an empty span is null, which the C functions take for "not wanted".
template <typename T>
auto raw_or_null(std::span<T> values) noexcept {
    return values.empty() ? nullptr : raw(values.data());
}

// Whether an output of a batch has the size of its input; one that may be left out is empty then.
template <typename T>
bool fits_or_empty(std::size_t wanted, std::span<T> output) noexcept {
    return output.empty() || output.size() == wanted;
}

// The number of failures of a batch that filled its codes.
inline std::size_t failures(std::span<const std::int32_t> codes) noexcept {
    return codes.size() - static_cast<std::size_t>(std::count(codes.begin(), codes.end(), 0));
}

// A batch whose spans differ in size: every answer fails.
inline std::size_t refuse_batch(std::size_t size, std::span<std::int32_t> codes) noexcept {
    std::fill(codes.begin(), codes.end(), kFailure);
    return std::max(size, codes.size());
}

}  // namespace detail

// ---- The library ----

// The last error message of the calling thread; empty if there was none.
inline std::string last_error() {
    std::array<char, 512> message{};
    VorlanTraceLastError(message.data());
    return detail::trimmed(message);
}

// Name and version, such as "Vorlandi 1.1.0".
inline std::string version() {
    std::array<char, 128> information{};
    VorlanGetInfo(information.data());
    return detail::trimmed(information);
}

// Number of satellites in the store.
inline std::int32_t count() noexcept {
    detail::prepare();
    return VorlanGetCount();
}

// Removes all satellites.
inline void remove_all() noexcept {
    detail::prepare();
    VorlanRemoveAllSats();
}

#ifndef VORLANDI_NO_EXCEPTIONS
namespace detail {

[[noreturn]] inline void fail(std::int32_t status) { throw Error(last_error(), status); }

inline void require(std::int32_t status) {
    if (status != 0) fail(status);
}

template <typename T>
T required(Outcome<T>&& outcome) {
    require(outcome.status);
    return std::move(outcome.value);
}

[[noreturn]] inline void fail_with_sizes() {
    throw Error("vorlandi: inputs and outputs of a batch have different sizes", kFailure);
}

}  // namespace detail
#endif

// ---- Satellites ----

// A satellite of the store, by its key. It is copied like a number and owns nothing; when the satellite is removed,
// every call fails. After 4,096 further removals its key may name another one, if a load made it.
class Satellite {
public:
    constexpr Satellite() noexcept = default;
    constexpr explicit Satellite(std::int64_t key) noexcept : key_(key) {}

    // The key of the satellite in the C functions.
    constexpr std::int64_t key() const noexcept { return key_; }
    bool operator==(const Satellite&) const = default;

    // The state at a time, interpolated as VorlanDs50UTC describes. Fails outside the span of the points, and between
    // points whose mean spacing is above 61 minutes.
    Outcome<State> try_state(Ds50 time) const noexcept {
        detail::prepare();
        Outcome<State> result;
        State& state = result.value;
        result.status =
            VorlanDs50UTC(key_, time.days, nullptr, state.position_km.data(), state.velocity_km_s.data(), nullptr);
        return result;
    }

    // The same with the covariance, zero where the points carry none.
    Outcome<std::pair<State, Matrix6>> try_state_and_covariance(Ds50 time) const noexcept {
        detail::prepare();
        Outcome<std::pair<State, Matrix6>> result;
        auto& [state, covariance] = result.value;
        result.status = VorlanDs50UTCCovMtx(key_, time.days, nullptr, state.position_km.data(),
                                            state.velocity_km_s.data(), nullptr, *detail::raw(&covariance));
        return result;
    }

    // A stored point, by its index from 1.
    Outcome<Point> try_point(std::int32_t index) const noexcept {
        detail::prepare();
        Outcome<Point> result;
        Point& point = result.value;
        result.status =
            VorlanGetCovMtx(key_, index, &point.time.days, point.state.position_km.data(),
                            point.state.velocity_km_s.data(), &point.revolution, *detail::raw(&point.covariance));
        return result;
    }

    // Times of the first and the last point. Fails for a satellite without points.
    Outcome<Span> try_span() const noexcept {
        detail::prepare();
        Outcome<Span> result;
        result.status = VorlanStartEndTime(key_, &result.value.first.days, &result.value.last.days);
        return result;
    }

    // The fields of the satellite.
    Outcome<Fields> try_fields() const {
        detail::prepare();
        Outcome<Fields> result;
        Fields& fields = result.value;
        std::array<char, 8> text{};
        std::array<char, detail::kTagLength> tag{};
        detail::FileName file{};
        std::int32_t frame = 0;
        result.status = VorlanGetAllFields(key_, &fields.number, text.data(), tag.data(), &fields.epoch.days,
                                           &fields.earth_radius_km, &fields.ke, nullptr, nullptr, &frame,
                                           &fields.points, file.data());
        fields.frame = static_cast<Frame>(frame);
        fields.text = detail::trimmed(text);
        fields.tag = detail::trimmed(tag);
        fields.file = detail::trimmed(file);
        return result;
    }

    // States at many times, each with the bits of state(); sorted times are the quickest.
    //
    //   times        in   [n]
    //   states       out  [n] zero where an answer failed
    //   codes        out  [n] 0 or 2 each
    //   covariances  out  [n] may be empty
    //   revolutions  out  [n] the revolution numbers; may be empty
    //
    // Returns the number of failures. If the sizes differ, nothing is answered and every code is 2.
    std::size_t try_states(std::span<const Ds50> times, std::span<State> states, std::span<std::int32_t> codes,
                           std::span<Matrix6> covariances = {},
                           std::span<std::int32_t> revolutions = {}) const noexcept {
        if (states.size() != times.size() || codes.size() != times.size() ||
            !detail::fits_or_empty(times.size(), covariances) || !detail::fits_or_empty(times.size(), revolutions))
            return detail::refuse_batch(times.size(), codes);
        detail::prepare();
        VorlanDs50UTCArr(key_, static_cast<std::int64_t>(times.size()), detail::raw(times.data()),
                         detail::raw(states.data()), revolutions.data(), detail::raw_or_null(covariances),
                         codes.data());
        return detail::failures(codes);
    }

    // Every stored point; none if the satellite has none.
    Outcome<std::vector<Point>> try_points() const {
        Outcome<std::vector<Point>> result;
        const Outcome<std::int32_t> stored = try_size();
        result.status = stored.status;
        result.value.reserve(static_cast<std::size_t>(stored.value));
        // Points can be appended meanwhile, but never go: a point that can't be read means that the satellite has gone.
        for (std::int32_t index = 1; result.status == 0 && index <= stored.value; ++index) {
            const Outcome<Point> point = try_point(index);
            result.status = point.status;
            if (point) result.value.push_back(point.value);
        }
        return result;
    }

    // The times of all stored points.
    Outcome<std::vector<Ds50>> try_times() const {
        Outcome<std::vector<Ds50>> result;
        const Outcome<std::int32_t> stored = try_size();
        result.status = stored.status;
        result.value.resize(static_cast<std::size_t>(stored.value));
        if (!result.value.empty())
            result.status = VorlanGetEphemerisArr(key_, 1, stored.value, detail::raw(result.value.data()), nullptr,
                                                  nullptr, nullptr, nullptr);
        return result;
    }

    // The number of stored points.
    Outcome<std::int32_t> try_size() const noexcept {
        detail::prepare();
        Outcome<std::int32_t> result;
        result.status = VorlanGetAllFields(key_, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                           nullptr, &result.value, nullptr);
        return result;
    }

    // Appends a point. One that is not later than the last point is dropped silently.
    //
    //   revolution  in  kept as it is
    //   covariance  in  its lower triangle is used; null or all zero: none
    //
    // Returns the status.
    std::int32_t try_append(Ds50 time, const State& state, std::int32_t revolution = 0,
                            const Matrix6* covariance = nullptr) const noexcept {
        detail::prepare();
        const double* position = state.position_km.data();
        const double* velocity = state.velocity_km_s.data();
        if (!covariance) return VorlanAddSatEphem(key_, time.days, position, velocity, revolution);
        std::array<double, 21> triangle;
        auto element = triangle.begin();
        for (std::size_t row = 0; row < 6; ++row)
            element = std::copy_n((*covariance)[row].begin(), row + 1, element);
        return VorlanAddSatEphemCovMtx(key_, time.days, position, velocity, revolution, triangle.data());
    }

    // Sets the frame; the points stay as they are.
    // Returns the status.
    std::int32_t try_set_frame(Frame frame) const noexcept {
        detail::prepare();
        std::array<char, 512> text = detail::padded<512>("");
        std::to_chars(text.data(), text.data() + text.size(), static_cast<std::int32_t>(frame));
        return VorlanSetField(key_, kFrameField, text.data());
    }

    // Sets the tag. One of more than 128 characters, or with a NUL, is an error and changes nothing. Blanks around it
    // are lost.
    // Returns the status.
    std::int32_t try_set_tag(std::string_view tag) const noexcept {
        detail::prepare();
        if (detail::fault_of_tag(tag)) return kFailure;
        return VorlanSetField(key_, kTagField, detail::padded<512>(tag).data());
    }

#ifndef VORLANDI_NO_EXCEPTIONS
    State state(Ds50 time) const { return detail::required(try_state(time)); }
    std::pair<State, Matrix6> state_and_covariance(Ds50 time) const {
        return detail::required(try_state_and_covariance(time));
    }
    Point point(std::int32_t index) const { return detail::required(try_point(index)); }
    Span span() const { return detail::required(try_span()); }
    Fields fields() const { return detail::required(try_fields()); }
    std::vector<Point> points() const { return detail::required(try_points()); }
    std::vector<Ds50> times() const { return detail::required(try_times()); }
    std::int32_t size() const { return detail::required(try_size()); }

    // As try_states, without codes; throws the message of the first failure, when all the others are filled.
    void states(std::span<const Ds50> times, std::span<State> states, std::span<Matrix6> covariances = {}) const {
        if (states.size() != times.size() || !detail::fits_or_empty(times.size(), covariances))
            detail::fail_with_sizes();
        detail::prepare();
        detail::require(VorlanDs50UTCArr(key_, static_cast<std::int64_t>(times.size()), detail::raw(times.data()),
                                         detail::raw(states.data()), nullptr, detail::raw_or_null(covariances),
                                         nullptr));
    }

    void append(Ds50 time, const State& state, std::int32_t revolution = 0, const Matrix6* covariance = nullptr) const {
        detail::require(try_append(time, state, revolution, covariance));
    }
    void set_frame(Frame frame) const { detail::require(try_set_frame(frame)); }
    void set_tag(std::string_view tag) const {
        if (const char* const fault = detail::fault_of_tag(tag)) throw Error(fault, kFailure);
        detail::require(try_set_tag(tag));
    }
#endif

private:
    static constexpr std::int32_t kFrameField = 11;
    static constexpr std::int32_t kTagField = 15;

    std::int64_t key_ = 0;
};

static_assert(sizeof(Satellite) == sizeof(std::int64_t) && std::is_trivially_copyable_v<Satellite>);
static_assert(std::is_trivially_copyable_v<State> && std::is_trivially_copyable_v<Point>);

namespace detail {

inline std::int64_t* raw(Satellite* satellites) noexcept { return reinterpret_cast<std::int64_t*>(satellites); }
inline const std::int64_t* raw(const Satellite* satellites) noexcept {
    return reinterpret_cast<const std::int64_t*>(satellites);
}

}  // namespace detail

// States of many satellites at one time, otherwise as Satellite::try_states.
inline std::size_t try_states(std::span<const Satellite> satellites, Ds50 time, std::span<State> states,
                              std::span<std::int32_t> codes, std::span<Matrix6> covariances = {}) noexcept {
    if (states.size() != satellites.size() || codes.size() != satellites.size() ||
        !detail::fits_or_empty(satellites.size(), covariances))
        return detail::refuse_batch(satellites.size(), codes);
    detail::prepare();
    VorlanSatsDs50UTC(static_cast<std::int64_t>(satellites.size()), detail::raw(satellites.data()), time.days,
                      detail::raw(states.data()), nullptr, detail::raw_or_null(covariances), codes.data());
    return detail::failures(codes);
}

// Removes its satellite when it is destroyed. It can be moved, and used wherever a Satellite can.
class OwnedSatellite {
public:
    OwnedSatellite() noexcept = default;
    explicit OwnedSatellite(Satellite satellite) noexcept : satellite_(satellite) {}
    OwnedSatellite(OwnedSatellite&& other) noexcept : satellite_(other.release()) {}
    OwnedSatellite& operator=(OwnedSatellite&& other) noexcept {
        OwnedSatellite taken(std::move(other));
        std::swap(satellite_, taken.satellite_);
        return *this;
    }
    ~OwnedSatellite() {
        if (satellite_ != Satellite()) VorlanRemoveSat(satellite_.key());
    }

    // Leaves the satellite in the store and returns it.
    Satellite release() noexcept { return std::exchange(satellite_, Satellite()); }

    operator Satellite() const noexcept { return satellite_; }
    const Satellite& operator*() const noexcept { return satellite_; }
    const Satellite* operator->() const noexcept { return &satellite_; }

private:
    Satellite satellite_;
};

// Adds a satellite without points, as VorlanAddSat does. It is refused, status 2, if an equal one is stored.
//
//   number  in  0 to 999999999
//   epoch   in  replaced by the time of the first point
inline Outcome<OwnedSatellite> try_add(std::int32_t number, Frame frame, Ds50 epoch) noexcept {
    detail::prepare();
    const std::int64_t key = VorlanAddSat(number, static_cast<std::int32_t>(frame), epoch.days, 0.0, 0.0);
    if (key <= 0) return {kFailure, {}};
    return {0, OwnedSatellite(Satellite(key))};
}

// In which order satellites are listed: by number, coordinate system and epoch; the reverse; as loaded; by key.
enum class Order : std::int32_t { Number = 0, NumberDescending = 1, Loaded = 2, Key = 3 };

// All satellites of the store. Status 2 if memory is short.
inline Outcome<std::vector<Satellite>> try_satellites(Order order = Order::Loaded) {
    detail::prepare();
    Outcome<std::vector<Satellite>> result;
    // Others may add satellites between the count and the listing.
    std::int64_t stored = VorlanGetCount();
    do {
        result.value.resize(static_cast<std::size_t>(stored));
        result.status =
            VorlanGetLoadedExt(static_cast<std::int32_t>(order), stored, detail::raw(result.value.data()), &stored);
    } while (result.status == 0 && static_cast<std::size_t>(stored) > result.value.size());
    result.value.resize(result.status == 0 ? static_cast<std::size_t>(stored) : 0);
    return result;
}

// ---- Files ----

// By which rules files are read (docs/formats.md).
enum class Rules { Practical, Fixed };

// Which keys the records of a load get. With keys of their own equal satellites are all kept; with ordinary ones, made
// from number and epoch, the second of two is refused. Own keys hold unless another part of the process has chosen
// otherwise.
enum class Keys { Own, Ordinary };

// What a load encounters. The texts are valid during the call only.
struct ReadEvent {
    enum class Kind : std::int32_t {
        Format = VORLAN_READ_FORMAT,    // a format was recognised; the text is its name
        Bad = VORLAN_READ_BAD,          // a line can't be read; the text is the line
        Dropped = VORLAN_READ_DROPPED,  // a point is not later than the one before; the text is its line
        Stored = VORLAN_READ_STORED,    // a satellite was stored; the text is its key
        Missing = VORLAN_READ_MISSING,  // a file named by a card can't be read; the text is its name
        Refused = VORLAN_READ_REFUSED   // a satellite was not stored; the text says why
    };
    Kind kind;
    std::string_view file;
    std::int64_t line;  // from 1; in a binary file the record
    std::string_view text;
};

// Runs on the thread that loads. An exception that it throws leaves the load function, when the load has ended.
using ReadListener = std::function<void(const ReadEvent&)>;

namespace detail {
class LoadWatch;
}

// Hears the events of every load on this thread for as long as it lives, also of loads that a listener begins. The
// observer that was set before also receives them, and is restored afterwards. The listener must not throw.
class ReadObservation {
public:
    explicit ReadObservation(ReadListener listener) : listener_(std::move(listener)) {
        VorlanGetReadObserver(&outer_, &outer_data_);
        VorlanSetReadObserver(&ReadObservation::hear, this);
    }
    ~ReadObservation() { VorlanSetReadObserver(outer_, outer_data_); }
    ReadObservation(const ReadObservation&) = delete;
    ReadObservation& operator=(const ReadObservation&) = delete;

private:
    friend class detail::LoadWatch;

    static void hear(std::int32_t event, const char* file, std::int32_t file_length, std::int64_t line,
                     const char* text, std::int32_t text_length, void* observation) noexcept {
        auto& self = *static_cast<ReadObservation*>(observation);
        ++self.depth_;
        if (self.listener_)
            self.listener_({static_cast<ReadEvent::Kind>(event),
                            {file, static_cast<std::size_t>(file_length)},
                            line,
                            {text, static_cast<std::size_t>(text_length)}});
        if (self.outer_) self.outer_(event, file, file_length, line, text, text_length, self.outer_data_);
        --self.depth_;
    }

    ReadListener listener_;
    int depth_ = 0;  // above 1 while it hears of a load that began while it heard of another
    VorlanReadObserver outer_ = nullptr;
    void* outer_data_ = nullptr;
};

// How a file is loaded.
struct LoadOptions {
    Rules rules = Rules::Practical;
    Keys keys = Keys::Own;
    bool follow_cards = true;  // if not, the files that cards name are told as missing
    bool threads = false;      // allows several threads for one large file, of 16 MB and more
    bool strict = false;       // anything that could not be read, stored or kept makes the load fail
    ReadListener listener{};
};

// The result of a load. It succeeded if the file could be read and something was stored, and, if the load was strict,
// nothing was bad, dropped, missing or refused. What was stored is here either way.
struct LoadOutcome {
    bool succeeded = false;
    std::int32_t status = 0;  // of the C function
    std::string message;      // why it did not succeed
    std::vector<OwnedSatellite> loaded;
    explicit operator bool() const noexcept { return succeeded; }
};

namespace detail {

enum class Source { File, Memory };

// Listens to one load: takes the satellites, keeps the first complaint, and hands everything on. What a listener loads
// meanwhile is not part of this load.
class LoadWatch {
public:
    explicit LoadWatch(const ReadListener& listener)
        : listener_(listener), observation_([this](const ReadEvent& event) { take(event); }) {}

    // Fills in what the load left.
    void finish(LoadOutcome& outcome, bool strict, const std::string& name, Source source) {
#ifndef VORLANDI_NO_EXCEPTIONS
        if (thrown_) std::rethrow_exception(thrown_);
#endif
        outcome.loaded = std::move(loaded_);
        const bool stored = !outcome.loaded.empty();
        if (strict && !complaint_.empty())
            outcome.message = complaint_;
        else if (outcome.status != 0 && (strict || !stored))
            outcome.message = open_failed(outcome.status, name, source)
                                  ? name + ": " + std::generic_category().message(outcome.status)
                                  : last_error();
        else if (!stored)
            outcome.message = complaint_.empty() ? name + ": nothing was stored" : complaint_;
        else
            outcome.succeeded = true;
    }

private:
    void take(const ReadEvent& event) noexcept {
        if (observation_.depth_ > 1) return;
        heard_ = true;
#ifdef VORLANDI_NO_EXCEPTIONS
        note(event);
        if (listener_) listener_(event);
#else
        try {
            note(event);
            if (listener_ && !thrown_) listener_(event);
        } catch (...) {
            if (!thrown_) thrown_ = std::current_exception();
        }
#endif
    }

    void note(const ReadEvent& event) {
        if (event.kind == ReadEvent::Kind::Stored) {
            std::int64_t key = 0;
            std::from_chars(event.text.data(), event.text.data() + event.text.size(), key);
            OwnedSatellite satellite{Satellite(key)};
            loaded_.push_back(std::move(satellite));
        } else if (event.kind != ReadEvent::Kind::Format && complaint_.empty()) {
            complaint_ = describe(event);
        }
    }

    static std::string describe(const ReadEvent& event) {
        const char* const what = event.kind == ReadEvent::Kind::Bad       ? "bad line"
                                 : event.kind == ReadEvent::Kind::Dropped ? "dropped point"
                                 : event.kind == ReadEvent::Kind::Missing ? "missing file"
                                                                          : "satellite refused";
        return std::string(event.file) + ":" + std::to_string(event.line) + ": " + what + ": " +
               std::string(event.text);
    }

    // A failed open has no event and no message, unlike anything that fails later; its status can be 2, too.
    bool open_failed(std::int32_t status, const std::string& name, Source source) const {
        std::error_code ignored;
        return source == Source::File && (status != kFailure || (!heard_ && !std::filesystem::exists(name, ignored)));
    }

    const ReadListener& listener_;
    std::vector<OwnedSatellite> loaded_;
    std::string complaint_;
    bool heard_ = false;
#ifndef VORLANDI_NO_EXCEPTIONS
    std::exception_ptr thrown_;
#endif
    ReadObservation observation_;
};

inline std::int32_t flags(const LoadOptions& options) noexcept {
    return (options.rules == Rules::Practical ? VORLAN_LOAD_PRACTICAL : 0) |
           (options.keys == Keys::Own ? VORLAN_LOAD_DMA_KEYS : 0) | (options.follow_cards ? 0 : VORLAN_LOAD_NO_CARDS) |
           (options.threads ? VORLAN_LOAD_THREADS : 0);
}

template <typename Call>
LoadOutcome load_with(Call call, const LoadOptions& options, const std::string& name, Source source) {
    prepare();
    LoadOutcome outcome;
    if (const char* const fault = fault_of_name(name)) {
        outcome.status = kFailure;
        outcome.message = std::string("vorlandi: ") + fault + ": " + name;
        return outcome;
    }
    LoadWatch watch(options.listener);
    outcome.status = call(padded<kFileNameLength>(name), flags(options));
    watch.finish(outcome, options.strict, name, source);
    return outcome;
}

}  // namespace detail

// Loads a file: an ephemeris in any known format, or a card file that names such files.
inline LoadOutcome try_load(const std::filesystem::path& file, const LoadOptions& options = {}) {
    return detail::load_with(
        [](const detail::FileName& name, std::int32_t flags) {
            return VorlanLoadFileExt(name.data(), flags, 0, nullptr, nullptr);
        },
        options, file.string(), detail::Source::File);
}

// The same for the content of a file that is in memory. The satellite's number can come from the name; a name that ends
// in ".DCE" means binary content.
inline LoadOutcome try_load_bytes(std::span<const std::byte> content, std::string_view name,
                                  const LoadOptions& options = {}) {
    return detail::load_with(
        [content](const detail::FileName& padded_name, std::int32_t flags) {
            return VorlanLoadBytes(content.data(), static_cast<std::int64_t>(content.size()), padded_name.data(), flags,
                                   0, nullptr, nullptr);
        },
        options, std::string(name), detail::Source::Memory);
}

// Writes a card file that names the file of each satellite (VorlanSaveFile), replacing what is there. A full disk is
// not noticed.
// Returns the status.
inline std::int32_t try_save(const std::filesystem::path& file) {
    detail::prepare();
    const std::string name = file.string();
    if (detail::fault_of_name(name)) return kFailure;
    return VorlanSaveFile(detail::padded<detail::kFileNameLength>(name).data(), 0);
}

#ifndef VORLANDI_NO_EXCEPTIONS
// A load that did not succeed, and what it stored nevertheless. The status is 2, too, if the C function succeeded.
class LoadError : public Error {
public:
    explicit LoadError(LoadOutcome&& outcome)
        : Error(outcome.message, outcome.status != 0 ? outcome.status : kFailure), loaded(std::move(outcome.loaded)) {}
    std::vector<OwnedSatellite> loaded;
};

namespace detail {

inline std::vector<OwnedSatellite> required(LoadOutcome&& outcome) {
    if (!outcome) throw LoadError(std::move(outcome));
    return std::move(outcome.loaded);
}

// Runs a function of one file, and throws why it fails: a fault of the name, the system's text if the file can't be
// opened, or the library's message.
template <typename Call>
void require_for(const std::filesystem::path& file, Call call) {
    const std::string name = file.string();
    if (const char* const fault = fault_of_name(name))
        throw Error(std::string("vorlandi: ") + fault + ": " + name, kFailure);
    const std::int32_t status = call(file);
    std::error_code ignored;
    if (status == kFailure && std::filesystem::exists(file, ignored)) fail(status);
    if (status != 0) throw Error(name + ": " + std::generic_category().message(status), status);
}

}  // namespace detail

// As try_load and try_load_bytes. A load that stored something throws only if it is strict: the listener hears what
// could not be read.
inline std::vector<OwnedSatellite> load(const std::filesystem::path& file, const LoadOptions& options = {}) {
    return detail::required(try_load(file, options));
}
inline std::vector<OwnedSatellite> load_bytes(std::span<const std::byte> content, std::string_view name,
                                              const LoadOptions& options = {}) {
    return detail::required(try_load_bytes(content, name, options));
}

inline void save(const std::filesystem::path& file) { detail::require_for(file, try_save); }

inline OwnedSatellite add(std::int32_t number, Frame frame, Ds50 epoch) {
    auto added = try_add(number, frame, epoch);
    // The library refuses these without a message.
    if (!added && (number < 0 || number > detail::kLargestNumber))
        throw Error("vorlandi: the satellite number is not in 0 to 999999999", kFailure);
    if (!added && !(epoch.days >= 0.0 && epoch.days < detail::kEndOf2199))
        throw Error("vorlandi: the epoch is not in the years 1950 to 2199", kFailure);
    return detail::required(std::move(added));
}

inline std::vector<Satellite> satellites(Order order = Order::Loaded) {
    return detail::required(try_satellites(order));
}
#endif

// ---- Times ----

// A time of the system clock.
using SysTime = std::chrono::sys_time<std::chrono::nanoseconds>;

namespace detail {

inline constexpr std::int64_t kDayOf1970 = 7306;
inline constexpr std::int64_t kNanosecondsPerDay = 86'400'000'000'000;
inline constexpr double kSecondsPerDay = 86400.0;

}  // namespace detail

// A time of the system clock as days. Both count 86,400 s a day: a leap second has no time of its own in either.
inline Ds50 ds50(SysTime time) noexcept {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const auto rest = static_cast<double>((time - day).count());
    const std::int64_t days = day.time_since_epoch().count() + detail::kDayOf1970;
    return {static_cast<double>(days) + rest / static_cast<double>(detail::kNanosecondsPerDay)};
}

// The time of the system clock, to the nearest nanosecond. None for a time that is not finite, or outside the
// years 1679 to 2261.
inline std::optional<SysTime> try_sys_time(Ds50 time) noexcept {
    constexpr double kLeastDay = -99'000.0;
    constexpr double kLargestDay = 114'000.0;
    if (!(time.days > kLeastDay && time.days < kLargestDay)) return std::nullopt;
    const double day = std::floor(time.days);
    const double rest = std::round((time.days - day) * static_cast<double>(detail::kNanosecondsPerDay));
    const std::int64_t days = static_cast<std::int64_t>(day) - detail::kDayOf1970;
    return SysTime(std::chrono::nanoseconds(days * detail::kNanosecondsPerDay + static_cast<std::int64_t>(rest)));
}

// Seconds that TAI is ahead of UTC: whole seconds from 1972 on, 10 before.
inline double tai_minus_utc_s(Ds50 time) noexcept {
    return std::round((VorlanTimeUtcToTai(time.days) - time.days) * detail::kSecondsPerDay);
}

// Days since 1950 on the TAI scale.
inline double tai_days(Ds50 time) noexcept { return VorlanTimeUtcToTai(time.days); }

// The time that is so many days since 1950 on the TAI scale.
inline Ds50 from_tai_days(double tai) noexcept { return {VorlanTimeTaiToUtc(tai)}; }

// Replaces the table of leap seconds by that of a leap-seconds.list file.
// Returns the status.
inline std::int32_t try_load_leap_seconds(const std::filesystem::path& file) {
    const std::string name = file.string();
    if (detail::fault_of_name(name)) return kFailure;
    return VorlanTimeLoadLeapSeconds(name.c_str());
}

namespace detail {

inline bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }

// Whether a text has this shape, in which 0 stands for a digit and everything else for itself.
inline bool has_shape(std::string_view text, std::string_view shape) noexcept {
    return std::equal(text.begin(), text.end(), shape.begin(), shape.end(),
                      [](char c, char wanted) { return wanted == '0' ? is_digit(c) : c == wanted; });
}

inline std::string_view without_blanks_around(std::string_view text) noexcept {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

// What a number that is not a date of this library probably is; null if nothing comes to mind.
inline const char* other_clock(std::string_view text) noexcept {
    const std::string_view whole = text.substr(0, text.find('.'));
    if (has_shape(whole, "0000000") && whole.starts_with("24")) return "a Julian date";
    if (has_shape(whole, "0000000000")) return "seconds since 1970";
    if (has_shape(text, "0000000000000")) return "milliseconds since 1970";
    return nullptr;
}

// Whether a number looks like a modified Julian date of the years 1957 to 2056, such as 61071.5. Some of these can be
// read as dates of the form YYDDD.DDD, of 2036 to 2056 and 1957 to 1972.
inline bool may_be_modified_julian_date(std::string_view text) noexcept {
    const std::string_view whole = text.substr(0, text.find('.'));
    const bool digits = has_shape(whole, "00000") && whole >= "36115" && whole < "72364";
    return digits && std::all_of(text.begin() + std::min(text.size(), whole.size() + 1), text.end(), is_digit);
}

inline std::optional<Ds50> date(std::string_view text) noexcept {
    // No date is longer than this, and the length must not wrap.
    if (text.size() > 512) return std::nullopt;
    const double days = VorlanTimeFromText(text.data(), static_cast<std::int32_t>(text.size()));
    return days == 0.0 ? std::nullopt : std::optional(Ds50{days});
}

}  // namespace detail

// Reads a time: what VorlanTimeFromText reads, and also dates alone, times without seconds, and UTC written as +00:00:
// 2026-01-31, 2026-01-31T01:00, 2026/01/31 01:00, 2026-031T01:00:00+00:00. Julian dates and seconds since 1970 are
// refused, although some have the form of a date, YYYYDDD.DDD.
inline std::optional<Ds50> try_parse(std::string_view text) noexcept {
    text = detail::without_blanks_around(text);
    if (detail::other_clock(text)) return std::nullopt;
    if (const auto time = detail::date(text)) return time;

    for (const std::string_view utc : {"+00:00", "+0000", "+00", "Z"})
        if (text.ends_with(utc)) {
            text.remove_suffix(utc.size());
            break;
        }
    std::size_t date_length = 0;
    for (const std::string_view shape : {"0000-00-00", "0000/00/00", "0000-000"})
        if (detail::has_shape(text.substr(0, shape.size()), shape)) {
            date_length = shape.size();
            break;
        }
    if (date_length == 0) return std::nullopt;
    std::string_view clock = text.substr(date_length);
    if (!clock.empty() && clock.front() != 'T' && clock.front() != ' ') return std::nullopt;
    if (!clock.empty()) clock.remove_prefix(1);

    const bool slashes = text[4] == '/';
    std::array<char, 64> full{};
    auto end = std::copy_n(text.begin(), date_length, full.begin());
    *end++ = slashes ? ' ' : 'T';
    const bool no_seconds = detail::has_shape(clock, "00:00");
    if (clock.size() > 40 || (clock.empty() && date_length != text.size())) return std::nullopt;
    end = clock.empty() ? std::copy_n("00:00", 5, end) : std::copy(clock.begin(), clock.end(), end);
    if (clock.empty() || no_seconds) end = std::copy_n(":00", 3, end);
    return detail::date({full.data(), static_cast<std::size_t>(end - full.begin())});
}

// Writes a time as YYYY-MM-DDTHH:MM:SS.ffffff, to the nearest microsecond. None outside the years 1900 to 2199.
inline std::optional<std::string> try_iso(Ds50 time) {
    std::array<char, 26> text{};
    VorlanTimeToIso(time.days, text.data());
    if (text[0] == ' ') return std::nullopt;
    return std::string(text.data(), text.size());
}

#ifndef VORLANDI_NO_EXCEPTIONS
inline SysTime sys_time(Ds50 time) {
    if (const auto result = try_sys_time(time)) return *result;
    throw Error("vorlandi: the system clock has no such time: Ds50 " + std::to_string(time.days), kFailure);
}

inline Ds50 parse(std::string_view text) {
    if (const auto time = try_parse(text)) return *time;
    const std::string_view plain = detail::without_blanks_around(text);
    const char* clock = detail::other_clock(plain);
    if (!clock && detail::may_be_modified_julian_date(plain)) clock = "a modified Julian date";
    const std::string why = clock ? std::string("it looks like ") + clock + "; " : "";
    throw Error("\"" + std::string(text) + "\" is not a time: " + why + "wanted is UTC such as 2026-01-31T01:02:03",
                kFailure);
}

inline std::string iso(Ds50 time) {
    if (auto text = try_iso(time)) return *std::move(text);
    throw Error("vorlandi: outside the years 1900 to 2199: Ds50 " + std::to_string(time.days), kFailure);
}

inline void load_leap_seconds(const std::filesystem::path& file) { detail::require_for(file, try_load_leap_seconds); }
#endif

// ---- Messages ----

// Severities of a message.
enum class Severity : std::int32_t { Info = VORLAN_TRACE_INFO, Error = VORLAN_TRACE_ERROR };

// Hears every message of the library for as long as it lives; then the handler that was set before it is put back. That
// one also hears what this one hears. There can be one in the process at a time: a second one is not active.
// The callable runs on the thread that logs, on several at once, and must not throw. It may call the library, but not
// destroy the listener. The destructor waits for calls that run on other threads.
class TraceListener {
public:
    using Callable = std::function<void(Severity, std::string_view)>;

    explicit TraceListener(Callable callable) : callable_(std::move(callable)) {
        const TraceListener* none = nullptr;
        active_ = current().compare_exchange_strong(none, this);
#ifndef VORLANDI_NO_EXCEPTIONS
        if (!active_) throw Error("vorlandi: there is a TraceListener already", kFailure);
#endif
        if (!active_) return;
        VorlanTraceGetHandler(&outer_, &outer_data_);
        VorlanTraceSetHandler(&TraceListener::hear, nullptr);
    }
    ~TraceListener() {
        if (!active_) return;
        VorlanTraceSetHandler(outer_, outer_data_);
        current() = nullptr;
        while (deliveries() != 0)
            std::this_thread::yield();
    }
    TraceListener(const TraceListener&) = delete;
    TraceListener& operator=(const TraceListener&) = delete;

    // Whether this listener hears messages: false if there was one already.
    bool active() const noexcept { return active_; }

private:
    // A delivery announces itself before it looks for the listener, and the destructor takes the listener away before
    // it counts the deliveries: one of the two sees the other.
    static std::atomic<const TraceListener*>& current() noexcept {
        static std::atomic<const TraceListener*> listener = nullptr;
        return listener;
    }
    static std::atomic<int>& deliveries() noexcept {
        static std::atomic<int> running = 0;
        return running;
    }

    static void hear(std::int32_t severity, const char* text, std::int32_t length, void*) noexcept {
        ++deliveries();
        if (const TraceListener* const listener = current()) {
            if (listener->callable_)
                listener->callable_(static_cast<Severity>(severity), {text, static_cast<std::size_t>(length)});
            if (listener->outer_) listener->outer_(severity, text, length, listener->outer_data_);
        }
        --deliveries();
    }

    Callable callable_;
    VorlanTraceHandler outer_ = nullptr;
    void* outer_data_ = nullptr;
    bool active_ = false;
};

}  // namespace vorlandi

#endif
