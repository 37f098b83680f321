// Answers at many times, of one satellite or of many. The arrays are made by the caller and fit each other.
#include <pybind11/stl.h>

#include <algorithm>
#include <limits>
#include <span>
#include <vector>

#include "Support.hpp"

namespace vorlandi::python {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t kNoRevolution = -1;

// Null where nothing is wanted.
struct Outputs {
    double (*states)[6] = nullptr;
    double (*covariances)[6][6] = nullptr;
    std::int32_t* revolutions = nullptr;

    Outputs from(std::size_t answer) const {
        return {states ? states + answer : nullptr, covariances ? covariances + answer : nullptr,
                revolutions ? revolutions + answer : nullptr};
    }

    void setNan(std::size_t answer) const {
        if (states != nullptr) std::fill_n(states[answer], 6, kNan);
        if (covariances != nullptr) std::fill_n(&covariances[answer][0][0], 36, kNan);
        if (revolutions != nullptr) revolutions[answer] = kNoRevolution;
    }
};

// One satellite at many times, or many satellites at one.
class Batch {
public:
    Batch(std::int64_t key, std::span<const double> times)
        : size_(times.size()), keys_(&key_), times_(times.data()), key_(key) {}
    Batch(std::span<const std::int64_t> keys, double time)
        : size_(keys.size()), keys_(keys.data()), times_(&time_), ofKeys_(true), time_(time) {}
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    std::size_t size() const { return size_; }
    std::int64_t key(std::size_t answer) const { return ofKeys_ ? keys_[answer] : *keys_; }
    double time(std::size_t answer) const { return ofKeys_ ? *times_ : times_[answer]; }

    // True if all were answered. Fills `codes` if it is not null.
    bool answer(const Outputs& outputs, std::int32_t* codes) const {
        const auto count = static_cast<std::int64_t>(size_);
        const auto& [states, covariances, revolutions] = outputs;
        return (ofKeys_ ? VorlanSatsDs50UTC(count, keys_, *times_, states, revolutions, covariances, codes)
                        : VorlanDs50UTCArr(*keys_, count, times_, states, revolutions, covariances, codes)) == 0;
    }

    // What failed becomes NaN. Returns the first failure of a satellite that was closed, which NaN must not hide.
    std::optional<std::size_t> answerOrNan(const Outputs& outputs) const {
        std::vector<std::int32_t> codes(size_);
        if (answer(outputs, codes.data())) return std::nullopt;
        std::optional<std::int64_t> known;  // the satellite that was last found in the store
        for (std::size_t i = 0; i < size_; ++i) {
            if (codes[i] == 0) continue;
            if (key(i) != known && !Satellite(key(i)).try_fields()) return i;
            known = key(i);
            outputs.setNan(i);
        }
        return std::nullopt;
    }

    // The first that can't be answered, so that its message is the last one; none if all can.
    std::optional<std::size_t> firstFailure() const {
        std::vector<std::int32_t> codes(size_);
        answer({}, codes.data());
        const auto found = std::find_if(codes.begin(), codes.end(), [](std::int32_t code) { return code != 0; });
        if (found == codes.end()) return std::nullopt;
        return static_cast<std::size_t>(found - codes.begin());
    }

private:
    std::size_t size_;
    const std::int64_t* keys_;
    const double* times_;
    bool ofKeys_ = false;
    std::int64_t key_ = 0;
    double time_ = 0.0;
};

struct Failure {
    std::int64_t key;
    double time;
};

std::optional<Failure> answer(const Batch& batch, const Outputs& outputs, bool asNan) {
    std::optional<std::size_t> failed;
    if (asNan) {
        failed = batch.answerOrNan(outputs);
        if (!failed) return std::nullopt;
    } else {
        if (batch.answer(outputs, nullptr)) return std::nullopt;
        failed = batch.firstFailure();
    }
    // Another thread may have changed the satellite meanwhile.
    return Failure{batch.key(failed.value_or(0)), batch.time(failed.value_or(0))};
}

std::span<const double> spanOf(const Doubles& array) { return {array.data(), static_cast<std::size_t>(array.size())}; }

void raise(const std::optional<Failure>& failure) {
    if (failure) fail(failure->key, failure->time);
}

void answerTimes(std::int64_t key, const Doubles& times, std::optional<Doubles> states,
                 std::optional<Doubles> covariances, std::optional<Array<std::int32_t>> revolutions, bool asNan) {
    const Outputs outputs{statesIn(states), matricesIn(covariances),
                          revolutions ? revolutions->mutable_data() : nullptr};
    const Batch batch(key, spanOf(times));
    if (batch.size() == 0) return;
    raise(withoutLock(batch.size(), [&] { return answer(batch, outputs, asNan); }));
}

// Outputs hold all times of the first satellite, then all of the second, and so on.
void answerSatellites(const Array<std::int64_t>& keys, const Doubles& times, std::optional<Doubles> states,
                      std::optional<Doubles> covariances, bool asNan) {
    const Outputs outputs{statesIn(states), matricesIn(covariances), nullptr};
    const std::span<const std::int64_t> satellites(keys.data(), static_cast<std::size_t>(keys.size()));
    const std::span<const double> requests = spanOf(times);
    const std::size_t answers = satellites.size() * requests.size();
    if (answers == 0) return;
    raise(withoutLock(answers, [&]() -> std::optional<Failure> {
        if (requests.size() == 1) return answer(Batch(satellites, requests[0]), outputs, asNan);
        for (std::size_t i = 0; i < satellites.size(); ++i)
            if (const auto failure = answer(Batch(satellites[i], requests), outputs.from(i * requests.size()), asNan))
                return failure;
        return std::nullopt;
    }));
}

Array<bool> answersAt(std::int64_t key, const Doubles& times) {
    const std::span<const double> requests = spanOf(times);
    auto answered = newArray<bool>({requests.size()});
    bool* const results = answered.mutable_data();
    withoutLock(requests.size(), [&] {
        std::vector<std::int32_t> codes(requests.size());
        Batch(key, requests).answer({}, codes.data());
        std::transform(codes.begin(), codes.end(), results, [](std::int32_t code) { return code == 0; });
    });
    return answered;
}

}  // namespace

void addQueries(py::module_& module) {
    const auto as = [](const char* name) { return py::arg(name).noconvert(); };
    module.def("answer_times", &answerTimes, as("key"), as("times"), as("states"), as("covariances"), as("revolutions"),
               as("nan"));
    module.def("answer_satellites", &answerSatellites, as("keys"), as("times"), as("states"), as("covariances"),
               as("nan"));
    module.def("answers", &answersAt, as("key"), as("times"));
}

}  // namespace vorlandi::python
