// Shared by the parts of the extension: arrays, texts, calls without the interpreter's lock, and failures.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "vorlandi/vorlandi.hpp"

namespace vorlandi::python {

namespace py = pybind11;

// The package checks and converts arguments; arrays are used here as they are, or refused.
template <typename T>
using Array = py::array_t<T, py::array::c_style>;
using Doubles = Array<double>;

// An array of this shape whose elements are not set.
template <typename T>
Array<T> newArray(std::initializer_list<std::size_t> shape) {
    return Array<T>(std::vector<std::size_t>(shape));
}

inline double (*statesIn(Doubles& array))[6] { return reinterpret_cast<double(*)[6]>(array.mutable_data()); }
inline double (*matricesIn(Doubles& array))[6][6] { return reinterpret_cast<double(*)[6][6]>(array.mutable_data()); }
inline double (*statesIn(std::optional<Doubles>& array))[6] { return array ? statesIn(*array) : nullptr; }
inline double (*matricesIn(std::optional<Doubles>& array))[6][6] { return array ? matricesIn(*array) : nullptr; }

// Texts of files and messages can hold bytes that are not UTF-8.
inline py::str textOf(const std::string& text) {
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace"));
}

// A query takes less time than getting the lock back.
inline constexpr std::size_t kLeastWithoutLock = 64;

template <typename Work>
auto withoutLock(std::size_t answers, const Work& work) {
    if (answers < kLeastWithoutLock) return work();
    const py::gil_scoped_release release;
    return work();
}

// Sets the Python exception that the thread's last message means. Key and time are the call's.
void setFailure(std::int64_t key, double ds50UTC) noexcept;

// The same as a C++ exception.
[[noreturn]] void fail(std::int64_t key, double ds50UTC = 0.0);

// Throws a ValueError about step_s for more times than are kept in memory.
void requireTimesInMemory(double times);

void addSingleQueries(py::module_& module);
void addQueries(py::module_& module);
void addRecords(py::module_& module);
void addLoading(py::module_& module);
void addTimes(py::module_& module);
void addAnalysis(py::module_& module);
void addConversion(py::module_& module);
void addSieve(py::module_& module);

}  // namespace vorlandi::python
