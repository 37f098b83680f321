// The records of the store: fields, points, adding and removing.
#include <pybind11/stl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <span>
#include <tuple>
#include <vector>

#include "Support.hpp"
#include "analysis/Ephemeris.hpp"

namespace vorlandi::python {
namespace {

constexpr std::size_t kPointsAtOnce = 1024;
constexpr std::size_t kTriangleSize = 21;

py::tuple fieldsOf(std::int64_t key) {
    const auto fields = Satellite(key).try_fields();
    if (!fields) fail(key);
    const Fields& value = fields.value;
    return py::make_tuple(value.number, static_cast<std::int32_t>(value.frame), name(value.frame),
                          py::bytes(value.file), textOf(value.tag), textOf(value.text), value.earth_radius_km, value.ke,
                          value.points);
}

std::pair<double, double> spanOf(std::int64_t key) {
    const auto span = Satellite(key).try_span();
    if (!span) fail(key);
    return {span.value.first.days, span.value.last.days};
}

std::int32_t sizeOf(std::int64_t key) {
    const auto size = Satellite(key).try_size();
    if (!size) fail(key);
    return size.value;
}

// Reads the matrices of the points in pieces, until one is as wanted.
bool hasMatrix(std::int64_t key, bool (*isWanted)(const Matrix6&)) {
    const auto points = static_cast<std::size_t>(sizeOf(key));
    const py::gil_scoped_release release;
    std::vector<Matrix6> matrices(std::min(points, kPointsAtOnce));
    for (std::size_t done = 0; done < points; done += kPointsAtOnce) {
        const std::size_t count = std::min(kPointsAtOnce, points - done);
        VorlanGetEphemerisArr(key, static_cast<std::int64_t>(done) + 1, static_cast<std::int64_t>(count), nullptr,
                              nullptr, nullptr, detail::raw(matrices.data()), nullptr);
        const auto end = matrices.begin() + static_cast<std::ptrdiff_t>(count);
        if (std::any_of(matrices.begin(), end, isWanted)) return true;
    }
    return false;
}

bool hasCovariance(std::int64_t key) {
    return hasMatrix(key, [](const Matrix6& matrix) { return analysis::isCovariance(matrix); });
}

// Times, states, covariances (None if all are zero) and revolution numbers.
py::tuple pointsOf(std::int64_t key) {
    const auto count = static_cast<std::size_t>(sizeOf(key));
    const bool isWithCovariances = hasMatrix(key, [](const Matrix6& matrix) { return matrix != Matrix6{}; });
    auto times = newArray<double>({count});
    auto states = newArray<double>({count, 6});
    auto revolutions = newArray<std::int32_t>({count});
    std::optional<Doubles> covariances;
    if (isWithCovariances) covariances = newArray<double>({count, 6, 6});
    if (count > 0) {
        double* const timesOut = times.mutable_data();
        auto* const statesOut = statesIn(states);
        std::int32_t* const revolutionsOut = revolutions.mutable_data();
        auto* const matricesOut = matricesIn(covariances);
        const std::int32_t status = withoutLock(count, [&] {
            return VorlanGetEphemerisArr(key, 1, static_cast<std::int64_t>(count), timesOut, statesOut, revolutionsOut,
                                         matricesOut, nullptr);
        });
        if (status != 0) fail(key);
    }
    return py::make_tuple(times, states, covariances ? py::object(*covariances) : py::none(), revolutions);
}

// Triangles are lower triangles of covariances, row by row; without them points have no covariance.
void append(std::int64_t key, const Doubles& times, const Doubles& states, const std::optional<Doubles>& triangles,
            const Array<std::int32_t>& revolutions) {
    const auto count = static_cast<std::size_t>(times.size());
    const double* const time = times.data();
    const double* const state = states.data();
    const double* const triangle = triangles ? triangles->data() : nullptr;
    const std::int32_t* const revolution = revolutions.data();
    const std::int32_t status = withoutLock(count, [&] {
        for (std::size_t i = 0; i < count; ++i) {
            const double* const position = state + 6 * i;
            const std::int32_t added = triangle
                                           ? VorlanAddSatEphemCovMtx(key, time[i], position, position + 3,
                                                                     revolution[i], triangle + kTriangleSize * i)
                                           : VorlanAddSatEphem(key, time[i], position, position + 3, revolution[i]);
            if (added != 0) return added;
        }
        return 0;
    });
    if (status != 0) fail(key);
}

// A satellite without points. Its key is made from an epoch of its own, which the first point replaces, so that it is
// never refused as a duplicate.
std::int64_t add(std::int32_t number, std::int32_t frame, double earthRadius_km, double ke) {
    constexpr double kStep_days = 20.0 / 86400.0;  // times within ten seconds can share a key
    constexpr std::int64_t kEpochs = 390'000'000;  // in the years that keys can have
    constexpr int kMostTried = 1000;
    static std::atomic<std::int64_t> added = 0;
    std::int64_t key = 0;
    for (int tried = 0; key == 0 && tried < kMostTried; ++tried) {
        const double epoch = 1.0 + static_cast<double>(added++ % kEpochs) * kStep_days;
        key = VorlanAddSat(number, 1, epoch, earthRadius_km, ke);
    }
    if (key <= 0) throw Error("vorlandi: the satellite can't be added", kFailure);
    Satellite(key).try_set_frame(static_cast<Frame>(frame));
    return key;
}

std::vector<std::int64_t> keys() {
    std::vector<std::int64_t> keys;
    for (const Satellite satellite : satellites())
        keys.push_back(satellite.key());
    return keys;
}

std::int32_t openTrace(const std::optional<std::string>& file) {
    if (file) return VorlanTraceOpen(file->c_str());
    VorlanTraceClose();
    return 0;
}

}  // namespace

void addRecords(py::module_& module) {
    const auto as = [](const char* name) { return py::arg(name).noconvert(); };
    module.def("fields", &fieldsOf);
    module.def("span", &spanOf);
    module.def("size", &sizeOf);
    module.def("has_covariance", &hasCovariance);
    module.def("points", &pointsOf);
    module.def("append", &append, as("key"), as("times"), as("states"), as("triangles"), as("revolutions"));
    module.def("add", &add);
    module.def("set_field", [](std::int64_t key, std::int32_t field, const std::string& value) {
        return VorlanSetField(key, field, detail::padded<512>(value).data());
    });
    module.def("remove", &VorlanRemoveSat);
    module.def("count", &count);
    module.def("keys", &keys);
    module.def("frame_name", [](std::int32_t code) { return name(static_cast<Frame>(code)); });
    module.def(
        "save", [](const std::string& file) { return try_save(file); }, py::call_guard<py::gil_scoped_release>());
    module.def("open_trace", &openTrace);
}

}  // namespace vorlandi::python
